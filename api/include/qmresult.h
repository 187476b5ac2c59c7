// qmResult: the result of a measurement, a line or a test; larger is worse, except 1 = success.
#pragma once

enum qmResult : int {
    QM_UNDEFINED = 0,
    QM_OK = 1,
    QM_ACCURWRN = 2,
    QM_BADSTSWRN = 3,
    QM_DATAWRN = 4,
    QM_FUNCWRN = 5,
    QM_WARNING = 6,
    QM_ACCURFAIL = 7,
    QM_DATAFAIL = 8,
    QM_FUNCFAIL = 9,
    QM_EXCPTFAIL = 10,
    QM_FAIL = 11,
};
constexpr int QM_RESULT_COUNT = 12;

// Short name ("OK", "EXCPTFAIL"; "UNKNOWN" outside 0..11).
const char* qmResultName(int r);
// Text ("successfully", "exception"; "unknown result" outside 0..11).
const char* qmResultString(int r);
inline bool qmIsWarning(int r) { return r >= QM_ACCURWRN && r <= QM_WARNING; }
inline bool qmIsFailure(int r) { return r >= QM_ACCURFAIL && r <= QM_FAIL; }
// The worse of two results (results only rise).
inline qmResult qmWorse(int a, int b) { return static_cast<qmResult>(a > b ? a : b); }
