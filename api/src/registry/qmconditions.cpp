#include "qmconditions.h"

#include "qmtest.h"

template <qmMatchOn On, qmMatch How>
bool RunConditionOf<On, How>::tobeRun(const qmTest* test) const {
    const qmString& name = On == qmMatchOn::Function ? test->funcName() : test->info().name;
    switch (How) {
        case qmMatch::Contains:
        case qmMatch::And: return name.contains(m_pattern);
        case qmMatch::Not: return !name.contains(m_pattern);
        case qmMatch::Equal: return name == m_pattern;
    }
    return false;
}

template class RunConditionOf<qmMatchOn::Function, qmMatch::Contains>;
template class RunConditionOf<qmMatchOn::Function, qmMatch::Not>;
template class RunConditionOf<qmMatchOn::Function, qmMatch::And>;
template class RunConditionOf<qmMatchOn::Function, qmMatch::Equal>;
template class RunConditionOf<qmMatchOn::Test, qmMatch::Contains>;
template class RunConditionOf<qmMatchOn::Test, qmMatch::Not>;
template class RunConditionOf<qmMatchOn::Test, qmMatch::And>;
template class RunConditionOf<qmMatchOn::Test, qmMatch::Equal>;

bool qmConditions::tobeRun(const qmTest* test) const {
    bool anyOr = false, orHolds = false;
    for (const auto& c : m_list) {
        if (c->group() == 1) {
            anyOr = true;
            if (!orHolds && c->tobeRun(test)) orHolds = true;
        } else if (!c->tobeRun(test)) {
            return false;
        }
    }
    return !anyOr || orHolds;
}

namespace {
template <qmMatchOn On>
std::unique_ptr<RunCondition> make(char sign, const qmString& p) {
    switch (sign) {
        case '=': return std::make_unique<RunConditionOf<On, qmMatch::Equal>>(p);
        case '+': return std::make_unique<RunConditionOf<On, qmMatch::And>>(p);
        case '-': return std::make_unique<RunConditionOf<On, qmMatch::Not>>(p);
        default: return std::make_unique<RunConditionOf<On, qmMatch::Contains>>(p);
    }
}
}  // namespace

std::unique_ptr<RunCondition> qmConditions::fromKey(const qmString& arg, bool onFunction) {
    if (arg.empty()) return nullptr;
    const char sign = arg[0];
    const bool signed_ = sign == '=' || sign == '+' || sign == '-';
    const qmString p = signed_ ? arg.substr(1) : arg;
    if (p.empty()) return nullptr;
    return onFunction ? make<qmMatchOn::Function>(signed_ ? sign : ' ', p) : make<qmMatchOn::Test>(signed_ ? sign : ' ', p);
}
