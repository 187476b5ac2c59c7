// TimiFWiener: the adaptive Wiener filter over image sizes, mask sizes and noise powers (0: the
// filter estimates the noise from the image), the anchor at the centre of the mask. One test per
// library function of the Wiener family's table.
//
// The source ROI lies inside a larger image that supplies the border the mask reaches. The work
// buffer is sized by the library's helper and allocated with the images, so the timed span holds
// the filter alone.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

#define ZKR_TABLE "wiener/wiener.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace {

struct zkWienerArgs : zkImageArgs {
    ZkriSize dstRoiSize{0, 0};
    ZkriSize maskSize{3, 3};
    ZkriPoint anchor{1, 1};
    const Zkr32f* pNoise = nullptr;
    void* pBuffer = nullptr;
};

zkWienerArgs s_args;
zkImageData s_data;
zkVector s_buffer{zk8u, "buffer"};
Zkr32f s_noise[4] = {};
qmIterator_NSC<ZkriSize> s_maskSize({ZkriSize{3, 3}, ZkriSize{5, 5}}, "MaskSize", "Mask size (width x height)");
[[maybe_unused]] const bool s_maskLimits = s_maskSize.setLimits({1, 1}, {256, 256});
qmIterator_NSC<float> s_noisePower(0.0f, "Noise", "Noise power of every channel (0: estimated by the filter)");
[[maybe_unused]] const bool s_noiseLimits = s_noisePower.setLimits(0.0f, 1.0e9f);

class TimiFWiener : public zkImageTest {
public:
    TimiFWiener(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiFWiener//ZK_REG", s_data) {
        s_data.args = &s_args;
    }

    bool canStart() override {
        regCacheParm(g_imageSize, &m_data.src1);
        addParameter(&g_imageSize);
        addParameter(&s_maskSize);
        addParameter(&s_noisePower);
        return true;
    }

    bool initData() override {
        m_roi = g_imageSize.value();
        const ZkriSize mask = s_maskSize.value();
        if (m_roi.width <= 0 || m_roi.height <= 0 || mask.width <= 0 || mask.height <= 0) return false;
        const ZkriPoint anchor{mask.width / 2, mask.height / 2};
        zkImage& src = m_data.src1;
        zkImage& dst = m_data.dst;
        src.initFromFunc(m_func, zkSrc);
        dst.initFromFunc(m_func, zkDst);
        if (!src.createImage(m_roi.width + mask.width - 1, m_roi.height + mask.height - 1)) return false;
        if (!dst.createImage(m_roi)) return false;
        src.setJaehne();
        src.setRoi({anchor.x, anchor.y, m_roi.width, m_roi.height});
        int bytes = 0;
        if (checkStatus(zkriFilterWienerGetBufferSize(m_roi, mask, src.channels(), &bytes),
                        "zkriFilterWienerGetBufferSize") != QM_OK)
            return false;
        if (!s_buffer.createVector(bytes)) return false;
        for (Zkr32f& n : s_noise) n = s_noisePower.value();
        s_args.pSrc = src.roiPointer();
        s_args.srcStep = src.step();
        s_args.pDst = dst.roiPointer();
        s_args.dstStep = dst.step();
        s_args.dstRoiSize = m_roi;
        s_args.maskSize = mask;
        s_args.anchor = anchor;
        s_args.pNoise = s_noise;
        s_args.pBuffer = s_buffer.data();
        return true;
    }

    void flushData() override {
        zkImageTest::flushData();
        s_buffer.deleteVector();
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "wiener/wiener.tbl"
#define ZK_FAMILY_TEST TimiFWiener
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
