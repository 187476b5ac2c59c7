// TimiDotProdCol: the column dot product (the step of a column filter over len row pointers) over
// image sizes and the number of rows. The rows are those of a source image of width x len, the
// coefficients a fixed normalised ramp; the destination is one row. Results are per output pixel
// and row combined ("pxch": width x len).
#include <vector>

#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

struct zkDotProdColArgs : zkImageArgs {
    const void* ppSrcRow = nullptr;
    const void* pCoef = nullptr;
    int len = 5;
    int width = 0;
};

zkDotProdColArgs s_args;
zkImageData s_data;
std::vector<const Zkr32f*> s_rows;
std::vector<Zkr32f> s_coef;

qmIterator_NSC<int> s_len({3, 7}, "len", "Rows combined");
[[maybe_unused]] const bool s_lenLimits = s_len.setLimits(1, 256);

class TimiDotProdCol : public zkImageTest {
public:
    TimiDotProdCol(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiDotProdCol//ZK_REG", s_data) {
        s_data.args = &s_args;
    }

    // The width comes from the image size (cache-capable, watched on the rows), then the row count.
    bool canStart() override {
        regCacheParm(g_imageSize, &m_data.src1);
        addParameter(&g_imageSize);
        addParameter(&s_len);
        return true;
    }

    // The rows and coefficients are prepared here, outside the timed span.
    bool initData() override {
        m_roi = g_imageSize.value();
        const int len = s_len.value();
        if (m_roi.width <= 0 || len <= 0) return false;
        zkImage& src = m_data.src1;
        zkImage& dst = m_data.dst;
        src.init(zk32f, 1, false);
        dst.init(zk32f, 1, false);
        if (!src.createImage(m_roi.width, len) || !dst.createImage(m_roi.width, 1)) return false;
        src.setJaehne();
        s_rows.resize(std::size_t(len));
        s_coef.resize(std::size_t(len));
        for (int k = 0; k < len; ++k) {
            s_rows[std::size_t(k)] = static_cast<const Zkr32f*>(src.getRowPointer(k));
            s_coef[std::size_t(k)] = Zkr32f(k + 1) / Zkr32f(len * (len + 1) / 2);
        }
        s_args.ppSrcRow = s_rows.data();
        s_args.pCoef = s_coef.data();
        s_args.len = len;
        s_args.pDst = dst.getRowPointer(0);
        s_args.width = m_roi.width;
        m_len = len;
        return true;
    }

    double getDivisor() override { return double(m_roi.width) * m_len; }

private:
    int m_len = 1;
};

}  // namespace

#define ZK_FAMILY_TABLE "dotprodcol/dotprodcol.tbl"
#define ZK_FAMILY_TEST TimiDotProdCol
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
