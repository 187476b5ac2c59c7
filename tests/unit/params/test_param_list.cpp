#include <gtest/gtest.h>

#include <vector>

#include "qmmapiterator.h"
#include "qmpairiterator.h"
#include "qmstepiterator.h"

namespace {

template <class P>
auto walk(P& p) {
    std::vector<decltype(p.value())> out;
    for (bool ok = p.firstValue(); ok; ok = p.nextValue()) out.push_back(p.value());
    return out;
}

// The message of the qmException a definition raises, or "" when it is accepted.
qmString translateError(qmParameter& p, const qmString& definition) {
    try {
        p.translate(definition);
    } catch (const qmException& e) {
        return e.info();
    }
    return "";
}

enum Blend { Over, In, Out, Atop };

}  // namespace

TEST(ParamList, BasePromptDescriptionAndSinglePass) {
    qmDefault_NSC<int> p(10, "NumLoops", "Number of loops");
    EXPECT_EQ(p.description(), "NumLoops = 10");
    EXPECT_EQ(p.prompt(), "Number of loops");
    EXPECT_EQ(walk(p), std::vector<int>{10});
    p.translate(" 25 ");
    EXPECT_EQ(walk(p), std::vector<int>{25});
    EXPECT_EQ(translateError(p, "1; 2"), "Invalid value of NumLoops = 1; 2");
    EXPECT_EQ(p.value(), 25);  // a rejected definition leaves the value alone
}

TEST(ParamList, ListInOrderTypedAndDefaultString) {
    qmIterator_NSC<int> p(64, "Len", "Vector length");
    p.translate("256; 64 ;128");
    EXPECT_EQ(walk(p), (std::vector<int>{256, 64, 128}));
    EXPECT_EQ(p.defaultString(), "256; 64; 128");
    EXPECT_EQ(walk(p), (std::vector<int>{256, 64, 128}));  // restartable
    p.translate("1;;2;");
    EXPECT_EQ(walk(p), (std::vector<int>{1, 2}));  // empty items are skipped
}

TEST(ParamList, EmptyDefinitions) {
    qmIterator_NSC<int> p(64, "Len", "");
    for (const char* def : {"", "   ", ";", " ; ; "})
        EXPECT_EQ(translateError(p, def), qmString("Empty iterator definition of Len = \"") + def + "\"") << def;
    qmDefault_NSC<double> d(1.0, "Gain", "");
    EXPECT_EQ(translateError(d, ";"), "Empty iterator definition of Gain = \";\"");
    EXPECT_EQ(walk(p), std::vector<int>{64});
    // Thrown as an exception of bad input, never as a signal.
    try {
        p.translate("");
    } catch (const qmException& e) {
        EXPECT_EQ(qmString(e.msg()).find("--ZKR. Exception: "), 0);
    }
}

// Declared limits: every item of a list is checked, NaN and infinities never pass, and the message
// names the parameter, the value and the range; an item that is no number says the range too.
TEST(ParamList, LimitsRefuseValuesOutsideByName) {
    qmIterator_NSC<double> f({0.5, 2.0}, "xFactor", "Horizontal factor");
    f.setLimits(0.001, 1000.0);
    EXPECT_EQ(translateError(f, "2; 1e10"), "Invalid value of xFactor = 1e10 (allowed: 0.001 to 1000)");
    EXPECT_EQ(translateError(f, "0"), "Invalid value of xFactor = 0 (allowed: 0.001 to 1000)");
    for (const char* bad : {"nan", "inf", "-inf", "1e309"})
        EXPECT_EQ(translateError(f, bad), qmString("Invalid value of xFactor = ") + bad + " (allowed: 0.001 to 1000)") << bad;
    EXPECT_EQ(walk(f), (std::vector<double>{0.5, 2.0}));  // refused definitions changed nothing
    EXPECT_EQ(translateError(f, "0.001; 1000"), "");
    EXPECT_EQ(f.prompt(), "Horizontal factor {0.001 to 1000}");
    qmIterator_NSC<ZkriSize> m(ZkriSize{3, 3}, "MaskSize", "");
    m.setLimits({1, 1}, {256, 256});
    EXPECT_EQ(translateError(m, "3x3; 0x0; 5x5"), "Invalid value of MaskSize = 0x0 (allowed: 1x1 to 256x256)");
    EXPECT_EQ(translateError(m, "2147483647x1"), "Invalid value of MaskSize = 2147483647x1 (allowed: 1x1 to 256x256)");
    EXPECT_EQ(translateError(m, "256x1"), "");
    qmDefault_NSC<float> single(1.0f, "gain", "");
    EXPECT_EQ(translateError(single, "1e39"), "Invalid value of gain = 1e39");  // beyond a float: no number of the type
    EXPECT_EQ(translateError(single, "3e38"), "");
}

TEST(ParamList, FirstInvalidItemIsReported) {
    qmIterator_NSC<int> p(64, "Len", "");
    EXPECT_EQ(translateError(p, "16; abc; x2"), "Invalid value of Len = abc");
    EXPECT_EQ(translateError(p, "16; 1.5"), "Invalid value of Len = 1.5");
    EXPECT_EQ(translateError(p, "3000000000"), "Invalid value of Len = 3000000000");
    qmIterator_NSC<long long> big(0, "TotalCpuClocks", "");
    big.translate("3000000000");
    EXPECT_EQ(walk(big), std::vector<long long>{3000000000LL});
}

TEST(ParamList, DoublesPrintWithStreamFormatting) {
    qmIterator_NSC<double> p(0.5, "Sigma", "");
    p.translate("0.25; 1e3; -2");
    EXPECT_EQ(walk(p), (std::vector<double>{0.25, 1000.0, -2.0}));
    EXPECT_EQ(p.defaultString(), "0.25; 1000; -2");
}

TEST(ParamList, SizeListAcceptsPairsAndSquares) {
    zkSizeIterator s(ZkriSize{64, 64}, "Size", "Image size");
    s.translate("64x64; 128x32; 16");
    auto v = walk(s);
    ASSERT_EQ(v.size(), 3u);
    EXPECT_EQ(v[1], (ZkriSize{128, 32}));
    EXPECT_EQ(v[2], (ZkriSize{16, 16}));
    EXPECT_EQ(s.defaultString(), "64x64; 128x32; 16x16");
    EXPECT_EQ(translateError(s, "64x64; 12y3"), "Invalid value of Size = 12y3");
}

TEST(ParamList, EnumValidationOnlyWhileOn) {
    qmEnumIterator<int> e(1, {1, 2, 4}, "Channels", "Channels");
    EXPECT_EQ(e.validString(), "1, 2, 4");
    EXPECT_EQ(e.prompt(), "Channels {1, 2, 4}");
    EXPECT_EQ(translateError(e, "2; 3"), "Invalid value of Channels = 3 (allowed: 1, 2, 4)");
    e.resetValidation();
    e.translate("2; 3");
    EXPECT_EQ(walk(e), (std::vector<int>{2, 3}));
}

TEST(ParamMap, PrefixInAnyCaseFirstEntryWins) {
    qmMapIterator<int> m(0, "Hint", "Algorithm hint", {{"fast", 1}, {"accurate", 2}, {"accurate2", 3}, {"none", 0}});
    m.translate("acc; ACCURATE2; Fa; n");
    EXPECT_EQ(walk(m), (std::vector<int>{2, 3, 1, 0}));
    EXPECT_EQ(m.defaultString(), "accurate; accurate2; fast; none");
    EXPECT_EQ(m.validString(), "fast, accurate, accurate2, none");
    EXPECT_EQ(translateError(m, "accurately"), "Invalid value of Hint = accurately (allowed: fast, accurate, accurate2, none)");  // longer than any name
    EXPECT_EQ(translateError(m, "fast; x"), "Invalid value of Hint = x (allowed: fast, accurate, accurate2, none)");
}

TEST(ParamMap, EnumerationsThroughNames) {
    qmMapIterator<Blend> b(Over, "AlphaType", "Type of composition",
                           {{"Over", Over}, {"In", In}, {"Out", Out}, {"Atop", Atop}});
    b.translate("at; o");  // "o" is a prefix of "Over" and "Out": map order decides
    EXPECT_EQ(walk(b), (std::vector<Blend>{Atop, Over}));
    EXPECT_EQ(b.valueString(), "Over");
    EXPECT_EQ(b.valueToString(static_cast<Blend>(9)), "9");  // a value without a name
    b.resetMap();
    EXPECT_EQ(translateError(b, "Over"), "Invalid value of AlphaType = Over");
}

TEST(ParamMap, TimingMethodChoice) {
    qmMapIterator<int> method(0, "Method", "Timing method",
                              {{"Auto", 0}, {"Manual", 1}, {"Statistic", 2}, {"Iterative", 3}});
    EXPECT_EQ(method.prompt(), "Timing method {Auto, Manual, Statistic, Iterative}");
    EXPECT_EQ(method.description(), "Method = Auto");
    method.translate("stat");
    ASSERT_TRUE(method.firstValue());
    EXPECT_EQ(method.value(), 2);
    EXPECT_EQ(method.valueString(), "Statistic");
}

TEST(ParamMap, YesNo) {
    qmYesNoIterator yn(false, "MisalignFirstVectorOnly", "Misalign the first vector only");
    EXPECT_EQ(yn.valueString(), "no");
    yn.translate("Y");
    ASSERT_TRUE(yn.firstValue());
    EXPECT_TRUE(yn.value());
    EXPECT_EQ(yn.valueString(), "yes");
    EXPECT_EQ(translateError(yn, "maybe"), "Invalid value of MisalignFirstVectorOnly = maybe (allowed: yes, no)");
}

TEST(ParamPair, CommaSeparatedAndQuotedInTables) {
    qmPairIterator<int> p(3, 3, "Kernel", "Kernel width,height");
    p.translate("3,5; 7 , 9");
    auto v = walk(p);
    ASSERT_EQ(v.size(), 2u);
    EXPECT_EQ(v[1], (qmPair<int>{7, 9}));
    EXPECT_EQ(p.defaultString(), "3,5; 7,9");
    EXPECT_EQ(translateError(p, "3,5; 7"), "Invalid value of Kernel = 7");
    EXPECT_EQ(translateError(p, "3,5,6"), "Invalid value of Kernel = 3,5,6");
    qmCStream c;
    p.toCStream(c);
    EXPECT_EQ(c.rowText(0), "\"7,9\"");
}

TEST(ParamDeprecated, FlagReplacesTextWhileSet) {
    qmMapIterator<int> m(0, "Border", "Border type", {{"repl", 0}, {"const", 1}, {"mirror", 2}});
    EXPECT_FALSE(m.isDeprecatedParm());
    m.addDeprecated(2, "mirror(old)");
    EXPECT_TRUE(m.isDeprecatedParm());
    m.translate("const; mirror");
    qmCStream c;
    ASSERT_TRUE(m.firstValue());
    EXPECT_FALSE(m.isDeprecatedValue());
    EXPECT_FALSE(m.setDeprecatedFlag(true));
    m.toCStream(c);
    ASSERT_TRUE(m.nextValue());
    EXPECT_TRUE(m.isDeprecatedValue());
    EXPECT_TRUE(m.setDeprecatedFlag(true));
    EXPECT_EQ(m.deprecatedText(), "mirror(old)");
    m.toCStream(c);
    EXPECT_FALSE(m.setDeprecatedFlag(false));  // off clears the flag even on a deprecated value
    m.toCStream(c);
    EXPECT_EQ(c.rowText(0), "const,mirror(old),mirror");
}

TEST(ParamOutput, CellsNamesAndIniForm) {
    qmIterator_NSC<int> len(16, "Len", "");
    qmIterator_NSC<int> silent(7, "", "");
    qmCStream c;
    len.nameToCStream(c);
    silent.nameToCStream(c);
    c.lineOut(0);
    len.setColmFlags(QM_COLM_QUOTED);
    len.toCStream(c);
    silent.toCStream(c);
    EXPECT_EQ(c.rowText(0), "\"16\",-");  // a silent parameter keeps its column empty

    struct Fixed : qmIterator_NSC<int> {
        using qmIterator_NSC<int>::qmIterator_NSC;
        int colmIndex() const override { return 3; }
    } fixed(5, "Order", "");
    qmCStream h;
    fixed.nameToCStream(h);
    fixed.toCStream(h);  // both land in the same fixed column
    qmString colm;
    h.getColm(3, colm);
    EXPECT_EQ(colm, "5");
    EXPECT_EQ(h.numFilled(), 4);

    qmString path = ::testing::TempDir() + "param_ostream.txt";
    ASSERT_TRUE(g_ostrm.addStream(path, false));
    g_ostrm << MSG_ERR;
    len.toOStream(g_ostrm);
    silent.toOStream(g_ostrm);
    g_ostrm << MSG_RESTORE;
    g_ostrm.close();
    i_stream in(path);
    qmString line;
    in.getline(line);
    EXPECT_EQ(line, "Len=16 ");
}

TEST(ParamBase, PlainParameterYieldsOnePass) {
    struct Plain : qmParameter {
        using qmParameter::qmParameter;
        void translate(const qmString&) override {}
    } p("Flag", "A flag");
    EXPECT_TRUE(p.firstValue());
    EXPECT_FALSE(p.nextValue());
    EXPECT_TRUE(p.firstValue());
    EXPECT_EQ(p.valueString(), "");
    EXPECT_EQ(p.description(), "Flag = ");
    EXPECT_EQ(p.colmIndex(), -1);
    EXPECT_FALSE(p.isDeprecatedParm());
}
