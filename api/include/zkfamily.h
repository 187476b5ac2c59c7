// What the test module of a library family shares with every other: the
// argument bag its timed calls read, a typed constant, and zkImageTest, the
// image module base that carries the images, steps, pointers, size and
// scale-factor parameters, cache registration and the "pxch" divisor.
// A module includes zkrcore.h, zk.h and this header, defines its test class
// (usually a zkImageTest with its own data), then expands its family table
// with zkfamily.inc.
#ifndef ZKFAMILY_H
#define ZKFAMILY_H

#include <cstdint>
#include <initializer_list>

#include "qmtest.h"
#include "zkimage.h"
#include "zkr_call.hpp"
#include "zkscaleiterator.h"

// The parameters of the library's image call forms as a module's data gives
// them, kept untyped: each timed call converts them to its function's
// parameter types at compile time (zkr::bindArg). A family whose forms have
// other parameters derives a bag with members of those names.
struct zkImageArgs : zkr::ImageArgs {};

// Up to four elements of a function's element type (one per channel), set
// from real and imaginary parts, converted with rounding and saturation.
class zkConstant {
public:
    static constexpr int MAX_ELEMS = 4;

    // False for an undefined type or more than MAX_ELEMS values.
    bool set(zkType type, std::initializer_list<double> re, std::initializer_list<double> im = {});
    const void* data() const { return m_bytes; }
    zkType type() const { return m_type; }

private:
    alignas(16) unsigned char m_bytes[MAX_ELEMS * 16] = {};
    zkType m_type = zkUndef;
};

// The data every image module keeps at module level (one set per module, shared by its tests, since
// one test runs at a time): three images, the scale factors and the argument bag that points into them.
struct zkImageData {
    // Out of line (zkfamily.cpp), so that the modules do not each compile the members' set-up.
    zkImageData();
    ~zkImageData();
    zkImageData(const zkImageData&) = delete;
    zkImageData& operator=(const zkImageData&) = delete;

    zkScaleIterator scale;
    zkImage src1{"src1"}, src2{"src2"}, dst{"dst"};
    zkImageArgs* args = nullptr;  // the bag the module's timed calls read
};

// An image test: sweeps the shared image size (its cache-capable parameter) and, for "Sfs"
// functions, the scale factor, fastest; creates the sources and the destination in the function's
// layout, fills the sources (the destination too when it is also a source) and points the argument
// bag at them. Results are per processed channel element ("pxch").
class zkImageTest : public zkTest {
public:
    zkImageTest(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func, const char* file,
                const char* id, zkImageData& data);

    bool canStart() override;
    bool initData() override;
    void flushData() override;
    double getDivisor() override;
    qmString getUnit() override;

protected:
    // Fills the created images; the default gives the first source rings, the second source and an
    // in-place destination random data. Returns false when a fill fails.
    virtual bool fillImages();

    zkImageData& m_data;
    ZkriSize m_roi{0, 0};
};

#endif
