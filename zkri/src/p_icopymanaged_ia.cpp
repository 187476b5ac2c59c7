// TimiCopyManaged: the managed copy followed by a plain sum of its source, so the measurement
// includes the use of the copied data: the timed body is x_CopyManaged(). Parameters: the image
// size and the copy flags (how the destination is written); the text lines name the timed body.
#include <cstdint>

#include "qmmapiterator.h"
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

#define ZKR_TABLE "copy/TimiCopyManaged.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace {

struct zkManagedArgs : zkImageArgs {
    int flags = ZKR_COPY_TEMPORAL;
};

zkManagedArgs s_args;
zkImageData s_data;
// The sum of the last timed body, kept so the sum is not optimised away.
volatile std::uint64_t s_lastSum = 0;

qmMapIterator<int> s_flags(ZKR_COPY_TEMPORAL, "CopyFlags", "How the copy writes its destination",
                           {{"temporal", ZKR_COPY_TEMPORAL}, {"nontemporal", ZKR_COPY_NONTEMPORAL}, {"auto", 0}});

// The sum of an 8u image's rows, in plain code.
std::uint64_t sum_8u(const Zkr8u* p, int step, ZkriSize roi) {
    std::uint64_t sum = 0;
    for (int y = 0; y < roi.height; ++y, p += step)
        for (int x = 0; x < roi.width; ++x) sum += p[x];
    return sum;
}

// The measured body: the library copy, then the sum of the source.
int x_CopyManaged() {
    const auto* src = static_cast<const Zkr8u*>(s_args.pSrc);
    const int status = zkriCopyManaged_8u_C1R(src, s_args.srcStep, static_cast<Zkr8u*>(s_args.pDst), s_args.dstStep,
                                              s_args.roiSize, s_args.flags);
    s_lastSum = sum_8u(src, s_args.srcStep, s_args.roiSize);
    return status;
}

class TimiCopyManaged : public zkImageTest {
public:
    TimiCopyManaged(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__,
                      "TimiCopyManaged/Test measures zkriCopyManaged(pSrc,pDst) & Sum(pSrc)/ZK_REG_X", s_data) {
        s_data.args = &s_args;
    }

    bool canStart() override {
        s_flags.initValidation();
        regCacheParm(g_imageSize, &m_data.src1);
        addParameter(&g_imageSize);
        addParameter(&s_flags);
        return true;
    }

    bool initData() override {
        s_args.flags = s_flags.value();
        return zkImageTest::initData();
    }

    // The line's parameters name what is timed, since it is more than the library call: the
    // copy with its flags as the library gets them, then the sum of the source.
    void putTextParms(MessageLevel level) override {
        g_ostrm << level << " ";
        for (qmParameter* p : m_parms)
            if (!p->name().empty()) g_ostrm << " " << p->name() << "=" << p->valueString();
        g_ostrm << " (flags " << s_flags.value() << ", then Sum(pSrc))\n" << MSG_RESTORE;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "copy/TimiCopyManaged.tbl"
#define ZK_FAMILY_TEST TimiCopyManaged
#define ZK_FAMILY_ARGS s_args
#define ZK_FAMILY_CALL(name, form, ...) x_CopyManaged()
#include "zkfamily.inc"
