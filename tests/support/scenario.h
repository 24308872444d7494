// The built-in scenario, one per test program, for the cases that fly or
// plan in it without changing it (made at the first use).
#pragma once

#include "sim/params.h"

inline Scenario& scenarioTest() {
    static BuiltInScenario scenario;
    return scenario;
}
