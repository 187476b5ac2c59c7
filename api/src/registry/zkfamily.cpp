#include "zkfamily.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "zkimagesize.h"

namespace {

// v rounded to nearest (ties to even, the default rounding) and saturated to I.
template <class I> I saturate(double v) {
    const double r = std::nearbyint(v);
    if (r <= double(std::numeric_limits<I>::min())) return std::numeric_limits<I>::min();
    if (r >= double(std::numeric_limits<I>::max())) return std::numeric_limits<I>::max();
    return I(r);
}

template <class C> void put(unsigned char* p, double v) {
    C c;
    if constexpr (std::is_floating_point_v<C>) c = C(v);
    else c = saturate<C>(v);
    std::memcpy(p, &c, sizeof c);
}

// Writes one component of a type's width and kind.
bool putComponent(zkType type, unsigned char* p, double v) {
    const int bits = zkTypeBits(type);
    if (zkIsFloat(type)) {
        if (bits == 32) put<float>(p, v);
        else if (bits == 64) put<double>(p, v);
        else return false;
        return true;
    }
    const bool sig = zkIsSigned(type);
    switch (bits) {
        case 8: sig ? put<std::int8_t>(p, v) : put<std::uint8_t>(p, v); return true;
        case 16: sig ? put<std::int16_t>(p, v) : put<std::uint16_t>(p, v); return true;
        case 32: sig ? put<std::int32_t>(p, v) : put<std::uint32_t>(p, v); return true;
        case 64: sig ? put<std::int64_t>(p, v) : put<std::uint64_t>(p, v); return true;
        default: return false;
    }
}

}  // namespace

bool zkConstant::set(zkType type, std::initializer_list<double> re, std::initializer_list<double> im) {
    const int size = zkTypeSize(type);
    if (size <= 0 || re.size() > MAX_ELEMS || size > 16) return false;
    const int part = zkIsComplex(type) ? size / 2 : size;
    std::memset(m_bytes, 0, sizeof m_bytes);
    int i = 0;
    for (double v : re) {
        unsigned char* p = m_bytes + i * size;
        if (!putComponent(type, p, v)) return false;
        if (zkIsComplex(type)) {
            const double vi = i < int(im.size()) ? im.begin()[i] : 0.0;
            if (!putComponent(type, p + part, vi)) return false;
        }
        ++i;
    }
    m_type = type;
    return true;
}

zkImageData::zkImageData() = default;
zkImageData::~zkImageData() = default;

zkImageTest::zkImageTest(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func,
                         const char* file, const char* id, zkImageData& data)
    : zkTest(call, nullptr, loop, stat, qmString(func), qmString(file), qmString(id)), m_data(data) {}

bool zkImageTest::canStart() {
    m_data.scale.init(m_func);
    regCacheParm(g_imageSize, &m_data.src1);
    addParameter(&g_imageSize);
    addParameter(&m_data.scale);  // the scale factor varies fastest
    return true;
}

bool zkImageTest::initData() {
    m_roi = g_imageSize.value();
    zkImage& src1 = m_data.src1;
    zkImage& src2 = m_data.src2;
    zkImage& dst = m_data.dst;
    src1.initFromFunc(m_func, zkSrc);
    src2.initFromFunc(m_func, zkSrc2);
    dst.initFromFunc(m_func, zkDst);
    if (!src1.createImage(m_roi) || !src2.createImage(m_roi) || !dst.createImage(m_roi)) return false;
    if (!fillImages()) return false;
    zkImageArgs& a = *m_data.args;
    a.pSrc = a.pSrc1 = src1.roiPointer();
    a.srcStep = a.src1Step = src1.step();
    a.pSrc2 = src2.roiPointer();
    a.src2Step = src2.step();
    a.pDst = a.pSrcDst = dst.roiPointer();
    a.dstStep = a.srcDstStep = dst.step();
    a.roiSize = m_roi;
    a.scaleFactor = m_data.scale.value();
    return true;
}

bool zkImageTest::fillImages() {
    // Sources get the type's default patterns; an in-place destination is a source too.
    m_data.src1.setJaehne();
    m_data.src2.setRandom();
    if (m_func.inplace()) m_data.dst.setRandom();
    return true;
}

void zkImageTest::flushData() {
    m_data.src1.deleteVector();
    m_data.src2.deleteVector();
    m_data.dst.deleteVector();
}

double zkImageTest::getDivisor() {
    return double(m_roi.width) * m_roi.height * zkImage::numActualChannels(m_func, zkSrc);
}

qmString zkImageTest::getUnit() { return "pxch"; }
