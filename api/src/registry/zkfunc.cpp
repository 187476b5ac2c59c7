#include "zkfunc.h"

#include <cctype>
#include <cstring>

namespace {
struct TypeText {
    int value;
    const char* text;
    ZkrDataType code;
};
constexpr TypeText kTypes[] = {
    {zk8u, "8u", zkr8u},       {zk16u, "16u", zkr16u},    {zk32u, "32u", zkr32u},    {zk64u, "64u", zkr64u},
    {zk8s, "8s", zkr8s},       {zk16s, "16s", zkr16s},    {zk32s, "32s", zkr32s},    {zk64s, "64s", zkr64s},
    {zk32f, "32f", zkr32f},    {zk64f, "64f", zkr64f},    {zk16uc, "16uc", zkr16uc}, {zk8sc, "8sc", zkr8sc},
    {zk16sc, "16sc", zkr16sc}, {zk32sc, "32sc", zkr32sc}, {zk64sc, "64sc", zkr64sc}, {zk32fc, "32fc", zkr32fc},
    {zk64fc, "64fc", zkr64fc},
};

// Splits a type part ("16s8u") into its tokens.
int typeTokens(const qmString& typePart, qmString tokens[3]) {
    int n = 0, pos = 0;
    while (pos < typePart.length() && n < 3) {
        int len = zkFunc::typeTokenLength(typePart, pos);
        if (len == 0) break;
        tokens[n++] = typePart.substr(pos, len);
        pos += len;
    }
    return n;
}
}  // namespace

int zkTypeSize(int t) {
    int bytes = zkTypeBits(t) / 8;
    return zkIsComplex(t) ? 2 * bytes : bytes;
}

qmString zkFunc::typeToString(int t) {
    for (const auto& e : kTypes)
        if (e.value == t) return e.text;
    return "undef";
}

zkType zkFunc::stringToType(const qmString& s) {
    for (const auto& e : kTypes)
        if (s == e.text) return static_cast<zkType>(e.value);
    return zkUndef;
}

ZkrDataType zkFunc::zkrType(int t) {
    for (const auto& e : kTypes)
        if (e.value == t) return e.code;
    return zkrUndef;
}

ZkrChannels zkFunc::zkrChannels(int channels) {
    return channels >= 1 && channels <= 4 ? static_cast<ZkrChannels>(channels) : zkrC0;
}

int zkFunc::typeTokenLength(const qmString& s, int pos) {
    int i = pos;
    while (i < s.length() && std::isdigit(static_cast<unsigned char>(s[i]))) ++i;
    if (i == pos || i >= s.length() || !std::strchr("usf", s[i])) return 0;
    ++i;
    if (i < s.length() && s[i] == 'c') ++i;
    return i - pos;
}

qmString zkFunc::prefix() const {
    if (startsWith("zkrs")) return "zkrs";
    if (startsWith("zkri")) return "zkri";
    return "";
}

void zkFunc::parseFunction(qmString& base, qmString& type, qmString& descr) const {
    base = type = descr = qmString();
    const int start = prefix().length();
    int u = find('_', start);
    while (u >= 0 && typeTokenLength(*this, u + 1) == 0) u = find('_', u + 1);
    if (u < 0) {
        base = substr(start);
        return;
    }
    base = substr(start, u - start);
    int next = find('_', u + 1);
    if (next < 0) {
        type = substr(u + 1);
    } else {
        type = substr(u + 1, next - u - 1);
        descr = substr(next + 1);
    }
}

void zkFunc::parseFunction(qmString& base, qmString& type1, qmString& type2, qmString& type3,
                           qmString& descr) const {
    qmString type;
    parseFunction(base, type, descr);
    qmString tokens[3];
    typeTokens(type, tokens);
    type1 = tokens[0];
    type2 = tokens[1];
    type3 = tokens[2];
}

qmString zkFunc::baseName() const {
    qmString b, t, d;
    parseFunction(b, t, d);
    return b;
}

qmString zkFunc::typeName() const {
    qmString b, t, d;
    parseFunction(b, t, d);
    return t;
}

qmString zkFunc::descrName() const {
    qmString b, t, d;
    parseFunction(b, t, d);
    return d;
}

// One token: every argument has it. Two ("16s8u"): sources the first, destinations the second.
// Three ("8u16s32f"): source, second source, destination.
void zkFunc::getTypes(zkType& src, zkType& dst, zkType& src2, zkType& dst2) const {
    qmString tokens[3];
    int n = typeTokens(typeName(), tokens);
    zkType t[3] = {stringToType(tokens[0]), stringToType(tokens[1]), stringToType(tokens[2])};
    switch (n) {
        case 0: src = dst = src2 = dst2 = zkUndef; break;
        case 1: src = dst = src2 = dst2 = t[0]; break;
        case 2: src = src2 = t[0]; dst = dst2 = t[1]; break;
        default: src = t[0]; src2 = t[1]; dst = dst2 = t[2]; break;
    }
}

void zkFunc::updateTypes(zkType& src, zkType& dst, zkType& src2, zkType& dst2) const {
    zkType s, d, s2, d2;
    getTypes(s, d, s2, d2);
    if (src == zkUndef) src = s;
    if (dst == zkUndef) dst = d;
    if (src2 == zkUndef) src2 = s2;
    if (dst2 == zkUndef) dst2 = d2;
}

zkType zkFunc::type(int arg) const {
    zkType t[4];
    getTypes(t[zkSrc], t[zkDst], t[zkSrc2], t[zkDst2]);
    return arg >= 0 && arg < 4 ? t[arg] : zkUndef;
}

void zkFunc::channelTokens(qmString& src, qmString& dst, int& consumed) const {
    const qmString d = descrName();
    qmString found[2];
    int n = 0, pos = 0;
    while (n < 2 && pos < d.length()) {
        int i = pos;
        if (d[i] == 'A') ++i;
        if (i + 1 < d.length() && (d[i] == 'C' || d[i] == 'P') && std::isdigit(static_cast<unsigned char>(d[i + 1]))) {
            found[n++] = d.substr(pos, i + 2 - pos);
            pos = i + 2;
        } else {
            break;
        }
    }
    src = found[0];
    dst = n > 1 ? found[1] : found[0];
    consumed = pos;
}

qmString zkFunc::channelsName(int arg) const {
    qmString src, dst;
    int consumed;
    channelTokens(src, dst, consumed);
    return (arg == zkDst || arg == zkDst2) ? dst : src;
}

int zkFunc::channels(int arg) const {
    qmString c = channelsName(arg);
    int i = c.startsWith("A") ? 1 : 0;
    if (c.length() < i + 2) return 0;
    int n = c[i + 1] - '0';
    return n < 5 ? n : 0;
}

void zkFunc::getChannels(int& src, int& dst) const {
    src = channels(zkSrc);
    dst = channels(zkDst);
}

void zkFunc::updateChannels(int& src, int& dst) const {
    if (src == 0) src = channels(zkSrc);
    if (dst == 0) dst = channels(zkDst);
}

bool zkFunc::plane(int arg) const {
    qmString c = channelsName(arg);
    return c.startsWith("P") || c.startsWith("AP");
}

void zkFunc::getPlanes(bool& src, bool& dst) const {
    src = plane(zkSrc);
    dst = plane(zkDst);
}

bool zkFunc::alpha(int arg) const { return channelsName(arg).startsWith("A"); }

void zkFunc::getAlpha(bool& src, bool& dst) const {
    src = alpha(zkSrc);
    dst = alpha(zkDst);
}

// Channel-of-interest forms name a channel right after the layout ("C3CR", "C4C1R" style).
bool zkFunc::coi() const {
    qmString src, dst;
    int consumed;
    channelTokens(src, dst, consumed);
    qmString rest = descrName().substr(consumed);
    return rest.startsWith("C") && (rest.length() == 1 || !std::isdigit(static_cast<unsigned char>(rest[1])) ||
                                    std::strchr("1234", rest[1]) != nullptr);
}

bool zkFunc::inplace() const { return descrName().contains("I"); }
bool zkFunc::mask() const { return descrName().contains("M"); }
bool zkFunc::scale() const { return contains("Sfs"); }
bool zkFunc::roi() const { return descrName().contains("R"); }

int zkFunc::compare(const zkFunc& other) const {
    qmString b1, t1, d1, b2, t2, d2;
    parseFunction(b1, t1, d1);
    other.parseFunction(b2, t2, d2);
    int c = (prefix() + b1).str().compare((other.prefix() + b2).str());
    if (c != 0) return c;

    qmString k1[3], k2[3];
    int n1 = typeTokens(t1, k1), n2 = typeTokens(t2, k2);
    for (int i = 0; i < 3; ++i) {
        bool has1 = i < n1, has2 = i < n2;
        if (!has1 && !has2) break;
        if (has1 != has2) return has1 ? 1 : -1;
        int v1 = stringToType(k1[i]), v2 = stringToType(k2[i]);
        int r1 = v1 & ~ZK_COMPLEX, r2 = v2 & ~ZK_COMPLEX;
        if (r1 != r2) return r1 < r2 ? -1 : 1;
        int c1 = v1 & ZK_COMPLEX, c2 = v2 & ZK_COMPLEX;
        if (c1 != c2) return c1 < c2 ? -1 : 1;
    }

    bool i1 = d1.contains("I"), i2 = d2.contains("I");
    if (i1 != i2) return i1 ? 1 : -1;
    bool a1 = d1.startsWith("AC4"), a2 = d2.startsWith("AC4");
    bool c1 = d1.startsWith("C"), c2 = d2.startsWith("C");
    if (a1 && c2) return 1;
    if (c1 && a2) return -1;
    return d1.str().compare(d2.str());
}
