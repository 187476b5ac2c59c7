// Built-in information tests: they measure nothing and print facts about the machine.
#pragma once
#include "qmtest.h"

class __qmInfoTest : public qmTest {
public:
    __qmInfoTest(const qmString& name, const qmString& description);
    qmResult run() override;
    virtual void printInformation() = 0;
};

// "__qmKavroCpu": the processor report.
class __qmKavroCpuTest : public __qmInfoTest {
public:
    __qmKavroCpuTest() : __qmInfoTest("__qmKavroCpu", "Kavro CPU information") {}
    void printInformation() override;
};

qmTest* qmNewKavroCpuTest();
