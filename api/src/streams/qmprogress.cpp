#include "qmprogress.h"

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>

qmProgress g_progress;

namespace {
// The line is cut so that it fits an 80-column terminal and never wraps.
constexpr std::size_t kMaxWidth = 79;
}  // namespace

std::string qmProgress::clock(double seconds) {
    long s = seconds > 0 ? std::lround(seconds) : 0;
    char buf[32];
    if (s >= 3600)
        std::snprintf(buf, sizeof buf, "%ld:%02ld:%02ld", s / 3600, (s / 60) % 60, s % 60);
    else
        std::snprintf(buf, sizeof buf, "%ld:%02ld", s / 60, s % 60);
    return buf;
}

std::string qmProgress::format(int number, int total, const std::string& func, double elapsedSec, int finished,
                               long sets, long setsNow) {
    char head[48];
    std::snprintf(head, sizeof head, "[%*d/%d] ", int(std::to_string(total).size()), number, total);
    std::string tail("  elapsed ");
    tail.append(clock(elapsedSec)).append(", left ");
    if (finished > 0 && total >= finished && sets > 0) {
        const double perSet = elapsedSec / sets;
        const double perTest = double(sets - setsNow) / finished;
        const double current = perTest > setsNow ? perTest - setsNow : 0;
        const int notStarted = total - finished - (number > finished ? 1 : 0);
        tail.append("~").append(clock(perSet * (perTest * (notStarted > 0 ? notStarted : 0) + current)));
    } else if (finished > 0 && total >= finished)
        tail.append("~").append(clock(elapsedSec / finished * (total - finished)));
    else
        tail.append("?");
    std::string line(head);
    const std::size_t fixed = line.size() + tail.size();
    const std::size_t room = kMaxWidth > fixed ? kMaxWidth - fixed : 0;
    if (func.size() <= room) line.append(func);
    else if (room > 3) line.append(func, 0, room - 3).append("...");
    else line.append(func, 0, room);
    return line.append(tail);
}

void qmProgress::begin(int total) {
    m_active = total > 0 && isatty(STDERR_FILENO) && !std::getenv("QM_NO_PROGRESS");
    m_sharedTerminal = m_active && isatty(STDOUT_FILENO);
    m_total = total;
    m_number = 0;
    m_setsDone = 0;
    m_setsThisTest = 0;
    m_shown = false;
    m_start = std::chrono::steady_clock::now();
}

void qmProgress::test(int number, const std::string& func) {
    if (!m_active) return;
    m_number = number;
    m_func = func;
    m_setsDone += m_setsThisTest;
    m_setsThisTest = 0;
    draw();
}

void qmProgress::end() {
    if (!m_active) return;
    clear();
    m_active = false;
}

void qmProgress::beforeConsoleWrite() {
    if (m_active && m_sharedTerminal) clear();
}

void qmProgress::afterConsoleWrite(const std::string& text) {
    if (!m_active || !m_sharedTerminal || text.empty() || text.back() != '\n') return;
    std::fflush(stdout);
    draw();
}

void qmProgress::draw() {
    const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
    std::string line("\r");
    line.append(format(m_number, m_total, m_func, elapsed, m_number - 1,
                            m_setsDone + m_setsThisTest > 0 ? m_setsDone + m_setsThisTest : -1, m_setsThisTest)).append("\033[K");
    std::fputs(line.c_str(), stderr);
    std::fflush(stderr);
    m_shown = true;
}

void qmProgress::clear() {
    if (!m_shown) return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    m_shown = false;
}
