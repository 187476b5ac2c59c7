// The test class shared by the linear filter family's six modules (TimFilterFixed, TimiFMask,
// TimiFilter, TimiFilterRow, TimiFilterRound, TimiDecFilter, each with its own table of disjoint
// functions): the ROI size (cache-capable, watched on the source with its border), then the
// module's own parameters. The source ROI lies inside a larger image that supplies the border the
// kernel or mask reaches; the destination is the ROI's size, or the decimated size. Each module
// includes this header once, so each has its own data and parameters.
#pragma once

#include <type_traits>
#include <vector>

#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"
#include "linfilter/linfilter_forms.h"

namespace {

// Everything the family's forms take beside the image pointers and steps of zkImageArgs.
struct zkLinFilterArgs : zkImageArgs {
    ZkriSize dstRoiSize{0, 0};
    ZkriSize srcRoiSize{0, 0};
    ZkriSize maskSize{3, 3};
    const void* pKernel = nullptr;
    ZkriSize kernelSize{3, 3};
    ZkriPoint anchor{1, 1};
    int kernelLen = 3;
    int xAnchor = 1;
    int yAnchor = 1;
    int divisor = 1;
    int roundMode = zkrRndNear;
    int factor = 2;
};

zkLinFilterArgs s_args;
zkImageData s_data;

// A kernel of n equal weights in the row's kernel type: 1 each for integer kernels (the module
// divides by n), 1 / n for float ones, so that every function smooths.
template <class K> const void* zkEqualKernel(int n) {
    static std::vector<K> weights;
    weights.assign(std::size_t(n), std::is_floating_point_v<K> ? K(1.0 / n) : K(1));
    return weights.data();
}
using zkKernelMaker = const void* (*)(int n);

// Where the ROI sits in the source: the columns and rows around it that the filter reads.
struct zkBorder {
    int left = 0, top = 0, right = 0, bottom = 0;
};

class zkLinFilterTest : public zkImageTest {
public:
    zkLinFilterTest(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func, const char* file,
                    const char* id, zkKernelMaker maker)
        : zkImageTest(call, loop, stat, func, file, id, s_data), m_kernel(maker) {
        s_data.args = &s_args;
    }

    bool canStart() override {
        regCacheParm(g_imageSize, &m_data.src1);
        addParameter(&g_imageSize);
        addParameters();
        return true;
    }

    bool initData() override {
        m_roi = g_imageSize.value();
        if (m_roi.width <= 0 || m_roi.height <= 0) return false;
        zkBorder b;
        ZkriSize dstSize = m_roi;
        if (!prepare(b, dstSize)) return false;
        zkImage& src = m_data.src1;
        zkImage& dst = m_data.dst;
        src.initFromFunc(m_func, zkSrc);
        if (!src.createImage(m_roi.width + b.left + b.right, m_roi.height + b.top + b.bottom)) return false;
        src.setJaehne();
        src.setRoi({b.left, b.top, m_roi.width, m_roi.height});
        dst.initFromFunc(m_func, zkDst);
        if (!dst.createImage(dstSize)) return false;
        s_args.pSrc = src.roiPointer();
        s_args.srcStep = src.step();
        s_args.pDst = dst.roiPointer();
        s_args.dstStep = dst.step();
        s_args.dstRoiSize = dstSize;
        s_args.srcRoiSize = m_roi;
        return true;
    }

protected:
    // The module's parameters after the ROI size.
    virtual void addParameters() {}
    // Sets the bag's filter arguments for the current parameters, the border they read and the
    // destination size; false when the parameters give no data.
    virtual bool prepare(zkBorder& border, ZkriSize& dstSize) = 0;

    // The row's kernel of n equal weights (see zkEqualKernel).
    const void* kernel(int n) const { return m_kernel ? m_kernel(n) : nullptr; }

private:
    zkKernelMaker m_kernel;
};

// The kernel maker of a row: its kernel type's, or none for forms without a kernel.
template <class K> constexpr zkKernelMaker zkKernelOf() { return &zkEqualKernel<K>; }

}  // namespace

// Every row's test gets the kernel maker of its kernel type (the table's K column).
#define ZK_FAMILY_REGISTER(name, form, Ts, Td, K, ...) \
    qmRegTest(new ZK_FAMILY_TEST(&tcall_##name, &tim_##name##_loop, &tim_##name##_stat, #name, zkKernelOf<K>()))
