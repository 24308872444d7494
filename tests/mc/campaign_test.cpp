// Flying the runs of a campaign: the undispersed run is the simulate command's
// flight, every deviation reaches the flight it should, threads change nothing.
#include "mc/campaign.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <iterator>
#include <string>
#include <tuple>
#include <vector>

#include "mc/summary.h"
#include "sim/fltsim.h"
#include "support/testutil.h"

#include "support/scenario.h"

namespace {
double& fPitch0 = scenario.fPitch0;
double& fVeXf0 = scenario.fVeXf0;
double& fPitchDot0 = scenario.fPitchDot0;

std::vector<double> vfRest(McRunResult const& res) {
    return {res.fTiRest, res.fXfRest, res.fZfRest, res.fPitchRest, res.fMsPropLeft};
}

class McCampaign : public InScenarioFlying {
protected:
    void readSchedule(const std::string& szData, const char* szText = nullptr) {
        if (szText != nullptr) vttest::writeFile("fltplan.txt", szText);
        else vttest::copyTestData(szData, "fltplan.txt");
        std::FILE* pfile = std::fopen("fltplan.txt", "r");
        ASSERT_NE(pfile, nullptr);
        readMcSchedule(&sched, pfile, "fltplan.txt");
        std::fclose(pfile);
    }
    McRunResult fly(McInputs const& inputs, Long iRun = 1) { return mcRunFly(scenario, sched, inputs, iRun, &work); }
    // The run's rest point is the last state of the stored flight, bit for bit.
    void expectRestIsLastOfStoredRun(McRunResult const& res) {
        Stvehicle3dof const& st = *static_cast<Stvehicle3dof*>(arPStRun[arPStRun.iLast()]);
        EXPECT_EQ(vfRest(res), std::vector<double>({arFTiRun[arFTiRun.iLast()], st.fXf, st.fZf,
                                                    st.fPitch, st.fMs - vehicle.fMsEmpty}));
    }
    McSchedule sched;
    McWork work;
};

McInputs inputsWith(int iParam, double fDev) {
    McInputs inputs;
    inputs.arFDev[iParam] = fDev;
    return inputs;
}

const char szHopShort[] = "reference/plan/hop_short/expected/fltplan.txt";

// Climb at 2 g of thrust (net 3.7 m/s^2 up) for 1 s, cut in 1 ms, fall back.
const char szClimbCut[] =
    "   3    6\n    time         thrust      moment   \n"
    "    0.000000   740.000000     0.000000\n    1.000000   740.000000     0.000000\n"
    "    1.001000     0.000000     0.000000\n   30.000000     0.000000     0.000000\n";

TEST_F(McCampaign, UndispersedRunIsTheSimulateFlightOfTheReferencePlans) {
    for (const char* szCase : {"reference/flight/pitch_step/fltplan.txt",
                               "reference/flight/freefall_cut/fltplan.txt", szHopShort}) {
        SCOPED_TRACE(szCase);
        readSchedule(szCase);
        const McRunResult res = fly(McInputs{}, 0);
        EXPECT_EQ(res.iRun, 0);
        flyScheduleFile(scenario, "fltplan.txt", &arFTiRun, &arPStRun);
        expectRestIsLastOfStoredRun(res);
        deleteStoredRun(&arFTiRun, &arPStRun);
    }
}

TEST_F(McCampaign, TheOutcomeFlagsAndAnUnphysicalVehicle) {
    // A climb and cut comes down on the pad: touchdown, at rest, upright, not dry.
    readSchedule("", szClimbCut);
    const McRunResult res = fly(McInputs{});
    EXPECT_EQ(res.bTouchdown * 100 + res.iStop * 10 + res.bUpright + 2 * res.bRanDry,
              100 + mcStopRest * 10 + 1);
    // 1000 N burns the 5 kg in 2.7468 s, high in the air: ran dry.
    readSchedule("", "   3    4\nh\n0 1000 0\n10 1000 0\n");
    const McRunResult resDry = fly(McInputs{});
    EXPECT_EQ(resDry.bRanDry, 1);
    EXPECT_NEAR(resDry.fMsPropLeft, -5e-4, 5e-4);
    EXPECT_GT(resDry.fTiTouchdown, 5.0 * 549.36 / 1000.0);
    // A drawn vehicle that is not physical is not flown.
    readSchedule("", szClimbCut);
    for (int j : {mcParamInitialMass, mcParamExhaustSpeed, mcParamDragScale}) {
        const double fDev = j == mcParamDragScale ? -1.5 : j == mcParamInitialMass ? -100.0 : -549.36;
        const McRunResult resNot = fly(inputsWith(j, fDev), 3);
        EXPECT_EQ(resNot.iStop * 100 + resNot.iRun * 10 + resNot.nStep + resNot.bTouchdown,
                  mcStopUnphysical * 100 + 30);
    }
}

// The flight of the simulate command with the changes made by hand.
struct ByHand {
    double fThrustFactor = 1.0, fMomentAdd = 0.0, fTiAdd = 0.0, fIspAdd = 0.0,
           fDragFactor = 1.0, fPitch0 = 0.0, fPitchDot0 = 0.0, fVeXf0 = 0.0, fMsAdd = 0.0;
};

Stvehicle3dof stRestByHand(McSchedule const& sched, ByHand const& hand, double* pfTiRest) {
    A1Val<double> arFTi = sched.arFTiCmd, arFFc = sched.arFFcThrustCmd,
                  arFMm = sched.arFMmPitchCmd;
    for (Long i = arFTi.iFirst(); i <= arFTi.iLast(); i++)
        arFFc[i] *= hand.fThrustFactor, arFMm[i] += hand.fMomentAdd, arFTi[i] += hand.fTiAdd;
    Vehicle veh = vehicle;
    veh.fIsp += hand.fIspAdd, veh.fCdAX *= hand.fDragFactor, veh.fCdAZ *= hand.fDragFactor;
    Planet pla = planet;
    ArFFnFArFModel model(&pla, &veh, &scenario.arPArPPtVtxPgnGnd, 0.05, arFTi, arFFc, arFMm);
    A1Val<double> arFIC(1, 7);
    const double afIC[7] = {0, 0, hand.fPitch0, hand.fVeXf0, 0, hand.fPitchDot0, 100 + hand.fMsAdd};
    for (Long i = 1; i <= 7; i++) arFIC[i] = afIC[i - 1];
    A1Val<double> arFTiData(0);
    A1Val<void*> arPSt(0);
    sim(&arFTiData, &arPSt, &model, 0.0, arFIC, 30.0, 0.05, 1e-6, 20000, 0.001, 0.001, 0.001,
        0.001, 0.001);
    const Stvehicle3dof st = *static_cast<Stvehicle3dof*>(arPSt[arPSt.iLast()]);
    *pfTiRest = arFTiData[arFTiData.iLast()];
    deleteStoredRun(&arFTiData, &arPSt);
    return st;
}

TEST_F(McCampaign, EachDeviationChangesTheFlightAsItsNameSays) {
    readSchedule("reference/flight/pitch_step/fltplan.txt");
    const struct { int iParam; double fDev; ByHand hand; } acase[] = {
        {mcParamThrustScale, 0.03, {.fThrustFactor = 1.03}},
        {mcParamMomentBias, 4.0, {.fMomentAdd = 4.0}},
        {mcParamExhaustSpeed, -150.0, {.fIspAdd = -150.0}},
        {mcParamInitialMass, 1.5, {.fMsAdd = 1.5}},
        {mcParamDragScale, 2.0, {.fDragFactor = 3.0}},
        {mcParamInitialPitch, 0.05, {.fPitch0 = 0.05}},
        {mcParamInitialPitchRate, -0.1, {.fPitchDot0 = -0.1}},
        {mcParamInitialVx, 0.3, {.fVeXf0 = 0.3}},
        {mcParamCommandDelay, 0.02, {.fTiAdd = 0.02}},
    };
    ASSERT_EQ(std::size(acase), static_cast<std::size_t>(nMcParam));
    double fTiNominal = 0.0;
    const Stvehicle3dof stNominal = stRestByHand(sched, ByHand{}, &fTiNominal);
    for (auto const& c : acase) {
        SCOPED_TRACE(szMcParamName(c.iParam));
        const McRunResult res = fly(inputsWith(c.iParam, c.fDev));
        double fTiRest = 0.0;
        const Stvehicle3dof st = stRestByHand(sched, c.hand, &fTiRest);
        EXPECT_EQ(res.arFDev[c.iParam], c.fDev);
        // (Extra mass is propellant.)
        EXPECT_EQ(vfRest(res), std::vector<double>({fTiRest, st.fXf, st.fZf, st.fPitch, st.fMs - 95.0}));
        EXPECT_TRUE(st.fXf != stNominal.fXf || st.fMs != stNominal.fMs || fTiRest != fTiNominal);
    }
}

// A guided campaign: its undispersed run is the `g` flight; a run's sensor
// noise and command errors reach it (they change where it lands, a little);
// one, two and three threads give the same bytes.
TEST_F(McCampaign, GuidedRunsAreTheGuidedFlightAndDoNotDependOnThreads) {
    readSchedule(szHopShort);
    McDispersion disp;
    std::string szErr;
    ASSERT_TRUE(bParseDispersionText(&disp,
                                     "runs 40\nthrust_scale 0.02\nmoment_bias 1\ncommand_delay "
                                     "0.01 0 0.04\nsensor_position 0.02\nsensor_pitch 0.002\n",
                                     "d.txt", &szErr)) << szErr;
    const GuidanceSettings gs;
    const GuidanceRef ref(sched.arFTiCmd, sched.arFFcThrustCmd, sched.arFMmPitchCmd, vehicle,
                          planet, stvehicle3dof0, 0.0, gs);
    McGuided guided;
    guided.pref = &ref, guided.gains = guidanceGainsFm(gs, vehicle, planet);
    guided.uRngSeed = disp.uRngSeed;
    for (int j = 0; j < nMcSensor; j++) guided.arPertSensor[j] = disp.arPertSensor[j];
    const McRunResult res0 = mcRunFly(scenario, sched, McInputs{}, 0, &work, &guided);
    ASSERT_TRUE(bFlyGuidedScheduleFile(scenario, "fltplan.txt", "no_guidance.txt", &arFTiRun, &arPStRun,
                                       &szErr)) << szErr;
    expectRestIsLastOfStoredRun(res0);
    const std::vector<Long> aiRun = aiMcRunsOfRank(disp.nRun, 0, 1);
    McGuided guidedQuiet = guided;  // the same runs without sensor noise
    for (int j = 0; j < nMcSensor; j++) guidedQuiet.arPertSensor[j] = McPerturbation{};
    std::vector<McRunResult> a1(aiRun.size()), a2 = a1, a3 = a1, aQuiet = a1;
    for (auto [pa, nThread, pguided] : {std::tuple(&a1, 1, &guided), std::tuple(&a2, 2, &guided),
                                        std::tuple(&a3, 3, &guided), std::tuple(&aQuiet, 2, &guidedQuiet)})
        mcFlyRuns(scenario, pa->data(), aiRun, sched, disp, nThread, nullptr, nullptr, pguided);
    for (std::size_t i = 0; i < aiRun.size(); i++) {
        SCOPED_TRACE(aiRun[i]);
        EXPECT_EQ(std::memcmp(&a1[i], &a2[i], sizeof(McRunResult)), 0);
        EXPECT_EQ(std::memcmp(&a1[i], &a3[i], sizeof(McRunResult)), 0);
        EXPECT_NE(a1[i].fXfRest, aQuiet[i].fXfRest);
        EXPECT_NE(aQuiet[i].fXfRest, res0.fXfRest);
        EXPECT_LT(std::fabs(a1[i].fXfRest - res0.fXfRest), 0.2);
        EXPECT_EQ(a1[i].bUpright, 1);
    }
    ASSERT_TRUE(bWriteMcCsv("g.csv", a1.data(), disp.nRun, res0.fXfRest, res0.fZfRest, 2, true));
    const std::string szCsv = vttest::readFile("g.csv");
    EXPECT_EQ(szCsv.substr(szCsv.find('\n') - 12, 13), "miss[m],mode\n");
    EXPECT_EQ(szCsv.substr(szCsv.size() - 8), ",guided\n");
}

}  // namespace
