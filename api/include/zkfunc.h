// zkFunc: the full name of a library function under test, split into its parts on demand;
// zkType: the bit-coded element type.
#pragma once
#include "qmstring.h"
#include "zkrcore.h"

// Width in bits, plus 0x100 signed, 0x200 floating point, 0x400 complex.
enum zkType : int {
    zkUndef = 0,
    zk8u = 0x8, zk16u = 0x10, zk32u = 0x20, zk64u = 0x40,
    zk8s = 0x108, zk16s = 0x110, zk32s = 0x120, zk64s = 0x140,
    zk32f = 0x220, zk64f = 0x240,
    zk16uc = 0x410, zk8sc = 0x508, zk16sc = 0x510, zk32sc = 0x520, zk64sc = 0x540,
    zk32fc = 0x620, zk64fc = 0x640,
};
constexpr int ZK_SIGNED = 0x100, ZK_FLOAT = 0x200, ZK_COMPLEX = 0x400, ZK_WIDTH_MASK = 0xFF;

inline int zkTypeBits(int t) { return t & ZK_WIDTH_MASK; }
inline bool zkIsComplex(int t) { return (t & ZK_COMPLEX) != 0; }
inline bool zkIsFloat(int t) { return (t & ZK_FLOAT) != 0; }
inline bool zkIsSigned(int t) { return (t & (ZK_SIGNED | ZK_FLOAT)) != 0; }
// Bytes of one element (complex counts both parts); 0 for the undefined type.
int zkTypeSize(int t);

// Which argument of a function a question is about.
enum zkArg : int { zkSrc = 0, zkDst = 1, zkSrc2 = 2, zkDst2 = 3 };

class zkFunc : public qmString {
public:
    zkFunc() = default;
    zkFunc(const qmString& name) : qmString(name) {}
    zkFunc(const char* name) : qmString(name) {}

    // Length of the type token starting at pos: digits, one of "usf", optional "c"; 0 when none.
    static int typeTokenLength(const qmString& s, int pos);

    void parseFunction(qmString& base, qmString& type, qmString& descr) const;
    void parseFunction(qmString& base, qmString& type1, qmString& type2, qmString& type3, qmString& descr) const;
    qmString prefix() const;
    qmString baseName() const;
    qmString typeName() const;
    qmString descrName() const;

    zkType type(int arg) const;
    zkType type(zkArg arg) const { return type(static_cast<int>(arg)); }
    zkType srcType() const { return type(zkSrc); }
    zkType dstType() const { return type(zkDst); }
    zkType src2Type() const { return type(zkSrc2); }
    zkType dst2Type() const { return type(zkDst2); }
    void getTypes(zkType& src, zkType& dst, zkType& src2, zkType& dst2) const;
    // Fills only what is still undefined.
    void updateTypes(zkType& src, zkType& dst, zkType& src2, zkType& dst2) const;

    qmString channelsName(int arg) const;  // "C1", "C3", "AC4", "P3", "AP4"; "" when absent
    qmString srcChannelsName() const { return channelsName(zkSrc); }
    qmString dstChannelsName() const { return channelsName(zkDst); }
    int channels(int arg) const;  // digit after "C" or "P", valid below 5; else 0
    int srcChannels() const { return channels(zkSrc); }
    int dstChannels() const { return channels(zkDst); }
    void getChannels(int& src, int& dst) const;
    void updateChannels(int& src, int& dst) const;

    bool plane(int arg) const;
    bool srcPlane() const { return plane(zkSrc); }
    bool dstPlane() const { return plane(zkDst); }
    void getPlanes(bool& src, bool& dst) const;
    bool alpha(int arg) const;
    bool srcAlpha() const { return alpha(zkSrc); }
    bool dstAlpha() const { return alpha(zkDst); }
    void getAlpha(bool& src, bool& dst) const;

    bool coi() const;
    bool inplace() const;
    bool mask() const;
    bool scale() const;
    bool roi() const;

    // Ordering used by the test sort: negative, zero or positive.
    int compare(const zkFunc& other) const;

    static qmString typeToString(int t);
    static zkType stringToType(const qmString& s);
    // The library's own codes of an element type and of a channel count (zkrUndef, zkrC0 when none).
    static ZkrDataType zkrType(int t);
    static ZkrChannels zkrChannels(int channels);

private:
    // Channel tokens at the start of the descriptor: [A](C|P)digit, up to two (source, destination).
    void channelTokens(qmString& src, qmString& dst, int& consumed) const;
};
