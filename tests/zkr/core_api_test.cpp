// libzkrcore control functions on the real processor: dispatch selection and
// refusal, version records, threads, status texts, processor queries.
#include <set>
#include <thread>

#include "test_support.h"
#include "zkri.h"
#include "zkrs.h"

extern "C" int zkrtestCallFromC(Zkr8u out[4]);

namespace zkrtest {
namespace {

class CoreApi : public LibraryStateTest {};

// "Mmm dd yyyy" as the compiler writes dates, e.g. "Nov  2 2025".
bool looksLikeCompilerDate(const std::string& d) {
    static const std::string months = "JanFebMarAprMayJunJulAugSepOctNovDec";
    auto digit = [&](std::size_t i) { return d[i] >= '0' && d[i] <= '9'; };
    if (d.size() != 11) return false;
    const std::size_t month = months.find(d.substr(0, 3));
    return month != std::string::npos && month % 3 == 0 && d[3] == ' ' && (d[4] == ' ' || digit(4)) && digit(5) &&
           d[6] == ' ' && digit(7) && digit(8) && digit(9) && digit(10);
}

const ZkrStatus kAllStatuses[] = {
    zkrStsLnNegArg,     zkrStsLnZeroArg,          zkrStsDivByZero,        zkrStsSqrtNegArg,     zkrStsDoubleSize,
    zkrStsThreadsOversubscribed, zkrStsNoErr,     zkrStsBadArgErr,        zkrStsNullPtrErr,     zkrStsSizeErr,
    zkrStsStepErr,      zkrStsCpuNotSupportedErr, zkrStsNumThreadsErr,    zkrStsMaskSizeErr,    zkrStsAnchorErr,
    zkrStsFftOrderErr,  zkrStsFftFlagErr,         zkrStsInterpolationErr, zkrStsResizeFactorErr,
    zkrStsContextMatchErr, zkrStsMemAllocErr,     zkrStsHintErr,          zkrStsRangeErr};

TEST_F(CoreApi, EveryStatusHasItsOwnText) {
    std::set<std::string> texts;
    for (ZkrStatus s : kAllStatuses) {
        const std::string text = zkrGetStatusString(s);
        EXPECT_NE(text, "Unknown status") << s;
        EXPECT_TRUE(texts.insert(text).second) << "duplicate text for " << s;
    }
    // Warnings read "Warning: ...", errors never do.
    for (ZkrStatus s : kAllStatuses)
        EXPECT_EQ(std::string(zkrGetStatusString(s)).rfind("Warning: ", 0) == 0, s > 0) << s;
    EXPECT_STREQ(zkrGetStatusString(ZkrStatus(-17)), "Unknown status");
    EXPECT_STREQ(zkrGetStatusString(ZkrStatus(7)), "Unknown status");
}

TEST_F(CoreApi, InitSelectsTheBestLevelOfTheMachine) {
    const std::vector<Level> levels = machineLevels();
    ASSERT_FALSE(levels.empty());
    ASSERT_EQ(zkrInitCpu(zkrCpuX64), zkrStsNoErr);
    EXPECT_EQ(zkrGetDispatchLevel(), zkrLevelBase);
    EXPECT_EQ(zkrInit(), zkrStsNoErr);
    EXPECT_EQ(zkrGetDispatchLevel(), levels.back().level);
}

TEST_F(CoreApi, InitCpuMapsEveryTypeToItsLevelOrRefusesIt) {
    const zkr::cpu::Features f = zkr::cpu::readProcessor();
    const int types[] = {zkrCpuUnknown, zkrCpuX86,   zkrCpuMMX,      zkrCpuSSE,      zkrCpuSSE2,
                         zkrCpuSSE3,    zkrCpuSSSE3, zkrCpuSSE41,    zkrCpuSSE42,    zkrCpuAVX,
                         zkrCpuAVX2,    zkrCpuAVX512F, zkrCpuAVX512BW, zkrCpuAVX512VNNI, zkrCpuX64,
                         zkrCpuX64v2,   zkrCpuX64v3, zkrCpuX64v4};
    for (int t : types) {
        SCOPED_TRACE(testing::Message() << "type 0x" << std::hex << t);
        ASSERT_EQ(zkrInitCpu(zkrCpuX64), zkrStsNoErr);
        if (zkr::cpu::supportsType(t, f)) {
            EXPECT_EQ(zkrInitCpu(ZkrCpuType(t)), zkrStsNoErr);
            EXPECT_EQ(zkrGetDispatchLevel(), zkr::cpu::levelForType(t));
        } else {
            EXPECT_EQ(zkrInitCpu(ZkrCpuType(t)), zkrStsCpuNotSupportedErr);
            EXPECT_EQ(zkrGetDispatchLevel(), zkrLevelBase) << "level changed by a refused type";
        }
    }
}

TEST_F(CoreApi, InitCpuRejectsUnknownCodesWithoutChangingTheLevel) {
    const int before = zkrGetDispatchLevel();
    for (int code : {0x0E, 0x0F, 0x14, 0x1F}) {
        EXPECT_EQ(zkrInitCpu(ZkrCpuType(code)), zkrStsBadArgErr) << code;
        EXPECT_EQ(zkrGetDispatchLevel(), before);
    }
}

TEST_F(CoreApi, CpuTypeIsTheBestTheProcessorSupports) {
    const ZkrCpuType t = zkrGetCpuType();
    EXPECT_EQ(zkrInitCpu(t), zkrStsNoErr);
    if (t < zkrCpuAVX512VNNI) {
        EXPECT_EQ(zkrInitCpu(ZkrCpuType(t + 1)), zkrStsCpuNotSupportedErr);
    }
    EXPECT_GE(t, zkrCpuSSE2) << "every x86-64 processor has SSE2";
}

TEST_F(CoreApi, VersionRecordsNameTheLevelInForce) {
    using Getter = const ZkrLibraryVersion* (*)();
    const std::pair<Getter, const char*> libs[] = {
        {&zkrcoreGetLibVersion, "zkrcore"}, {&zkriGetLibVersion, "zkri"}, {&zkrsGetLibVersion, "zkrs"}};
    forEachLevel([&](const Level& l) {
        for (const auto& [get, name] : libs) {
            const ZkrLibraryVersion* v = get();
            ASSERT_NE(v, nullptr);
            EXPECT_STREQ(v->Name, name);
            EXPECT_EQ(std::string(v->Version), std::string("1.0.0 (ref ") + l.name + ")");
            EXPECT_STREQ(v->targetCpu, l.name);
            EXPECT_STREQ(zkrGetDispatchLevelName(l.level), l.name);
            EXPECT_EQ(v->major, 1);
            EXPECT_EQ(v->minor, 0);
            EXPECT_TRUE(looksLikeCompilerDate(v->BuildDate)) << v->BuildDate;
        }
    });
    EXPECT_EQ(zkrGetDispatchLevelName(3), nullptr);
    EXPECT_EQ(zkrGetDispatchLevelName(-1), nullptr);
}

TEST_F(CoreApi, NumThreadsValidatesAndWarnsAboutOversubscription) {
    int n = 0;
    EXPECT_EQ(zkrGetNumThreads(nullptr), zkrStsNullPtrErr);
    ASSERT_EQ(zkrGetNumThreads(&n), zkrStsNoErr);
    EXPECT_EQ(n, 1) << "default is one thread";
    EXPECT_EQ(zkrSetNumThreads(0), zkrStsNumThreadsErr);
    EXPECT_EQ(zkrSetNumThreads(-3), zkrStsNumThreadsErr);
    ASSERT_EQ(zkrGetNumThreads(&n), zkrStsNoErr);
    EXPECT_EQ(n, 1) << "a refused count changes nothing";
    const int cores = zkrGetNumCoresOnDie();
    EXPECT_EQ(zkrSetNumThreads(cores), zkrStsNoErr);
    EXPECT_EQ(zkrSetNumThreads(cores + 1), zkrStsThreadsOversubscribed);
    ASSERT_EQ(zkrGetNumThreads(&n), zkrStsNoErr);
    EXPECT_EQ(n, cores + 1) << "an oversubscribed count is still applied";
}

TEST_F(CoreApi, ConcurrentCallersShareThePoolSafely) {
    // Two application threads run threaded calls at the same time: one gets
    // the pool, the other runs on its own thread; both results are exact.
    ASSERT_GE(zkrSetNumThreads(2), zkrStsNoErr);
    const int w = 512, h = 256;
    auto work = [&](Zkr16s value, bool* ok) {
        std::vector<Zkr16s> img(std::size_t(w) * h, 1000);
        *ok = true;
        for (int round = 0; round < 20; ++round)
            *ok &= zkriAddC_16s_C1IRSfs(value, img.data(), w * 2, {w, h}, 0) == zkrStsNoErr;
        for (Zkr16s v : img) *ok &= v == Zkr16s(1000 + 20 * value);
    };
    bool ok1 = false, ok2 = false;
    std::thread t1(work, Zkr16s(3), &ok1), t2(work, Zkr16s(-7), &ok2);
    t1.join();
    t2.join();
    EXPECT_TRUE(ok1);
    EXPECT_TRUE(ok2);
}

TEST_F(CoreApi, ProcessorQueries) {
    EXPECT_GE(zkrGetNumCoresOnDie(), 1);
    EXPECT_EQ(zkrGetNumCoresOnDie(), int(std::thread::hardware_concurrency()));
    EXPECT_EQ(zkrGetMaxCacheSizeB(nullptr), zkrStsNullPtrErr);
    int bytes = 0;
    ASSERT_EQ(zkrGetMaxCacheSizeB(&bytes), zkrStsNoErr);
    EXPECT_GE(bytes, 256 * 1024) << "no x86-64 processor has a largest cache below 256 KB";
    EXPECT_EQ(bytes % 1024, 0);
}

TEST_F(CoreApi, HeadersServeCCallers) {
    Zkr8u px[4] = {};
    EXPECT_EQ(zkrtestCallFromC(px), zkrStsNoErr);
    EXPECT_EQ(px[0], 16);   // 10 + 5 + 1
    EXPECT_EQ(px[1], 255);  // 20 + 250 saturates, + 1 saturates
    EXPECT_EQ(px[2], 34);
    EXPECT_EQ(px[3], 0) << "AC4 alpha of the destination kept";
}

}  // namespace
}  // namespace zkrtest
