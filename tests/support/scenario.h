// The built-in scenario, one per test program, for the cases that fly or
// plan in it without changing it (made at the first use).
#pragma once

#include <cstdio>
#include <string>

#include "plan/planstate.h"
#include "sim/flight.h"
#include "sim/fltsim.h"
#include "sim/params.h"
#include "support/testutil.h"

inline Scenario& scenarioTest() {
    static BuiltInScenario scenario;
    return scenario;
}

// The members the cases read most, under the program's names.
inline Scenario& scenario = scenarioTest();
inline Planet& planet = scenario.planet;
inline Vehicle& vehicle = scenario.vehicle;
inline Stvehicle3dof& stvehicle3dof0 = scenario.stvehicle3dof0;

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

// The cases that plan a hop and fly its schedule: plan(szHop) plans the
// waypoint file szHop, writes its fltplan.txt and reads the schedule back.
class InScenarioPlanned : public InScenarioFlying {
protected:
    void plan(const std::string& szHop) {
        vttest::writeFile("traj1r.txt", vttest::readFile(szHop));
        std::FILE* pfileNull = std::fopen("/dev/null", "w");
        ASSERT_TRUE(ps.bRunPlanCommand(scenario, pfileNull));
        std::fclose(pfileNull);
        ps.writeFltplanTxt();
        std::FILE* pfile = std::fopen("fltplan.txt", "r");
        readCmdsFromPFILE(&arFTi, &arFT, &arFM, pfile, "fltplan.txt");
        std::fclose(pfile);
    }
    PlanState ps;  // its destructor releases the plan
    A1Val<double> arFTi{0}, arFT{0}, arFM{0};
};
