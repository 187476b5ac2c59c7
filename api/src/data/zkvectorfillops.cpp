// The fills of a vector: each one a per-type kernel from zkvectorfill.h over the whole buffer.
#include <algorithm>
#include <cstring>
#include "zkvector.h"
#include "zkvectorfill.h"

double zkVector::typeMin(int type) {
    double v = 0;
    zkfill::dispatch(type, [&]<class T>() { v = zkfill::lowest<zkfill::Part<T>>(); });
    return v;
}

double zkVector::typeMax(int type) {
    double v = 0;
    zkfill::dispatch(type, [&]<class T>() { v = zkfill::highest<zkfill::Part<T>>(); });
    return v;
}

double zkVector::jaehneDefault(int type) {
    return zkIsFloat(type) ? 1.0 : typeMax(type) / 2 - typeMin(type) / 2;
}

void zkVector::randomDefault(int type, double& low, double& high) {
    low = zkIsFloat(type) ? -1.0 : typeMin(type);
    high = zkIsFloat(type) ? 1.0 : typeMax(type);
}

void zkVector::jaehneLimits(int type, double& magn, double& offset) {
    const double min = typeMin(type), max = typeMax(type);
    const double half = max / 2 - min / 2;  // no overflow for the 64f range
    if (magn > half) magn = half;
    offset = (type & (ZK_SIGNED | ZK_FLOAT)) ? 0.0 : min / 2 + max / 2;
}

unsigned zkVector::randomSeed(int plane) const {
    return m_seed + 16u * static_cast<unsigned>(m_number) + static_cast<unsigned>(plane);
}

bool zkVector::fill(SetMode mode, double v1, double v2) {
    switch (mode) {
        case SET_CONST: return setConst(v1, v2);
        case SET_MIN: return setMinValue();
        case SET_MAX: return setMaxValue();
        case SET_JAEHNE: return setJaehne(v1);
        case SET_SEQUENCE: return setSequence(v1, v2);
        case SET_RANDOM: return setRandom(v1, v2);
    }
    return false;
}

bool zkVector::setConst() { return setConst(0.0, 0.0); }

bool zkVector::setConst(double re, double im) {
    if (!m_data) return false;
    return zkfill::dispatch(m_type, [&]<class T>() { zkfill::constant(ptr<T>(), m_length, re, im); });
}

bool zkVector::setMinValue() { return setConst(typeMin(m_type), typeMin(m_type)); }
bool zkVector::setMaxValue() { return setConst(typeMax(m_type), typeMax(m_type)); }

bool zkVector::setJaehne() { return setJaehne(jaehneDefault(m_type)); }

bool zkVector::setJaehne(double magn) {
    if (zkIsComplex(m_type)) return setCplxJaehne(magn);
    if (magn < 0 || !m_data) return false;
    double offset;
    jaehneLimits(m_type, magn, offset);
    return zkfill::dispatch(m_type, [&]<class T>() { zkfill::jaehne(ptr<T>(), m_length, magn, offset); });
}

bool zkVector::setCplxJaehne(double magn) {
    if (magn < 0 || !m_data || !zkIsComplex(m_type)) return false;
    double offset;
    jaehneLimits(m_type, magn, offset);
    return zkfill::dispatch(m_type, [&]<class T>() { zkfill::jaehne(ptr<T>(), m_length, magn, offset); });
}

bool zkVector::setSequence(double start, double step) {
    if (!m_data) return false;
    zkfill::Sequence s{start, step, 0.0, false, false};
    return zkfill::dispatch(m_type, [&]<class T>() { zkfill::sequence(ptr<T>(), m_length, s); });
}

bool zkVector::setSequence(double start, double step, double limit, bool wrap) {
    if (!m_data) return false;
    zkfill::Sequence s{start, step, limit, true, wrap};
    return zkfill::dispatch(m_type, [&]<class T>() { zkfill::sequence(ptr<T>(), m_length, s); });
}

bool zkVector::setRandom() {
    double low, high;
    randomDefault(m_type, low, high);
    return setRandom(low, high);
}

bool zkVector::setRandom(double low, double high) {
    if (!m_data || low > high) return false;
    std::mt19937 g(randomSeed(0));
    // Beyond zkfill::kRandomTileBytes the drawn part repeats (see zkImage::setRandom).
    return zkfill::dispatch(m_type, [&]<class T>() {
        const int tile = static_cast<int>(std::min<std::size_t>(static_cast<std::size_t>(m_length),
                                                                zkfill::kRandomTileBytes / sizeof(T)));
        zkfill::random(ptr<T>(), tile, g, low, high);
        for (int done = tile; done < m_length; done += tile)
            std::memcpy(ptr<T>() + done, ptr<T>(), static_cast<std::size_t>(std::min(tile, m_length - done)) * sizeof(T));
    });
}
