// TimMoment: the spatial moments of an image up to order 3 (Moments64f, Moments64s) over image
// sizes. The library's moment state is created before the measurement and freed after it
// (callInit, callFree), so the timed span holds the moment computation alone. The source is the
// image module's default rings.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

#define ZKR_TABLE "moment/moment.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace {

struct zkMomentArgs : zkImageArgs {
    void* pState = nullptr;
};

zkMomentArgs s_args;
zkImageData s_data;
ZkriMomentState_64f* s_stateF = nullptr;
ZkriMomentState_64s* s_stateS = nullptr;

class TimMoment : public zkImageTest {
public:
    TimMoment(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimMoment//ZK_REG", s_data) {
        s_data.args = &s_args;
    }

    bool initData() override { return zkImageTest::initData() && callInit(); }

    void flushData() override {
        callFree();
        zkImageTest::flushData();
    }

private:
    bool exact() const { return m_funcName.find("Moments64s") >= 0; }

    // Creates the state of the function's kind.
    bool callInit() {
        if (exact()) {
            if (checkStatus(zkriMomentInitAlloc_64s(&s_stateS, zkrAlgHintNone), "zkriMomentInitAlloc_64s") != QM_OK) return false;
            s_args.pState = s_stateS;
        } else {
            if (checkStatus(zkriMomentInitAlloc_64f(&s_stateF, zkrAlgHintNone), "zkriMomentInitAlloc_64f") != QM_OK) return false;
            s_args.pState = s_stateF;
        }
        return true;
    }

    void callFree() {
        if (s_stateF) zkriMomentFree_64f(s_stateF);
        if (s_stateS) zkriMomentFree_64s(s_stateS);
        s_stateF = nullptr;
        s_stateS = nullptr;
        s_args.pState = nullptr;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "moment/moment.tbl"
#define ZK_FAMILY_TEST TimMoment
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
