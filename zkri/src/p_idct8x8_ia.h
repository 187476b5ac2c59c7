// The test class of the 8x8 block modules (TimiDct8x8, TimiDct8x8A10, TimiZigzag): one block in, one
// block out, made before the measurement by canContinue (the modules have no initData). Included once
// by each module source, which gets its own copy of the block data and argument bag.
//
// Parameters:
//   blockData   what the block holds: Random (default: values over the source type's working range)
//               or Flat (one value, the coefficients of a flat block for the inverses)
// Results are per element of the 8x8 block ("pxch").
#ifndef P_IDCT8X8_IA_H
#define P_IDCT8X8_IA_H

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
    TimiDct8x8(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func, const char* file,
               const char* id)
        : zkTest(call, nullptr, loop, stat, qmString(func), qmString(file), qmString(id)) {}

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

#endif
