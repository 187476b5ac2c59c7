// zkImage: layout, creation over the test allocator, plane pointers and row addressing.
#include "zkimage.h"

#include "qmmemory.h"
#include "qmstream.h"
#include "zkbmpfile.h"

namespace {
// The channel token of the argument ("AC4", "P3"), or the whole descriptor when there is none.
qmString layoutText(const zkFunc& func, int arg) {
    qmString token = func.channelsName(arg);
    return token.empty() ? func.descrName() : token;
}
}  // namespace

zkImage::zkImage(const qmString& name) : zkVector(zkUndef, name) {}

zkImage::zkImage(const zkFunc& func, int arg, const qmString& name) : zkVector(func, arg, name) {
    initFromFunc(func, arg);
}

zkImage::~zkImage() { zkImage::deleteVector(); }

int zkImage::numChannels(const zkFunc& func, int arg) {
    const qmString d = layoutText(func, arg);
    return d.contains("4") ? 4 : d.contains("3") ? 3 : d.contains("2") ? 2 : 1;
}

int zkImage::numActualChannels(const zkFunc& func, int arg) {
    const qmString d = layoutText(func, arg);
    if (d.contains("4")) return d.contains("A") ? 3 : 4;
    return numChannels(func, arg);
}

bool zkImage::isPlane(const zkFunc& func, int arg) { return layoutText(func, arg).contains("P"); }

void zkImage::init(zkType type, int channels, bool plane, int actualChannels) {
    setType(type);
    m_channels = channels < 1 ? 1 : channels > MAX_PLANES ? MAX_PLANES : channels;
    m_actualChannels = actualChannels > 0 && actualChannels <= m_channels ? actualChannels : m_channels;
    m_plane = plane;
}

void zkImage::initFromFunc(const zkFunc& func, int arg) {
    m_func = func;
    init(func.type(arg), numChannels(func, arg), isPlane(func, arg), numActualChannels(func, arg));
}

// ---------------------------------------------------------------- creation

bool zkImage::createImage(ZkriSize size, int arg, int align, bool firstPlaneOnly) {
    return createImage(size.width, size.height, arg, align, firstPlaneOnly);
}

bool zkImage::createImage(int width, int height, int arg, int align, bool firstPlaneOnly) {
    deleteVector();
    if (arg >= 0 && !m_func.empty()) initFromFunc(m_func, arg);
    const long long rowBytes = static_cast<long long>(width) * elemSize() * (m_plane ? 1 : m_channels);
    const long long step = (rowBytes + STEP_ALIGN - 1) / STEP_ALIGN * STEP_ALIGN;
    const long long bytes = step * height;
    if (width < 0 || height < 0 || elemSize() == 0 || bytes * numPlanes() > 0x7fffffff) {
        reportAllocFailure();
        return false;
    }
    m_number = qmVectorPlacement::m_vectorNum;
    bool ok;
    if (m_plane) {
        ok = createPlanes(static_cast<int>(bytes), align, firstPlaneOnly);
    } else {
        ok = allocateVector(static_cast<int>(bytes), align, this);
    }
    if (!ok) {
        deleteVector();
        reportAllocFailure();
        return false;
    }
    setPlaneArray();
    m_width = width;
    m_height = height;
    m_step = static_cast<int>(step);
    m_roi = {0, 0, width, height};
    for (int c = 0; c < numPlanes(); ++c) qmMallocDescribe(m_planePtr[c], m_name + " " + getString());
    setConst();
    return true;
}

bool zkImage::createPlanes(int bytes, int align, bool firstPlaneOnly) {
    const int start = qmVectorPlacement::m_vectorNum;
    for (int c = 0; c < m_channels; ++c) {
        zkVector& plane = m_planes[c];
        plane.setName(m_name + " plane " + qmString::fromInt(c));
        plane.setType(m_type);
        // Every plane counts as the same vector of the test.
        qmVectorPlacement::m_vectorNum = start;
        const int planeAlign = c > 0 && firstPlaneOnly ? 0 : align;
        if (!plane.allocateVector(bytes, planeAlign, c == 0 ? static_cast<void*>(this) : MEM_OBJECT_IS_SUBOBJECT))
            return false;
    }
    return true;
}

bool zkImage::createImageExt(ZkriSize size, int arg, int align, bool firstPlaneOnly, SetMode mode, double v1,
                             double v2) {
    return createImageExt(size.width, size.height, arg, align, firstPlaneOnly, mode, v1, v2);
}

bool zkImage::createImageExt(int width, int height, int arg, int align, bool firstPlaneOnly, SetMode mode,
                             double v1, double v2) {
    if (!createImage(width, height, arg, align, firstPlaneOnly)) return false;
    return !data() || fill(mode, v1, v2);
}

bool zkImage::createVector(ZkriSize size, SetMode mode, double v1, double v2) {
    return createImageExt(size, zkArgKeep, -1, false, mode, v1, v2);
}

bool zkImage::createVector(int width, int height, SetMode mode, double v1, double v2) {
    return createImageExt(width, height, zkArgKeep, -1, false, mode, v1, v2);
}

bool zkImage::createVectorExt(ZkriSize size, int align, SetMode mode, double v1, double v2) {
    return createImageExt(size, zkArgKeep, align, false, mode, v1, v2);
}

bool zkImage::createVectorExt(int width, int height, int align, SetMode mode, double v1, double v2) {
    return createImageExt(width, height, zkArgKeep, align, false, mode, v1, v2);
}

// ---------------------------------------------------------------- every plane

void zkImage::deleteVector() {
    zkVector::deleteVector();
    for (zkVector& p : m_planes) p.deleteVector();
    for (void*& p : m_planePtr) p = nullptr;
    m_width = m_height = m_step = 0;
    m_roi = {0, 0, 0, 0};
}

int zkImage::objectSize() const {
    int size = zkVector::objectSize();
    for (const zkVector& p : m_planes) size += p.objectSize();
    return size;
}

qmString zkImage::objectInfo() const { return m_name + " " + getString(); }

bool zkImage::reserveCopy() {
    if (!m_plane) return zkVector::reserveCopy();
    bool ok = m_planes[0].data() != nullptr;
    for (int c = 0; c < m_channels && ok; ++c) ok = m_planes[c].reserveCopy();
    return ok;
}

bool zkImage::setReservedCopy() {
    if (!m_plane) return zkVector::setReservedCopy();
    bool ok = m_planes[0].data() != nullptr;
    for (int c = 0; c < m_channels && ok; ++c) ok = m_planes[c].setReservedCopy();
    return ok;
}

void zkImage::deleteReservedCopy() {
    zkVector::deleteReservedCopy();
    for (zkVector& p : m_planes) p.deleteReservedCopy();
}

// ---------------------------------------------------------------- addressing

void zkImage::setPlanePtrs() {
    for (int c = 0; c < MAX_PLANES; ++c) m_planePtr[c] = c < m_channels ? m_planes[c].data() : nullptr;
}

void zkImage::setPlaneArray() {
    if (m_plane) {
        setPlanePtrs();
        return;
    }
    for (void*& p : m_planePtr) p = nullptr;
    m_planePtr[0] = m_data;
}

int zkImage::getNumRows() const { return m_plane ? m_height * m_channels : m_height; }

int zkImage::getRowLen() const { return m_width * pixelSize(); }

void* zkImage::getRowPointer(int row) const {
    if (row < 0 || row >= getNumRows() || !m_planePtr[0]) return nullptr;
    const int plane = m_plane ? row / m_height : 0;
    const long long offset = static_cast<long long>(row % m_height) * m_step;
    return static_cast<char*>(m_planePtr[plane]) + offset;
}

void* zkImage::getPointerAt(int x, int y, int plane) const {
    if (plane < 0 || plane >= m_channels) return nullptr;
    void* base = m_planePtr[m_plane ? plane : 0];
    if (!base) return nullptr;
    const long long column = m_plane ? x : static_cast<long long>(x) * m_channels + plane;
    return static_cast<char*>(base) + static_cast<long long>(y) * m_step + column * elemSize();
}

// ---------------------------------------------------------------- bitmap files

bool zkImage::canLoadImage() const { return (m_type == zk8u || m_type == zkUndef) && !m_plane; }

bool zkImage::loadImage(const qmString& fileName, int arg) {
    zkBmpFile file(this);
    if (file.load(fileName, arg)) return true;
    g_ostrm << MSG_ERR << "--- Can't load file " << fileName << "\n" << MSG_RESTORE;
    return false;
}
