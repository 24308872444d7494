// Two workbenches share nothing: a session planned and flown on one thread
// while another session runs on a second thread gives, to the last bit, what
// it gives alone; and what one workbench holds does not reach the other.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
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

// What a session leaves: the flight plan and run reports as text, the stop
// report, the state halfway through the replay and the plan's check count.
struct Outcome {
    std::string szFltplan, szResults;
    SimReport report;
    Stvehicle3dof stMid;
    std::size_t nViolation = 0;
};

Outcome outcomeOf(Workbench& wb, Session const& session, const std::string& szTag) {
    Outcome out;
    wb.scenario.vehicle.fIsp = wb.scenario.fIsp * session.fIspScale;
    EXPECT_TRUE(wb.plan.bPlanTraj1FromFile(wb.scenario, session.szHop));
    const std::string szFltplan = std::string("fltplan_").append(szTag).append(".txt");
    std::FILE* pfile = std::fopen(szFltplan.c_str(), "w");
    writeFltplan(pfile, wb.plan.pvdfT, wb.plan.paPVdfF, wb.plan.paPVdfM);
    std::fclose(pfile);
    deleteStoredRun(&wb.run.arFTiData, &wb.run.arPStvehicle);
    if (session.bGuided) {
        std::string szErr;
        EXPECT_TRUE(bFlyGuidedScheduleFile(wb.scenario, szFltplan.c_str(), "no_guidance.txt",
                                           &wb.run.arFTiData, &wb.run.arPStvehicle, &szErr,
                                           &out.report));
    } else {
        flyScheduleFile(wb.scenario, szFltplan.c_str(), &wb.run.arFTiData, &wb.run.arPStvehicle,
                        &out.report);
    }
    const std::string szResults = std::string("results_").append(szTag).append(".txt");
    writeResultsTxt(szResults.c_str(), wb.run.arFTiData, wb.run.arPStvehicle);
    out.szFltplan = readFile(szFltplan);
    out.szResults = readFile(szResults);
    const double fTiMid = 0.5 * wb.run.arFTiData[wb.run.arFTiData.iLast()] + 0.0123;
    stvehicle3dofAtFTi(&out.stMid, fTiMid, wb.run, wb.scenario.vehicle);
    out.nViolation = vecPlanViolationFmWorkbench(wb).size();
    return out;
}

void expectSame(Outcome const& o1, Outcome const& o2, const char* szWhat) {
    EXPECT_EQ(o1.szFltplan, o2.szFltplan) << szWhat;
    EXPECT_EQ(o1.szResults, o2.szResults) << szWhat;
    EXPECT_EQ(o1.report.stop, o2.report.stop) << szWhat;
    EXPECT_EQ(o1.report.nStep, o2.report.nStep) << szWhat;
    EXPECT_EQ(std::memcmp(&o1.report.fMsPropLeft, &o2.report.fMsPropLeft, sizeof(double)), 0)
        << szWhat;
    EXPECT_EQ(std::memcmp(&o1.stMid, &o2.stMid, sizeof(Stvehicle3dof)), 0) << szWhat;
    EXPECT_EQ(o1.nViolation, o2.nViolation) << szWhat;
}

std::string szTagOf(char ch, int i) {
    char sz[16];
    std::snprintf(sz, sizeof sz, "%c%d", ch, i + 1);
    return sz;
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

    Outcome outAlone, outBAlone;
    {
        Workbench wb;
        outAlone = outcomeOf(wb, sessionA, "a0");
    }
    {
        Workbench wb;
        outBAlone = outcomeOf(wb, sessionB, "b0");
    }
    ASSERT_NE(outAlone.szResults, outBAlone.szResults);
    ASSERT_GT(outAlone.report.nStep, 100);

    // Each thread runs its session three times over on its own workbench,
    // so the flights overlap whatever the scheduler does.
    constexpr int nRound = 3;
    Outcome aoutA[nRound], aoutB[nRound];
    Workbench wbA, wbB;
    std::thread threadB([&] {
        for (int i = 0; i < nRound; i++) aoutB[i] = outcomeOf(wbB, sessionB, szTagOf('b', i));
    });
    for (int i = 0; i < nRound; i++) aoutA[i] = outcomeOf(wbA, sessionA, szTagOf('a', i));
    threadB.join();
    for (int i = 0; i < nRound; i++) {
        expectSame(aoutA[i], outAlone, "session A");
        expectSame(aoutB[i], outBAlone, "session B");
    }
    // Neither workbench saw the other's vehicle.
    EXPECT_EQ(wbA.scenario.vehicle.fIsp, wbA.scenario.fIsp);
    EXPECT_EQ(wbB.scenario.vehicle.fIsp, wbB.scenario.fIsp * 0.9);
}

}  // namespace
