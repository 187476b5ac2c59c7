// Run conditions built from the -f and -t keys, and the decision whether a test runs.
#pragma once
#include <memory>
#include "qmlist.h"
#include "qmstring.h"

class qmTest;

class RunCondition {
public:
    RunCondition(const qmString& pattern, int group) : m_pattern(pattern), m_group(group) {}
    virtual ~RunCondition() = default;
    virtual bool tobeRun(const qmTest* test) const = 0;
    const qmString& pattern() const { return m_pattern; }
    int group() const { return m_group; }  // 1: "or" group, 0: "and" group

protected:
    qmString m_pattern;
    int m_group;
};

// The eight kinds: function name (f) or test name (t); contains, not, and (must contain), equal.
enum class qmMatch { Contains, Not, And, Equal };
enum class qmMatchOn { Function, Test };

template <qmMatchOn On, qmMatch How>
class RunConditionOf : public RunCondition {
public:
    explicit RunConditionOf(const qmString& pattern)
        : RunCondition(pattern, How == qmMatch::Contains || How == qmMatch::Equal ? 1 : 0) {}
    bool tobeRun(const qmTest* test) const override;
};

using RunCondition_f = RunConditionOf<qmMatchOn::Function, qmMatch::Contains>;
using RunCondition_fNot = RunConditionOf<qmMatchOn::Function, qmMatch::Not>;
using RunCondition_fAnd = RunConditionOf<qmMatchOn::Function, qmMatch::And>;
using RunCondition_fEqual = RunConditionOf<qmMatchOn::Function, qmMatch::Equal>;
using RunCondition_t = RunConditionOf<qmMatchOn::Test, qmMatch::Contains>;
using RunCondition_tNot = RunConditionOf<qmMatchOn::Test, qmMatch::Not>;
using RunCondition_tAnd = RunConditionOf<qmMatchOn::Test, qmMatch::And>;
using RunCondition_tEqual = RunConditionOf<qmMatchOn::Test, qmMatch::Equal>;

// The condition set of the session, in the order of the keys; owns its conditions.
class qmConditions {
public:
    void add(std::unique_ptr<RunCondition> c) { m_list.std().push_back(std::move(c)); }
    bool tobeRun(const qmTest* test) const;
    int size() const { return m_list.size(); }
    void clear() { m_list.clear(); }
    // Builds the condition of a -f (onFunction) or -t argument; null when the pattern is empty.
    static std::unique_ptr<RunCondition> fromKey(const qmString& arg, bool onFunction);

private:
    qmList<std::unique_ptr<RunCondition>> m_list;
};
