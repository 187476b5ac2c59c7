// Expands p_iadd_ia_funcs.h into FamilyCase records. Assigning each function
// to a pointer of the type its entry describes checks, at compile time, that
// the list and the zkri.h declarations agree on every call form.
#include "family_cases.h"

#include <type_traits>

#include "test_support.h"

namespace zkrtest {

namespace {

template <class S> constexpr CompType compTypeOf() {
    if constexpr (std::is_same_v<S, Zkr8u>) return CompType::U8;
    else if constexpr (std::is_same_v<S, Zkr16u>) return CompType::U16;
    else if constexpr (std::is_same_v<S, Zkr16s>) return CompType::S16;
    else if constexpr (std::is_same_v<S, Zkr32s>) return CompType::S32;
    else return CompType::F32;
}

template <class T> FamilyCase describe(const char* name, Form form, int channels, const char* layout, int nval,
                                       bool hasScale) {
    using C = Comp<T>;
    const std::string n = name;
    FamilyCase c;
    c.name = n;
    c.form = form;
    c.add = n.rfind("zkriAdd", 0) == 0;
    c.channels = channels;
    c.alpha = std::string(layout) == "AC4";
    c.nval = nval;
    c.hasScale = hasScale;
    c.comp = compTypeOf<typename C::S>();
    c.comps = C::n;
    c.compBytes = int(sizeof(typename C::S));
    return c;
}

template <class... A> using Fn = ZkrStatus (*)(A...);

// The scale factor parameter is present only when HasScale.
template <bool HasScale, class... A>
using MaybeScaled = std::conditional_t<HasScale, Fn<A..., int>, Fn<A...>>;

template <bool HasScale, class F, class... A> ZkrStatus callScaled(F f, int sf, A... args) {
    if constexpr (HasScale) return f(args..., sf);
    else return f(args...);
}

// Constant argument: the element itself for nval == 1, else the array.
template <class T, int NVal> using ValueArg = std::conditional_t<NVal == 1, T, const T*>;
template <class T, int NVal> ValueArg<T, NVal> valueArg(const void* values) {
    if constexpr (NVal == 1) return *static_cast<const T*>(values);
    else return static_cast<const T*>(values);
}

template <class T, bool HasScale>
FamilyCase binCase(const char* name, int ch, const char* layout,
                   MaybeScaled<HasScale, const T*, int, const T*, int, T*, int, ZkriSize> f) {
    FamilyCase c = describe<T>(name, Form::Bin, ch, layout, 0, HasScale);
    c.call = [f](const CallArgs& a) {
        return callScaled<HasScale>(f, a.scaleFactor, static_cast<const T*>(a.src1), a.src1Step,
                                    static_cast<const T*>(a.src2), a.src2Step, static_cast<T*>(a.dst),
                                    a.dstStep, a.roi);
    };
    return c;
}

template <class T, bool HasScale>
FamilyCase binInPlaceCase(const char* name, int ch, const char* layout,
                          MaybeScaled<HasScale, const T*, int, T*, int, ZkriSize> f) {
    FamilyCase c = describe<T>(name, Form::BinInPlace, ch, layout, 0, HasScale);
    c.call = [f](const CallArgs& a) {
        return callScaled<HasScale>(f, a.scaleFactor, static_cast<const T*>(a.src1), a.src1Step,
                                    static_cast<T*>(a.dst), a.dstStep, a.roi);
    };
    return c;
}

template <class T, int NVal, bool HasScale>
FamilyCase constCase(const char* name, int ch, const char* layout,
                     MaybeScaled<HasScale, const T*, int, ValueArg<T, NVal>, T*, int, ZkriSize> f) {
    FamilyCase c = describe<T>(name, Form::Const, ch, layout, NVal, HasScale);
    c.call = [f](const CallArgs& a) {
        return callScaled<HasScale>(f, a.scaleFactor, static_cast<const T*>(a.src1), a.src1Step,
                                    valueArg<T, NVal>(a.values), static_cast<T*>(a.dst), a.dstStep, a.roi);
    };
    return c;
}

template <class T, int NVal, bool HasScale>
FamilyCase constInPlaceCase(const char* name, int ch, const char* layout,
                            MaybeScaled<HasScale, ValueArg<T, NVal>, T*, int, ZkriSize> f) {
    FamilyCase c = describe<T>(name, Form::ConstInPlace, ch, layout, NVal, HasScale);
    c.call = [f](const CallArgs& a) {
        return callScaled<HasScale>(f, a.scaleFactor, valueArg<T, NVal>(a.values), static_cast<T*>(a.dst),
                                    a.dstStep, a.roi);
    };
    return c;
}

template <class T>
FamilyCase unaryInPlaceCase(const char* name, int ch, const char* layout, Fn<T*, int, ZkriSize> f) {
    FamilyCase c = describe<T>(name, Form::UnaryInPlace, ch, layout, 0, false);
    c.call = [f](const CallArgs& a) { return f(static_cast<T*>(a.dst), a.dstStep, a.roi); };
    return c;
}

std::vector<FamilyCase> expandTable() {
    std::vector<FamilyCase> cases;
#define ZK_BIN(func, T, nch, layout, hasScale) cases.push_back(binCase<T, hasScale>(#func, nch, #layout, &func));
#define ZK_BIN_I(func, T, nch, layout, hasScale) \
    cases.push_back(binInPlaceCase<T, hasScale>(#func, nch, #layout, &func));
#define ZK_CONST(func, T, nch, layout, nval, hasScale) \
    cases.push_back(constCase<T, nval, hasScale>(#func, nch, #layout, &func));
#define ZK_CONST_I(func, T, nch, layout, nval, hasScale) \
    cases.push_back(constInPlaceCase<T, nval, hasScale>(#func, nch, #layout, &func));
#define ZK_UNARY_I(func, T, nch, layout) cases.push_back(unaryInPlaceCase<T>(#func, nch, #layout, &func));
#include "p_iadd_ia_funcs.h"
#undef ZK_BIN
#undef ZK_BIN_I
#undef ZK_CONST
#undef ZK_CONST_I
#undef ZK_UNARY_I
    return cases;
}

}  // namespace

const std::vector<FamilyCase>& familyCases() {
    static const std::vector<FamilyCase> cases = expandTable();
    return cases;
}

}  // namespace zkrtest
