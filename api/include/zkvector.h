// zkVector: the one-dimensional test data object, a typed buffer from the test allocator with a
// reserved copy for restoring in-place inputs and deterministic fills.
#pragma once
#include <tuple>
#include "qmobject.h"
#include "zkfunc.h"
#include "zkrcore.h"

// Fill selected by the create...Ext forms; the two values mean:
//   SET_CONST (re, im), SET_JAEHNE (magnitude, -), SET_SEQUENCE (start, step),
//   SET_RANDOM (low, high), SET_MIN and SET_MAX (-, -).
enum SetMode : int { SET_CONST, SET_MIN, SET_MAX, SET_JAEHNE, SET_SEQUENCE, SET_RANDOM };

// One pointer per element type; only the one matching the vector's type is set.
using zkTypedViews = std::tuple<Zkr8u*, Zkr16u*, Zkr32u*, Zkr64u*, Zkr8s*, Zkr16s*, Zkr32s*, Zkr64s*, Zkr32f*,
                                Zkr64f*, Zkr16uc*, Zkr8sc*, Zkr16sc*, Zkr32sc*, Zkr64sc*, Zkr32fc*, Zkr64fc*>;

class zkVector : public qmObject {
public:
    explicit zkVector(zkType type = zkUndef, const qmString& name = "vector");
    // The element type of argument arg (zkSrc, zkDst, ...) of the function.
    zkVector(const zkFunc& func, int arg, const qmString& name = qmString());
    zkVector(const zkVector&) = delete;
    zkVector& operator=(const zkVector&) = delete;

    // Virtual operations, in slot order.
    int objectSize() const override;
    qmString objectInfo() const override;
    virtual bool reserveCopy();         // false without data
    virtual bool setReservedCopy();     // false when data or copy is missing
    virtual void deleteReservedCopy();
    virtual ~zkVector();
    virtual void deleteVector();        // frees data and reserved copy
    virtual bool setConst();            // zeros
    virtual bool setConst(double re, double im);
    virtual bool setMinValue();         // the type's lowest value (both parts for complex)
    virtual bool setMaxValue();
    virtual bool setJaehne();           // the type's default magnitude (see jaehneDefault)
    virtual bool setJaehne(double magn);
    virtual bool setSequence(double start, double step);
    virtual bool setSequence(double start, double step, double limit, bool wrap);
    virtual bool setRandom();           // the type's default range (see randomDefault)
    virtual bool setRandom(double low, double high);

    // Allocates length elements (align: see allocateVector) and fills with zeros. Every failure
    // writes "-- Fail to allocate <name> data" (after the allocator's own message).
    bool createVector(int length, int align = -1, void* owner = nullptr);
    // Allocates with the session's misalignment and fills with the mode.
    bool createVector(int length, SetMode mode, double v1, double v2);
    bool createVectorExt(int length, int align, void* owner, SetMode mode, double v1, double v2);
    // Frees the old data, then takes bytes (rounded down to whole elements for the length) from the
    // test allocator, cleared to zero. A negative align asks for the session's misalignment in its
    // unit (bytes or elements of this type); 0 bytes allocate nothing. Null owner means this vector.
    bool allocateVector(int bytes, int align, void* owner);
    // Applies a fill mode (the virtual fills, so images fill by rows).
    bool fill(SetMode mode, double v1, double v2);
    // Complex chirp: real part sin, imaginary part cos of the Jaehne phase.
    bool setCplxJaehne(double magn);

    // Elements from first, count of them (-1: to the end): bytes " %02X", integers " %d" style,
    // floats " %14.6g" / " %20.12g"; complex as pairs " (re,im)". Real prints complex parts singly.
    qmString vectorStringReal(int first = 0, int count = -1) const;
    qmString vectorStringCplx(int first = 0, int count = -1) const;

    zkType type() const { return m_type; }
    void setType(zkType type);  // only while no data are held
    int elemSize() const { return zkTypeSize(m_type); }
    int length() const { return m_length; }
    int bytes() const { return m_bytes; }
    void* data() const { return m_data; }
    const unsigned char* reservedCopy() const { return m_reserved; }
    const zkFunc& func() const { return m_func; }
    void setFunc(const zkFunc& func, int arg);
    // Typed data pointer; null when T is not the vector's element type.
    template <class T>
    T* ptr() const { return std::get<T*>(m_views); }

    // Limits of a type (of one part for complex types) and the fill defaults: the whole range for
    // integer types, magnitude 1 and [-1, 1] for floating types (no infinities in products).
    static double typeMin(int type);
    static double typeMax(int type);
    static double jaehneDefault(int type);
    static void randomDefault(int type, double& low, double& high);
    // Magnitude limited to half the range; offset 0 for signed and floating types, else mid-range.
    static void jaehneLimits(int type, double& magn, double& offset);

    // Seed of the random fills. Each fill restarts the generator (std::mt19937) from
    // m_seed + 16 * placement number + plane, so a test line gets the same data however it is run.
    static unsigned m_seed;
    // Reserved copies of, and restoring of, every vector holding data (the Set&Use mode).
    static bool reserveAllVectors();
    static bool restoreAllVectors();

protected:
    unsigned randomSeed(int plane) const;
    void setViews();

    zkType m_type = zkUndef;
    int m_length = 0;
    int m_bytes = 0;
    void* m_data = nullptr;
    unsigned char* m_reserved = nullptr;
    zkFunc m_func;
    zkTypedViews m_views{};
    int m_number = 0;  // the test's buffer counter when the data were allocated
};
