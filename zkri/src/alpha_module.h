// The test class shared by the Alpha family's two modules (TimiAlpha and iAlphaComp__YS, each with
// its own table of disjoint functions): image sizes, the compositing operation (every operation
// selectable, over by default) and, for the constant-alpha forms, the two alphas as fractions of
// opaque. Each module includes this header once, so each has its own data and parameters.
#pragma once

#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"
#include "qmmapiterator.h"
#include "alpha/alpha_forms.h"

namespace {

// The parameters of the alpha forms beside the image pointers and steps of zkImageArgs. Constants
// are held by pointer (each timed call reads the value in the function's type).
struct zkAlphaArgs : zkImageArgs {
    int alphaType = ZKRI_ALPHA_OVER;
    const void* alpha1 = nullptr;
    const void* alpha2 = nullptr;
    const void* colorKey = nullptr;
};

zkAlphaArgs s_args;
zkImageData s_data;
zkConstant s_alpha1, s_alpha2, s_colorKey;
// Plane pointers of the planar forms, which take arrays of four plane pointers.
const void* s_src1Planes[zkImage::MAX_PLANES];
const void* s_src2Planes[zkImage::MAX_PLANES];
void* s_dstPlanes[zkImage::MAX_PLANES];

qmMapIterator<int> s_alphaType(ZKRI_ALPHA_OVER, "alphaType", "Compositing operation",
                               {{"Over", ZKRI_ALPHA_OVER},
                                {"In", ZKRI_ALPHA_IN},
                                {"Out", ZKRI_ALPHA_OUT},
                                {"ATop", ZKRI_ALPHA_ATOP},
                                {"Xor", ZKRI_ALPHA_XOR},
                                {"Plus", ZKRI_ALPHA_PLUS},
                                {"OverPremul", ZKRI_ALPHA_OVER_PREMUL},
                                {"InPremul", ZKRI_ALPHA_IN_PREMUL},
                                {"OutPremul", ZKRI_ALPHA_OUT_PREMUL},
                                {"ATopPremul", ZKRI_ALPHA_ATOP_PREMUL},
                                {"XorPremul", ZKRI_ALPHA_XOR_PREMUL},
                                {"PlusPremul", ZKRI_ALPHA_PLUS_PREMUL}});
qmIterator_NSC<double> s_alpha1Fraction(0.75, "alpha1", "Constant alpha of source 1 (fraction of opaque)");
qmIterator_NSC<double> s_alpha2Fraction(0.5, "alpha2", "Constant alpha of source 2 (fraction of opaque)");
[[maybe_unused]] const bool s_alphaLimits = s_alpha1Fraction.setLimits(0.0, 1.0) && s_alpha2Fraction.setLimits(0.0, 1.0);

class zkAlphaTest : public zkImageTest {
public:
    zkAlphaTest(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func, const char* file,
                const char* id)
        : zkImageTest(call, loop, stat, func, file, id, s_data) {
        s_data.args = &s_args;
        s_alphaType.initValidation();
    }

    bool canStart() override {
        zkImageTest::canStart();
        if (constantAlphas()) {
            addParameter(&s_alpha1Fraction);
            addParameter(&s_alpha2Fraction);
        }
        addParameter(&s_alphaType);
        return true;
    }

    bool initData() override {
        if (!zkImageTest::initData()) return false;
        zkAlphaArgs& a = s_args;
        a.alphaType = s_alphaType.value();
        const zkType t = m_func.srcType();
        if (constantAlphas()) {
            const double opaque = zkIsFloat(t) ? 1.0 : (zkTypeBits(t) == 8 ? 255.0 : 65535.0);
            if (!s_alpha1.set(t, {s_alpha1Fraction.value() * opaque}) ||
                !s_alpha2.set(t, {s_alpha2Fraction.value() * opaque}))
                return false;
            a.alpha1 = s_alpha1.data();
            a.alpha2 = s_alpha2.data();
        }
        if (colorKeyed()) {
            // The colour of the first pixel of source 1, so that the key occurs in the image.
            const auto* first = static_cast<const Zkr8u*>(m_data.src1.roiPointer());
            if (!s_colorKey.set(t, {double(first[0]), double(first[1]), double(first[2])})) return false;
            a.colorKey = s_colorKey.data();
        }
        if (m_func.srcPlane()) {
            for (int p = 0; p < zkImage::MAX_PLANES; ++p) {
                s_src1Planes[p] = m_data.src1.roiPointer(p);
                s_src2Planes[p] = m_data.src2.roiPointer(p);
                s_dstPlanes[p] = m_data.dst.roiPointer(p);
            }
            a.pSrc1 = s_src1Planes;
            a.pSrc2 = s_src2Planes;
            a.pDst = s_dstPlanes;
        }
        return true;
    }

    // Per-pixel compositing computes the alpha channel too; the constant-alpha forms leave the
    // fourth channel of AC4 alone.
    double getDivisor() override {
        if (constantAlphas()) return zkImageTest::getDivisor();
        return double(m_roi.width) * m_roi.height * zkImage::numChannels(m_func, zkSrc);
    }

private:
    bool constantAlphas() const { return m_func.find("AlphaComp_") < 0; }
    bool colorKeyed() const { return m_func.find("AlphaCompColorKey_") >= 0; }
};

}  // namespace
