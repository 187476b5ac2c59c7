// libzkrs vector functions against the reference arithmetic on every level,
// and their argument checks.
#include "test_support.h"
#include "zkrs.h"

namespace zkrtest {
namespace {

class ZkrsVectors : public LibraryStateTest {};

const int kLengths[] = {1, 7, 64, 1000};
const int kScales[] = {0, 1, 3, -2, 17, INT_MIN};

// Calls one zkrs function with or without its scale factor.
template <class T, class F> ZkrStatus callBinary(F f, const T* a, const T* b, T* d, int len, int sf) {
    if constexpr (std::is_invocable_v<F, const T*, const T*, T*, int, int>) return f(a, b, d, len, sf);
    else return f(a, b, d, len);
}
template <class T, class F> ZkrStatus callConst(F f, const T* a, T v, T* d, int len, int sf) {
    if constexpr (std::is_invocable_v<F, const T*, T, T*, int, int>) return f(a, v, d, len, sf);
    else return f(a, v, d, len);
}

// d = a + b (add) or b - a, component by component.
template <class T, class F> void checkBinary(F f, bool add) {
    using S = typename Comp<T>::S;
    constexpr int n = Comp<T>::n;
    std::mt19937 rng(5);
    forEachLevel([&](const Level&) {
        for (int len : kLengths) {
            for (int sf : kScales) {
                std::vector<S> a(std::size_t(len) * n), b(a.size()), d(a.size() + 1);
                fillRandom(a, rng);
                fillRandom(b, rng);
                fillRandom(d, rng);
                const S guard = d.back();
                ASSERT_EQ(callBinary<T>(f, reinterpret_cast<const T*>(a.data()), reinterpret_cast<const T*>(b.data()),
                                        reinterpret_cast<T*>(d.data()), len, sf),
                          zkrStsNoErr);
                for (std::size_t i = 0; i < a.size(); ++i) {
                    const S want = add ? refCombine<S>(a[i], b[i], true, sf) : refCombine<S>(b[i], a[i], false, sf);
                    ASSERT_TRUE(sameBits(d[i], want)) << "len " << len << " sf " << sf << " at " << i;
                }
                EXPECT_TRUE(sameBits(d.back(), guard)) << "wrote past the end";
            }
        }
    });
}

// d = a + v (add) or a - v.
template <class T, class F> void checkConst(F f, bool add) {
    std::mt19937 rng(6);
    forEachLevel([&](const Level&) {
        for (int len : kLengths) {
            for (int sf : kScales) {
                std::vector<T> a(static_cast<std::size_t>(len)), d(a.size());
                fillRandom(a, rng);
                const T v = randomComponent<T>(rng);
                ASSERT_EQ(callConst<T>(f, a.data(), v, d.data(), len, sf), zkrStsNoErr);
                for (std::size_t i = 0; i < a.size(); ++i)
                    ASSERT_TRUE(sameBits(d[i], refCombine<T>(a[i], v, add, sf))) << "len " << len << " sf " << sf;
            }
        }
    });
}

TEST_F(ZkrsVectors, BinaryFunctionsMatchReference) {
    checkBinary<Zkr8u>(&zkrsAdd_8u_Sfs, true);
    checkBinary<Zkr16s>(&zkrsAdd_16s_Sfs, true);
    checkBinary<Zkr32f>(&zkrsAdd_32f, true);
    checkBinary<Zkr32fc>(&zkrsAdd_32fc, true);
    checkBinary<Zkr8u>(&zkrsSub_8u_Sfs, false);
    checkBinary<Zkr16s>(&zkrsSub_16s_Sfs, false);
    checkBinary<Zkr32f>(&zkrsSub_32f, false);
    checkBinary<Zkr32fc>(&zkrsSub_32fc, false);
}

TEST_F(ZkrsVectors, ConstantFunctionsMatchReference) {
    checkConst<Zkr16s>(&zkrsAddC_16s_Sfs, true);
    checkConst<Zkr32f>(&zkrsAddC_32f, true);
    checkConst<Zkr16s>(&zkrsSubC_16s_Sfs, false);
    checkConst<Zkr32f>(&zkrsSubC_32f, false);
}

TEST_F(ZkrsVectors, SubIsSecondMinusFirst) {
    const Zkr16s a[] = {10, -32768}, b[] = {3, 1};
    Zkr16s d[2] = {};
    ASSERT_EQ(zkrsSub_16s_Sfs(a, b, d, 2, 0), zkrStsNoErr);
    EXPECT_EQ(d[0], -7);
    EXPECT_EQ(d[1], 32767);  // 1 + 32768 saturates
    const Zkr32f x[] = {1.0f}, y[] = {4.0f};
    Zkr32f z[1] = {};
    ASSERT_EQ(zkrsSubC_32f(y, 1.5f, z, 1), zkrStsNoErr);
    EXPECT_EQ(z[0], 2.5f);
    ASSERT_EQ(zkrsSub_32f(x, y, z, 1), zkrStsNoErr);
    EXPECT_EQ(z[0], 3.0f);
}

TEST_F(ZkrsVectors, ArgumentChecks) {
    Zkr32f a[4] = {}, b[4] = {}, d[4] = {1, 2, 3, 4};
    EXPECT_EQ(zkrsAdd_32f(nullptr, b, d, 4), zkrStsNullPtrErr);
    EXPECT_EQ(zkrsAdd_32f(a, nullptr, d, 4), zkrStsNullPtrErr);
    EXPECT_EQ(zkrsAdd_32f(a, b, nullptr, 4), zkrStsNullPtrErr);
    EXPECT_EQ(zkrsAdd_32f(a, b, nullptr, 0), zkrStsNullPtrErr) << "pointers are checked before the length";
    EXPECT_EQ(zkrsAdd_32f(a, b, d, 0), zkrStsSizeErr);
    EXPECT_EQ(zkrsAddC_32f(a, 1.0f, d, -5), zkrStsSizeErr);
    EXPECT_EQ(zkrsAddC_32f(nullptr, 1.0f, d, 4), zkrStsNullPtrErr);
    EXPECT_EQ(zkrsSub_16s_Sfs(nullptr, nullptr, nullptr, 1, 0), zkrStsNullPtrErr);
    EXPECT_EQ(d[0], 1.0f) << "destination written on error";
    EXPECT_EQ(d[3], 4.0f);
}

}  // namespace
}  // namespace zkrtest
