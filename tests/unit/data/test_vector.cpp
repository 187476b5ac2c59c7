// zkVector: placement by byte and by element, typed views, fills against their formulas,
// reserved copies and printers.
#include <cfloat>
#include <cmath>
#include <cstring>
#include <vector>
#include "test_memory_fixture.h"
#include "zkvector.h"

class Vector : public DataTest {};

// ---------------------------------------------------------------- creation and placement

TEST_F(Vector, TypeFromFunctionArgument) {
    zkVector src(zkFunc("zkriConvert_8u32f_C1R"), zkSrc), dst(zkFunc("zkriConvert_8u32f_C1R"), zkDst);
    EXPECT_EQ(src.type(), zk8u);
    EXPECT_EQ(dst.type(), zk32f);
    EXPECT_EQ(src.name(), "src");
    EXPECT_EQ(dst.name(), "dst");
}

TEST_F(Vector, CreateSetsLengthViewAndZeros) {
    zkVector v(zk32f);
    ASSERT_TRUE(v.createVector(10));
    EXPECT_EQ(v.length(), 10);
    EXPECT_EQ(v.bytes(), 40);
    EXPECT_EQ(v.objectSize(), 40);
    ASSERT_EQ(v.ptr<Zkr32f>(), v.data());
    EXPECT_EQ(v.ptr<Zkr8u>(), nullptr);  // only the matching view is set
    EXPECT_EQ(v.ptr<Zkr32s>(), nullptr);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(v.ptr<Zkr32f>()[i], 0.0f);
    int size;
    void* owner;
    ASSERT_TRUE(qmMallocInfo(v.data(), &size, &owner));
    EXPECT_EQ(size, 40);
    EXPECT_EQ(owner, &v);
}

TEST_F(Vector, LengthZeroAllocatesNothing) {
    zkVector v(zk64f);
    EXPECT_TRUE(v.createVector(0));
    EXPECT_EQ(v.data(), nullptr);
    EXPECT_EQ(qmMallocCount(), 0);
    EXPECT_EQ(qmVectorPlacement::m_vectorNum, 0);
    EXPECT_TRUE(v.createVector(0, SET_RANDOM, 0, 1));
    EXPECT_FALSE(v.reserveCopy());
}

TEST_F(Vector, ByElementAlignOnFloatIsFourBytesAndSecondIsAlignedWithFirstOnly) {
    setPlacement(1, false, 0, true);
    zkVector a(zk32f), b(zk32f);
    ASSERT_TRUE(a.createVector(16));
    ASSERT_TRUE(b.createVector(16));
    EXPECT_EQ(offset64(a.data()), 4);
    EXPECT_EQ(offset64(b.data()), 0);
}

TEST_F(Vector, ByElementAndByByteUnits) {
    setPlacement(1, false, 0, false);
    zkVector a(zk32f), b(zk64fc), c(zk16s);
    a.createVector(4);
    b.createVector(4);
    c.createVector(4);
    EXPECT_EQ(offset64(a.data()), 4);
    EXPECT_EQ(offset64(b.data()), 16);
    EXPECT_EQ(offset64(c.data()), 2);
    qmSetAlignByByte(true);
    a.createVector(4);
    b.createVector(4);
    EXPECT_EQ(offset64(a.data()), 1);
    EXPECT_EQ(offset64(b.data()), 1);
}

TEST_F(Vector, Align63ByElementOn64BitDataGives56) {
    setPlacement(63, false, 0, false);
    for (zkType t : {zk64f, zk64s, zk64u}) {
        zkVector v(t);
        ASSERT_TRUE(v.createVector(8));
        EXPECT_EQ(offset64(v.data()), 56) << t;  // 63 * 8 = 504, 504 mod 64 = 56
    }
}

TEST_F(Vector, RecreatingFreesTheOldBlock) {
    zkVector v(zk8u);
    v.createVector(100);
    v.createVector(50);
    EXPECT_EQ(qmMallocCount(), 1);
    EXPECT_EQ(qmMallocTotal(), 50);
    v.deleteVector();
    EXPECT_EQ(qmMallocCount(), 0);
    EXPECT_EQ(v.length(), 0);
    EXPECT_EQ(v.ptr<Zkr8u>(), nullptr);
}

TEST_F(Vector, DestructorFreesDataAndCopy) {
    {
        zkVector v(zk16u);
        v.createVector(10);
        v.reserveCopy();
        EXPECT_EQ(qmMallocCount(), 1);
    }
    EXPECT_EQ(qmMallocCount(), 0);  // the reserved copy is checked by the leak sanitizer
}

TEST_F(Vector, AllocationFailureReportsTheObjectName) {
    zkVector v(zk64fc, "pSrc");
    ConsoleCapture out(ERR);
    EXPECT_FALSE(v.createVector(0x7fffffff));
    EXPECT_FALSE(v.createVector(-3));
    EXPECT_EQ(out.text(), "-- Fail to allocate pSrc data\n-- Fail to allocate pSrc data\n");
    EXPECT_EQ(v.data(), nullptr);
}

// ---------------------------------------------------------------- fills

TEST_F(Vector, ConstMinMax) {
    zkVector v(zk16s);
    v.createVector(5, SET_CONST, -7, 0);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(v.ptr<Zkr16s>()[i], -7);
    v.setMinValue();
    EXPECT_EQ(v.ptr<Zkr16s>()[4], -32768);
    v.setMaxValue();
    EXPECT_EQ(v.ptr<Zkr16s>()[0], 32767);

    zkVector c(zk32fc);
    c.createVector(3, SET_CONST, 1.5, -2.5);
    EXPECT_EQ(c.ptr<Zkr32fc>()[2].re, 1.5f);
    EXPECT_EQ(c.ptr<Zkr32fc>()[2].im, -2.5f);
    c.setConst();
    EXPECT_EQ(c.ptr<Zkr32fc>()[1].im, 0.0f);
}

TEST_F(Vector, JaehneLimitsFollowTheType) {
    double magn = 1000, offset;
    zkVector::jaehneLimits(zk8u, magn, offset);
    EXPECT_EQ(magn, 127.5);
    EXPECT_EQ(offset, 127.5);
    magn = 1000;
    zkVector::jaehneLimits(zk8s, magn, offset);
    EXPECT_EQ(magn, 127.5);
    EXPECT_EQ(offset, 0.0);
    magn = 50;
    zkVector::jaehneLimits(zk16u, magn, offset);
    EXPECT_EQ(magn, 50.0);
    EXPECT_EQ(offset, 32767.5);
    magn = 1e300;
    zkVector::jaehneLimits(zk64f, magn, offset);
    EXPECT_EQ(magn, 1e300);
    EXPECT_EQ(offset, 0.0);
    magn = 1e300;
    zkVector::jaehneLimits(zk32f, magn, offset);
    EXPECT_EQ(magn, static_cast<double>(FLT_MAX));
}

// Expected chirp value stored into an integer type: truncation toward zero, low bits kept.
template <class T>
T chirp(int n, int len, double magn, double offset) {
    const long long v = static_cast<long long>(std::sin(M_PI / 2 / len * n * n) * magn + offset);
    return static_cast<T>(v);
}

TEST_F(Vector, Jaehne8uWithLargeMagnitudeMatchesTheFormula) {
    zkVector v(zk8u);
    v.createVector(64);
    ASSERT_TRUE(v.setJaehne(1000));
    for (int n = 0; n < 64; ++n) EXPECT_EQ(v.ptr<Zkr8u>()[n], chirp<Zkr8u>(n, 64, 127.5, 127.5)) << n;
    EXPECT_EQ(v.ptr<Zkr8u>()[0], 127);  // sin 0: the offset truncated
}

TEST_F(Vector, JaehneSignedAndFloat) {
    zkVector s(zk16s), f(zk32f), d(zk64f);
    s.createVector(50);
    f.createVector(50);
    d.createVector(50);
    ASSERT_TRUE(s.setJaehne(1000));
    ASSERT_TRUE(f.setJaehne(2.5));
    ASSERT_TRUE(d.setJaehne());  // floating default magnitude 1
    for (int n = 0; n < 50; ++n) {
        EXPECT_EQ(s.ptr<Zkr16s>()[n], chirp<Zkr16s>(n, 50, 1000, 0));
        EXPECT_FLOAT_EQ(f.ptr<Zkr32f>()[n], static_cast<float>(std::sin(M_PI / 2 / 50 * n * n) * 2.5));
        EXPECT_DOUBLE_EQ(d.ptr<Zkr64f>()[n], std::sin(M_PI / 2 / 50 * n * n));
    }
}

TEST_F(Vector, JaehneFullRangeOfWideIntegersWrapsWithoutSaturation) {
    zkVector u(zk32u), l(zk64u);
    u.createVector(200);
    l.createVector(200);
    ASSERT_TRUE(u.setJaehne());
    ASSERT_TRUE(l.setJaehne());
    bool sawHigh = false;
    for (int n = 0; n < 200; ++n) {
        const double x = std::sin(M_PI / 2 / 200 * n * n) * 2147483647.5 + 2147483647.5;
        EXPECT_EQ(u.ptr<Zkr32u>()[n], static_cast<Zkr32u>(static_cast<long long>(x))) << n;
        sawHigh = sawHigh || u.ptr<Zkr32u>()[n] > 4000000000u;
        // 64u: values up to 2^64 keep their low 64 bits; exactly 2^64 becomes 0.
        const double y = std::sin(M_PI / 2 / 200 * n * n) * 9223372036854775807.5 + 9223372036854775807.5;
        const Zkr64u expect = y >= 18446744073709551616.0 ? 0 : static_cast<Zkr64u>(y);
        EXPECT_EQ(l.ptr<Zkr64u>()[n], expect) << n;
    }
    EXPECT_TRUE(sawHigh);
}

TEST_F(Vector, JaehneNegativeMagnitudeFillsNothing) {
    zkVector v(zk8u);
    v.createVector(8, SET_CONST, 9, 0);
    EXPECT_FALSE(v.setJaehne(-1));
    EXPECT_EQ(v.ptr<Zkr8u>()[3], 9);
    zkVector empty(zk8u);
    EXPECT_FALSE(empty.setJaehne(1));
}

TEST_F(Vector, ComplexJaehneFillsSinAndCos) {
    zkVector v(zk16sc);
    v.createVector(20);
    ASSERT_TRUE(v.setJaehne(100));
    for (int n = 0; n < 20; ++n) {
        const double phase = M_PI / 2 / 20 * n * n;
        EXPECT_EQ(v.ptr<Zkr16sc>()[n].re, static_cast<Zkr16s>(std::sin(phase) * 100));
        EXPECT_EQ(v.ptr<Zkr16sc>()[n].im, static_cast<Zkr16s>(std::cos(phase) * 100));
    }
    zkVector real(zk32f);
    real.createVector(4);
    EXPECT_FALSE(real.setCplxJaehne(1));
}

TEST_F(Vector, SequenceUnlimitedLimitedAndWrapping) {
    zkVector v(zk32s);
    v.createVector(7);
    v.setSequence(10, -3);
    EXPECT_EQ(std::vector<Zkr32s>(v.ptr<Zkr32s>(), v.ptr<Zkr32s>() + 7),
              (std::vector<Zkr32s>{10, 7, 4, 1, -2, -5, -8}));
    v.setSequence(0, 2, 5, true);
    EXPECT_EQ(std::vector<Zkr32s>(v.ptr<Zkr32s>(), v.ptr<Zkr32s>() + 7), (std::vector<Zkr32s>{0, 2, 4, 0, 2, 4, 0}));
    v.setSequence(0, 2, 5, false);
    EXPECT_EQ(std::vector<Zkr32s>(v.ptr<Zkr32s>(), v.ptr<Zkr32s>() + 7), (std::vector<Zkr32s>{0, 2, 4, 5, 5, 5, 5}));

    zkVector b(zk8u);
    b.createVector(4, SET_SEQUENCE, 254, 1);  // no saturation: the low byte is kept
    EXPECT_EQ(std::vector<Zkr8u>(b.ptr<Zkr8u>(), b.ptr<Zkr8u>() + 4), (std::vector<Zkr8u>{254, 255, 0, 1}));

    zkVector c(zk64fc);
    c.createVector(3, SET_SEQUENCE, 1, 0.5);
    EXPECT_EQ(c.ptr<Zkr64fc>()[2].re, 2.0);
    EXPECT_EQ(c.ptr<Zkr64fc>()[2].im, -2.0);
}

TEST_F(Vector, RandomIsInRangeAndReproducible) {
    zkVector a(zk8s), b(zk8s);
    a.createVector(4000, SET_RANDOM, -3, 2);
    std::vector<int> counts(6, 0);
    for (int i = 0; i < 4000; ++i) {
        const int v = a.ptr<Zkr8s>()[i];
        ASSERT_TRUE(v >= -3 && v <= 2) << v;
        ++counts[v + 3];
    }
    for (int c : counts) EXPECT_GT(c, 500);  // every value, roughly evenly

    // The same placement number and seed give the same data; the next buffer differs.
    std::vector<Zkr8s> first(a.ptr<Zkr8s>(), a.ptr<Zkr8s>() + 4000);
    b.createVector(4000, SET_RANDOM, -3, 2);
    EXPECT_NE(std::memcmp(first.data(), b.data(), 4000), 0);
    qmVectorPlacement::resetPlacement();
    a.createVector(4000, SET_RANDOM, -3, 2);
    EXPECT_EQ(std::memcmp(first.data(), a.data(), 4000), 0);

    zkVector f(zk32f);
    f.createVector(1000);
    ASSERT_TRUE(f.setRandom());
    for (int i = 0; i < 1000; ++i) ASSERT_TRUE(f.ptr<Zkr32f>()[i] >= -1.0f && f.ptr<Zkr32f>()[i] <= 1.0f);
    EXPECT_FALSE(f.setRandom(2, 1));
}

TEST_F(Vector, RandomSeedChangesTheData) {
    zkVector a(zk32u);
    a.createVector(64, SET_RANDOM, 0, 4e9);
    std::vector<Zkr32u> before(a.ptr<Zkr32u>(), a.ptr<Zkr32u>() + 64);
    const unsigned saved = zkVector::m_seed;
    zkVector::m_seed = saved + 1000;
    a.setRandom(0, 4e9);
    zkVector::m_seed = saved;
    EXPECT_NE(before, std::vector<Zkr32u>(a.ptr<Zkr32u>(), a.ptr<Zkr32u>() + 64));
}

// ---------------------------------------------------------------- reserved copies

TEST_F(Vector, ReservedCopyRestoresAnOverwrittenInput) {
    zkVector v(zk16u);
    EXPECT_FALSE(v.reserveCopy());
    EXPECT_FALSE(v.setReservedCopy());
    v.createVector(32, SET_SEQUENCE, 1, 1);
    ASSERT_TRUE(v.reserveCopy());
    v.setConst(0, 0);
    ASSERT_TRUE(v.setReservedCopy());
    for (int i = 0; i < 32; ++i) EXPECT_EQ(v.ptr<Zkr16u>()[i], i + 1);
    v.deleteReservedCopy();
    EXPECT_FALSE(v.setReservedCopy());
    EXPECT_EQ(v.reservedCopy(), nullptr);
}

TEST_F(Vector, ReserveAndRestoreAllVectors) {
    zkVector a(zk8u), b(zk32f), none(zk8u);
    a.createVector(10, SET_CONST, 5, 0);
    b.createVector(10, SET_CONST, 1.25, 0);
    ASSERT_TRUE(zkVector::reserveAllVectors());
    a.setConst(0, 0);
    b.setConst(0, 0);
    ASSERT_TRUE(zkVector::restoreAllVectors());
    EXPECT_EQ(a.ptr<Zkr8u>()[9], 5);
    EXPECT_EQ(b.ptr<Zkr32f>()[9], 1.25f);
}

// ---------------------------------------------------------------- printers

TEST_F(Vector, PrintersUseTheTypeFormats) {
    zkVector b(zk8u);
    b.createVector(3, SET_SEQUENCE, 9, 3);
    EXPECT_EQ(b.vectorStringReal(), " 09 0C 0F");
    EXPECT_EQ(b.vectorStringReal(1, 1), " 0C");
    EXPECT_EQ(b.vectorStringReal(2, 100), " 0F");

    zkVector s(zk8s);
    s.createVector(1, SET_CONST, -1, 0);
    EXPECT_EQ(s.vectorStringReal(), " FF");

    zkVector c(zk32fc);
    c.createVector(1, SET_CONST, 1.5, -2);
    EXPECT_EQ(c.vectorStringCplx(), qmString::format(" (%14.6g,%14.6g)", 1.5, -2.0));
    EXPECT_EQ(c.vectorStringReal(), qmString::format(" %14.6g %14.6g", 1.5, -2.0));

    zkVector d(zk64fc);
    d.createVector(1, SET_CONST, 0.1, 3);
    EXPECT_EQ(d.vectorStringCplx(), qmString::format(" (%20.12g,%20.12g)", 0.1, 3.0));

    zkVector i(zk32s);
    i.createVector(2, SET_SEQUENCE, -1, 1);
    EXPECT_EQ(i.vectorStringCplx(), " -1 0");  // a real vector prints as real
}

// Beyond 8 MB a vector repeats its drawn part; the part itself is random.
TEST_F(Vector, LargeRandomVectorRepeatsItsFirstEightMegabytes) {
    zkVector v(zk32f);
    const int tile = (8 << 20) / 4, n = 2 * tile + 1000;
    v.createVector(n);
    ASSERT_TRUE(v.setRandom(-1, 1));
    const Zkr32f* p = v.ptr<Zkr32f>();
    EXPECT_NE(p[0], p[1]);
    EXPECT_NE(p[tile - 1], p[tile - 2]);
    EXPECT_EQ(std::memcmp(p, p + tile, std::size_t(tile) * 4), 0);
    EXPECT_EQ(std::memcmp(p, p + 2 * tile, 1000 * 4), 0);
}
