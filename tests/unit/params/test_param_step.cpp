#include <gtest/gtest.h>

#include <climits>
#include <utility>
#include <vector>

#include "qmstepiterator.h"
#include "zkscaleiterator.h"

namespace {

template <class T>
std::vector<T> walk(qmStepIterator<T>& p) {
    std::vector<T> out;
    for (bool ok = p.firstValue(); ok && out.size() < 1000; ok = p.nextValue()) out.push_back(p.value());
    return out;
}

template <class T>
std::vector<T> walkDefinition(const qmString& definition) {
    qmStepIterator<T> p(T{}, "len", "");
    p.translate(definition);
    return walk(p);
}

qmString translateError(qmParameter& p, const qmString& definition) {
    try {
        p.translate(definition);
    } catch (const qmException& e) {
        return e.info();
    }
    return "";
}

const char* const kConflict = "Conflict between iterator limits and operation";

}  // namespace

TEST(ParamStep, ArithmeticAndGeometricRanges) {
    EXPECT_EQ(walkDefinition<int>("16; 100; *2"), (std::vector<int>{16, 32, 64}));
    EXPECT_EQ(walkDefinition<int>("10; 1; -1"), (std::vector<int>{10, 9, 8, 7, 6, 5, 4, 3, 2, 1}));
    EXPECT_EQ(walkDefinition<int>("-1; -64; *2"), (std::vector<int>{-1, -2, -4, -8, -16, -32, -64}));
    EXPECT_EQ(walkDefinition<int>("16; 16; *2"), std::vector<int>{16});
    EXPECT_EQ(walkDefinition<int>("1; 10; +4"), (std::vector<int>{1, 5, 9}));
    EXPECT_EQ(walkDefinition<int>("5; -5; +-5"), (std::vector<int>{5, 0, -5}));  // '+' with a negative step counts down
    EXPECT_EQ(walkDefinition<int>("0; 9; --3"), (std::vector<int>{0, 3, 6, 9}));  // '-' with a negative step counts up
    EXPECT_EQ(walkDefinition<double>("1.5; 12; *2"), (std::vector<double>{1.5, 3, 6, 12}));
    EXPECT_EQ(walkDefinition<double>("1; 0; +-0.25"), (std::vector<double>{1, 0.75, 0.5, 0.25, 0}));
    EXPECT_EQ(walkDefinition<double>("3.5; 0.5; -1"), (std::vector<double>{3.5, 2.5, 1.5, 0.5}));
    EXPECT_EQ(walkDefinition<long long>("1; 5000000000; *100000"), (std::vector<long long>{1, 100000}));
    EXPECT_EQ(walkDefinition<long long>("4000000000; 4000000002; +1"),
              (std::vector<long long>{4000000000LL, 4000000001LL, 4000000002LL}));
}

TEST(ParamStep, ThreeItemsWithoutOperationAreAList) {
    qmStepIterator<int> p(0, "len", "");
    p.translate("1; 2; 3");
    EXPECT_FALSE(p.isRange());
    EXPECT_EQ(p.operation(), '?');
    EXPECT_EQ(walk(p), (std::vector<int>{1, 2, 3}));
    // Four items are a list, in which "*3" is not a number.
    EXPECT_EQ(translateError(p, "1; 2; *3; 4"), "Invalid value of len = *3");
}

// A conflict names the parameter, the definition and the rule it breaks.
TEST(ParamStep, ConflictsFollowTheRangeRules) {
    qmStepIterator<int> p(0, "len", "");
    const std::pair<const char*, const char*> cases[] = {
        {"1; 10; +0", "'+' from a lower to a higher limit needs a step of at least 1"},
        {"10; 1; +1", "'+' from a higher to a lower limit needs a step below 1"},
        {"1; 10; -1", "'-' from a lower to a higher limit needs a step below 1"},
        {"10; 1; -0", "'-' from a higher to a lower limit needs a step of at least 1"},
        {"0; 64; *2", "'*' needs both limits at least 1 or both negative"},   // a zero limit
        {"-1; 64; *2", "'*' needs both limits at least 1 or both negative"},  // limits of different sign
        {"1; 64; *1", "'*' needs a step above 1"},
        {"64; 1; *2", "'*' with positive limits needs the first below the last"},
        {"-64; -1; *2", "'*' with negative limits needs the first above the last"},
        {"-16; -16; *2", "'*' with negative limits needs the first above the last"}};  // equal ones do not descend
    for (const auto& [def, rule] : cases)
        EXPECT_EQ(translateError(p, def), qmString(kConflict) + " in len = " + def + ": " + rule) << def;
    qmStepIterator<double> d(1.0, "gain", "");
    EXPECT_EQ(translateError(d, "0.5; 4; *2"),  // a positive limit below 1
              qmString(kConflict) + " in gain = 0.5; 4; *2: '*' needs both limits at least 1 or both negative");
    EXPECT_TRUE(translateError(d, "0; 1; +0.25").startsWith(kConflict));  // the step rules hold for fractions too
    EXPECT_EQ(translateError(p, "10; 1; +0"), "");  // allowed, and the walk still ends
    EXPECT_EQ(walk(p), std::vector<int>{10});
    // A range built in code that breaks a rule is told the same way.
    try {
        qmStepIterator<int> bad(1, 10, '*', 1, "steps", "");
        ADD_FAILURE() << "accepted";
    } catch (const qmException& e) {
        EXPECT_STREQ(e.info(), "Conflict between iterator limits and operation in steps = 1; 10; *1: '*' needs a step above 1");
        EXPECT_EQ(qmString(e.msg()).find("--ZKR. Exception: "), 0);  // an exception, not a signal
    }
}

TEST(ParamStep, BadLimitsAndSteps) {
    qmStepIterator<int> p(0, "len", "");
    EXPECT_EQ(translateError(p, "a; 10; +1"), "Invalid first value = a of len = a; 10; +1");
    EXPECT_EQ(translateError(p, "1; 1e; +1"), "Invalid last value = 1e of len = 1; 1e; +1");
    EXPECT_EQ(translateError(p, "1; 10; +"), "Invalid step = + of len = 1; 10; +");
    EXPECT_EQ(translateError(p, "1; 10; *two"), "Invalid step = *two of len = 1; 10; *two");
    p.translate("4; 8; +2");
    EXPECT_TRUE(translateError(p, "1; 10; +0").startsWith(kConflict));
    EXPECT_EQ(walk(p), (std::vector<int>{4, 6, 8}));  // a rejected definition changes nothing
}

// Declared limits hold for both limits of a range (every value lies between them) and for each
// dimension of a size; the message names the parameter, the value and the allowed range.
TEST(ParamStep, LimitsOfARange) {
    qmStepIterator<int> p(8, "orderX", "");
    p.setLimits(0, 13);
    EXPECT_EQ(translateError(p, "2; 20; +1"), "Invalid value of orderX = 20 (allowed: 0 to 13)");
    EXPECT_EQ(translateError(p, "-1; 4; +1"), "Invalid value of orderX = -1 (allowed: 0 to 13)");
    EXPECT_EQ(translateError(p, "13; 0; -13"), "");  // the limits themselves are allowed
    EXPECT_EQ(walk(p), (std::vector<int>{13, 0}));
    zkSizeIterator s(ZkriSize{64, 64}, "Size", "");
    s.setLimits({1, 1}, {1024, 512});
    EXPECT_EQ(translateError(s, "16x16; 1024x1024; *2"), "Invalid value of Size = 1024x1024 (allowed: 1x1 to 1024x512)");
    EXPECT_EQ(translateError(s, "0x4"), "Invalid value of Size = 0x4 (allowed: 1x1 to 1024x512)");
    EXPECT_EQ(translateError(s, "1024x512; 1x1; 16x16"), "");
    EXPECT_EQ(s.prompt(), " {1x1 to 1024x512}");
}

TEST(ParamStep, TextForms) {
    qmStepIterator<int> p(16, 1024, '*', 2, "len", "Vector length");
    EXPECT_EQ(p.defaultString(), "16; 1024; *2");
    EXPECT_EQ(p.description(), "for (len = 16; len <= 1024; len *= 2)");
    p.translate("10; 1; -3");
    EXPECT_TRUE(p.descending());
    EXPECT_EQ(p.description(), "for (len = 10; len >= 1; len -= 3)");
    p.translate("8; 9");
    EXPECT_EQ(p.defaultString(), "8; 9");
    EXPECT_EQ(p.description(), "len = 8; 9");
    EXPECT_THROW((qmStepIterator<int>(0, 64, '*', 2, "len", "")), qmException);
}

TEST(ParamStep, OverflowEndsTheWalk) {
    qmStepIterator<int> p(0, "len", "");
    p.translate("1; 2147483647; *2");
    auto v = walk(p);
    ASSERT_EQ(v.size(), 31u);
    EXPECT_EQ(v.back(), 1 << 30);
    p.translate("2147483000; 2147483647; +1000");
    EXPECT_EQ(walk(p), std::vector<int>{2147483000});
}

TEST(ParamStep, CurrentValueCanBeMovedWhileWalking) {
    qmStepIterator<int> p(16, 4096, '*', 2, "len", "");
    ASSERT_TRUE(p.firstValue());
    p.setValue(256);  // a rescaled value: the walk goes on from it
    ASSERT_TRUE(p.nextValue());
    EXPECT_EQ(p.value(), 512);
    EXPECT_EQ(p.valueString(), "512");
}

TEST(ParamStepSize, BothDimensionsFollowTheRange) {
    zkSizeIterator s(ZkriSize{64, 64}, "Size", "Image size");
    s.translate("16x16; 1024x1024; *2");
    EXPECT_EQ(s.defaultString(), "16x16; 1024x1024; *2x2");
    EXPECT_EQ(s.description(), "for (Size = 16x16; Size <= 1024x1024; Size *= 2x2)");
    auto v = walk(s);
    ASSERT_EQ(v.size(), 7u);
    EXPECT_EQ(v.back(), (ZkriSize{1024, 1024}));
    s.translate("32x8; 256x64; *2");
    EXPECT_EQ(walk(s), (std::vector<ZkriSize>{{32, 8}, {64, 16}, {128, 32}, {256, 64}}));
    s.translate("8x8; 40x20; +8x4");
    EXPECT_EQ(walk(s), (std::vector<ZkriSize>{{8, 8}, {16, 12}, {24, 16}, {32, 20}}));  // stops when one passes
    s.translate("64x64; 16x16; -16");
    EXPECT_EQ(walk(s).size(), 4u);
}

TEST(ParamStepSize, DimensionsMayNotRunApart) {
    zkSizeIterator s(ZkriSize{64, 64}, "Size", "");
    EXPECT_EQ(translateError(s, "16x1024; 1024x16; *2"),
              qmString(kConflict) + " in Size = 16x1024; 1024x16; *2: the dimensions of the limits run in opposite directions");
    EXPECT_TRUE(translateError(s, "0x16; 64x64; *2").startsWith(kConflict));
    EXPECT_TRUE(translateError(s, "16x16; 64x64; *2x1").startsWith(kConflict));  // a held dimension is a list's job
    EXPECT_EQ(translateError(s, "16x16; 64; *2"), "");
    EXPECT_EQ(translateError(s, "16x16; 6y4; *2"), "Invalid last value = 6y4 of Size = 16x16; 6y4; *2");
}

TEST(ParamScale, DefaultsFollowTheFunction) {
    zkScaleIterator sf;
    sf.init(zkFunc("zkriAdd_8u_C1RSfs"));
    EXPECT_EQ(sf.name(), "scaleFactor");
    EXPECT_EQ(sf.defaultString(), "0; 1; 4");
    EXPECT_EQ(walk(sf), (std::vector<int>{0, 1, 4}));
    sf.translate("0; 8; +4");
    EXPECT_EQ(walk(sf), (std::vector<int>{0, 4, 8}));

    sf.init(zkFunc("zkriAdd_32f_C1R"));
    EXPECT_EQ(sf.name(), "");  // silent: neither read nor printed
    EXPECT_EQ(walk(sf), std::vector<int>{0});
    qmCStream c;
    sf.toCStream(c);
    EXPECT_EQ(c.rowText(0), "-");

    sf.init(zkFunc("zkriMul_16s_C3RSfs"));  // a new function starts from its own defaults
    EXPECT_EQ(sf.name(), "scaleFactor");
    EXPECT_EQ(walk(sf), (std::vector<int>{0, 1, 4}));
}

// A typed range is refused by name when it would sweep more than a million values; the limit itself
// and geometric ranges over the whole int span are accepted.
TEST(ParamStep, RangesOfMoreThanAMillionValuesAreRefused) {
    qmStepIterator<int> p(1, "Len", "");
    EXPECT_EQ(translateError(p, "1; 2000000000; +1"), "Range of Len = 1; 2000000000; +1 has more than 1000000 values");
    EXPECT_EQ(translateError(p, "1; 1000001; +1"), "Range of Len = 1; 1000001; +1 has more than 1000000 values");
    EXPECT_EQ(translateError(p, "1; 1000000; +1"), "");
    EXPECT_EQ(p.first(), 1);
    EXPECT_EQ(translateError(p, "1000000; 1; -1"), "");
    EXPECT_EQ(translateError(p, "1; 2000000000; *2"), "");
    qmStepIterator<double> d(0.0, "Sigma", "");
    EXPECT_EQ(translateError(d, "0.5; 2000000; +1"), "Range of Sigma = 0.5; 2000000; +1 has more than 1000000 values");
    zkSizeIterator s(ZkriSize{1, 1}, "Size", "");
    // Both sides step together and the walk ends when either passes its limit.
    EXPECT_EQ(translateError(s, "1x1; 2000000x2000000; +1"),
              "Range of Size = 1x1; 2000000x2000000; +1 has more than 1000000 values");
    EXPECT_EQ(translateError(s, "1x1; 2000000x8; +1"), "");
    EXPECT_EQ(translateError(s, "1x1; 2000x2000; +1"), "");
}
