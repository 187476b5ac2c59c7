// What every test module includes. A module that includes zkrcore.h before this header binds the
// library: its control entry points and version getters are registered before main, so that the
// session can start the library, switch its processor dispatch (-T) and thread count (-N), and
// report its versions. A module that includes this header first cannot bind it, and the build stops
// here; a module of the framework's own that calls no library function (the fixtures) says so by
// defining QM_ZK_WITHOUT_LIBRARY before the include.
#ifndef ZK_H
#define ZK_H

#if defined(ZKRCORE_H)
#define QM_ZKR_BOUND_HERE 1
#elif !defined(QM_ZK_WITHOUT_LIBRARY)
#error "zk.h cannot bind the ZKR library: include \"zkrcore.h\" before \"zk.h\" (or define QM_ZK_WITHOUT_LIBRARY in a module that calls no library function)"
#endif

#include "qmcacheiterator.h"
#include "qmclock.h"
#include "qmparameter.h"
#include "qmsession.h"
#include "qmtest.h"
#include "qmtestlist.h"
#include "qmtool.h"
#include "qmzkrenv.h"
#include "zkimage.h"
#include "zkimagesize.h"
#include "zkscaleiterator.h"
#include "zktiming.h"
#include "zkvector.h"

#ifdef QM_ZKR_BOUND_HERE
// Stores the library's real control entry points in the session's table.
inline void qmBindZkrEntries() {
    g_zkr.getCpuType = &zkrGetCpuType;
    g_zkr.getNumCoresOnDie = &zkrGetNumCoresOnDie;
    g_zkr.getMaxCacheSizeB = &zkrGetMaxCacheSizeB;
    g_zkr.getStatusString = &zkrGetStatusString;
    g_zkr.init = &zkrInit;
    g_zkr.initCpu = &zkrInitCpu;
    g_zkr.setNumThreads = &zkrSetNumThreads;
}
namespace {
[[maybe_unused]] const bool s_zkrBound = qmRegZkrEnvironment(&qmBindZkrEntries) &&
                                         qmRegZkrVersion(&zkrcoreGetLibVersion)
#ifdef ZKRI_H
                                         && qmRegZkrVersion(&zkriGetLibVersion)
#endif
#ifdef ZKRS_H
                                         && qmRegZkrVersion(&zkrsGetLibVersion)
#endif
    ;
}  // namespace
#endif

#endif
