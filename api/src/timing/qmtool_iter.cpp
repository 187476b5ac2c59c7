// The Iterative algorithm (also the Auto method): a prior run, loop counts doubled until two
// results agree, repeated runs when they still scatter, and the avoidance of a control status that
// the measured function spoils. Log lines are collected and written between runs.
#include <algorithm>
#include <climits>
#include <cmath>
#include <vector>

#include "qmclock.h"
#include "qmcoreclock.h"
#include "qmsignal.h"
#include "qmstream.h"
#include "qmtool.h"

namespace {
// Accuracy of two results: their difference relative to their mean.
double pairAccuracy(double a, double b) { return a + b > 0 ? 2.0 * std::fabs(a - b) / (a + b) : 1.0; }

// Accuracy of a series: the largest deviation from the mean, relative to the mean.
double seriesAccuracy(const std::vector<double>& x) {
    double mean = 0;
    for (double v : x) mean += v;
    mean /= static_cast<double>(x.size());
    if (mean <= 0) return 1.0;
    double worst = 0;
    for (double v : x) worst = std::max(worst, std::fabs(v - mean) / mean);
    return worst;
}

int fourTimes(int n) { return n > INT_MAX / 4 ? INT_MAX : 4 * n; }

qmString line(const char* label, const qmString& value) { return qmString("        ") + label + value + "\n"; }
}  // namespace

qmResult qmTool::startIterations(int loops, long long minClk) {
    numLoops = loops;
    runTimFunc(numLoops, &funcClocks, false);
    if (status > QM_WARNING) return status;
    return static_cast<double>(minClk) > numLoops * funcClocks ? QM_ACCURFAIL : QM_OK;
}

qmResult qmTool::continueIterations(int start, int max) {
    long long n = std::max(1, std::min(start, max));
    double previous = funcClocks;
    while (n <= max) {
        // A stop request (Ctrl-C, SIGTERM) ends the doubling between spans: the line keeps the
        // last result and the accuracy it reached.
        if (n > start && qmStopRequested()) {
            numLoops = static_cast<int>(n / 2);
            return QM_ACCURWRN;
        }
        numLoops = static_cast<int>(n);
        runTimFunc(numLoops, &funcClocks, false);
        if (status > QM_WARNING) return status;  // a failing function is not called again
        if (funcClocks <= 0) return QM_ACCURFAIL;
        achievedAccuracy = pairAccuracy(funcClocks, previous);
        if (guardCtrl && badCtrlStatus()) {
            numLoops /= 2;
            funcClocks = previous;
            return QM_BADSTSWRN;
        }
        if (achievedAccuracy <= accuracy) return QM_OK;
        previous = funcClocks;
        n *= 2;
    }
    numLoops = static_cast<int>(n / 2);  // the last count run
    return QM_ACCURWRN;
}

qmResult qmTool::repeatTiming(int loops, int count) {
    std::vector<double> results;
    results.reserve(static_cast<size_t>(count));
    if (numLoops == loops) results.push_back(funcClocks);
    numLoops = loops;
    while (static_cast<int>(results.size()) < count && status <= QM_WARNING &&
           (results.empty() || !qmStopRequested())) {
        double r = 0;
        runTimFunc(numLoops, &r, false);
        results.push_back(r);
        log(line(countLabel(), qmString("   = ") << numLoops) + line("numClocks  = ", qmString::fromInt(numClocks)) +
            line("funcClocks = ", qmString::fromDouble(r)));
    }
    achievedAccuracy = seriesAccuracy(results);
    funcClocks = *std::min_element(results.begin(), results.end());
    qmResult answer = achievedAccuracy > accuracy ? QM_ACCURWRN : QM_OK;
    if (guardCtrl && badCtrlStatus()) answer = QM_BADSTSWRN;
    log(line("accuracy   = ", getAccuracyStr(achievedAccuracy)) +
        line("bestClocks = ", qmString::fromDouble(funcClocks)) + line("result     = ", qmResultString(answer)));
    writeInfo();
    printBadCtrlStatus(guardCtrl);
    return answer;
}

qmResult qmTool::bestTiming(int start, int max, long long minClk) {
    guardCtrl = initAndGuard;
    if (useCalls && !funcStat && !funcCall) useCalls = false;
    log(qmString("    Auto method: start\n") + line("minClocks  = ", clockStr(minClk)));

    // Prior measurement; a single call with too few clocks is tried once more at ten times the loops.
    for (;;) {
        log(qmString("    Prior Measurement: \n") + line(countLabel(), qmString("   = ") << start));
        qmResult r = startIterations(start, minClk);
        log(line("numClocks  = ", qmString::fromInt(numClocks)) + line("funcClocks = ", qmString::fromDouble(funcClocks)) +
            line("result     = ", qmResultString(r)));
        writeInfo();
        if (r > QM_ACCURFAIL) {
            status = qmWorse(status, r);
            log("    Auto method: exit\n");
            writeInfo();
            return status;
        }
        if (r != QM_ACCURFAIL) break;
        if (start > 1) return failIterations();
        start *= 10;
        max = max > INT_MAX / 10 ? INT_MAX : max * 10;
    }

    max = capBySpanTime(max);
    int s = fourTimes(numLoops);
    while (numLoops < max) {
        log(qmString("    Iteration Measurement: \n") + line("startLoops = ", qmString::fromInt(s)) +
            line("maxLoops   = ", qmString::fromInt(max)));
        qmResult r = continueIterations(s, max);
        log(line("stopLoops  = ", qmString::fromInt(numLoops)) + line("stopClocks = ", qmString::fromInt(numClocks)) +
            line("accuracy   = ", getAccuracyStr(achievedAccuracy)) +
            line("funcClocks = ", qmString::fromDouble(funcClocks)) + line("result     = ", qmResultString(r)));
        writeInfo();
        if (r == QM_ACCURFAIL) return failIterations();
        if (r > QM_ACCURFAIL) {
            log("    Auto method: exit\n");
            writeInfo();
            return status;
        }
        if (r == QM_BADSTSWRN) {
            avoidBadCtrlStatus();
            break;
        }
        if (achievedAccuracy <= 0.01 || qmStopRequested()) break;
        log("    Simple Measurements: \n");
        if (repeatTiming(numLoops, 3) != QM_ACCURWRN) break;
        s = fourTimes(numLoops);
    }
    finishIterations();
    return status;
}

int qmTool::capBySpanTime(int max) const {
    // However the machine's noise keeps two results apart, a line spends only a few seconds in
    // spans: the doubling's spans add up to twice the last one and the simple measurements take
    // three more, so the longest span is held to kMaxSpanSeconds (about 5 s a line at most). Large
    // out-of-cache images, whose one call takes a tenth of a second, are measured well enough by
    // spans of a second; without the hold, noise that kept two results apart doubled the loops
    // up to the maximum, hours for a gigabyte image.
    if (qmCpuTicker::m_freqMHz <= 0 || funcClocks <= 0) return max;
    const double limit = kMaxSpanSeconds * 1e6 * qmCpuTicker::m_freqMHz * qmCpuTicker::getClockFactor();
    const double loops = std::floor(limit / funcClocks);
    if (loops >= max) return max;
    // At least the first iteration's four loops, so that every line compares two results even
    // when its prior call was slow.
    return std::min(max, std::max(4, static_cast<int>(loops)));
}

void qmTool::avoidBadCtrlStatus() {
    double allowedSpread = 2 * accuracy;
    printBadCtrlStatus(guardCtrl);
    g_ostrm << MSG_WARN << "-- Attempting to avoid bad control status\n" << MSG_RESTORE;
    log("    Reduce loops to avoid bad ctrl status.\n    Simple Measurements: \n");
    clearCtrlStatus();
    qmResult r = repeatTiming(numLoops, 6);  // at the loop count already halved
    if (r != QM_BADSTSWRN && achievedAccuracy <= allowedSpread) {
        g_ostrm << MSG_WARN << "-- Attempt is successful\n" << MSG_RESTORE;
        return;
    }
    log("    Cannot avoid bad ctrl status\n");
    writeInfo();
    g_ostrm << MSG_WARN << "-- Attempt fails: "
            << (r == QM_BADSTSWRN ? "Bad control status repeats.\n" : "Accuracy is unsatisfactory.\n") << MSG_RESTORE;
}

qmResult qmTool::failIterations() {
    updateResult(QM_ACCURFAIL);
    log("    Auto method: exit\n");
    writeInfo();
    // The details went to INFO; a console without it gets its output closed here.
    if (!(g_ostrm.outLevel() & INFO)) g_ostrm.flush();
    return status;
}

void qmTool::finishIterations() {
    params << (useCalls ? "nCalls=" : "nLps=") << numLoops;
    // In the stable mode, a span kept although the core's clock moved during it (the budget for
    // measuring again was spent) is no more accurate than that movement.
    if (qmMachineClock().kept() > achievedAccuracy) achievedAccuracy = qmMachineClock().kept();
    if (achievedAccuracy > accuracy) {
        qmString acc = getAccuracyStr(achievedAccuracy);
        params << " acc=" << acc;
        if (status <= QM_OK) {
            status = QM_ACCURWRN;
            comment << "actual accuracy = " << acc;  // glued to the text before it, as reported
        }
    }
    log("    Auto method: stop\n");
    writeInfo();
}
