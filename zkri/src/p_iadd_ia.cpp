// TimiAdd: the element-wise addition family (Add, Sub, AddC, SubC, Complement) over image sizes and
// scale factors. One test per library function; the timed entries of every function are generated
// from the function table.
#include "zkri.h"
#include "zk.h"

namespace {

// Module-level data, shared by all tests of the module (one test runs at a time).
zkScaleIterator s_scale;
zkImage s_src1("src1"), s_src2("src2"), s_dst("dst");
int s_step = 0;
ZkriSize s_roi{0, 0};
const void* s_pSrc1 = nullptr;
const void* s_pSrc2 = nullptr;
void* s_pDst = nullptr;

// The constant of AddC/SubC: small enough that most results stay unsaturated.
template <class T>
struct zkAddValue {
    static constexpr T value[4] = {T(3), T(5), T(7), T(9)};
};
template <>
struct zkAddValue<Zkr16sc> {
    static constexpr Zkr16sc value[4] = {{3, -2}, {5, 1}, {7, -4}, {9, 2}};
};
template <>
struct zkAddValue<Zkr32sc> {
    static constexpr Zkr32sc value[4] = {{3, -2}, {5, 1}, {7, -4}, {9, 2}};
};
template <>
struct zkAddValue<Zkr32fc> {
    static constexpr Zkr32fc value[4] = {{0.25f, -0.5f}, {0.5f, 0.125f}, {0.75f, -0.25f}, {1.0f, 0.5f}};
};

class TimiAdd : public zkTest {
public:
    TimiAdd(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkTest(call, nullptr, loop, stat, qmString(func), qmString(__FILE__), qmString("TimiAdd//ZK_REG")) {}

    bool canStart() override {
        s_scale.init(m_func);
        regCacheParm(g_imageSize, &s_src1);
        addParameter(&g_imageSize);
        addParameter(&s_scale);  // the scale factor varies fastest
        return true;
    }

    bool initData() override {
        s_roi = g_imageSize.value();
        s_src1.initFromFunc(m_func, zkSrc);
        s_src2.initFromFunc(m_func, zkSrc2);
        s_dst.initFromFunc(m_func, zkDst);
        if (!s_src1.createImage(s_roi) || !s_src2.createImage(s_roi) || !s_dst.createImage(s_roi)) return false;
        // Sources get the type's default patterns; an in-place destination is a source too.
        s_src1.setJaehne();
        s_src2.setRandom();
        if (m_func.inplace()) s_dst.setRandom();
        s_step = s_src1.step();
        s_pSrc1 = s_src1.roiPointer();
        s_pSrc2 = s_src2.roiPointer();
        s_pDst = s_dst.roiPointer();
        return true;
    }

    void flushData() override {
        s_src1.deleteVector();
        s_src2.deleteVector();
        s_dst.deleteVector();
    }

    double getDivisor() override {
        return double(s_roi.width) * s_roi.height * zkImage::numActualChannels(m_func, zkSrc);
    }

    qmString getUnit() override { return "pxch"; }
};

template <class T>
const T* src1() { return static_cast<const T*>(s_pSrc1); }
template <class T>
const T* src2() { return static_cast<const T*>(s_pSrc2); }
template <class T>
T* dst() { return static_cast<T*>(s_pDst); }

// Arguments that depend on the call form of the table.
#define ZK_SCALE_1 , s_scale.value()
#define ZK_SCALE_0
#define ZK_SCALE(hasScale) ZK_SCALE_##hasScale
#define ZK_VALUE_1(T) zkAddValue<T>::value[0]
#define ZK_VALUE_3(T) zkAddValue<T>::value
#define ZK_VALUE_4(T) zkAddValue<T>::value
#define ZK_VALUE(T, nval) ZK_VALUE_##nval(T)

// First expansion: the timed entries of every function.
#define ZK_BIN(func, T, nch, layout, hasScale) \
    ZK_TIMED_ENTRIES(func, func(src1<T>(), s_step, src2<T>(), s_step, dst<T>(), s_step, s_roi ZK_SCALE(hasScale)))
#define ZK_BIN_I(func, T, nch, layout, hasScale) \
    ZK_TIMED_ENTRIES(func, func(src1<T>(), s_step, dst<T>(), s_step, s_roi ZK_SCALE(hasScale)))
#define ZK_CONST(func, T, nch, layout, nval, hasScale)                                                   \
    ZK_TIMED_ENTRIES(func, func(src1<T>(), s_step, ZK_VALUE(T, nval), dst<T>(), s_step, s_roi ZK_SCALE(hasScale)))
#define ZK_CONST_I(func, T, nch, layout, nval, hasScale) \
    ZK_TIMED_ENTRIES(func, func(ZK_VALUE(T, nval), dst<T>(), s_step, s_roi ZK_SCALE(hasScale)))
#define ZK_UNARY_I(func, T, nch, layout) ZK_TIMED_ENTRIES(func, func(dst<T>(), s_step, s_roi))
#include "p_iadd_ia_funcs.h"
#undef ZK_BIN
#undef ZK_BIN_I
#undef ZK_CONST
#undef ZK_CONST_I
#undef ZK_UNARY_I

// Second expansion: one registration per function, in table order.
#define ZK_REG(func) \
    [[maybe_unused]] const bool reg_##func = qmRegTest(new TimiAdd(&tcall_##func, &tim_##func##_loop, &tim_##func##_stat, #func));
#define ZK_BIN(func, ...) ZK_REG(func)
#define ZK_BIN_I(func, ...) ZK_REG(func)
#define ZK_CONST(func, ...) ZK_REG(func)
#define ZK_CONST_I(func, ...) ZK_REG(func)
#define ZK_UNARY_I(func, ...) ZK_REG(func)
#include "p_iadd_ia_funcs.h"

}  // namespace
