// TimiLUTPalette: palette look-up (every value indexes a palette of 2^nBitSize entries by its low
// nBitSize bits), plain, into packed 32-bit colours, in place, and with the colour channels
// swapped, over image sizes and the palette's bit size. One test per library function of the
// table; the palettes are made with the test's data, outside the timed calls.
#include <cstring>
#include <random>
#include <vector>

#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

constexpr int kMaxChannels = 4;

struct zkPaletteArgs : zkImageArgs {
    const void* pTable = nullptr;
    int nBitSize = 8;
};

zkPaletteArgs s_args;
zkImageData s_data;
std::vector<Zkr32u> s_tables[kMaxChannels];  // wide enough for every palette type
const void* s_tablePtr[kMaxChannels];

qmStepIterator<int> s_bits(8, "nBitSize", "Palette bit size (1..8 for 8u indices, 1..16 for 16u)");
[[maybe_unused]] const bool s_bitLimits = s_bits.setLimits(1, 16);

// Fills one palette of 2^bits entries of D with random colours.
template <class D> void fillPalette(std::vector<Zkr32u>& store, int bits, unsigned seed) {
    const std::size_t n = std::size_t(1) << bits;
    store.assign((n * sizeof(D) + sizeof(Zkr32u) - 1) / sizeof(Zkr32u), 0);
    D* t = reinterpret_cast<D*>(store.data());
    std::mt19937 rng(seed);
    for (std::size_t i = 0; i < n; ++i) t[i] = D(rng());
}

using FillFn = void (*)(std::vector<Zkr32u>&, int, unsigned);

class TimiLUTPalette : public zkImageTest {
public:
    TimiLUTPalette(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func, const char* layout,
                   int indexBits, FillFn fill)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiLUTPalette//ZK_REG", s_data),
          m_channels(std::strcmp(layout, "C1") == 0 ? 1 : (std::strcmp(layout, "C4") == 0 ? 4 : 3)),
          m_indexBits(indexBits),
          m_fill(fill) {
        s_data.args = &s_args;
    }

    bool canStart() override {
        if (!zkImageTest::canStart()) return false;
        addParameter(&s_bits);
        return true;
    }

    bool initData() override {
        const int bits = s_bits.value();
        if (bits < 1 || bits > m_indexBits) {
            g_ostrm << MSG_ERR << "-- nBitSize out of range 1.." << m_indexBits << ": " << bits << "\n" << MSG_RESTORE;
            return false;
        }
        if (!zkImageTest::initData()) return false;
        for (int c = 0; c < m_channels; ++c) {
            m_fill(s_tables[c], bits, unsigned(c + 1));
            s_tablePtr[c] = s_tables[c].data();
        }
        s_args.pTable = m_channels == 1 ? s_tablePtr[0] : static_cast<const void*>(s_tablePtr);
        s_args.nBitSize = bits;
        return true;
    }

private:
    int m_channels;
    int m_indexBits;
    FillFn m_fill;
};

}  // namespace

#define ZK_FAMILY_TABLE "histo/lutpalette.tbl"
#define ZK_FAMILY_TEST TimiLUTPalette
#define ZK_FAMILY_ARGS s_args
#define ZK_FAMILY_REGISTER(name, form, T, D, L, op)                                                       \
    qmRegTest(new TimiLUTPalette(&tcall_##name, &tim_##name##_loop, &tim_##name##_stat, #name, #L,       \
                                 int(8 * sizeof(T)), &fillPalette<D>))
#include "zkfamily.inc"
