#include "zkvector.h"

#include <cstring>
#include <set>
#include "qmmemory.h"
#include "zkvectorfill.h"

namespace {
// Every vector that holds data, for the Set&Use mode. Never destroyed, so that data objects that
// are static in test modules can leave it during exit.
std::set<zkVector*>& liveVectors() {
    static auto* s_live = new std::set<zkVector*>;
    return *s_live;
}

const char* argName(int arg) {
    switch (arg) {
        case zkSrc: return "src";
        case zkDst: return "dst";
        case zkSrc2: return "src2";
        case zkDst2: return "dst2";
        default: return "vector";
    }
}
}  // namespace

unsigned zkVector::m_seed = 12345u;

zkVector::zkVector(zkType type, const qmString& name) : qmObject(name), m_type(type) {}

zkVector::zkVector(const zkFunc& func, int arg, const qmString& name)
    : qmObject(name.empty() ? qmString(argName(arg)) : name), m_type(func.type(arg)), m_func(func) {}

zkVector::~zkVector() { zkVector::deleteVector(); }

void zkVector::setType(zkType type) {
    if (!m_data) m_type = type;
}

void zkVector::setFunc(const zkFunc& func, int arg) {
    m_func = func;
    setType(func.type(arg));
}

int zkVector::objectSize() const { return m_bytes; }

qmString zkVector::objectInfo() const {
    qmString s = m_name;
    s << " " << zkFunc::typeToString(m_type) << " len " << m_length;
    return s;
}

void zkVector::setViews() {
    m_views = zkTypedViews{};
    zkfill::dispatch(m_type, [this]<class T>() { std::get<T*>(m_views) = static_cast<T*>(m_data); });
}

// ---------------------------------------------------------------- allocation

void zkVector::deleteVector() {
    deleteReservedCopy();
    if (m_data) {
        liveVectors().erase(this);
        qmFree(m_data);
    }
    m_data = nullptr;
    m_length = m_bytes = 0;
    m_views = zkTypedViews{};
}

bool zkVector::allocateVector(int bytes, int align, void* owner) {
    deleteVector();
    if (bytes < 1) return bytes == 0;
    const int size = elemSize();
    if (align < 0) align = qmGetAlignByByte() || size == 0 ? -1 : -size;
    m_number = qmVectorPlacement::m_vectorNum;
    void* p = qmVectorPlacement::allocate(bytes, align, owner ? owner : this);
    if (!p) return false;
    std::memset(p, 0, static_cast<size_t>(bytes));
    m_data = p;
    m_bytes = bytes;
    m_length = size ? bytes / size : 0;
    setViews();
    liveVectors().insert(this);
    qmMallocDescribe(p, objectInfo());
    return true;
}

bool zkVector::createVector(int length, int align, void* owner) {
    const long long bytes = static_cast<long long>(length) * elemSize();
    if (length < 0 || bytes > 0x7fffffff) {
        deleteVector();
        reportAllocFailure();
        return false;
    }
    if (!allocateVector(static_cast<int>(bytes), align, owner)) {
        reportAllocFailure();
        return false;
    }
    m_length = length;
    return setConst() || length == 0;
}

bool zkVector::createVector(int length, SetMode mode, double v1, double v2) {
    return createVectorExt(length, -1, nullptr, mode, v1, v2);
}

bool zkVector::createVectorExt(int length, int align, void* owner, SetMode mode, double v1, double v2) {
    if (!createVector(length, align, owner)) return false;
    return length == 0 || fill(mode, v1, v2);
}

// ---------------------------------------------------------------- reserved copy

bool zkVector::reserveCopy() {
    if (!m_data) return false;
    deleteReservedCopy();
    m_reserved = new unsigned char[static_cast<size_t>(m_bytes)]();
    std::memcpy(m_reserved, m_data, static_cast<size_t>(m_bytes));
    return true;
}

bool zkVector::setReservedCopy() {
    if (!m_data || !m_reserved) return false;
    std::memcpy(m_data, m_reserved, static_cast<size_t>(m_bytes));
    return true;
}

void zkVector::deleteReservedCopy() {
    delete[] m_reserved;
    m_reserved = nullptr;
}

bool zkVector::reserveAllVectors() {
    bool ok = true;
    for (zkVector* v : liveVectors()) ok = v->reserveCopy() && ok;
    return ok;
}

bool zkVector::restoreAllVectors() {
    bool ok = true;
    for (zkVector* v : liveVectors()) ok = v->setReservedCopy() && ok;
    return ok;
}
