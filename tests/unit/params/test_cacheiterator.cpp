// The cache iterator: limits per mode, the messages of a failed check, coarse then fine rescaling,
// and the bound on the number of tries.
#include <gtest/gtest.h>

#include <climits>

#include "qmcacheiterator.h"
#include "qmmemory.h"
#include "qmobject.h"

namespace {

class SizedObject final : public qmObject {
public:
    explicit SizedObject(int bytes) : qmObject("sized"), m_bytes(bytes) {}
    int objectSize() const override { return m_bytes; }
    int m_bytes;
};

// A controlled length whose data is "length * 4" bytes, as a 32-bit vector would be.
struct Fixture {
    qmStepIterator<int> len{1000, "Len", "length"};
    SizedObject data{4000};
    qmCacheIteratorInt cache{len, &data};
    Fixture() {
        cache.setCacheSize(1 << 20);
        len.firstValue();
        cache.firstValue();
    }
    void rebuild() { data.m_bytes = len.value() * 4; }
};

}  // namespace

TEST(CacheIteratorLimits, InAndOutOfCacheModes) {
    Fixture f;
    EXPECT_EQ(f.cache.valueString(), "inCache");
    EXPECT_EQ(f.cache.getComment(), "inCache");
    EXPECT_EQ(f.cache.lowSize(), (1 << 20) / 10);
    EXPECT_EQ(f.cache.highSize(), static_cast<int>((1 << 20) * 0.9));
    ASSERT_TRUE(f.cache.nextValue());
    EXPECT_EQ(f.cache.valueString(), "outofCache");
    EXPECT_EQ(f.cache.lowSize(), static_cast<int>((1 << 20) * 1.05));
    EXPECT_EQ(f.cache.highSize(), INT_MAX);
    EXPECT_FALSE(f.cache.nextValue());
}

TEST(CacheIteratorLimits, UnknownCacheSizeGivesZeroInCacheLimits) {
    Fixture f;
    f.cache.setCacheSize(0);
    EXPECT_EQ(f.cache.lowSize(), 0);
    EXPECT_EQ(f.cache.highSize(), 0);
}

TEST(CacheIteratorCheck, TooSmallObjectIsReportedWithItsSize) {
    Fixture f;
    EXPECT_FALSE(f.cache.validateSize());
    EXPECT_EQ(f.cache.message(), qmString("      1000 try: cacheParm=inCache objectSize=4000 < 104857\n"));
}

TEST(CacheIteratorCheck, FittingObjectPassesAndClearsTheMessage) {
    Fixture f;
    f.data.m_bytes = 200000;
    EXPECT_TRUE(f.cache.validateSize());
    EXPECT_TRUE(f.cache.message().empty());
}

TEST(CacheIteratorCheck, WithoutWatchedObjectTheLiveBlocksCount) {
    qmStepIterator<int> len{16, "Len", "length"};
    qmCacheIteratorInt cache(len, nullptr);
    cache.setCacheSize(1 << 20);
    len.firstValue();
    cache.firstValue();
    void* p = qmMalloc(300000, 0, 0, MEM_OBJECT_IS_BUFFER);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(cache.getTotalSize(), static_cast<int>(qmMallocTotal()));
    const bool fits = cache.validateSize();
    qmFree(p);
    EXPECT_TRUE(fits) << cache.message().c_str();
}

TEST(CacheIteratorRescale, FirstCoarseThenFineUntilItFits) {
    Fixture f;
    ASSERT_FALSE(f.cache.validateSize());
    ASSERT_TRUE(f.cache.repeatValue());  // coarse: the largest power-of-two multiple below the bound
    EXPECT_EQ(f.len.value(), 16000);
    f.rebuild();
    EXPECT_FALSE(f.cache.validateSize());
    ASSERT_TRUE(f.cache.repeatValue());  // fine: one doubling
    EXPECT_EQ(f.len.value(), 32000);
    f.rebuild();
    EXPECT_TRUE(f.cache.validateSize());
    EXPECT_EQ(f.cache.tries(), 0);
}

TEST(CacheIteratorRescale, TooBigTotalIsHalvedTowardsTheHighLimit) {
    int v = 1000;
    EXPECT_TRUE(qmCacheIteratorInt::updateValue(v, 30000000, 28800000, false));
    EXPECT_EQ(v, 500);
    v = 1000;
    EXPECT_TRUE(qmCacheIteratorInt::updateValue(v, 30000000, 28800000, true));
    EXPECT_EQ(v, 500);
}

TEST(CacheIteratorRescale, ValueThatWouldOverflowFails) {
    int v = 1 << 30;
    EXPECT_FALSE(qmCacheIteratorInt::updateValue(v, 10, 100, true));
    v = 1 << 20;
    EXPECT_FALSE(qmCacheIteratorInt::updateValue(v, 1, 1 << 30, false));
}

TEST(CacheIteratorRescale, ValueDroppingToZeroFails) {
    int v = 1;
    EXPECT_FALSE(qmCacheIteratorInt::updateValue(v, 100, 10, true));
    v = 1;
    EXPECT_FALSE(qmCacheIteratorInt::updateValue(v, 4000, 100, false));
}

TEST(CacheIteratorRescale, TwelfthTryFails) {
    Fixture f;
    f.len.setValue(1);
    f.data.m_bytes = 1;  // the data never grows: every check fails
    for (int i = 1; i <= qmCacheIterator::MAX_TRIES; ++i) {
        ASSERT_FALSE(f.cache.validateSize());
        EXPECT_TRUE(f.cache.repeatValue()) << "try " << i;
    }
    EXPECT_FALSE(f.cache.validateSize());
    EXPECT_FALSE(f.cache.repeatValue());
}

TEST(CacheIteratorRescale, NewModeRestartsTriesAndTheControlledParameter) {
    Fixture f;
    f.cache.validateSize();
    f.cache.repeatValue();
    EXPECT_NE(f.len.value(), 1000);
    ASSERT_TRUE(f.cache.nextValue());
    EXPECT_EQ(f.cache.tries(), 0);
    EXPECT_EQ(f.len.value(), 1000);
    EXPECT_TRUE(f.cache.message().empty());
}

TEST(CacheIteratorSize, CoarseScalingIsSharedBetweenDimensions) {
    ZkriSize s{64, 64};
    // 4096 bytes doubled 8 times (width and height in turn) passes 1000000; one halving, taken from
    // the height on a tie, brings it back below: 2^4 for the width, 2^3 for the height.
    ASSERT_TRUE(qmCacheIteratorSize::updateValue(s, 4096, 1000000, false));
    EXPECT_EQ(s.width, 1024);
    EXPECT_EQ(s.height, 512);
}

TEST(CacheIteratorSize, FineStepsChangeOneDimension) {
    ZkriSize s{64, 32};
    ASSERT_TRUE(qmCacheIteratorSize::updateValue(s, 10, 100, true));  // too small: smaller side doubles
    EXPECT_EQ(s.width, 64);
    EXPECT_EQ(s.height, 64);
    ASSERT_TRUE(qmCacheIteratorSize::updateValue(s, 100, 10, true));  // too big: larger (height on a tie)
    EXPECT_EQ(s.width, 64);
    EXPECT_EQ(s.height, 32);
    ZkriSize one{1, 1};
    EXPECT_FALSE(qmCacheIteratorSize::updateValue(one, 100, 10, true));
}

// The modes' own text (the default definition offered to the ini-file and the console) reads back.
TEST(CacheIteratorText, DefaultDefinitionReadsBack) {
    Fixture f;
    const qmString both = f.cache.defaultString();
    EXPECT_EQ(both, "inCache; outofCache");
    f.cache.translate("outofCache");
    ASSERT_TRUE(f.cache.firstValue());
    EXPECT_EQ(f.cache.value(), 1);
    f.cache.translate(both);
    ASSERT_TRUE(f.cache.firstValue());
    EXPECT_EQ(f.cache.value(), 0);
    ASSERT_TRUE(f.cache.nextValue());
    EXPECT_EQ(f.cache.value(), 1);
    EXPECT_THROW(f.cache.translate("halfCache"), qmException);
}
