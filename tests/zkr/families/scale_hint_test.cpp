// The hinted narrowing scalings of the Convert family (convert/scale_hint.tbl) against the exact
// mapping in integers: every function on every dispatch level with both algorithms, ROIs inside
// padded images, alpha and padding untouched, thread splits, and every argument error.
#include <map>

#include "family_support.h"
#include "test_support.h"

#define ZKR_TABLE "convert/scale_hint.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkrtest {
namespace {

struct ScaleBag : Bag {
    ZkrHintAlgorithm hint = zkrAlgHintNone;
};

struct ScaleCase {
    std::string name;
    CompType comp;
    int channels, compBytes;
    bool alpha;
    ZkrStatus (*call)(const ScaleBag&);
};

template <class S> ScaleCase describe(const char* name, const char* layout, ZkrStatus (*call)(const ScaleBag&)) {
    const std::string l = layout;
    return {name, compTypeOf<S>(), l == "C1" ? 1 : (l == "C3" ? 3 : 4), int(sizeof(S)), l == "AC4", call};
}

const std::vector<ScaleCase>& cases() {
    static const std::vector<ScaleCase> all = [] {
        std::vector<ScaleCase> v;
#define ZKR_FN(name, form, Ts, Td, L) \
    v.push_back(describe<Ts>(#name, #L, [](const ScaleBag& b) { return ZKR_CALL(b, name, form, Ts, Td); }));
#include "convert/scale_hint.tbl"
#undef ZKR_FN
        return v;
    }();
    return all;
}

// round((x - Tmin) * 255 / (Tmax - Tmin)), halves up (the types have none), in integers.
template <class S> int exact(S x) {
    using L = std::numeric_limits<S>;
    const std::int64_t range = std::int64_t(L::max()) - L::min(), num = (std::int64_t(x) - L::min()) * 255;
    return int((2 * num + range) / (2 * range));
}

template <class S> void check(const ScaleCase& c, const Plane<S>& src, ZkrHintAlgorithm hint, ZkriSize roi, std::mt19937& rng) {
    Plane<Zkr8u> dst(roi.width, roi.height, c.channels, randomPadding(rng), rng);
    const std::vector<Zkr8u> before = dst.data;
    ScaleBag b;
    b.pSrc = src.roi(), b.srcStep = src.stepBytes();
    b.pDst = dst.roi(), b.dstStep = dst.stepBytes();
    b.roiSize = roi;
    b.hint = hint;
    ASSERT_EQ(c.call(b), zkrStsNoErr);
    for (std::size_t k = 0; k < dst.data.size(); ++k) {
        const int i = int(k % std::size_t(dst.stride)) - dst.pad.left * c.channels;
        if (!dst.insideRoi(k) || (c.alpha && i % 4 == 3)) {
            ASSERT_EQ(dst.data[k], before[k]) << "written outside the ROI or to alpha at " << k;
        }
    }
    for (int y = 0; y < roi.height; ++y)
        for (int i = 0; i < roi.width * c.channels; ++i) {
            if (c.alpha && i % 4 == 3) continue;
            const int want = exact(src.at(y, i)), got = dst.at(y, i);
            // Float may be one off near a half; double is exact.
            if (hint == zkrAlgHintFast) {
                ASSERT_LE(std::abs(got - want), 1) << "x " << double(src.at(y, i));
            } else {
                ASSERT_EQ(got, want) << "x " << double(src.at(y, i));
            }
        }
}

template <class S> void checkCase(const ScaleCase& c) {
    std::mt19937 rng(77);
    forEachLevel([&](const Level&) {
        for (ZkriSize roi : {ZkriSize{1, 1}, ZkriSize{13, 7}, ZkriSize{130, 3}}) {
            Plane<S> src(roi.width, roi.height, c.channels, randomPadding(rng), rng);
            // Every value near a half of the mapping: x just around (k + 1/2) (Tmax - Tmin) / 255.
            using L = std::numeric_limits<S>;
            const double step = (double(L::max()) - L::min()) / 255.0;
            for (std::size_t k = 0; k < src.data.size(); k += 5)
                src.data[k] = S(std::clamp<double>(L::min() + (double(k % 255) + 0.5) * step + double(k % 3) - 1.0, L::min(), L::max()));
            for (ZkrHintAlgorithm h : {zkrAlgHintNone, zkrAlgHintFast, zkrAlgHintAccurate}) {
                SCOPED_TRACE(testing::Message() << roi.width << "x" << roi.height << " hint " << int(h));
                check(c, src, h, roi, rng);
            }
        }
    });
    // 1, 2 and 3 threads over an image above the splitting threshold.
    Plane<S> big(kSplitSize.width, kSplitSize.height, c.channels, Padding{}, rng);
    for (int threads : {1, 2, 3}) {
        ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
        check(c, big, zkrAlgHintAccurate, kSplitSize, rng);
    }
    zkrSetNumThreads(1);
}

// NULL pointers, then size, then steps (source and destination, each with its own element size),
// then the hint.
template <class S> void checkStatus(const ScaleCase& c) {
    std::vector<S> src(6 * 3 * c.channels);
    std::vector<Zkr8u> dst(src.size());
    ScaleBag good;
    good.pSrc = src.data(), good.srcStep = 6 * c.channels * c.compBytes;
    good.pDst = dst.data(), good.dstStep = 6 * c.channels;
    good.roiSize = {6, 3};
    ASSERT_EQ(c.call(good), zkrStsNoErr);
    ScaleBag x = good;
    x.pSrc = nullptr, x.roiSize = {0, 0}, x.hint = ZkrHintAlgorithm(3);
    EXPECT_EQ(c.call(x), zkrStsNullPtrErr);
    x = good, x.pDst = nullptr;
    EXPECT_EQ(c.call(x), zkrStsNullPtrErr);
    for (ZkriSize roi : {ZkriSize{0, 3}, ZkriSize{6, -1}}) {
        x = good, x.roiSize = roi, x.srcStep = 0;
        EXPECT_EQ(c.call(x), zkrStsSizeErr);
    }
    for (int s : {0, good.srcStep - c.compBytes, c.compBytes > 1 ? good.srcStep + 1 : -1}) {
        x = good, x.srcStep = s, x.hint = ZkrHintAlgorithm(3);
        EXPECT_EQ(c.call(x), zkrStsStepErr) << "source step " << s;
    }
    x = good, x.dstStep = good.dstStep - 1;
    EXPECT_EQ(c.call(x), zkrStsStepErr) << "destination row shorter than the ROI";
    x = good, x.hint = ZkrHintAlgorithm(3);
    EXPECT_EQ(c.call(x), zkrStsHintErr);
}

class ScaleHint : public LibraryStateTest {};

TEST_F(ScaleHint, MatchesExactMappingOnEveryLevel) {
    forEachCase(cases(), [](const ScaleCase&) { return true; },
                [](const ScaleCase& c) { withCompType<Zkr16u, Zkr16s, Zkr32s>(c.comp, [&]<class S>() { checkCase<S>(c); }); });
}

TEST_F(ScaleHint, StatusCodes) {
    forEachCase(cases(), [](const ScaleCase&) { return true; },
                [](const ScaleCase& c) { withCompType<Zkr16u, Zkr16s, Zkr32s>(c.comp, [&]<class S>() { checkStatus<S>(c); }); });
}

// The range ends map onto 0 and 255, and the table has its twelve rows.
TEST_F(ScaleHint, EndsAndTable) {
    const Zkr32s s[] = {INT_MIN, INT_MAX, 0};
    Zkr8u d[3];
    for (ZkrHintAlgorithm h : {zkrAlgHintFast, zkrAlgHintAccurate}) {
        ASSERT_EQ(zkriScale_32s8u_C1R(s, sizeof s, d, 3, {3, 1}, h), zkrStsNoErr);
        EXPECT_EQ(d[0], 0);
        EXPECT_EQ(d[1], 255);
        EXPECT_EQ(d[2], 128);
    }
    EXPECT_EQ(cases().size(), 12u);
}

}  // namespace
}  // namespace zkrtest
