// The planning chain of `p` on the program-wide plan, and the reports of
// `l` and `f`, on the reference hops.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "plan/planstate.h"
#include "plan/report.h"
#include "plan/wptfpln.h"
#include "sim/flight.h"
#include "sim/ground.h"
#include "sim/params.h"
#include "support/testutil.h"

using vttest::copyTestData;
using vttest::fileExists;
using vttest::readFile;
using vttest::writeFile;

namespace {

std::string szRef(const std::string& szRel) {
    return readFile(std::string(VT_TEST_DATA) + "/reference/plan/" + szRel);
}

// Runs the `p` command with its standard output captured.
bool bRunPlan(std::string* pszOut) {
    char* pch = nullptr;
    std::size_t nCh = 0;
    std::FILE* pfile = open_memstream(&pch, &nCh);
    const bool bOk = bRunPlanCommand(pfile);
    std::fclose(pfile);
    *pszOut = std::string(pch, nCh);
    std::free(pch);
    return bOk;
}

class PlanStateTest : public InTempDir {
protected:
    void SetUp() override {
        InTempDir::SetUp();
        initParams();
    }
    void TearDown() override {
        deleteTraj1Params();
        deleteTraj1Path();
        deletePathAnalysis();
        InTempDir::TearDown();
    }
};

}  // namespace

TEST_F(PlanStateTest, ShortHopMatchesTheReferenceReportsByteForByte) {
    copyTestData("reference/plan/hop_short/traj1r.txt", "traj1r.txt");
    std::string szOut;
    ASSERT_TRUE(bRunPlan(&szOut));
    EXPECT_EQ(szOut, szRef("hop_short/expected/summary.txt"));
    EXPECT_EQ(readFile("fltplan.txt"), szRef("hop_short/expected/fltplan.txt"));
    EXPECT_FALSE(fileExists("traj1l.txt"));  // only `l` writes the listing
    writeTraj1lTxt();
    EXPECT_EQ(readFile("traj1l.txt"), szRef("hop_short/expected/traj1l.txt"));
}

TEST_F(PlanStateTest, SampleTimesRunFromFirstToLastWaypointTimeExactly) {
    // 1.1 to 7.7 in N = 5 * (nX + nZ) steps, each time computed as written.
    // The formula gives 7.699999999999999 at i = N; the last sample must be
    // the last waypoint time itself.
    writeFile("traj1r.txt", "1.1 0 0 3.3 0.1 0.5 5.5 0.2 0.5 7.7 0.3 0\n");
    ASSERT_TRUE(bPlanTraj1FromFile("traj1r.txt"));
    const Long nSample = 5 * (nTraj1X + nTraj1Z);
    EXPECT_EQ(nSample, 5 * (9 + 5));
    ASSERT_EQ(pvdfT->lo, 0);
    ASSERT_EQ(pvdfT->hi, nSample);
    EXPECT_EQ((*pvdfT)[0], 1.1);
    EXPECT_EQ((*pvdfT)[nSample], 7.7);
    for (Long i = 0; i < nSample; i++)
        EXPECT_EQ((*pvdfT)[i], 1.1 + (static_cast<double>(i) / nSample) * (7.7 - 1.1)) << i;
    EXPECT_EQ(paPVdfF->lo(), 0);
    EXPECT_EQ(paPVdfF->hi(), nSample);
    EXPECT_TRUE(bPlanExists());
}

TEST_F(PlanStateTest, FailedFitLeavesNoPlanSoListingAndFlightPlanDoNothing) {
    copyTestData("reference/plan/hop_short/traj1r.txt", "traj1r.txt");
    std::string szOut;
    ASSERT_TRUE(bRunPlan(&szOut));
    ASSERT_TRUE(bPlanExists());
    writeFile("fltplan.txt", "old plan\n");
    // A waypoint after the last time: "couldn't solve".
    copyTestData("plan/couldnt_solve/traj1r.txt", "traj1r.txt");
    ASSERT_FALSE(bRunPlan(&szOut));
    EXPECT_EQ(szOut, "");
    EXPECT_FALSE(bPlanExists());
    EXPECT_NE(pvdfParamTraj1, nullptr);  // the numbers were read
    EXPECT_EQ(pvdfUKnotTraj1X, nullptr);
    EXPECT_EQ(pvdfT, nullptr);
    writeFltplanTxt();
    writeTraj1lTxt();
    EXPECT_EQ(readFile("fltplan.txt"), "old plan\n");
    EXPECT_FALSE(fileExists("traj1l.txt"));
    // The next good file plans again.
    copyTestData("reference/plan/hop_short/traj1r.txt", "traj1r.txt");
    ASSERT_TRUE(bRunPlan(&szOut));
    EXPECT_EQ(readFile("fltplan.txt"), szRef("hop_short/expected/fltplan.txt"));
}

TEST_F(PlanStateTest, AnalysisThatOverflowsIsAFailedFitAndWritesNoReport) {
    // The fit itself solves, but the accelerations of a path swinging by
    // 1e306 m overflow: such a plan would print NaN and infinities.
    writeFile("traj1r.txt", "0 0 0 1 1e306 0 2 -1e306 0 3 0 0\n");
    std::string szOut;
    EXPECT_FALSE(bRunPlan(&szOut));
    EXPECT_EQ(szOut, "");
    EXPECT_FALSE(bPlanExists());
    EXPECT_EQ(paPVdfXCpTraj1X, nullptr);
    EXPECT_FALSE(fileExists("fltplan.txt"));
}

TEST_F(PlanStateTest, UnwritableReportIsSkippedWithOneLine) {
    copyTestData("reference/plan/hop_short/traj1r.txt", "traj1r.txt");
    ASSERT_TRUE(bPlanTraj1FromFile("traj1r.txt"));
    std::filesystem::create_directory("traj1l.txt");  // cannot be opened for writing
    testing::internal::CaptureStderr();
    writeTraj1lTxt();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "can't write traj1l.txt\n");
}

// ---- the bundled example hop ----------------------------------------------------

namespace {

double fZGndAt(double x) {
    double xGnd = 0.0, yGnd = 0.0, zGnd = 0.0;
    EXPECT_TRUE(bPtOnGndAtXY(&xGnd, &yGnd, &zGnd, x, 0.0, &arPArPPtVtxPgnGnd)) << x;
    return zGnd;
}

const double fXFarPlain = 27.23947192824111;  // where the far plain begins

}  // namespace

TEST_F(PlanStateTest, BundledHopStaysWithinThrustAndPropellantAndClearsTheTerrain) {
    ASSERT_TRUE(bPlanTraj1FromFile(VT_EXAMPLES "/handmade/traj1r.txt"));
    const Long iLast = pvdfT->hi;
    const double fX0 = (*pvdfAt(paPVdfX, 0))[1];
    const double fXEnd = (*pvdfAt(paPVdfX, iLast))[1];
    // From the pad at x = 0 to the far plain, leaving the 1 m landing
    // tolerance on the plain.
    EXPECT_EQ(fX0, 0.0);
    EXPECT_EQ((*pvdfAt(paPVdfX, 0))[3], 0.0);
    EXPECT_GT(fXEnd - 1.0, fXFarPlain);
    EXPECT_NEAR((*pvdfAt(paPVdfX, iLast))[3], 0.0, 1e-12);

    // Every thruster between 0 and 100 % of its share of the maximum thrust.
    EXPECT_GE(fFThrusterMin, 0.0);
    EXPECT_LE(fFThrusterMax, fFcThrustMax / 3.0);
    // Less propellant than the 5 kg on board.
    EXPECT_LT(fMsProp, 5.0);
    EXPECT_GT((*pvdfMs)[iLast], fMsEmpty);

    // At least 0.5 m above the terrain, except in the vertical take-off and
    // landing columns (within 0.5 m of the end points), where the path is
    // never below the ground.
    for (Long i = 0; i <= iLast; i++) {
        const double x = (*pvdfAt(paPVdfX, i))[1];
        const double fClear = (*pvdfAt(paPVdfX, i))[3] - fZGndAt(x);
        if (std::fabs(x - fX0) > 0.5 && std::fabs(x - fXEnd) > 0.5)
            EXPECT_GE(fClear, 0.5) << "t = " << (*pvdfT)[i] << ", x = " << x;
        else
            EXPECT_GE(fClear, -1e-9) << "t = " << (*pvdfT)[i] << ", x = " << x;
    }
}

TEST_F(PlanStateTest, BundledHopFlownWithItsPlanComesToRestUprightWherePlanned) {
    std::filesystem::copy_file(VT_EXAMPLES "/handmade/traj1r.txt", "traj1r.txt");
    std::string szOut;
    ASSERT_TRUE(bRunPlan(&szOut));
    const double fXEnd = (*pvdfAt(paPVdfX, pvdfT->hi))[1];
    A1Val<double> arFTi(1, 0);
    A1Val<void*> arPSt(1, 0);
    flyScheduleFile("fltplan.txt", &arFTi, &arPSt);
    ASSERT_GE(arPSt.iLast(), 1);
    const Stvehicle3dof& st = *static_cast<Stvehicle3dof*>(arPSt[arPSt.iLast()]);
    // The run stopped at rest, before the 30 s limit.
    EXPECT_LT(arFTi[arFTi.iLast()], 30.0);
    EXPECT_LT(std::fabs(st.fVeXf), 0.01);
    EXPECT_LT(std::fabs(st.fVeZf), 0.01);
    // Upright, on the ground, within 1 m of the planned end point.
    EXPECT_LT(std::fabs(st.fPitch), 5.0 / 180.0 * 3.141592653589793);
    EXPECT_NEAR(st.fXf, fXEnd, 1.0);
    EXPECT_NEAR(st.fZf, fZGndAt(st.fXf), 0.1);
    // It flew: it cleared the ground on the way.
    double fZMax = 0.0;
    for (Long i = 1; i <= arPSt.iLast(); i++)
        fZMax = std::max(fZMax, static_cast<Stvehicle3dof*>(arPSt[i])->fZf);
    EXPECT_GT(fZMax, 1.0);
    deleteStoredRun(&arFTi, &arPSt);
}

TEST(SummaryTest, EqualExtremesGiveZeroThrottleRangeAndPercentOfOneShare) {
    // A third of the maximum thrust is 100 % of one thruster's share.
    const std::string sz = vttest::szPrinted(
        [](std::FILE* pf) { printSummary(pf, false, 0.0, 0.0, 1480.0 / 3.0, 1480.0 / 3.0, 1480.0); });
    EXPECT_NE(sz.find("    max thruster force =   493.3333 (100.0 %)\n"), std::string::npos) << sz;
    EXPECT_NE(sz.find("    min thruster force =   493.3333 (100.0 %)\n"), std::string::npos) << sz;
    EXPECT_NE(sz.find("    throttle range     =        0.0 %\n"), std::string::npos) << sz;
}
