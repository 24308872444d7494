// Two workbenches share nothing: a session planned and flown on one thread
// while another session runs on a second thread gives, to the last bit, what
// it gives alone; and what one workbench holds does not reach the other.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <thread>

#include "app/plotdata.h"
#include "app/workbench.h"
#include "guide/guidance.h"
#include "plan/report.h"
#include "sim/flight.h"
#include "support/testutil.h"

namespace {

using namespace vttest;

struct Session {
    const char* szHop;  // waypoint file
    bool bGuided;
    double fIspScale;  // the scenario's exhaust speed times this
};

// What a session leaves, as one text: the flight plan and run reports, the
// stop report's step count and propellant, the replay state halfway through
// (as bytes) and the plan's check count.
std::string outcomeOf(Workbench& wb, Session const& session, char chTag) {
    wb.scenario.vehicle.fIsp = wb.scenario.fIsp * session.fIspScale;
    EXPECT_TRUE(wb.plan.bPlanTraj1FromFile(wb.scenario, session.szHop));
    const std::string szFltplan = std::string("fltplan_").append(1, chTag);
    std::FILE* pfile = std::fopen(szFltplan.c_str(), "w");
    writeFltplan(pfile, wb.plan.pvdfT, wb.plan.paPVdfF, wb.plan.paPVdfM);
    std::fclose(pfile);
    deleteStoredRun(&wb.run.arFTiData, &wb.run.arPStvehicle);
    SimReport report;
    std::string szErr;
    if (session.bGuided)
        EXPECT_TRUE(bFlyGuidedScheduleFile(wb.scenario, szFltplan.c_str(), "no_guidance.txt",
                                           &wb.run.arFTiData, &wb.run.arPStvehicle, &szErr,
                                           &report));
    else
        flyScheduleFile(wb.scenario, szFltplan.c_str(), &wb.run.arFTiData, &wb.run.arPStvehicle,
                        &report);
    const std::string szResults = std::string("results_").append(1, chTag);
    writeResultsTxt(szResults.c_str(), wb.run.arFTiData, wb.run.arPStvehicle);
    Stvehicle3dof stMid;
    stvehicle3dofAtFTi(&stMid, 0.5 * wb.run.arFTiData[wb.run.arFTiData.iLast()] + 0.0123, wb.run,
                       wb.scenario.vehicle);
    char sz[64];
    std::snprintf(sz, sizeof sz, "%ld %a %zu\n", static_cast<long>(report.nStep),
                  report.fMsPropLeft, vecPlanViolationFmWorkbench(wb).size());
    return readFile(szFltplan) + readFile(szResults) + sz +
           std::string(reinterpret_cast<const char*>(&stMid), sizeof stMid);
}

class WorkbenchThreads : public InTempDir {};

TEST_F(WorkbenchThreads, TwoSessionsAtOnceGiveWhatEachGivesAlone) {
    const std::string szHandmade = std::string(VT_EXAMPLES) + "/handmade/traj1r.txt";
    const std::string szBundled = std::string(VT_EXAMPLES) + "/traj1r.txt";
    // An open-loop flight of the hand-made hop in the built-in scenario, and
    // a guided flight of the bundled hop by a vehicle whose exhaust is 10 %
    // slower (so its plan, mass and flight all differ).
    const Session sessionA{szHandmade.c_str(), false, 1.0};
    const Session sessionB{szBundled.c_str(), true, 0.9};

    std::string szAAlone, szBAlone;
    {
        Workbench wb;
        szAAlone = outcomeOf(wb, sessionA, 'a');
    }
    {
        Workbench wb;
        szBAlone = outcomeOf(wb, sessionB, 'b');
    }
    ASSERT_NE(szAAlone, szBAlone);

    // Each thread runs its session three times over on its own workbench,
    // so the flights overlap whatever the scheduler does.
    std::string aszA[3], aszB[3];
    Workbench wbA, wbB;
    std::thread threadB([&] {
        for (std::string& sz : aszB) sz = outcomeOf(wbB, sessionB, 'B');
    });
    for (std::string& sz : aszA) sz = outcomeOf(wbA, sessionA, 'A');
    threadB.join();
    for (int i = 0; i < 3; i++) {
        EXPECT_EQ(aszA[i], szAAlone) << "session A, round " << i;
        EXPECT_EQ(aszB[i], szBAlone) << "session B, round " << i;
    }
    // Neither workbench saw the other's vehicle.
    EXPECT_EQ(wbA.scenario.vehicle.fIsp, wbA.scenario.fIsp);
    EXPECT_EQ(wbB.scenario.vehicle.fIsp, wbB.scenario.fIsp * 0.9);
}

}  // namespace
