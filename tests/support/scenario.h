// The built-in scenario, one per test program, for the cases that fly or
// plan in it without changing it (made at the first use).
#pragma once

#include "sim/flight.h"
#include "sim/params.h"
#include "support/testutil.h"

inline Scenario& scenarioTest() {
    static BuiltInScenario scenario;
    return scenario;
}

// The cases that fly: a fresh directory and scenario each, and the stored
// run released after each.
class InScenarioFlying : public InTempDir {
protected:
    void SetUp() override {
        InTempDir::SetUp();
        initParams(&scenarioTest());
    }
    void TearDown() override {
        deleteStoredRun(&arFTiRun, &arPStRun);
        InTempDir::TearDown();
    }
    A1Val<double> arFTiRun{0};
    A1Val<void*> arPStRun{0};
};
