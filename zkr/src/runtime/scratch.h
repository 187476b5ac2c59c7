// Scratch memory of one kernel call: n elements from malloc, freed when the call's scope ends. A
// failed allocation gives a null buffer that the kernel reports as a memory error (no exception
// leaves a worker thread). Every member is always inlined, like the row helpers of rows.h, so a
// kernel compiled for one instruction-set level never calls a copy compiled for another.
#pragma once

#include <cstddef>
#include <cstdlib>

namespace zkr {

template <class T> class Scratch {
public:
    [[gnu::always_inline]] explicit Scratch(std::size_t n)
        : p_(static_cast<T*>(std::malloc((n ? n : 1) * sizeof(T)))) {}
    [[gnu::always_inline]] ~Scratch() { std::free(p_); }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    [[gnu::always_inline]] T* get() const { return p_; }
    [[gnu::always_inline]] explicit operator bool() const { return p_ != nullptr; }

private:
    T* p_;
};

}  // namespace zkr
