// The FFT family against a direct two-dimensional DFT in double precision,
// driven by its table: every transform on every dispatch level, at small
// orders (including the one-pixel-wide and one-row images), every
// normalisation flag, images inside padded buffers, the packed layout as the
// table documents it, forward then inverse returning the input, thread
// splits, and every argument error of the transforms and their helpers.
#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <numbers>
#include <type_traits>

#include "family_support.h"
#include "float_fills.h"
#include "test_support.h"

#define ZKR_TABLE "fft/fft.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

using Cd = std::complex<double>;

enum class Kind { CFwd, CInv, RFwd, RInv };
enum class Form { NotInPlace, InPlace, Scaled };

struct FftBag : Bag {
    const void* pSpec = nullptr;
    void* pBuffer = nullptr;
};

struct FftCase {
    std::string name;
    Form form;
    Kind kind;
    int channels;  // in memory
    int active;    // transformed (AC4: 3)
    bool integer;  // 8u images and 32s spectra
    ZkrStatus (*call)(const FftBag&);

    bool complex() const { return kind == Kind::CFwd || kind == Kind::CInv; }
    bool forward() const { return kind == Kind::CFwd || kind == Kind::RFwd; }
};

Kind kindOf(const std::string& k) {
    if (k == "CFwd") return Kind::CFwd;
    if (k == "CInv") return Kind::CInv;
    if (k == "RFwd") return Kind::RFwd;
    return Kind::RInv;
}

FftCase describe(const char* name, const char* form, const char* layout, const char* kind, bool integer,
                 ZkrStatus (*call)(const FftBag&)) {
    const std::string f = form, l = layout;
    FftCase c;
    c.name = name;
    c.form = f == "fft_i" ? Form::InPlace : (f == "fft_sfs" ? Form::Scaled : Form::NotInPlace);
    c.kind = kindOf(kind);
    c.channels = l == "C1" ? 1 : (l == "C3" ? 3 : 4);
    c.active = l == "C4" ? 4 : (l == "C1" ? 1 : 3);
    c.integer = integer;
    c.call = call;
    return c;
}

std::vector<FftCase> expandTable() {
    std::vector<FftCase> cases;
#define ZKR_FN_AUX(...)
#define ZKR_FN(name, form, Ts, Td, S, L, kind)                                                               \
    cases.push_back(describe(#name, #form, #L, #kind, !std::is_floating_point_v<Ts> && !std::is_same_v<Ts, Zkr32fc>, \
                             [](const FftBag& b) -> ZkrStatus { return ZKR_CALL(b, name, form, Ts, Td, S, L, kind); }));
#include "fft/fft.tbl"
#undef ZKR_FN
#undef ZKR_FN_AUX
    return cases;
}

const std::vector<FftCase>& familyCases() {
    static const std::vector<FftCase> cases = expandTable();
    return cases;
}

// ---- setups ---------------------------------------------------------------------

// A setup of either kind with its work buffer, released with the object.
class SpecHolder {
public:
    SpecHolder(bool complex, int ox, int oy, int flag) : m_complex(complex) {
        int bytes = 0;
        if (complex) {
            m_status = zkriFFTInitAlloc_C_32fc(&m_c, ox, oy, flag, zkrAlgHintNone);
            if (m_status == zkrStsNoErr) m_status = zkriFFTGetBufSize_C_32fc(m_c, &bytes);
        } else {
            m_status = zkriFFTInitAlloc_R_32f(&m_r, ox, oy, flag, zkrAlgHintAccurate);
            if (m_status == zkrStsNoErr) m_status = zkriFFTGetBufSize_R_32f(m_r, &bytes);
        }
        m_buffer.assign(std::size_t(std::max(bytes, 0)), 0);
    }
    ~SpecHolder() {
        if (m_c) {
            EXPECT_EQ(zkriFFTFree_C_32fc(m_c), zkrStsNoErr);
        }
        if (m_r) {
            EXPECT_EQ(zkriFFTFree_R_32f(m_r), zkrStsNoErr);
        }
    }
    SpecHolder(const SpecHolder&) = delete;
    SpecHolder& operator=(const SpecHolder&) = delete;

    ZkrStatus status() const { return m_status; }
    const void* setup() const { return m_complex ? static_cast<const void*>(m_c) : static_cast<const void*>(m_r); }
    Zkr8u* buffer() { return m_buffer.data(); }

private:
    bool m_complex;
    ZkrStatus m_status = zkrStsNoErr;
    ZkriFFTSpec_C_32fc* m_c = nullptr;
    ZkriFFTSpec_R_32f* m_r = nullptr;
    std::vector<Zkr8u> m_buffer;
};

// ---- the reference ---------------------------------------------------------------------

// Direct DFT along the rows, then along the columns: sign -1 forward, +1 inverse, unnormalised.
std::vector<Cd> dft2(const std::vector<Cd>& in, int w, int h, int sign) {
    std::vector<Cd> rows(in.size()), out(in.size());
    for (int y = 0; y < h; ++y)
        for (int u = 0; u < w; ++u) {
            Cd s = 0;
            for (int x = 0; x < w; ++x)
                s += in[std::size_t(y * w + x)] * std::polar(1.0, sign * 2 * std::numbers::pi * u * x / w);
            rows[std::size_t(y * w + u)] = s;
        }
    for (int u = 0; u < w; ++u)
        for (int v = 0; v < h; ++v) {
            Cd s = 0;
            for (int y = 0; y < h; ++y)
                s += rows[std::size_t(y * w + u)] * std::polar(1.0, sign * 2 * std::numbers::pi * v * y / h);
            out[std::size_t(v * w + u)] = s;
        }
    return out;
}

// The packed layout of the table's comment, from the full spectrum of a real image.
std::vector<double> pack(const std::vector<Cd>& f, int w, int h) {
    std::vector<double> p(f.size(), 0.0);
    auto at = [&](int y, int x) -> double& { return p[std::size_t(y * w + x)]; };
    for (int v = 0; v < h; ++v)
        for (int k = 1; k < w / 2; ++k) {
            at(v, 2 * k - 1) = f[std::size_t(v * w + k)].real();
            at(v, 2 * k) = f[std::size_t(v * w + k)].imag();
        }
    auto column = [&](int u, int col) {
        at(0, col) = f[std::size_t(u)].real();
        for (int j = 1; j < h / 2; ++j) {
            at(2 * j - 1, col) = f[std::size_t(j * w + u)].real();
            at(2 * j, col) = f[std::size_t(j * w + u)].imag();
        }
        if (h > 1) at(h - 1, col) = f[std::size_t((h / 2) * w + u)].real();
    };
    column(0, 0);
    if (w > 1) column(w / 2, w - 1);
    return p;
}

// The full spectrum a packed image stands for (its conjugate-symmetric completion).
std::vector<Cd> unpack(const std::vector<double>& p, int w, int h) {
    std::vector<Cd> f(p.size());
    auto at = [&](int y, int x) { return p[std::size_t(y * w + x)]; };
    auto column = [&](int col, int v) -> Cd {
        if (v == 0) return {at(0, col), 0.0};
        if (2 * v == h) return {at(h - 1, col), 0.0};
        if (2 * v < h) return {at(2 * v - 1, col), at(2 * v, col)};
        return {at(2 * (h - v) - 1, col), -at(2 * (h - v), col)};
    };
    for (int v = 0; v < h; ++v) {
        f[std::size_t(v * w)] = column(0, v);
        if (w > 1) f[std::size_t(v * w + w / 2)] = column(w - 1, v);
        for (int k = 1; k < w / 2; ++k) {
            const Cd c{at(v, 2 * k - 1), at(v, 2 * k)};
            f[std::size_t(v * w + k)] = c;
            f[std::size_t(((h - v) % h) * w + (w - k))] = std::conj(c);
        }
    }
    return f;
}

double normalisation(int flag, bool inverse, int n) {
    if (flag == ZKR_FFT_DIV_BY_SQRTN) return 1.0 / std::sqrt(double(n));
    if (flag == (inverse ? ZKR_FFT_DIV_INV_BY_N : ZKR_FFT_DIV_FWD_BY_N)) return 1.0 / n;
    return 1.0;
}

template <class S> double saturateRound(double v) {
    const double r = std::nearbyint(v);
    return std::clamp(r, double(std::numeric_limits<S>::min()), double(std::numeric_limits<S>::max()));
}

// ---- one call ----------------------------------------------------------------------------

const int kFlags[] = {ZKR_FFT_DIV_FWD_BY_N, ZKR_FFT_DIV_INV_BY_N, ZKR_FFT_DIV_BY_SQRTN, ZKR_FFT_NODIV_BY_ANY};

// Source and destination component types of a case.
template <class Sc, class Dc> struct Call {
    const FftCase* fc;
    int ox, oy, w, h;
    int comps;  // components per element (2 for complex)
    std::optional<Plane<Sc>> src;
    Plane<Dc> dst;  // pDst, or pSrcDst in place

    Call(const FftCase& c, int orderX, int orderY, bool padded, std::mt19937& rng)
        : fc(&c), ox(orderX), oy(orderY), w(1 << orderX), h(1 << orderY), comps(c.complex() ? 2 : 1),
          dst(w, h, c.channels * comps, padded ? randomPadding(rng) : Padding{}, rng) {
        if (c.form != Form::InPlace) src.emplace(w, h, c.channels * comps, padded ? randomPadding(rng) : Padding{}, rng);
        fillInput(rng);
    }

    // Input values a transform of this kind meets: images of moderate range, or the packed
    // spectra of such images with some noise (integer spectra of 8u images).
    void fillInput(std::mt19937& rng) {
        std::uniform_real_distribution<double> unit(-1.0, 1.0);
        std::uniform_int_distribution<int> byte(0, 255);
        for (int c = 0; c < fc->active; ++c) {
            std::vector<double> values(std::size_t(w) * h * comps);
            if (fc->integer && fc->kind == Kind::RInv && w * h > 4096) {
                // Large images (thread splits) only need values of a spectrum's range.
                std::uniform_int_distribution<int> wide(-(1 << 16), 1 << 16);
                for (double& v : values) v = wide(rng);
            } else if (fc->integer && fc->kind == Kind::RInv) {
                std::vector<Cd> img(std::size_t(w) * h);
                for (Cd& v : img) v = byte(rng);
                const std::vector<double> p = pack(dft2(img, w, h, -1), w, h);
                for (std::size_t i = 0; i < p.size(); ++i) values[i] = std::nearbyint(p[i] + 3 * unit(rng));
            } else if (fc->integer) {
                for (double& v : values) v = byte(rng);
            } else {
                for (double& v : values) v = unit(rng);
            }
            setChannel(c, values);
        }
    }

    Plane<Sc>& input() {
        if constexpr (std::is_same_v<Sc, Dc>) {
            if (!src) return dst;
        }
        return *src;
    }

    void setChannel(int c, const std::vector<double>& values) {
        Plane<Sc>& in = input();
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                for (int k = 0; k < comps; ++k)
                    in.roi()[std::size_t(y) * in.stride + std::size_t(x * fc->channels + c) * comps + k] =
                        Sc(values[std::size_t((y * w + x) * comps + k)]);
    }

    template <class T> std::vector<double> channel(const std::vector<T>& data, const Plane<T>& shape, int c) const {
        std::vector<double> v(std::size_t(w) * h * comps);
        const T* roi = data.data() + (shape.roi() - shape.data.data());
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                for (int k = 0; k < comps; ++k)
                    v[std::size_t((y * w + x) * comps + k)] =
                        double(roi[std::size_t(y) * shape.stride + std::size_t(x * fc->channels + c) * comps + k]);
        return v;
    }

    FftBag bag(SpecHolder& setup, int sf) {
        FftBag b;
        if (src) {
            b.pSrc = src->roi();
            b.srcStep = src->stepBytes();
        }
        b.pDst = b.pSrcDst = dst.roi();
        b.dstStep = b.srcDstStep = dst.stepBytes();
        b.pSpec = setup.setup();
        b.pBuffer = setup.buffer();
        b.scaleFactor = sf;
        return b;
    }

    // The expected destination channel from the input channel, before rounding.
    std::vector<double> expected(const std::vector<double>& in, int flag, int sf, bool rounded = true) const {
        const int n = w * h;
        const double scale = normalisation(flag, !fc->forward(), n) * std::ldexp(1.0, -sf);
        std::vector<double> out(in.size());
        if (fc->complex()) {
            std::vector<Cd> x(static_cast<std::size_t>(n));
            for (int i = 0; i < n; ++i) x[std::size_t(i)] = {in[std::size_t(2 * i)], in[std::size_t(2 * i + 1)]};
            const std::vector<Cd> f = dft2(x, w, h, fc->forward() ? -1 : 1);
            for (int i = 0; i < n; ++i) {
                out[std::size_t(2 * i)] = f[std::size_t(i)].real() * scale;
                out[std::size_t(2 * i + 1)] = f[std::size_t(i)].imag() * scale;
            }
        } else if (fc->forward()) {
            const std::vector<Cd> x(in.begin(), in.end());
            const std::vector<double> p = pack(dft2(x, w, h, -1), w, h);
            for (int i = 0; i < n; ++i) out[std::size_t(i)] = p[std::size_t(i)] * scale;
        } else {
            const std::vector<Cd> r = dft2(unpack(in, w, h), w, h, 1);
            for (int i = 0; i < n; ++i) out[std::size_t(i)] = r[std::size_t(i)].real() * scale;
        }
        if constexpr (!std::is_floating_point_v<Dc>)
            if (rounded)
                for (double& v : out) v = saturateRound<Dc>(v);
        return out;
    }

    // Runs the function and checks every active channel against the reference, the untouched
    // alpha channel, the buffer outside the image and the source.
    void runAndCheck(int flag, int sf) {
        SpecHolder setup(fc->complex(), ox, oy, flag);
        ASSERT_EQ(setup.status(), zkrStsNoErr);
        const Plane<Sc> inBefore = input();
        const Plane<Dc> dstBefore = dst;
        ASSERT_EQ(fc->call(bag(setup, sf)), zkrStsNoErr);
        for (int c = 0; c < fc->active; ++c) {
            SCOPED_TRACE(testing::Message() << "channel " << c);
            const std::vector<double> want = expected(channel(inBefore.data, inBefore, c), flag, sf);
            std::vector<double> got(want.size());
            {
                const Dc* roi = dst.roi();
                for (int y = 0; y < h; ++y)
                    for (int x = 0; x < w; ++x)
                        for (int k = 0; k < comps; ++k)
                            got[std::size_t((y * w + x) * comps + k)] =
                                double(roi[std::size_t(y) * dst.stride + std::size_t(x * fc->channels + c) * comps + k]);
            }
            double norm = 0;
            for (double v : want) norm += v * v;
            norm = std::sqrt(norm);
            // Single precision: errors grow with the number of stages; integers add their rounding.
            const double tol = 3e-6 * (ox + oy + 1) * norm + (std::is_floating_point_v<Dc> ? 1e-30 : 1.0);
            int bad = 0;
            for (std::size_t i = 0; i < want.size() && bad < 5; ++i)
                if (!(std::abs(got[i] - want[i]) <= tol)) {
                    ADD_FAILURE() << "element " << i / comps << " part " << i % comps << " (" << w << "x" << h
                                  << ", flag " << flag << ", sf " << sf << "): got " << got[i] << ", want "
                                  << want[i] << ", tolerance " << tol;
                    ++bad;
                }
        }
        // Alpha and the buffer outside the image are left alone.
        for (std::size_t k = 0; k < dst.data.size(); ++k) {
            const bool inside = dstBefore.insideRoi(k);
            const int ch = inside ? int((k % std::size_t(dst.stride)) - std::size_t(dst.pad.left * dst.perPixel)) /
                                        comps % fc->channels
                                  : -1;
            if ((!inside || ch >= fc->active) && !sameBits(dst.data[k], dstBefore.data[k])) {
                ADD_FAILURE() << "write outside the transformed channels at buffer index " << k;
                break;
            }
        }
        if (src) {
            EXPECT_TRUE(src->data == inBefore.data) << "source modified";
        }
    }
};

struct Orders {
    int x, y;
};
// One-pixel, one-column, one-row, two-wide and non-square images, and a larger one.
const Orders kOrders[] = {{0, 0}, {0, 3}, {3, 0}, {1, 1}, {1, 2}, {2, 3}, {4, 2}, {3, 5}, {5, 4}};

template <class Sc, class Dc> void checkAgainstReference(const FftCase& fc) {
    std::mt19937 rng(2024);
    const std::vector<int> sfs = fc.form == Form::Scaled ? std::vector<int>{0, 3, -2} : std::vector<int>{0};
    forEachLevel([&](const Level&) {
        for (const Orders& o : kOrders) {
            for (int flag : kFlags)
                for (int sf : sfs) {
                    SCOPED_TRACE(testing::Message() << "orders " << o.x << "," << o.y << " flag " << flag << " sf " << sf);
                    Call<Sc, Dc> call(fc, o.x, o.y, (o.x + o.y) % 2 == 1, rng);
                    call.runAndCheck(flag, sf);
                    if (testing::Test::HasFailure()) return;
                }
        }
    });
}

// Scale factors that drop every result to zero or saturate every clear one; any factor beyond
// the useful range gives the same results.
template <class Sc, class Dc> void checkScaleExtremes(const FftCase& fc) {
    std::mt19937 rng(31);
    for (int sf : {40, 1000, INT_MAX, -40, -1000, INT_MIN}) {
        SCOPED_TRACE(testing::Message() << "sf " << sf);
        Call<Sc, Dc> call(fc, 3, 2, true, rng);
        const Plane<Sc> in = call.input();
        SpecHolder setup(false, 3, 2, ZKR_FFT_DIV_INV_BY_N);
        ASSERT_EQ(fc.call(call.bag(setup, sf)), zkrStsNoErr);
        for (int c = 0; c < fc.active; ++c) {
            const std::vector<double> ref = call.expected(call.channel(in.data, in, c), ZKR_FFT_DIV_INV_BY_N, 0, false);
            const std::vector<double> got = call.channel(call.dst.data, call.dst, c);
            for (std::size_t i = 0; i < ref.size(); ++i) {
                if (sf > 0) {
                    ASSERT_EQ(got[i], 0.0) << "channel " << c << " element " << i;
                } else if (std::abs(ref[i]) >= 0.01) {
                    const double sat = ref[i] > 0 ? double(std::numeric_limits<Dc>::max()) : double(std::numeric_limits<Dc>::min());
                    ASSERT_EQ(got[i], sat) << "channel " << c << " element " << i << " reference " << ref[i];
                }
            }
        }
    }
}

// ---- forward then inverse ----------------------------------------------------------------

// The inverse of every forward function (same layout and form) returns the input.
const FftCase& inverseOf(const FftCase& fwd) {
    std::string name = fwd.name;
    if (fwd.complex()) {
        name.replace(name.find("Fwd"), 3, "Inv");
    } else {
        name.replace(name.find("Fwd_RToPack"), 11, "Inv_PackToR");
        if (fwd.integer) name.replace(name.find("8u32s"), 5, "32s8u");
    }
    for (const FftCase& c : familyCases())
        if (c.name == name) return c;
    ADD_FAILURE() << "no inverse of " << fwd.name;
    return fwd;
}

template <class Sc, class Dc> void checkRoundTrip(const FftCase& fwd) {
    const FftCase& inv = inverseOf(fwd);
    std::mt19937 rng(5);
    for (int flag : kFlags) {
        for (const Orders& o : {Orders{0, 0}, Orders{1, 3}, Orders{6, 5}}) {
            SCOPED_TRACE(testing::Message() << "flag " << flag << " orders " << o.x << "," << o.y);
            const int n = 1 << (o.x + o.y);
            // Integer spectra are unnormalised, so that their rounding stays small.
            const int useFlag = fwd.integer ? ZKR_FFT_DIV_INV_BY_N : flag;
            Call<Sc, Dc> there(fwd, o.x, o.y, true, rng);
            const Plane<Sc> original = there.input();
            {
                SpecHolder setup(fwd.complex(), o.x, o.y, useFlag);
                ASSERT_EQ(fwd.call(there.bag(setup, 0)), zkrStsNoErr);
            }
            // The spectrum becomes the source of the inverse in the same buffers.
            Call<Dc, Sc> back(inv, o.x, o.y, false, rng);
            const int comps = fwd.complex() ? 2 : 1;
            for (int c = 0; c < fwd.active; ++c) back.setChannel(c, there.channel(there.dst.data, there.dst, c));
            {
                SpecHolder setup(fwd.complex(), o.x, o.y, useFlag);
                ASSERT_EQ(inv.call(back.bag(setup, 0)), zkrStsNoErr);
            }
            const double scale = normalisation(useFlag, false, n) * normalisation(useFlag, true, n) * n;
            for (int c = 0; c < fwd.active; ++c) {
                const std::vector<double> a = there.channel(original.data, original, c);
                const std::vector<double> b = back.channel(back.dst.data, back.dst, c);
                double norm = 0;
                for (double v : a) norm += v * v;
                const double tol = fwd.integer ? 1.0 : 4e-6 * (o.x + o.y + 1) * std::sqrt(norm) * scale + 1e-30;
                for (std::size_t i = 0; i < a.size(); ++i)
                    ASSERT_LE(std::abs(b[i] - a[i] * scale), tol) << "channel " << c << " element " << i / comps;
            }
        }
    }
}

// ---- thread splits ---------------------------------------------------------------------------

// An image above the splitting threshold gives the same bits on 1, 2 and 3 threads.
template <class Sc, class Dc> void checkThreadSplits(const FftCase& fc) {
    std::mt19937 rng(77);
    Call<Sc, Dc> call(fc, 9, 8, true, rng);
    ASSERT_GT(std::int64_t(call.w) * call.h, kSplitPixels);
    const Call<Sc, Dc> original = call;
    SpecHolder setup(fc.complex(), 9, 8, ZKR_FFT_DIV_FWD_BY_N);
    std::vector<Dc> single;
    for (int threads : {1, 2, 3}) {
        SCOPED_TRACE(testing::Message() << threads << " threads");
        ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
        call = original;
        ASSERT_EQ(fc.call(call.bag(setup, 1)), zkrStsNoErr);
        if (threads == 1) single = call.dst.data;
        else EXPECT_TRUE(call.dst.data == single) << "result depends on the thread split";
    }
}

// ---- argument errors ---------------------------------------------------------------------------

template <class Sc, class Dc> void checkStatusCodes(const FftCase& fc) {
    std::mt19937 rng(99);
    Call<Sc, Dc> call(fc, 3, 2, true, rng);
    SpecHolder setup(fc.complex(), 3, 2, ZKR_FFT_NODIV_BY_ANY);
    SpecHolder otherKind(!fc.complex(), 3, 2, ZKR_FFT_NODIV_BY_ANY);
    const FftBag good = call.bag(setup, 0);
    const std::vector<Dc> before = call.dst.data;
    auto expectStatus = [&](const FftBag& b, ZkrStatus want, const char* what) {
        EXPECT_EQ(fc.call(b), want) << what;
        EXPECT_TRUE(call.dst.data == before) << what << ": destination written on error";
    };
    FftBag b = good;
    std::vector<const void**> inputs = {&b.pSpec};
    if (fc.form != Form::InPlace) inputs.push_back(&b.pSrc);
    for (const void** p : inputs) {
        b = good;
        *p = nullptr;
        expectStatus(b, zkrStsNullPtrErr, "null source or setup");
    }
    b = good;
    b.pDst = b.pSrcDst = nullptr;
    expectStatus(b, zkrStsNullPtrErr, "null destination");
    b = good;
    b.pBuffer = nullptr;
    expectStatus(b, zkrStsNullPtrErr, "null buffer");

    b = good;
    b.pSpec = otherKind.setup();
    expectStatus(b, zkrStsContextMatchErr, "setup of the other kind");
    b.dstStep = b.srcDstStep = 0;
    expectStatus(b, zkrStsContextMatchErr, "setup checked before steps");

    const int comps = fc.complex() ? 2 : 1;
    const int rowBytes = 8 * fc.channels * comps * int(sizeof(Dc));
    for (int bad : {0, -rowBytes, rowBytes - int(sizeof(Dc))}) {
        b = good;
        b.dstStep = b.srcDstStep = bad;
        expectStatus(b, zkrStsStepErr, "bad destination step");
    }
    if (fc.form != Form::InPlace) {
        const int srcRow = 8 * fc.channels * comps * int(sizeof(Sc));
        for (int bad : {0, srcRow - int(sizeof(Sc))}) {
            b = good;
            b.srcStep = bad;
            expectStatus(b, zkrStsStepErr, "bad source step");
        }
    }
    if (sizeof(Dc) > 1) {
        b = good;
        b.dstStep = b.srcDstStep = good.dstStep + 1;
        expectStatus(b, zkrStsStepErr, "misaligned destination rows");
    }
}

struct Runners {
    void (*reference)(const FftCase&);
    void (*roundTrip)(const FftCase&);
    void (*threads)(const FftCase&);
    void (*status)(const FftCase&);
    void (*extremes)(const FftCase&);
};

template <class Sc, class Dc> constexpr Runners runnersFor() {
    return {&checkAgainstReference<Sc, Dc>, &checkRoundTrip<Sc, Dc>, &checkThreadSplits<Sc, Dc>,
            &checkStatusCodes<Sc, Dc>, &checkScaleExtremes<Sc, Dc>};
}

Runners runners(const FftCase& c) {
    if (!c.integer) return runnersFor<Zkr32f, Zkr32f>();
    return c.forward() ? runnersFor<Zkr8u, Zkr32s>() : runnersFor<Zkr32s, Zkr8u>();
}

class FftFamily : public testing::WithParamInterface<Form>, public LibraryStateTest {
protected:
    template <class Select, class Check> void walk(Select select, Check check) {
        forEachCase(familyCases(), [&](const FftCase& c) { return c.form == GetParam() && select(c); }, check);
    }
    static bool any(const FftCase&) { return true; }
};

TEST_P(FftFamily, MatchesDirectDftOnEveryLevel) {
    walk(any, [](const FftCase& c) { runners(c).reference(c); });
}
TEST_P(FftFamily, ForwardThenInverseReturnsTheInput) {
    walk([](const FftCase& c) { return c.forward(); }, [](const FftCase& c) { runners(c).roundTrip(c); });
}
TEST_P(FftFamily, ThreadSplitsMatchSingleThread) {
    walk(any, [](const FftCase& c) { runners(c).threads(c); });
}
TEST_P(FftFamily, StatusCodes) {
    walk(any, [](const FftCase& c) { runners(c).status(c); });
}

std::string formName(const testing::TestParamInfo<Form>& info) {
    static const char* const names[] = {"NotInPlace", "InPlace", "Scaled"};
    return names[int(info.param)];
}

INSTANTIATE_TEST_SUITE_P(Zkri, FftFamily, testing::Values(Form::NotInPlace, Form::InPlace, Form::Scaled), formName);

class FftScaled : public LibraryStateTest {};

TEST_F(FftScaled, ExtremeScaleFactorsGiveZeroOrSaturate) {
    forEachCase(familyCases(), [](const FftCase& c) { return c.form == Form::Scaled; },
                [](const FftCase& c) { runners(c).extremes(c); });
}

TEST(FftFamilyTable, CountsPerBase) {
    std::map<std::string, int> bases;
    std::vector<std::string> names;
    for (const FftCase& c : familyCases()) {
        names.push_back(c.name);
        const std::string base = c.name.substr(0, c.name.find('_', c.name.find('_') + 1));
        ++bases[base];
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end()) << "a function is listed twice";
    EXPECT_EQ(bases, (std::map<std::string, int>{{"zkriFFTFwd_CToC", 2},
                                                  {"zkriFFTInv_CToC", 2},
                                                  {"zkriFFTFwd_RToPack", 12},
                                                  {"zkriFFTInv_PackToR", 12}}));
}

// ---- the helpers -------------------------------------------------------------------------------

class FftSpecification : public LibraryStateTest {};

TEST_F(FftSpecification, InitAllocChecksItsArguments) {
    ZkriFFTSpec_C_32fc* c = reinterpret_cast<ZkriFFTSpec_C_32fc*>(this);  // must be reset on error
    EXPECT_EQ(zkriFFTInitAlloc_C_32fc(nullptr, 2, 2, ZKR_FFT_NODIV_BY_ANY, zkrAlgHintNone), zkrStsNullPtrErr);
    for (Orders o : {Orders{-1, 2}, Orders{2, -1}, Orders{ZKR_FFT_MAX_ORDER + 1, 0}, Orders{0, ZKR_FFT_MAX_ORDER + 1},
                     Orders{INT_MIN, INT_MAX}}) {
        SCOPED_TRACE(testing::Message() << "orders " << o.x << "," << o.y);
        EXPECT_EQ(zkriFFTInitAlloc_C_32fc(&c, o.x, o.y, ZKR_FFT_NODIV_BY_ANY, zkrAlgHintNone), zkrStsFftOrderErr);
        EXPECT_EQ(c, nullptr);
        ZkriFFTSpec_R_32f* r = nullptr;
        EXPECT_EQ(zkriFFTInitAlloc_R_32f(&r, o.x, o.y, ZKR_FFT_DIV_FWD_BY_N, zkrAlgHintFast), zkrStsFftOrderErr);
        EXPECT_EQ(r, nullptr);
    }
    // Orders are checked before the flag; the flag is one value, not a combination.
    EXPECT_EQ(zkriFFTInitAlloc_C_32fc(&c, -1, 0, 0, zkrAlgHintNone), zkrStsFftOrderErr);
    for (int flag : {0, 3, 5, 6, 16, -1, ZKR_FFT_DIV_FWD_BY_N | ZKR_FFT_NODIV_BY_ANY}) {
        SCOPED_TRACE(testing::Message() << "flag " << flag);
        EXPECT_EQ(zkriFFTInitAlloc_C_32fc(&c, 1, 1, flag, zkrAlgHintNone), zkrStsFftFlagErr);
        ZkriFFTSpec_R_32f* r = nullptr;
        EXPECT_EQ(zkriFFTInitAlloc_R_32f(&r, 1, 1, flag, zkrAlgHintNone), zkrStsFftFlagErr);
    }
    EXPECT_EQ(zkriFFTInitAlloc_C_32fc(&c, 1, 1, ZKR_FFT_NODIV_BY_ANY, ZkrHintAlgorithm(3)), zkrStsHintErr);
    // The largest orders are accepted.
    ASSERT_EQ(zkriFFTInitAlloc_C_32fc(&c, ZKR_FFT_MAX_ORDER, 0, ZKR_FFT_NODIV_BY_ANY, zkrAlgHintNone), zkrStsNoErr);
    EXPECT_EQ(zkriFFTFree_C_32fc(c), zkrStsNoErr);
}

TEST_F(FftSpecification, BufferSizeCoversTheWorkArrayAndKindsAreTold) {
    ZkriFFTSpec_C_32fc* c = nullptr;
    ZkriFFTSpec_R_32f* r = nullptr;
    ASSERT_EQ(zkriFFTInitAlloc_C_32fc(&c, 5, 3, ZKR_FFT_DIV_INV_BY_N, zkrAlgHintNone), zkrStsNoErr);
    ASSERT_EQ(zkriFFTInitAlloc_R_32f(&r, 5, 3, ZKR_FFT_DIV_INV_BY_N, zkrAlgHintNone), zkrStsNoErr);
    int bc = 0, br = 0;
    EXPECT_EQ(zkriFFTGetBufSize_C_32fc(c, &bc), zkrStsNoErr);
    EXPECT_EQ(zkriFFTGetBufSize_R_32f(r, &br), zkrStsNoErr);
    // A complex work array of the image (complex), of half the image (real).
    EXPECT_GE(bc, 32 * 8 * 8);
    EXPECT_GE(br, 16 * 8 * 8);
    EXPECT_LT(br, bc);
    EXPECT_EQ(zkriFFTGetBufSize_C_32fc(nullptr, &bc), zkrStsNullPtrErr);
    EXPECT_EQ(zkriFFTGetBufSize_C_32fc(c, nullptr), zkrStsNullPtrErr);
    EXPECT_EQ(zkriFFTGetBufSize_C_32fc(reinterpret_cast<const ZkriFFTSpec_C_32fc*>(r), &bc), zkrStsContextMatchErr);
    EXPECT_EQ(zkriFFTGetBufSize_R_32f(reinterpret_cast<const ZkriFFTSpec_R_32f*>(c), &br), zkrStsContextMatchErr);
    EXPECT_EQ(zkriFFTFree_C_32fc(reinterpret_cast<ZkriFFTSpec_C_32fc*>(r)), zkrStsContextMatchErr);
    EXPECT_EQ(zkriFFTFree_R_32f(reinterpret_cast<ZkriFFTSpec_R_32f*>(c)), zkrStsContextMatchErr);
    EXPECT_EQ(zkriFFTFree_C_32fc(c), zkrStsNoErr);
    EXPECT_EQ(zkriFFTFree_R_32f(r), zkrStsNoErr);
    EXPECT_EQ(zkriFFTFree_C_32fc(nullptr), zkrStsNoErr);
}

// A work buffer at any byte offset serves: the transform aligns it itself.
TEST_F(FftSpecification, UnalignedWorkBuffer) {
    const FftCase* fc = nullptr;
    for (const FftCase& c : familyCases())
        if (c.name == "zkriFFTFwd_CToC_32fc_C1R") fc = &c;
    ASSERT_NE(fc, nullptr);
    std::mt19937 rng(3);
    Call<Zkr32f, Zkr32f> call(*fc, 4, 3, false, rng);
    SpecHolder setup(true, 4, 3, ZKR_FFT_NODIV_BY_ANY);
    ASSERT_EQ(fc->call(call.bag(setup, 0)), zkrStsNoErr);
    const std::vector<float> aligned = call.dst.data;
    int bytes = 0;
    ASSERT_EQ(zkriFFTGetBufSize_C_32fc(static_cast<const ZkriFFTSpec_C_32fc*>(setup.setup()), &bytes), zkrStsNoErr);
    for (int offset : {1, 3, 17, 63}) {
        std::vector<Zkr8u> buffer(std::size_t(bytes + offset), 0xA5);
        FftBag b = call.bag(setup, 0);
        b.pBuffer = buffer.data() + offset;
        ASSERT_EQ(fc->call(b), zkrStsNoErr);
        EXPECT_TRUE(call.dst.data == aligned) << "offset " << offset;
    }
}

// ---- float edges ---------------------------------------------------------------------------

class FftFloatEdges : public LibraryStateTest {};

// Float transforms on every level. Finite values from 1e-30 to 1e30 of both signs (the hostile
// fills without their specials): within the reference's bound relative to the spectrum's norm. A
// NaN or an infinity as the real part of the first element of channel 0 weighs 1 in the real part
// of every output (in the packed real formats, in every term the first element enters), so at least
// half the outputs of that channel are not finite; parts whose twiddle is exactly 0 (the trivial
// twiddles are applied without a multiplication) may stay finite; the other channels stay finite;
// no flag but invalid, overflow and inexact is raised.
TEST_F(FftFloatEdges, WideValuesAndOneNonFiniteInput) {
    forEachCase(familyCases(), [](const FftCase& c) { return !c.integer && c.form == Form::NotInPlace; },
                [](const FftCase& c) {
                    std::mt19937 rng(73);
                    forEachLevel([&](const Level&) {
                        Call<Zkr32f, Zkr32f> wide(c, 3, 2, true, rng);
                        std::vector<float> values(wide.input().data.size());
                        floats::fillWide(values, rng);
                        wide.input().data = values;
                        wide.runAndCheck(ZKR_FFT_NODIV_BY_ANY, 0);
                        for (float bad : {std::numeric_limits<float>::quiet_NaN(), floats::kInf}) {
                            Call<Zkr32f, Zkr32f> call(c, 3, 2, false, rng);
                            call.input().roi()[0] = bad;  // the real part of channel 0's first element
                            SpecHolder setup(c.complex(), 3, 2, ZKR_FFT_NODIV_BY_ANY);
                            ASSERT_EQ(setup.status(), zkrStsNoErr);
                            ZkrStatus st = zkrStsNoErr;
                            const FftBag b = call.bag(setup, 0);
                            const unsigned raised = floats::flagsOf([&] { st = c.call(b); });
                            ASSERT_EQ(st, zkrStsNoErr);
                            EXPECT_EQ(raised & ~(floats::kInvalid | floats::kOverflow | floats::kInexact), 0u)
                                << "raised " << floats::flagNames(raised);
                            for (int ch = 0; ch < c.active; ++ch) {
                                const std::vector<double> out = call.channel(call.dst.data, call.dst, ch);
                                int finite = 0;
                                for (double v : out) finite += std::isfinite(v);
                                if (ch > 0) {
                                    EXPECT_EQ(finite, int(out.size())) << "channel " << ch << " input " << bad;
                                } else {
                                    EXPECT_LE(finite, int(out.size()) / 2) << "input " << bad;
                                }
                            }
                        }
                    });
                });
}

}  // namespace
}  // namespace zkrtest
