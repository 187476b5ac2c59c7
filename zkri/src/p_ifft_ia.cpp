// TimiFft: the two-dimensional FFT family (complex transforms, real images to packed spectra and
// back) over the transform orders and the normalisation flag. One test per library function of the
// family's table.
//
// Parameters:
//   orderX, orderY   the orders of the width and the height (the image is 2^orderX x 2^orderY),
//                    each a list or a range of ints from 0 to ZKR_FFT_MAX_ORDER; default "6; 8"
//   flag             the normalisation: DivInvByN (default), DivFwdByN, DivBySqrtN, NoDivByAny
//   scaleFactor      the Sfs functions' scale factors (varies fastest)
// The setup of the current orders and flag is created before the measurement and released
// after it (callInit, callFree); the work buffer is allocated with the images, so the timed span
// holds the transform alone. Results are per processed channel element ("pxch"); the MFlops column
// counts 5 N log2 N operations for an N-point complex transform, half of that for the real ones.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"
#include "qmmapiterator.h"
#include "qmstepiterator.h"

#define ZKR_TABLE "fft/fft.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace {

// The image bag and the transform's setup and work buffer.
struct zkFftArgs : zkImageArgs {
    const void* pSpec = nullptr;
    void* pBuffer = nullptr;
};

zkFftArgs s_args;
zkScaleIterator s_scale;
zkImage s_src{"src"}, s_dst{"dst"};
zkVector s_buffer{zk8u, "buffer"};
ZkriFFTSpec_C_32fc* s_specC = nullptr;
ZkriFFTSpec_R_32f* s_specR = nullptr;

qmStepIterator<int> s_orderX({6, 8}, "orderX", "FFT order of the width (width = 2^orderX)");
qmStepIterator<int> s_orderY({6, 8}, "orderY", "FFT order of the height (height = 2^orderY)");
[[maybe_unused]] const bool s_orderLimits = s_orderX.setLimits(0, ZKR_FFT_MAX_ORDER) &&
                                            s_orderY.setLimits(0, ZKR_FFT_MAX_ORDER);
qmMapIterator<int> s_flag(ZKR_FFT_DIV_INV_BY_N, "flag", "FFT normalisation",
                          {{"DivInvByN", ZKR_FFT_DIV_INV_BY_N},
                           {"DivFwdByN", ZKR_FFT_DIV_FWD_BY_N},
                           {"DivBySqrtN", ZKR_FFT_DIV_BY_SQRTN},
                           {"NoDivByAny", ZKR_FFT_NODIV_BY_ANY}});
[[maybe_unused]] const bool s_flagValidation = (s_flag.initValidation(), true);

class TimiFft : public zkTest {
public:
    TimiFft(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkTest(call, nullptr, loop, stat, qmString(func), qmString(__FILE__), qmString("TimiFft//ZK_REG")) {}

    bool canStart() override {
        s_scale.init(m_func);
        addParameter(&s_orderX);
        addParameter(&s_orderY);
        addParameter(&s_flag);
        addParameter(&s_scale);  // the scale factor varies fastest
        return true;
    }

    bool initData() override {
        m_orderX = s_orderX.value();
        m_orderY = s_orderY.value();
        if (m_orderX < 0 || m_orderY < 0 || m_orderX > ZKR_FFT_MAX_ORDER || m_orderY > ZKR_FFT_MAX_ORDER) {
            g_ostrm << MSG_ERR << "-- FFT orders out of range 0.." << ZKR_FFT_MAX_ORDER << ": " << m_orderX << ", "
                    << m_orderY << "\n" << MSG_RESTORE;
            return false;
        }
        m_size = {1 << m_orderX, 1 << m_orderY};
        s_src.initFromFunc(m_func, zkSrc);
        s_dst.initFromFunc(m_func, zkDst);
        if (!s_src.createImage(m_size) || !s_dst.createImage(m_size)) return false;
        // Forward transforms read an image, inverse ones a spectrum: any values are one.
        if (isForward()) s_src.setJaehne();
        else s_src.setRandom();
        // An in-place transform works on its own result from the second call on: unnormalised forward
        // transforms grow the data by the image size per call until it overflows, normalised ones shrink
        // it into denormals, and either would measure the floating-point exceptions instead of the
        // transform. Zeros stay zeros and take the same path through the (data-independent) transform.
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
        const double flops = 5.0 * m_size.width * m_size.height * (m_orderX + m_orderY);
        return isComplex() ? flops : flops / 2;
    }
    double getDivisor() override {
        return double(m_size.width) * m_size.height * zkImage::numActualChannels(m_func, zkSrc);
    }
    qmString getUnit() override { return "pxch"; }

private:
    bool isComplex() const { return m_funcName.find("_CToC_") >= 0; }
    bool isForward() const { return m_funcName.find("FFTFwd") >= 0; }

    // Creates the setup of the current orders and flag and the work buffer it needs.
    bool callInit() {
        const int flag = s_flag.value();
        int bytes = 0;
        if (isComplex()) {
            const int st = zkriFFTInitAlloc_C_32fc(&s_specC, m_orderX, m_orderY, flag, zkrAlgHintNone);
            if (checkStatus(st, "zkriFFTInitAlloc_C_32fc") != QM_OK) return false;
            if (checkStatus(zkriFFTGetBufSize_C_32fc(s_specC, &bytes), "zkriFFTGetBufSize_C_32fc") != QM_OK)
                return false;
            s_args.pSpec = s_specC;
        } else {
            const int st = zkriFFTInitAlloc_R_32f(&s_specR, m_orderX, m_orderY, flag, zkrAlgHintNone);
            if (checkStatus(st, "zkriFFTInitAlloc_R_32f") != QM_OK) return false;
            if (checkStatus(zkriFFTGetBufSize_R_32f(s_specR, &bytes), "zkriFFTGetBufSize_R_32f") != QM_OK)
                return false;
            s_args.pSpec = s_specR;
        }
        if (!s_buffer.createVector(bytes)) return false;
        s_args.pBuffer = s_buffer.data();
        return true;
    }

    void callFree() {
        if (s_specC) zkriFFTFree_C_32fc(s_specC);
        if (s_specR) zkriFFTFree_R_32f(s_specR);
        s_specC = nullptr;
        s_specR = nullptr;
        s_args.pSpec = nullptr;
        s_args.pBuffer = nullptr;
    }

    int m_orderX = 0, m_orderY = 0;
    ZkriSize m_size{0, 0};
};

}  // namespace

#define ZK_FAMILY_TABLE "fft/fft.tbl"
#define ZK_FAMILY_TEST TimiFft
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
