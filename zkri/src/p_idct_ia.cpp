// TimiDct: two-dimensional orthonormal DCTs of 32f images of any size (forward and inverse, C1, C3,
// C4, AC4) over the shared image size. One test per library function of the family's table. The
// setup of the current size is created before the measurement and released after it (callInit,
// callFree); the work buffer is allocated with the images, so the timed span holds the transform
// alone. Results are per processed channel element ("pxch").
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"
#include "zkimagesize.h"

#define ZKR_TABLE "dct/dct.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace {

struct zkDctArgs : zkImageArgs {
    const void* pSpec = nullptr;
    void* pBuffer = nullptr;
};

zkDctArgs s_args;
zkImage s_src{"src"}, s_dst{"dst"};
zkVector s_buffer{zk8u, "buffer"};
ZkriDCTSpec_32f* s_spec = nullptr;

class TimiDct : public zkTest {
public:
    TimiDct(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkTest(call, nullptr, loop, stat, qmString(func), qmString(__FILE__), qmString("TimiDct//ZK_REG")) {}

    bool canStart() override {
        regCacheParm(g_imageSize, &s_src);
        addParameter(&g_imageSize);
        return true;
    }

    bool initData() override {
        m_size = g_imageSize.value();
        if (m_size.width > ZKR_DCT_MAX_LENGTH || m_size.height > ZKR_DCT_MAX_LENGTH) {
            g_ostrm << MSG_ERR << "-- DCT sides beyond " << ZKR_DCT_MAX_LENGTH << ": " << m_size.width << "x"
                    << m_size.height << "\n" << MSG_RESTORE;
            return false;
        }
        s_src.initFromFunc(m_func, zkSrc);
        s_dst.initFromFunc(m_func, zkDst);
        if (!s_src.createImage(m_size) || !s_dst.createImage(m_size)) return false;
        s_src.setJaehne();
        if (!callInit()) return false;
        s_args.pSrc = s_src.roiPointer();
        s_args.srcStep = s_src.step();
        s_args.pDst = s_dst.roiPointer();
        s_args.dstStep = s_dst.step();
        return true;
    }

    void flushData() override {
        callFree();
        s_buffer.deleteVector();
        s_src.deleteVector();
        s_dst.deleteVector();
    }

    double getDivisor() override {
        return double(m_size.width) * m_size.height * zkImage::numActualChannels(m_func, zkSrc);
    }
    qmString getUnit() override { return "pxch"; }

private:
    bool callInit() {
        int bytes = 0;
        if (checkStatus(zkriDCTInitAlloc_32f(&s_spec, m_size, zkrAlgHintNone), "zkriDCTInitAlloc_32f") != QM_OK) return false;
        if (checkStatus(zkriDCTGetBufSize_32f(s_spec, &bytes), "zkriDCTGetBufSize_32f") != QM_OK) return false;
        if (!s_buffer.createVector(bytes)) return false;
        s_args.pSpec = s_spec;
        s_args.pBuffer = s_buffer.data();
        return true;
    }

    void callFree() {
        if (s_spec) zkriDCTFree_32f(s_spec);
        s_spec = nullptr;
        s_args.pSpec = nullptr;
        s_args.pBuffer = nullptr;
    }

    ZkriSize m_size{0, 0};
};

}  // namespace

#define ZK_FAMILY_TABLE "dct/dct.tbl"
#define ZK_FAMILY_TEST TimiDct
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
