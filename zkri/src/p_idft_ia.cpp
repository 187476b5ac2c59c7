// TimiDft: the two-dimensional DFT family (complex transforms, real images to packed spectra and
// back, any width and height) over image sizes and the normalisation flag. One test per library
// function of the family's table.
//
// Parameters:
//   Size          the shared image size (any width and height: sizes with large prime factors run
//                 the chirp transform along that side)
//   flag          the normalisation: DivInvByN (default), DivFwdByN, DivBySqrtN, NoDivByAny
//   scaleFactor   the Sfs functions' scale factors (varies fastest)
// The setup of the current size and flag is created before the measurement and released after it
// (callInit, callFree); the work buffer is allocated with the images, so the timed span holds the
// transform alone. Results are per processed channel element ("pxch"); the MFlops column counts
// 5 N log2 N operations for an N-point complex transform, half of that for the real ones.
#include <cmath>

#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"
#include "zkimagesize.h"
#include "qmmapiterator.h"

#define ZKR_TABLE "dft/dft.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace {

struct zkDftArgs : zkImageArgs {
    const void* pSpec = nullptr;
    void* pBuffer = nullptr;
};

zkDftArgs s_args;
zkScaleIterator s_scale;
zkImage s_src{"src"}, s_dst{"dst"};
zkVector s_buffer{zk8u, "buffer"};
ZkriDFTSpec_C_32fc* s_specC = nullptr;
ZkriDFTSpec_R_32f* s_specR = nullptr;

qmMapIterator<int> s_flag(ZKR_DFT_DIV_INV_BY_N, "flag", "DFT normalisation",
                          {{"DivInvByN", ZKR_DFT_DIV_INV_BY_N},
                           {"DivFwdByN", ZKR_DFT_DIV_FWD_BY_N},
                           {"DivBySqrtN", ZKR_DFT_DIV_BY_SQRTN},
                           {"NoDivByAny", ZKR_DFT_NODIV_BY_ANY}});
[[maybe_unused]] const bool s_flagValidation = (s_flag.initValidation(), true);

class TimiDft : public zkTest {
public:
    TimiDft(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkTest(call, nullptr, loop, stat, qmString(func), qmString(__FILE__), qmString("TimiDft//ZK_REG")) {}

    bool canStart() override {
        s_scale.init(m_func);
        regCacheParm(g_imageSize, &s_src);
        addParameter(&g_imageSize);
        addParameter(&s_flag);
        addParameter(&s_scale);  // the scale factor varies fastest
        return true;
    }

    bool initData() override {
        m_size = g_imageSize.value();
        if (m_size.width > ZKR_DFT_MAX_LENGTH || m_size.height > ZKR_DFT_MAX_LENGTH) {
            g_ostrm << MSG_ERR << "-- DFT sides beyond " << ZKR_DFT_MAX_LENGTH << ": " << m_size.width << "x"
                    << m_size.height << "\n" << MSG_RESTORE;
            return false;
        }
        s_src.initFromFunc(m_func, zkSrc);
        s_dst.initFromFunc(m_func, zkDst);
        if (!s_src.createImage(m_size) || !s_dst.createImage(m_size)) return false;
        if (isForward()) s_src.setJaehne();
        else s_src.setRandom();
        // An in-place transform works on its own result from the second call on; zeros stay zeros and
        // take the same path through the (data-independent) transform.
        if (m_func.inplace()) s_dst.setConst(0.0, 0.0);
        if (!callInit()) return false;
        s_args.pSrc = s_src.roiPointer();
        s_args.srcStep = s_src.step();
        s_args.pDst = s_args.pSrcDst = s_dst.roiPointer();
        s_args.dstStep = s_args.srcDstStep = s_dst.step();
        s_args.roiSize = m_size;
        s_args.scaleFactor = s_scale.value();
        return true;
    }

    void flushData() override {
        callFree();
        s_buffer.deleteVector();
        s_src.deleteVector();
        s_dst.deleteVector();
    }

    double getFlops() override {
        const double n = double(m_size.width) * m_size.height;
        const double flops = 5.0 * n * std::log2(n > 1 ? n : 2);
        return isComplex() ? flops : flops / 2;
    }
    double getDivisor() override {
        return double(m_size.width) * m_size.height * zkImage::numActualChannels(m_func, zkSrc);
    }
    qmString getUnit() override { return "pxch"; }

private:
    bool isComplex() const { return m_funcName.find("_CToC_") >= 0; }
    bool isForward() const { return m_funcName.find("DFTFwd") >= 0; }

    bool callInit() {
        const int flag = s_flag.value();
        int bytes = 0;
        if (isComplex()) {
            if (checkStatus(zkriDFTInitAlloc_C_32fc(&s_specC, m_size, flag, zkrAlgHintNone), "zkriDFTInitAlloc_C_32fc") != QM_OK)
                return false;
            if (checkStatus(zkriDFTGetBufSize_C_32fc(s_specC, &bytes), "zkriDFTGetBufSize_C_32fc") != QM_OK) return false;
            s_args.pSpec = s_specC;
        } else {
            if (checkStatus(zkriDFTInitAlloc_R_32f(&s_specR, m_size, flag, zkrAlgHintNone), "zkriDFTInitAlloc_R_32f") != QM_OK)
                return false;
            if (checkStatus(zkriDFTGetBufSize_R_32f(s_specR, &bytes), "zkriDFTGetBufSize_R_32f") != QM_OK) return false;
            s_args.pSpec = s_specR;
        }
        if (!s_buffer.createVector(bytes)) return false;
        s_args.pBuffer = s_buffer.data();
        return true;
    }

    void callFree() {
        if (s_specC) zkriDFTFree_C_32fc(s_specC);
        if (s_specR) zkriDFTFree_R_32f(s_specR);
        s_specC = nullptr;
        s_specR = nullptr;
        s_args.pSpec = nullptr;
        s_args.pBuffer = nullptr;
    }

    ZkriSize m_size{0, 0};
};

}  // namespace

#define ZK_FAMILY_TABLE "dft/dft.tbl"
#define ZK_FAMILY_TEST TimiDft
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
