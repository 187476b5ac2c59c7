// zkFunc: splitting library function names, their properties and their ordering.
#include <gtest/gtest.h>

#include "zkfunc.h"

namespace {
struct Parts {
    std::string prefix, base, type, descr;
    bool operator==(const Parts&) const = default;
};
std::ostream& operator<<(std::ostream& os, const Parts& p) {
    return os << "{" << p.prefix << "|" << p.base << "|" << p.type << "|" << p.descr << "}";
}
Parts split(const char* name) {
    const zkFunc f(name);
    qmString base, type, descr;
    f.parseFunction(base, type, descr);
    EXPECT_EQ(base, f.baseName());
    EXPECT_EQ(type, f.typeName());
    EXPECT_EQ(descr, f.descrName());
    return {f.prefix().str(), base.str(), type.str(), descr.str()};
}
int order(const char* a, const char* b) {
    const int ab = zkFunc(a).compare(zkFunc(b));
    const int ba = zkFunc(b).compare(zkFunc(a));
    EXPECT_EQ(ab < 0, ba > 0) << a << " vs " << b;
    EXPECT_EQ(ab == 0, ba == 0) << a << " vs " << b;
    return ab;
}
}  // namespace

TEST(ZkFunc, SplitsNames) {
    EXPECT_EQ(split("zkriFilter_8u_C1R"), (Parts{"zkri", "Filter", "8u", "C1R"}));
    EXPECT_EQ(split("zkriAdd_8u_C1RSfs"), (Parts{"zkri", "Add", "8u", "C1RSfs"}));
    EXPECT_EQ(split("zkrsAdd_32f"), (Parts{"zkrs", "Add", "32f", ""}));
    EXPECT_EQ(split("zkriConvert_16s8u_C1R"), (Parts{"zkri", "Convert", "16s8u", "C1R"}));
    // Underscores not followed by a type token belong to the base.
    EXPECT_EQ(split("zkriCrossCorrFull_NormLevel_32f_C1R"), (Parts{"zkri", "CrossCorrFull_NormLevel", "32f", "C1R"}));
    EXPECT_EQ(split("zkriFFTFwd_RToPack_32f_C1R"), (Parts{"zkri", "FFTFwd_RToPack", "32f", "C1R"}));
    // "_C1R" never ends the base: the token needs a digit first.
    EXPECT_EQ(split("zkriFoo_C1R_8u_C1R"), (Parts{"zkri", "Foo_C1R", "8u", "C1R"}));
}

TEST(ZkFunc, NamesWithoutTypeOrKnownPrefix) {
    // No underscore followed by a type token: the whole rest is the base.
    EXPECT_EQ(split("zkrsWinBartlett_Direct"), (Parts{"zkrs", "WinBartlett_Direct", "", ""}));
    EXPECT_EQ(split("zkrsGetLibVersion"), (Parts{"zkrs", "GetLibVersion", "", ""}));
    // Without a known prefix the first letters stay in the base; a prefix counts only at 0.
    EXPECT_EQ(split("myAdd_8u_C1R"), (Parts{"", "myAdd", "8u", "C1R"}));
    EXPECT_EQ(split("xzkriAdd_8u_C1R"), (Parts{"", "xzkriAdd", "8u", "C1R"}));
    EXPECT_EQ(split("zkrAdd_8u"), (Parts{"", "zkrAdd", "8u", ""}));
    EXPECT_EQ(split(""), (Parts{"", "", "", ""}));
    EXPECT_EQ(split("zkri"), (Parts{"zkri", "", "", ""}));
}

TEST(ZkFunc, TypeTokenRule) {
    EXPECT_EQ(zkFunc::typeTokenLength("8u", 0), 2);
    EXPECT_EQ(zkFunc::typeTokenLength("16s8u", 0), 3);
    EXPECT_EQ(zkFunc::typeTokenLength("16s8u", 3), 2);
    EXPECT_EQ(zkFunc::typeTokenLength("32fc_C1R", 0), 4);
    EXPECT_EQ(zkFunc::typeTokenLength("8uc", 0), 3);
    EXPECT_EQ(zkFunc::typeTokenLength("u8", 0), 0);
    EXPECT_EQ(zkFunc::typeTokenLength("8", 0), 0);
    EXPECT_EQ(zkFunc::typeTokenLength("8x", 0), 0);
    EXPECT_EQ(zkFunc::typeTokenLength("C1R", 0), 0);
    EXPECT_EQ(zkFunc::typeTokenLength("8u", 2), 0);
}

TEST(ZkFunc, ComplexUnsigned8PassesTheTokenRuleButIsNoType) {
    const zkFunc f("zkriBar_8uc_C1R");
    EXPECT_EQ(f.baseName(), "Bar");
    EXPECT_EQ(f.typeName(), "8uc");
    EXPECT_EQ(zkFunc::stringToType("8uc"), zkUndef);
    EXPECT_EQ(f.srcType(), zkUndef);
}

TEST(ZkFunc, TypeTextsBothWays) {
    const std::pair<const char*, int> table[] = {
        {"8u", 0x8},      {"16u", 0x10},    {"32u", 0x20},    {"64u", 0x40},    {"8s", 0x108},
        {"16s", 0x110},   {"32s", 0x120},   {"64s", 0x140},   {"32f", 0x220},   {"64f", 0x240},
        {"16uc", 0x410},  {"8sc", 0x508},   {"16sc", 0x510},  {"32sc", 0x520},  {"64sc", 0x540},
        {"32fc", 0x620},  {"64fc", 0x640}};
    for (const auto& [text, value] : table) {
        EXPECT_EQ(zkFunc::stringToType(text), value) << text;
        EXPECT_EQ(zkFunc::typeToString(value), text) << value;
    }
    for (int undefined : {0, 0x18, 0x408, 0x420, 0x440, 0x210, 0x208, 0x9})
        EXPECT_EQ(zkFunc::typeToString(undefined), "undef") << undefined;
    EXPECT_EQ(zkFunc::stringToType("undef"), zkUndef);
    EXPECT_EQ(zkFunc::stringToType("32F"), zkUndef);
    EXPECT_EQ(zkFunc::stringToType(""), zkUndef);
    EXPECT_EQ(zkTypeSize(zk32fc), 8);
    EXPECT_EQ(zkTypeSize(zk16s), 2);
    EXPECT_EQ(zkTypeSize(zkUndef), 0);
}

TEST(ZkFunc, ArgumentTypes) {
    const zkFunc one("zkriAdd_16s_C1R");
    EXPECT_EQ(one.srcType(), zk16s);
    EXPECT_EQ(one.dstType(), zk16s);
    EXPECT_EQ(one.src2Type(), zk16s);
    const zkFunc two("zkriConvert_16s8u_C1R");
    EXPECT_EQ(two.srcType(), zk16s);
    EXPECT_EQ(two.dstType(), zk8u);
    qmString b, t1, t2, t3, d;
    zkFunc("zkriMul_8u16s32f_C1R").parseFunction(b, t1, t2, t3, d);
    EXPECT_EQ(t1, "8u");
    EXPECT_EQ(t2, "16s");
    EXPECT_EQ(t3, "32f");
    EXPECT_EQ(d, "C1R");
    EXPECT_EQ(zkFunc("zkrsWinBartlett_Direct").srcType(), zkUndef);
    // updateTypes fills only what is still undefined.
    zkType s = zk64f, dst = zkUndef, s2 = zkUndef, d2 = zk8s;
    two.updateTypes(s, dst, s2, d2);
    EXPECT_EQ(s, zk64f);
    EXPECT_EQ(dst, zk8u);
    EXPECT_EQ(s2, zk16s);
    EXPECT_EQ(d2, zk8s);
}

TEST(ZkFunc, ChannelCounts) {
    EXPECT_EQ(zkFunc("zkriAdd_8u_C1R").srcChannels(), 1);
    EXPECT_EQ(zkFunc("zkriAdd_8u_C3R").dstChannels(), 3);
    EXPECT_EQ(zkFunc("zkriAdd_8u_AC4R").srcChannels(), 4);
    EXPECT_EQ(zkFunc("zkriAdd_8u_AC4R").srcChannelsName(), "AC4");
    EXPECT_EQ(zkFunc("zkriAdd_8u_C4R").srcChannels(), 4);
    EXPECT_EQ(zkFunc("zkriFoo_8u_C5R").srcChannels(), 0);  // only counts below 5 are valid
    EXPECT_EQ(zkFunc("zkrsAdd_32f").srcChannels(), 0);
    const zkFunc mixed("zkriCopy_8u_C3P3R");
    int src = 0, dst = 0;
    mixed.getChannels(src, dst);
    EXPECT_EQ(src, 3);
    EXPECT_EQ(dst, 3);
    EXPECT_EQ(mixed.srcChannelsName(), "C3");
    EXPECT_EQ(mixed.dstChannelsName(), "P3");
    src = 0;
    dst = 2;
    zkFunc("zkriCopy_8u_C4R").updateChannels(src, dst);
    EXPECT_EQ(src, 4);
    EXPECT_EQ(dst, 2);
}

TEST(ZkFunc, PlaneAlphaInplaceMaskScaleRoi) {
    const zkFunc mixed("zkriCopy_8u_C3P3R");
    EXPECT_FALSE(mixed.srcPlane());
    EXPECT_TRUE(mixed.dstPlane());
    EXPECT_TRUE(zkFunc("zkriCopy_8u_AP4R").srcPlane());
    EXPECT_TRUE(zkFunc("zkriCopy_8u_AP4R").srcAlpha());
    EXPECT_TRUE(zkFunc("zkriAdd_8u_AC4R").srcAlpha());
    EXPECT_FALSE(zkFunc("zkriAdd_8u_AC4R").srcPlane());
    EXPECT_FALSE(zkFunc("zkriAdd_8u_C4R").srcAlpha());

    EXPECT_TRUE(zkFunc("zkriAdd_8u_C1IRSfs").inplace());
    EXPECT_FALSE(zkFunc("zkriAdd_8u_C1RSfs").inplace());
    // Only the descriptor counts: an "I" in the base is no in-place form.
    EXPECT_FALSE(zkFunc("zkriDCTInv_32f_C1R").inplace());
    EXPECT_TRUE(zkFunc("zkriCopy_8u_C1MR").mask());
    EXPECT_FALSE(zkFunc("zkriMean_8u_C1R").mask());
    EXPECT_TRUE(zkFunc("zkriAdd_8u_C1RSfs").scale());
    EXPECT_FALSE(zkFunc("zkriAdd_32f_C1R").scale());
    EXPECT_TRUE(zkFunc("zkriAdd_32f_C1R").roi());
    EXPECT_FALSE(zkFunc("zkrsAdd_32f").roi());
    EXPECT_FALSE(zkFunc("zkrsRandUniform_Direct_32f").roi());
}

TEST(ZkFunc, OrderingOfDescriptors) {
    EXPECT_LT(order("zkriAdd_8u_C1RSfs", "zkriAdd_8u_C1IRSfs"), 0);  // in-place after
    EXPECT_LT(order("zkriAdd_8u_C4R", "zkriAdd_8u_AC4R"), 0);        // AC4 after C
    EXPECT_LT(order("zkriAdd_8u_C3R", "zkriAdd_8u_AC4R"), 0);
    EXPECT_LT(order("zkriAdd_8u_C1R", "zkriAdd_8u_C3R"), 0);
    EXPECT_EQ(order("zkriAdd_8u_C1R", "zkriAdd_8u_C1R"), 0);
}

TEST(ZkFunc, OrderingOfTypes) {
    EXPECT_LT(order("zkriAdd_8u_C1R", "zkriAdd_16s_C1R"), 0);       // by type value
    EXPECT_LT(order("zkriAdd_16u_C1R", "zkriAdd_8s_C1R"), 0);       // unsigned values are lower
    EXPECT_LT(order("zkrsAdd_32f", "zkrsAdd_32fc"), 0);              // real before complex
    EXPECT_LT(order("zkrsAdd_16sc", "zkrsAdd_32f"), 0);              // the complex bit decides last
    EXPECT_LT(order("zkriConvert_8u_C1R", "zkriConvert_8u32f_C1R"), 0);  // fewer tokens first
    EXPECT_LT(order("zkriConvert_8u16s_C1R", "zkriConvert_8u32f_C1R"), 0);
    // The type outranks the descriptor.
    EXPECT_LT(order("zkriAdd_8u_C1IR", "zkriAdd_16s_C1R"), 0);
}

TEST(ZkFunc, OrderingOfBases) {
    EXPECT_LT(order("zkriAbs_16s_C1R", "zkriAdd_8u_C1R"), 0);
    EXPECT_LT(order("zkriAdd_8u_C1R", "zkrsAdd_8u"), 0);  // prefix and base as bytes
    EXPECT_LT(order("zkriAdd_8u_C1R", "zkriAddC_8u_C1R"), 0);
    EXPECT_LT(order("zkriFilter_8u_C1R", "zkriFilterMedian_8u_C1R"), 0);
}

TEST(ZkFunc, LibraryCodesOfTypesAndChannels) {
    EXPECT_EQ(zkFunc::zkrType(zk8u), zkr8u);
    EXPECT_EQ(zkFunc::zkrType(zk16sc), zkr16sc);
    EXPECT_EQ(zkFunc::zkrType(zk64fc), zkr64fc);
    EXPECT_EQ(zkFunc::zkrType(zkFunc("zkriAdd_32f_C1R").srcType()), zkr32f);
    EXPECT_EQ(zkFunc::zkrType(0x408), zkrUndef);  // complex 8-bit unsigned is no library type
    EXPECT_EQ(zkFunc::zkrChannels(zkFunc("zkriAdd_8u_AC4RSfs").srcChannels()), zkrC4);
    EXPECT_EQ(zkFunc::zkrChannels(1), zkrC1);
    EXPECT_EQ(zkFunc::zkrChannels(0), zkrC0);
    EXPECT_EQ(zkFunc::zkrChannels(5), zkrC0);
}
