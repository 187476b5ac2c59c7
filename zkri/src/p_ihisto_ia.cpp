// TimiHisto: histograms over given and evenly spaced levels, look-up tables (piecewise constant,
// linear and cubic between levels) and counts of values in a range, over image sizes and the
// number of levels. One test per library function of the family's table.
//
// The levels of a test spread evenly over the values its source really holds (found once per
// data set, outside the timed calls), so every bin and every table segment is used; a table maps
// each level to its mirror image in that range. CountInRange counts the middle half of the range.
#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

constexpr int kMaxChannels = 4;

// The family's forms beyond the image ones. Single-channel forms read the first array (or value)
// of each, the others the per-channel pointer arrays.
struct zkHistoArgs : zkImageArgs {
    void* pHist = nullptr;
    const void* pLevels = nullptr;
    const void* nLevels = nullptr;
    const void* lowerLevel = nullptr;
    const void* upperLevel = nullptr;
    const void* pValues = nullptr;
    void* pCounts = nullptr;
    const void* lowerBound = nullptr;
    const void* upperBound = nullptr;
};

zkHistoArgs s_args;
zkImageData s_data;

// Per channel: histogram, levels and table values, with the pointer arrays of the multi-channel forms.
std::vector<Zkr32s> s_hist[kMaxChannels];
std::vector<double> s_levelStore[kMaxChannels], s_valueStore[kMaxChannels];  // sized for the widest type
void* s_histPtr[kMaxChannels];
const void* s_levelPtr[kMaxChannels];
const void* s_valuePtr[kMaxChannels];
int s_nLevels[kMaxChannels];
Zkr32s s_lowerLevel[kMaxChannels], s_upperLevel[kMaxChannels];
alignas(8) unsigned char s_lowerBound[kMaxChannels * 8], s_upperBound[kMaxChannels * 8];
int s_counts[kMaxChannels];

qmStepIterator<int> s_levels(256, "nLevels", "Number of levels (2..65536; LUT_Cubic takes 4 at least)");
[[maybe_unused]] const bool s_levelLimits = s_levels.setLimits(2, 65536);

enum class Kind { HistRange, HistEven, Lut, LutCubic, Count };

// The lowest and highest value of each computed channel of the source ROI.
template <class T>
void rangeOf(const void* src, int step, ZkriSize roi, int period, int channels, double* lo, double* hi) {
    for (int c = 0; c < channels; ++c) lo[c] = std::numeric_limits<double>::max(), hi[c] = -lo[c];
    for (int y = 0; y < roi.height; ++y) {
        const T* row = reinterpret_cast<const T*>(static_cast<const char*>(src) + std::ptrdiff_t(step) * y);
        for (int x = 0; x < roi.width; ++x)
            for (int c = 0; c < channels; ++c) {
                const double v = double(row[std::ptrdiff_t(x) * period + c]);
                lo[c] = std::min(lo[c], v), hi[c] = std::max(hi[c], v);
            }
    }
}

// Fills the levels and values of one channel (levels of LT, stored in place in a double buffer)
// over [lo, hi]: integer levels from lo to hi + 1 so that the highest value is inside the last bin.
template <class LT> void spread(std::vector<double>& levels, std::vector<double>& values, int n, double lo, double hi) {
    levels.assign(std::size_t(n), 0.0);
    values.assign(std::size_t(n), 0.0);
    LT* lv = reinterpret_cast<LT*>(levels.data());
    LT* val = reinterpret_cast<LT*>(values.data());
    if constexpr (std::is_floating_point_v<LT>) {
        const double top = hi + std::max(1.0, std::abs(hi)) * 1e-6;
        for (int k = 0; k < n; ++k) lv[k] = LT(lo + (top - lo) * k / (n - 1));
        for (int k = 0; k < n; ++k) val[k] = LT(lo + top - double(lv[k]));
    } else {
        const long long l = (long long)lo, h = (long long)hi + 1;
        for (int k = 0; k < n; ++k) lv[k] = LT(l + (h - l) * k / (n - 1));
        for (int k = 0; k < n; ++k) val[k] = LT(l + h - 1 - lv[k]);
    }
}

// What a test of element type T with levels of LT prepares after the images are made.
template <class T, class LT> void prepare(const void* src, int step, ZkriSize roi, int period, int channels, int n) {
    double lo[kMaxChannels], hi[kMaxChannels];
    rangeOf<T>(src, step, roi, period, channels, lo, hi);
    for (int c = 0; c < channels; ++c) {
        spread<LT>(s_levelStore[c], s_valueStore[c], n, lo[c], hi[c]);
        s_levelPtr[c] = s_levelStore[c].data();
        s_valuePtr[c] = s_valueStore[c].data();
        s_nLevels[c] = n;
        s_hist[c].assign(std::size_t(n - 1), 0);
        s_histPtr[c] = s_hist[c].data();
        s_lowerLevel[c] = Zkr32s(lo[c]);
        s_upperLevel[c] = Zkr32s(hi[c]) + 1;
        const T lb = T(lo[c] + (hi[c] - lo[c]) / 4), ub = T(lo[c] + (hi[c] - lo[c]) * 3 / 4);
        std::memcpy(s_lowerBound + c * sizeof(T), &lb, sizeof(T));
        std::memcpy(s_upperBound + c * sizeof(T), &ub, sizeof(T));
    }
}

using PrepareFn = void (*)(const void*, int, ZkriSize, int, int, int);

class TimiHisto : public zkImageTest {
public:
    TimiHisto(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func, const char* layout,
              const char* op, PrepareFn prepareFn)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiHisto//ZK_REG", s_data),
          m_period(std::strcmp(layout, "C1") == 0 ? 1 : (std::strcmp(layout, "C3") == 0 ? 3 : 4)),
          m_channels(std::strcmp(layout, "C4") == 0 ? 4 : (m_period == 1 ? 1 : 3)),
          m_kind(kindOf(op)),
          m_prepare(prepareFn) {
        s_data.args = &s_args;
    }

    bool canStart() override {
        if (!zkImageTest::canStart()) return false;
        if (m_kind != Kind::Count) addParameter(&s_levels);
        return true;
    }

    bool initData() override {
        const int n = s_levels.value();
        const int least = m_kind == Kind::LutCubic ? 4 : 2;
        if (m_kind != Kind::Count && (n < least || n > 65536)) {
            g_ostrm << MSG_ERR << "-- nLevels out of range " << least << "..65536: " << n << "\n" << MSG_RESTORE;
            return false;
        }
        if (!zkImageTest::initData()) return false;
        // The image the function reads: the destination itself when in place.
        const bool inPlace = m_func.inplace();
        m_prepare(inPlace ? s_args.pSrcDst : s_args.pSrc, inPlace ? s_args.srcDstStep : s_args.srcStep, s_args.roiSize,
                  m_period, m_channels, m_kind == Kind::Count ? 2 : n);
        const bool single = m_channels == 1;
        s_args.pHist = single ? s_histPtr[0] : static_cast<void*>(s_histPtr);
        s_args.pLevels = single ? s_levelPtr[0] : static_cast<const void*>(s_levelPtr);
        s_args.pValues = single ? s_valuePtr[0] : static_cast<const void*>(s_valuePtr);
        s_args.nLevels = s_nLevels;
        s_args.lowerLevel = s_lowerLevel;
        s_args.upperLevel = s_upperLevel;
        s_args.pCounts = s_counts;
        s_args.lowerBound = s_lowerBound;
        s_args.upperBound = s_upperBound;
        return true;
    }

private:
    static Kind kindOf(const char* op) {
        if (std::strcmp(op, "HistRange") == 0) return Kind::HistRange;
        if (std::strcmp(op, "HistEven") == 0) return Kind::HistEven;
        if (std::strcmp(op, "LutCubic") == 0) return Kind::LutCubic;
        if (std::strcmp(op, "CountInRange") == 0) return Kind::Count;
        return Kind::Lut;
    }

    int m_period, m_channels;
    Kind m_kind;
    PrepareFn m_prepare;
};

}  // namespace

#define ZK_FAMILY_TABLE "histo/histo.tbl"
#define ZK_FAMILY_TEST TimiHisto
#define ZK_FAMILY_ARGS s_args
#define ZK_FAMILY_REGISTER(name, form, T, LT, L, op)                                                  \
    qmRegTest(new TimiHisto(&tcall_##name, &tim_##name##_loop, &tim_##name##_stat, #name, #L, #op, \
                            &prepare<T, LT>))
#include "zkfamily.inc"
