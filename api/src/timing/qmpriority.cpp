// Scheduling priority around measurements. Only root may raise it; for anyone else every call
// here changes nothing and the measurement runs at the normal priority.
#include <unistd.h>

#include "qmclock.h"

qmPrioritySystem qmRealPrioritySystem() {
    return {
        [] { return ::getuid(); },
        [](int which, id_t who) { return ::getpriority(static_cast<__priority_which_t>(which), who); },
        [](int which, id_t who, int prio) {
            return ::setpriority(static_cast<__priority_which_t>(which), who, prio);
        },
        [](pid_t pid) { return ::sched_getscheduler(pid); },
        [](pid_t pid, sched_param* p) { return ::sched_getparam(pid, p); },
        [](pid_t pid, int policy, const sched_param* p) { return ::sched_setscheduler(pid, policy, p); },
        [](int policy) { return ::sched_get_priority_max(policy); },
    };
}

qmPrioritySystem g_prioritySystem = qmRealPrioritySystem();
bool _bSavedPrio = false;

namespace {
int s_savedNice = 0;
int s_savedPolicy = SCHED_OTHER;
sched_param s_savedParam{};

bool isRoot() { return g_prioritySystem.getuid() == 0; }

void applyNiceAndPolicy(int nice, int policy, int priority) {
    g_prioritySystem.setpriority(PRIO_PROCESS, 0, nice);
    sched_param p{};
    p.sched_priority = priority;
    g_prioritySystem.sched_setscheduler(0, policy, &p);
}
}  // namespace

void _savePriority() {
    if (!isRoot()) return;
    s_savedNice = g_prioritySystem.getpriority(PRIO_PROCESS, 0);
    s_savedPolicy = g_prioritySystem.sched_getscheduler(0);
    g_prioritySystem.sched_getparam(0, &s_savedParam);
}

void _setHighPriority() {
    if (!isRoot()) return;
    g_prioritySystem.setpriority(PRIO_PROCESS, 0, -20);
    // The top priority of the FIFO policy applied under round robin: the mix is deliberate, so a
    // measurement never starves other real-time work of the same level for good.
    int top = g_prioritySystem.sched_get_priority_max(SCHED_FIFO);
    if (top == -1) return;
    sched_param p{};
    p.sched_priority = top;
    g_prioritySystem.sched_setscheduler(0, SCHED_RR, &p);
}

void _setNormalPriority() {
    if (isRoot()) applyNiceAndPolicy(0, SCHED_OTHER, 0);
}

void _setLowPriority() {
    if (isRoot()) applyNiceAndPolicy(10, SCHED_OTHER, 0);
}

void _resetPriority() {
    if (isRoot()) applyNiceAndPolicy(s_savedNice, s_savedPolicy, s_savedParam.sched_priority);
}

void qmSetPriority(int level) {
    if (level == 0) {
        _bSavedPrio = false;
        return;
    }
    _bSavedPrio = true;
    _savePriority();
    switch (level) {
        case 1: _setHighPriority(); break;
        case 2: _setNormalPriority(); break;
        case 3: _setLowPriority(); break;
        default: break;  // an unknown level applies nothing; the saved state is restored later
    }
}

void qmResetPriority() {
    if (!_bSavedPrio) return;
    _bSavedPrio = false;
    _resetPriority();
}
