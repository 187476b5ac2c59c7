#include <gtest/gtest.h>

#include "qmgeometry.h"

TEST(Geometry, SizeTextRoundTrip) {
    EXPECT_EQ(qmToString(ZkriSize{64, 32}), "64x32");
    ZkriSize s{};
    ASSERT_TRUE(qmFromString(" 64x32 ", s));
    EXPECT_EQ(s, (ZkriSize{64, 32}));
    ASSERT_TRUE(qmFromString("7 X 9", s));
    EXPECT_EQ(s, (ZkriSize{7, 9}));
    ASSERT_TRUE(qmFromString("128", s));  // one number: square
    EXPECT_EQ(s, (ZkriSize{128, 128}));
    ASSERT_TRUE(qmFromString("-3x-5", s));
    EXPECT_EQ(s, (ZkriSize{-3, -5}));
}

TEST(Geometry, SizeRejectsMalformedAndKeepsTarget) {
    ZkriSize s{1, 2};
    for (const char* bad : {"", "x", "64x", "x32", "64x32x1", "0x10x", "64*32", "6 4x3", "99999999999x1", "1.5x2"})
        EXPECT_FALSE(qmFromString(bad, s)) << bad;
    EXPECT_EQ(s, (ZkriSize{1, 2}));
}

TEST(Geometry, NumbersAreDecimal) {
    int v = 0;
    ASSERT_TRUE(qmParseDecimal("010", v));
    EXPECT_EQ(v, 10);
    EXPECT_FALSE(qmParseDecimal("0x10", v));
    ASSERT_TRUE(qmParseDecimal("+7", v));
    EXPECT_EQ(v, 7);
    EXPECT_FALSE(qmParseDecimal("2147483648", v));
    double d = 0;
    ASSERT_TRUE(qmParseDecimal(" 1.5e2 ", d));
    EXPECT_DOUBLE_EQ(d, 150.0);
    EXPECT_FALSE(qmParseDecimal("1.5.", d));
}

TEST(Geometry, PointAndRectForms) {
    EXPECT_EQ(qmToString(ZkriPoint{3, -4}), "(3,-4)");
    EXPECT_EQ(qmToString(ZkriRect{1, 2, 30, 40}), "(1,2,30,40)");
    ZkriPoint p{};
    ASSERT_TRUE(qmFromString("( 3 , -4 )", p));
    EXPECT_EQ(p, (ZkriPoint{3, -4}));
    ASSERT_TRUE(qmFromString("5,6", p));
    EXPECT_EQ(p, (ZkriPoint{5, 6}));
    EXPECT_FALSE(qmFromString("(5,6", p));
    EXPECT_FALSE(qmFromString("(5,6,7)", p));
    ZkriRect r{};
    ASSERT_TRUE(qmFromString("(1,2,30,40)", r));
    EXPECT_EQ(r, (ZkriRect{1, 2, 30, 40}));
    EXPECT_FALSE(qmFromString("(1,2,30)", r));
    EXPECT_FALSE(qmFromString("()", r));
}

TEST(Geometry, StreamOperatorsAppendTextForms) {
    qmString s;
    s << "roi " << ZkriRect{0, 0, 8, 4} << " size " << ZkriSize{8, 4} << " at " << ZkriPoint{1, 1};
    EXPECT_EQ(s, "roi (0,0,8,4) size 8x4 at (1,1)");
}
