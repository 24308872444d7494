// The planning chain of `p` on a plan state, the reports of `l`
// and `f`, and hop design: the hop file's checks, and designs judged by the
// planning chain run on the written waypoint file.
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "design/design.h"
#include "design/hopfile.h"
#include "plan/planstate.h"
#include "plan/report.h"
#include "plan/wptfpln.h"
#include "sim/params.h"
#include "support/testutil.h"

#include "support/scenario.h"

namespace {
PlanState ps;
Vd<double>*& pvdfT = ps.pvdfT;
double& fMsProp = ps.fMsProp;
double& fFThrusterMin = ps.fFThrusterMin;
double& fFThrusterMax = ps.fFThrusterMax;
}  // namespace

using namespace vttest;

namespace {

// Runs the `p` command; its standard output goes to *pszOut.
bool bRunPlan(std::string* pszOut) {
    bool bOk = false;
    *pszOut = vttest::szPrinted([&](std::FILE* pf) { bOk = ps.bRunPlanCommand(scenario, pf); });
    return bOk;
}

class PlanStateTest : public InScenarioFlying {
protected:
    void TearDown() override {
        ps.deleteTraj1Params();
        ps.deleteTraj1Path();
        ps.deletePathAnalysis();
        InScenarioFlying::TearDown();
    }
};

}  // namespace

TEST_F(PlanStateTest, SampleTimesRunFromFirstToLastWaypointTimeExactly) {
    // 1.1 to 7.7 in N = 5 * (nX + nZ) steps; the formula gives
    // 7.699999999999999 at i = N, the last sample must be 7.7 itself.
    writeFile("traj1r.txt", "1.1 0 0 3.3 0.1 0.5 5.5 0.2 0.5 7.7 0.3 0\n");
    ASSERT_TRUE(ps.bPlanTraj1FromFile(scenario, "traj1r.txt"));
    const Long nSample = 5 * (9 + 5);
    ASSERT_EQ(std::vector<Long>({ps.nTraj1X + ps.nTraj1Z, pvdfT->lo, ps.paPVdfF->lo(), pvdfT->hi, ps.paPVdfF->hi()}),
              std::vector<Long>({14, 0, 0, nSample, nSample}));
    EXPECT_EQ((*pvdfT)[nSample], 7.7);
    for (Long i = 0; i < nSample; i++)
        EXPECT_EQ((*pvdfT)[i], 1.1 + (static_cast<double>(i) / nSample) * (7.7 - 1.1)) << i;
    EXPECT_TRUE(ps.bPlanExists());
}

TEST_F(PlanStateTest, FailedFitOrAnalysisLeavesNoPlanSoListingAndFlightPlanDoNothing) {
    copyTestData("reference/plan/hop_short/traj1r.txt", "traj1r.txt");
    std::string szOut;
    ASSERT_TRUE(bRunPlan(&szOut));
    writeFile("fltplan.txt", "old plan\n");
    for (int iCase = 0; iCase < 2; iCase++) {
        if (iCase == 0)  // a waypoint after the last time: "couldn't solve"
            copyTestData("plan/couldnt_solve/traj1r.txt", "traj1r.txt");
        else  // a fit that solves, but whose accelerations (a swing by 1e306 m) overflow
            writeFile("traj1r.txt", "0 0 0 1 1e306 0 2 -1e306 0 3 0 0\n");
        ASSERT_FALSE(bRunPlan(&szOut));
        EXPECT_EQ(szOut, "");
        EXPECT_FALSE(ps.bPlanExists());
        EXPECT_NE(ps.pvdfParamTraj1, nullptr);  // the numbers were read
        EXPECT_TRUE(ps.paPVdfXCpTraj1X == nullptr && pvdfT == nullptr);
        ps.writeFltplanTxt();
        ps.writeTraj1lTxt(scenario);
        EXPECT_EQ(readFile("fltplan.txt"), "old plan\n");
        EXPECT_FALSE(fileExists("traj1l.txt"));
    }
    // The next good file plans again.
    copyTestData("reference/plan/hop_short/traj1r.txt", "traj1r.txt");
    ASSERT_TRUE(bRunPlan(&szOut));
    EXPECT_EQ(readFile("fltplan.txt"),
              readFile(std::string(VT_TEST_DATA) + "/reference/plan/hop_short/expected/fltplan.txt"));
    // An unwritable report is skipped with one line.
    std::filesystem::create_directory("traj1l.txt");
    testing::internal::CaptureStderr();
    ps.writeTraj1lTxt(scenario);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "can't write traj1l.txt\n");
}

TEST(SummaryTest, EqualExtremesGiveZeroThrottleRangeAndPercentOfOneShare) {
    // A third of the maximum thrust is 100 % of one thruster's share.
    const auto fn = [](std::FILE* pf) { printSummary(pf, false, 0, 0, 1480.0 / 3, 1480.0 / 3, 1480); };
    EXPECT_EQ(vttest::szPrinted(fn),
              "SUMMARY\n    horizontal range   =     0.0000\n    propellant mass    =     0.0000\n"
              "    max thruster force =   493.3333 (100.0 %)\n"
              "    min thruster force =   493.3333 (100.0 %)\n    throttle range     =        0.0 %\n");
}

TEST_F(PlanStateTest, HopFilesAreReadWithCommentsOrNameTheLineAndTheProblem) {
    const struct { const char* szText; const char* szError; } abad[] = {
        {"target_x 20\nclearence 1\n", "hop.txt:2: unknown name 'clearence'"},
        {"# hop\ntarget_x 2O\n", "hop.txt:2: bad number '2O' for target_x"},
        {"target_x 20\ntime 4 s\n", "hop.txt:2: expected 'time VALUE', found 3 words"},
        {"target_x 20\ntime\n", "hop.txt:2: expected 'time VALUE', found 1 word"},
        {"target_x 20\n\ntarget_x 21\n", "hop.txt:3: target_x given again (first on line 1)"},
        {"time 5\n", "hop.txt: target_x is missing"},
        {"target_x 5000\n", "hop.txt:1: target_x 5000 m is off the terrain"},
        {"target_x 20\nthruster_margin -0.1\n", "hop.txt:2: thruster_margin -0.1 is negative"},
        {"target_x 20\npropellant_reserve -1e-3\n",
         "hop.txt:2: propellant_reserve -0.001 is negative"},
        {"target_x 20\nclearance -0.5\n", "hop.txt:2: clearance -0.5 m is negative"},
        {"target_x 20\ntime 0\n", "hop.txt:2: time 0 s is not positive"},
        {"target_x 20\ntime nan\n", "hop.txt:2: bad number 'nan' for time"},
        {"target_x 20\nwaypoints 4.5\n",
         "hop.txt:2: waypoints 4.5 is not a whole number from 2 to 20"},
        {"target_x 0.8\n",
         "hop.txt:1: target_x 0.8 m is within twice the clearance (1 m) of the start (x = 0 m)"},
        {"target_x 20\n\x01\xff 3\n", "hop.txt:2: unknown name '?" "?'"},
    };
    HopSpec hopspec;
    std::string szError;
    for (auto const& bad : abad) {
        writeFile("hop.txt", bad.szText);
        EXPECT_FALSE(bHopSpecFmFile(scenario, "hop.txt", &hopspec, &szError)) << bad.szText;
        EXPECT_EQ(szError, bad.szError);
    }
    EXPECT_FALSE(bHopSpecFmFile(scenario, "none.txt", &hopspec, &szError));
    EXPECT_EQ(szError, "none.txt: can't open: No such file or directory");
    writeFile("hop.txt",
              "# a hop\n\n  target_x\t-12.5   # behind the pad\ntime 4\r\nthruster_margin 0.2\n"
              "propellant_reserve 0\nclearance 1.5\nwaypoints 7");
    ASSERT_TRUE(bHopSpecFmFile(scenario, "hop.txt", &hopspec, &szError)) << szError;
    EXPECT_EQ(std::vector<double>({hopspec.fXTarget, double(hopspec.bTimeGiven), hopspec.fTiFlight,
                                   hopspec.fThrusterMargin, hopspec.fPropReserve, hopspec.fClearance,
                                   double(hopspec.nWptInterior)}),
              std::vector<double>({-12.5, 1, 4, 0.2, 0, 1.5, 7}));
}

// The bundled hop's end point, with the shipped hop file: `p` on the written
// file gives the design's propellant to the last bit, within the limits,
// and less than the hand-made hop to the same point.
TEST_F(PlanStateTest, DesignedHopIsWhatThePlanChainMakesOfTheWrittenFile) {
    HopSpec hopspec;
    std::string szError;
    ASSERT_TRUE(bHopSpecFmFile(scenario, VT_EXAMPLES "/designed/hop.txt", &hopspec, &szError));
    const DesignResult r = designHop(scenario, hopspec);
    ASSERT_TRUE(r.bOk) << r.szError;
    EXPECT_FALSE(ps.bPlanExists());  // the design leaves the program's plan alone
    ASSERT_TRUE(bWriteDesignedTraj1r("traj1r.txt", r, &szError)) << szError;
    ASSERT_TRUE(ps.bPlanTraj1FromFile(scenario, "traj1r.txt"));
    EXPECT_EQ(std::vector<double>({fMsProp, fFThrusterMin, fFThrusterMax}),
              std::vector<double>({r.fMsProp, r.fFThrusterMin, r.fFThrusterMax}));
    EXPECT_GE(fFThrusterMin, 0.0);
    EXPECT_LE(fFThrusterMax, (1.0 - hopspec.fThrusterMargin) * scenario.fFcThrustMax / 3.0 + 1e-6);
    EXPECT_LE(fMsProp, (1.0 - hopspec.fPropReserve) * (scenario.fMsGTO - scenario.fMsEmpty));
    EXPECT_EQ(std::vector<double>({(*pvdfT)[pvdfT->hi], (*pvdfAt(ps.paPVdfX, ps.paPVdfX->hi()))[1]}),
              std::vector<double>({r.fTiFlight, 28.5}));
    const double fMsPropDesigned = fMsProp;
    ASSERT_TRUE(ps.bPlanTraj1FromFile(scenario, VT_EXAMPLES "/handmade/traj1r.txt"));
    EXPECT_LT(fMsPropDesigned, fMsProp);
}

// Out of reach: the message names the limit that binds, and by how much.
TEST_F(PlanStateTest, UnreachableTargetsNameTheBindingLimit) {
    HopSpec hopspec;
    hopspec.fXTarget = 45.0;
    DesignResult r = designHop(scenario, hopspec);
    EXPECT_FALSE(r.bOk);
    EXPECT_EQ(r.szError.rfind("no hop to x = 45.0000 m within the limits: the propellant reserve "
                              "binds: the least-propellant hop found burns ", 0), 0u) << r.szError;
    EXPECT_NE(r.szError.find("more than the 4.5000 kg that keep 10.0 % in reserve"),
              std::string::npos);
    hopspec.fXTarget = 28.5, hopspec.bTimeGiven = true, hopspec.fTiFlight = 2.0;
    r = designHop(scenario, hopspec);
    EXPECT_FALSE(r.bOk);
    // 4 d / T^2 = 28.5 m/s^2 against 3 x 419.3333 N / 95 kg = 13.2421 m/s^2.
    EXPECT_EQ(r.szError,
              "no hop to x = 28.5000 m in 2.0000 s within the limits: the thrusters bind: a hop "
              "from rest to rest over 28.5000 m in 2.0000 s needs at least 28.5000 m/s^2 along x "
              "(4 d / T^2), 15.2579 m/s^2 more than the three thrusters less the margin can give "
              "(3 x 419.3333 N on 95.0000 kg)");
}
