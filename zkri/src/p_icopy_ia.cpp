// TimiCopy: copies (plain, masked, channel of interest, channel extraction and insertion, planes to
// pixels and back), sets, channel swaps, the gray-to-colour duplication and the packed-spectrum
// layouts, over image sizes. One test per library function of the family's table; the function's
// operation (the table's op column) decides which images it gets and where its pointers point.
//
// Parameters beside the size: Channel (the channel of interest, taken modulo the image's channels),
// SetValue (the value of every channel of a set), MaskDensity (percent of mask pixels set).
#include <random>

#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

// The copy forms add the set value, the mask, the channel order and the swap's extra value.
struct zkCopyArgs : zkImageArgs {
    const void* value = nullptr;  // Set: by value or per channel, always held by pointer here
    const void* pMask = nullptr;
    int maskStep = 0;
    const int* dstOrder = nullptr;
    const void* val = nullptr;
};

enum class CopyOp { Copy, CopyM, CopyCoi, Extract, Insert, Merge, Split, Set, SetM, SetCoi, Swap, SwapI, SwapVal,
                    Dup, Unpack, Pack };

CopyOp opOf(const qmString& op) {
    static const std::pair<const char*, CopyOp> names[] = {
        {"Copy", CopyOp::Copy},       {"CopyM", CopyOp::CopyM},   {"CopyCoi", CopyOp::CopyCoi},
        {"Extract", CopyOp::Extract}, {"Insert", CopyOp::Insert}, {"Merge", CopyOp::Merge},
        {"Split", CopyOp::Split},     {"Set", CopyOp::Set},       {"SetM", CopyOp::SetM},
        {"SetCoi", CopyOp::SetCoi},   {"Swap", CopyOp::Swap},     {"SwapI", CopyOp::SwapI},
        {"SwapVal", CopyOp::SwapVal}, {"Dup", CopyOp::Dup},       {"Unpack", CopyOp::Unpack},
        {"Pack", CopyOp::Pack}};
    for (const auto& [n, o] : names)
        if (op == n) return o;
    return CopyOp::Copy;
}

zkCopyArgs s_args;
zkImageData s_data;
zkImage s_mask{"mask"};
zkConstant s_value;
int s_order[4] = {0, 1, 2, 3};

qmIterator_NSC<int> s_channel(1, "Channel", "Channel of interest (modulo the image's channels)");
qmIterator_NSC<double> s_setValue(100.0, "SetValue", "Value of every channel of a set (saturated to the type)");
qmIterator_NSC<int> s_density(50, "MaskDensity", "Percent of mask pixels set");
// A set value must stay within the range of a float, the widest floating element it is converted to.
[[maybe_unused]] const bool s_limits = s_channel.setLimits(0, 3) && s_density.setLimits(0, 100) &&
                                       s_setValue.setLimits(-1.0e38, 1.0e38);

// An 8u mask with about `percent` of its pixels set, the same pattern on every run.
bool fillMask(zkImage& mask, int percent) {
    std::mt19937 rng(12345);
    std::uniform_int_distribution<int> d(0, 99);
    for (int y = 0; y < mask.height(); ++y) {
        auto* row = static_cast<unsigned char*>(mask.getRowPointer(y));
        if (!row) return false;
        for (int x = 0; x < mask.width(); ++x) row[x] = d(rng) < percent ? 1 : 0;
    }
    return true;
}

class TimiCopy : public zkImageTest {
public:
    TimiCopy(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func, const char* op)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiCopy//ZK_REG", s_data), m_op(opOf(op)) {
        s_data.args = &s_args;
    }

    bool canStart() override {
        regCacheParm(g_imageSize, isSet() ? &m_data.dst : &m_data.src1);
        addParameter(&g_imageSize);
        if (usesChannel()) addParameter(&s_channel);
        if (isSet()) addParameter(&s_setValue);
        if (m_func.mask()) addParameter(&s_density);
        return true;
    }

    bool initData() override {
        m_roi = g_imageSize.value();
        if (m_roi.width <= 0 || m_roi.height <= 0) return false;
        zkImage& src = m_data.src1;
        zkImage& dst = m_data.dst;
        dst.initFromFunc(m_func, zkDst);
        if (!dst.createImage(m_roi)) return false;
        dst.setRandom();
        if (!isSet()) {
            src.initFromFunc(m_func, zkSrc);
            if (!src.createImage(m_roi)) return false;
            src.setJaehne();
        }
        if (m_func.mask()) {
            s_mask.init(zk8u, 1, false);
            if (!s_mask.createImage(m_roi) || !fillMask(s_mask, s_density.value())) return false;
            s_args.pMask = s_mask.roiPointer();
            s_args.maskStep = s_mask.step();
        }
        if (isSet() || m_op == CopyOp::SwapVal) {
            const double v = s_setValue.value();
            if (!s_value.set(m_func.dstType(), {v, v, v, v})) return false;
            s_args.value = s_args.val = s_value.data();
        }
        setOrder();
        s_args.dstOrder = s_order;

        // Interleaved images get the pointer of their channel of interest (plane c is channel c);
        // planar ones the array of their plane pointers.
        const int chSrc = zkImage::numChannels(m_func, zkSrc), chDst = zkImage::numChannels(m_func, zkDst);
        const int c = s_channel.value();
        const bool coiSrc = m_op == CopyOp::CopyCoi || m_op == CopyOp::Extract;
        const bool coiDst = m_op == CopyOp::CopyCoi || m_op == CopyOp::Insert || m_op == CopyOp::SetCoi;
        if (src.plane()) {
            for (int p = 0; p < src.numPlanes(); ++p) m_srcPlanes[p] = src.roiPointer(p);
            s_args.pSrc = m_srcPlanes;
        } else if (!isSet()) {
            s_args.pSrc = src.roiPointer(coiSrc ? c % chSrc : 0);
        }
        if (dst.plane()) {
            for (int p = 0; p < dst.numPlanes(); ++p) m_dstPlanes[p] = dst.roiPointer(p);
            s_args.pDst = m_dstPlanes;
        } else {
            s_args.pDst = dst.roiPointer(coiDst ? c % chDst : 0);
        }
        s_args.srcStep = src.step();
        s_args.dstStep = dst.step();
        s_args.pSrcDst = dst.roiPointer();
        s_args.srcDstStep = dst.step();
        s_args.roiSize = m_roi;
        return true;
    }

    void flushData() override {
        zkImageTest::flushData();
        s_mask.deleteVector();
    }

    // Per processed channel element: one channel for the channel-of-interest forms, else the
    // destination's processed channels.
    double getDivisor() override {
        const bool one = m_op == CopyOp::CopyCoi || m_op == CopyOp::Extract || m_op == CopyOp::Insert ||
                         m_op == CopyOp::SetCoi;
        return double(m_roi.width) * m_roi.height * (one ? 1 : zkImage::numActualChannels(m_func, zkDst));
    }

private:
    bool isSet() const { return m_op == CopyOp::Set || m_op == CopyOp::SetM || m_op == CopyOp::SetCoi; }
    bool usesChannel() const {
        return m_op == CopyOp::CopyCoi || m_op == CopyOp::Extract || m_op == CopyOp::Insert || m_op == CopyOp::SetCoi;
    }
    // Channels reversed; C3 to C4 puts the value into the first channel.
    void setOrder() {
        const int src = zkImage::numActualChannels(m_func, zkSrc);
        const int dst = zkImage::numActualChannels(m_func, zkDst);
        for (int k = 0; k < dst; ++k) {
            const int o = m_op == CopyOp::SwapVal ? src - k : dst - 1 - k;
            s_order[k] = o < 0 ? 0 : (o > src ? src - 1 : o);
        }
        if (m_op != CopyOp::SwapVal)
            for (int k = 0; k < dst; ++k) s_order[k] = s_order[k] % src;
    }

    CopyOp m_op;
    const void* m_srcPlanes[4] = {};
    void* m_dstPlanes[4] = {};
};

}  // namespace

#define ZK_FAMILY_TABLE "copy/TimiCopy.tbl"
#define ZK_FAMILY_TEST TimiCopy
#define ZK_FAMILY_ARGS s_args
#define ZK_FAMILY_REGISTER(name, form, T, T2, op, S, D) \
    qmRegTest(new TimiCopy(&tcall_##name, &tim_##name##_loop, &tim_##name##_stat, #name, #op))
#include "zkfamily.inc"
