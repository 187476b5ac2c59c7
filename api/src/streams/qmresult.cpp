#include "qmresult.h"

namespace {
const char* const kNames[QM_RESULT_COUNT] = {"UNDEFINED", "OK",       "ACCURWRN",  "BADSTSWRN",
                                             "DATAWRN",   "FUNCWRN",  "WARNING",   "ACCURFAIL",
                                             "DATAFAIL",  "FUNCFAIL", "EXCPTFAIL", "FAIL"};
const char* const kTexts[QM_RESULT_COUNT] = {
    "was not run",       "successfully",      "wrong measure accuracy", "modified control status",
    "test data warning", "lib function warning", "warning",             "accuracy error",
    "test data error",   "lib function error", "exception",             "error"};
}  // namespace

const char* qmResultName(int r) { return r >= 0 && r < QM_RESULT_COUNT ? kNames[r] : "UNKNOWN"; }
const char* qmResultString(int r) { return r >= 0 && r < QM_RESULT_COUNT ? kTexts[r] : "unknown result"; }
