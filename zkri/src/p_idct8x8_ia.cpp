// TimiDct8x8: the 8x8 DCT family (forward and inverse transforms of one block, the inverses of
// blocks holding low frequencies only, the reduced 2x2 and 4x4 inverses, the level-shifted forward
// transform and the level-shifted clipped inverse). One test per library function of the family's
// table: the in-place forms register as "TimiDct8x8//ZK_REG_I", every other one as
// "TimiDct8x8//ZK_REG".
//
// Parameters:
//   blockData   what the block holds: Random (default: values over the source type's working range)
//               or Flat (one value, the coefficients of a flat block for the inverses)
// The module has no initData: its canContinue moves to the next parameter set and fills the blocks
// for it, so every set is timed on data made once, before the measurement. Results are per
// element of the 8x8 block ("pxch").
#include <cstring>

#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"
#include "qmmapiterator.h"

namespace {

struct zkDct8x8Args : zkImageArgs {
    int addVal = -128;
    int clipMin = 0;
    int clipMax = 255;
};

zkDct8x8Args s_args;
zkVector s_src{zk8u, "src"}, s_dst{zk8u, "dst"};

qmMapIterator<int> s_blockData(0, "blockData", "Block contents", {{"Random", 0}, {"Flat", 1}});
[[maybe_unused]] const bool s_blockDataValidation = (s_blockData.initValidation(), true);

class TimiDct8x8 : public zkTest {
public:
    TimiDct8x8(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func, const char* id)
        : zkTest(call, nullptr, loop, stat, qmString(func), qmString(__FILE__), qmString(id)) {}

    static const char* idOf(const char* form) {
        return std::strcmp(form, "blk_i") == 0 ? "TimiDct8x8//ZK_REG_I" : "TimiDct8x8//ZK_REG";
    }

    bool canStart() override {
        addParameter(&s_blockData);
        return true;
    }

    // Moves to the next parameter set and makes its blocks (the module has no initData).
    bool canContinue() override {
        if (!zkTest::canContinue()) return false;
        return makeBlocks();
    }

    void flushStart() override {
        s_src.deleteVector();
        s_dst.deleteVector();
    }

    double getDivisor() override { return 64.0; }
    qmString getUnit() override { return "pxch"; }

private:
    bool makeBlocks() {
        // 64 elements of up to 4 bytes each, source and destination.
        if (!s_src.data() && !s_src.createVector(256)) return false;
        if (!s_dst.data() && !s_dst.createVector(256)) return false;
        const zkType t = m_func.srcType();
        const bool flat = s_blockData.value() == 1;
        const bool inverse = m_funcName.find("Inv") >= 0;
        unsigned seed = 12345;
        for (int i = 0; i < 64; ++i) {
            seed = seed * 1103515245u + 12345u;
            const int r = int((seed >> 16) & 0x7fff);
            // an inverse reads coefficients (a flat block: the first one only), a forward transform pixels
            double v;
            if (inverse) v = flat ? (i == 0 ? 800.0 : 0.0) : double(r % 512 - 256) / (1 + (i / 8 + i % 8));
            else v = flat ? 100.0 : double(r % 256);
            if (zkIsFloat(t)) {
                const float f = float(v);
                std::memcpy(static_cast<char*>(s_src.data()) + 4 * i, &f, 4);
            } else if (zkTypeBits(t) == 16) {
                const Zkr16s s = Zkr16s(v);
                std::memcpy(static_cast<char*>(s_src.data()) + 2 * i, &s, 2);
            } else {
                static_cast<Zkr8u*>(s_src.data())[i] = Zkr8u(v);
            }
        }
        // in place the destination is the source: its blocks are copied for each set
        std::memcpy(s_dst.data(), s_src.data(), 256);
        s_args.pSrc = s_src.data();
        s_args.pDst = s_dst.data();
        s_args.pSrcDst = s_dst.data();
        s_args.srcStep = 8 * zkTypeSize(t);
        s_args.dstStep = 8 * zkTypeSize(m_func.dstType());
        return true;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "dct8x8/dct8x8.tbl"
#define ZK_FAMILY_TEST TimiDct8x8
#define ZK_FAMILY_ARGS s_args
#define ZK_FAMILY_REGISTER(name, form, ...)                                                                  \
    qmRegTest(new TimiDct8x8(&tcall_##name, &tim_##name##_loop, &tim_##name##_stat, #name, TimiDct8x8::idOf(#form)))
#include "zkfamily.inc"
