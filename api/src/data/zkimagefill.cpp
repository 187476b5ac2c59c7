// Fills of an image: the vector kernels run row by row (row padding stays zero), the Jaehne fill
// in its two-dimensional form on every channel.
#include <algorithm>
#include <cstring>

#include "zkimage.h"
#include "zkvectorfill.h"

template <class K>
bool zkImage::fillRows(K&& kernel) {
    if (!m_planePtr[0]) return false;
    const int n = getRowLen() / elemSize();
    return zkfill::dispatch(m_type, [&]<class T>() {
        for (int p = 0; p < numPlanes(); ++p)
            for (int y = 0; y < m_height; ++y)
                kernel(reinterpret_cast<T*>(static_cast<char*>(m_planePtr[p]) + static_cast<long long>(y) * m_step),
                       n, p);
    });
}

bool zkImage::setConst(double re, double im) {
    return fillRows([&](auto* row, int n, int) { zkfill::constant(row, n, re, im); });
}

bool zkImage::setMinValue() { return setConst(typeMin(m_type), typeMin(m_type)); }
bool zkImage::setMaxValue() { return setConst(typeMax(m_type), typeMax(m_type)); }

// The sequence runs through the pixels of a plane in row order and restarts on every plane.
bool zkImage::setSequence(double start, double step) {
    zkfill::Sequence s{start, step, 0.0, false, false};
    int current = 0;
    return fillRows([&](auto* row, int n, int p) {
        if (p != current) s = {start, step, 0.0, false, false}, current = p;
        zkfill::sequence(row, n, s);
    });
}

bool zkImage::setSequence(double start, double step, double limit, bool wrap) {
    zkfill::Sequence s{start, step, limit, true, wrap};
    int current = 0;
    return fillRows([&](auto* row, int n, int p) {
        if (p != current) s = {start, step, limit, true, wrap}, current = p;
        zkfill::sequence(row, n, s);
    });
}

// One generator per plane, seeded by the plane's index (see zkVector::m_seed). A plane beyond
// zkfill::kRandomTileBytes draws its first rows up to that size and repeats them: an out-of-cache
// image of a gigabyte took ten seconds to draw value by value and now takes a copy's time, and
// no kernel's speed can depend on a repetition that far apart (it exceeds every cache, and every
// branch predictor's history).
bool zkImage::setRandom(double low, double high) {
    if (low > high) return false;
    std::mt19937 g(randomSeed(0));
    int current = 0;
    const std::size_t rowBytes = static_cast<std::size_t>(getRowLen());
    const int drawn = rowBytes == 0 ? m_height
                                    : static_cast<int>(std::min<std::size_t>(
                                          static_cast<std::size_t>(m_height),
                                          (zkfill::kRandomTileBytes + rowBytes - 1) / rowBytes));
    return fillRows([&](auto* row, int n, int p) {
        if (p != current) g.seed(randomSeed(p)), current = p;
        char* const plane = static_cast<char*>(m_planePtr[p]);
        const long long y = (reinterpret_cast<char*>(row) - plane) / m_step;
        if (y < drawn) zkfill::random(row, n, g, low, high);
        else std::memcpy(row, plane + (y % drawn) * m_step, rowBytes);
    });
}

bool zkImage::setJaehne(double magn) {
    if (magn < 0 || !m_planePtr[0]) return false;
    bool ok = true;
    if (m_plane) {
        for (int c = 0; c < m_channels; ++c)
            ok = setPlaneJaehne(m_planePtr[c], m_width, m_height, m_step, 1, magn) && ok;
    } else {
        for (int c = 0; c < m_channels; ++c)
            ok = setPlaneJaehne(static_cast<char*>(m_planePtr[0]) + c * elemSize(), m_width, m_height, m_step,
                                m_channels, magn) && ok;
    }
    return ok;
}

bool zkImage::setPlaneJaehne(void* plane, int width, int height, int step, int stride, double magn) {
    if (magn < 0 || !plane) return false;
    double offset;
    jaehneLimits(m_type, magn, offset);
    return zkfill::dispatch(m_type, [&]<class T>() {
        zkfill::jaehne2D<T>(plane, width, height, step, stride, magn, offset);
    });
}
