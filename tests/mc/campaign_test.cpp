// Flying the runs of a campaign: the undispersed run is the simulate
// command's flight, every deviation reaches the flight it should, the
// outcomes agree with closed forms, and threads do not change anything.
#include "mc/campaign.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "mc/summary.h"
#include "plan/planstate.h"
#include "sim/flight.h"
#include "sim/fltsim.h"
#include "support/testutil.h"

namespace {

constexpr double fAcGTest = 3.7;

class McCampaign : public InTempDir {
protected:
    void SetUp() override {
        InTempDir::SetUp();
        initParams();
    }
    void TearDown() override {
        deleteStoredRun(&arFTiRun, &arPStRun);
        InTempDir::TearDown();
    }
    // Reads a schedule file into sched.
    void readSchedule(const std::string& szFile) {
        std::FILE* pfile = std::fopen(szFile.c_str(), "r");
        ASSERT_NE(pfile, nullptr) << szFile;
        readMcSchedule(&sched, pfile, szFile.c_str());
        std::fclose(pfile);
    }
    void writeAndReadSchedule(const std::string& szText) {
        vttest::writeFile("fltplan.txt", szText);
        readSchedule("fltplan.txt");
    }
    McRunResult fly(McInputs const& inputs, Long iRun = 1) {
        return mcRunFly(sched, inputs, iRun, &work);
    }

    McSchedule sched;
    McWork work;
    A1Val<double> arFTiRun{0};
    A1Val<void*> arPStRun{0};
};

McInputs inputsWith(int iParam, double fDev) {
    McInputs inputs;
    inputs.arFDev[iParam] = fDev;
    return inputs;
}

// Climb at 2 g of thrust (net 3.7 m/s^2 up) for 1 s, cut in 1 ms, fall back.
const char szClimbCut[] =
    "   3    6\n"
    "    time         thrust      moment   \n"
    "    0.000000   740.000000     0.000000\n"
    "    1.000000   740.000000     0.000000\n"
    "    1.001000     0.000000     0.000000\n"
    "   30.000000     0.000000     0.000000\n";

// No thrust at all: the vehicle never clears the ground and falls through it.
const char szNoThrust[] =
    "   3    4\n"
    "    time         thrust      moment   \n"
    "    0.000000     0.000000     0.000000\n"
    "   30.000000     0.000000     0.000000\n";

// 1000 N until the propellant is gone (after 2.75 s), then a fall.
const char szBurnOut[] =
    "   3    4\n"
    "    time         thrust      moment   \n"
    "    0.000000  1000.000000     0.000000\n"
    "   10.000000  1000.000000     0.000000\n";

// ---- the undispersed run is the simulate command's flight --------------------------------

void expectSameAsSimulate(McCampaign* ptest, const std::string& szPlan, A1Val<double>* parFTi,
                          A1Val<void*>* parPSt, McRunResult const& res) {
    (void)ptest;
    flyScheduleFile(szPlan.c_str(), parFTi, parPSt);
    writeResultsTxt("results.txt", *parFTi, *parPSt);
    Stvehicle3dof const& stLast = *static_cast<Stvehicle3dof*>((*parPSt)[parPSt->iLast()]);
    EXPECT_EQ(res.fTiRest, (*parFTi)[parFTi->iLast()]);
    EXPECT_EQ(res.fXfRest, stLast.fXf);
    EXPECT_EQ(res.fZfRest, stLast.fZf);
    EXPECT_EQ(res.fPitchRest, stLast.fPitch);
    EXPECT_EQ(res.fMsPropLeft, stLast.fMs - vehicle.fMsEmpty);
    // And as text: the last line of "results.txt" shows this rest point.
    const std::string szResults = vttest::readFile("results.txt");
    const std::size_t iLastLine = szResults.rfind('\n', szResults.size() - 2) + 1;
    char sz[64];
    std::snprintf(sz, sizeof sz, "%8.2lf%8.2lf%8.2lf", res.fTiRest, res.fXfRest, res.fZfRest);
    EXPECT_EQ(szResults.substr(iLastLine, 24), sz);
}

TEST_F(McCampaign, UndispersedRunIsTheSimulateFlightOfTheReferencePlans) {
    for (const char* szCase : {"reference/flight/pitch_step/fltplan.txt",
                               "reference/flight/freefall_cut/fltplan.txt",
                               "reference/plan/hop_short/expected/fltplan.txt"}) {
        SCOPED_TRACE(szCase);
        vttest::copyTestData(szCase, "fltplan.txt");
        readSchedule("fltplan.txt");
        const McRunResult res = fly(McInputs{}, 0);
        EXPECT_EQ(res.iRun, 0);
        expectSameAsSimulate(this, "fltplan.txt", &arFTiRun, &arPStRun, res);
        deleteStoredRun(&arFTiRun, &arPStRun);
    }
}

// ---- outcomes against closed forms -----------------------------------------------------

TEST_F(McCampaign, AFallWithNoThrustAndNoDragRunsToTheEndAlongTheParabola) {
    writeAndReadSchedule(szNoThrust);
    // drag_scale -1 takes the drag areas to 0: the model then skips drag.
    const McRunResult res = fly(inputsWith(mcParamDragScale, -1.0));
    EXPECT_EQ(res.iStop, mcStopEnd);
    EXPECT_EQ(res.fTiRest, 30.0);
    EXPECT_NEAR(res.fZfRest, -0.5 * fAcGTest * 30.0 * 30.0, 1e-9 * 1665.0);
    EXPECT_EQ(res.fXfRest, 0.0);
    EXPECT_EQ(res.bTouchdown, 0);
    EXPECT_EQ(res.bUpright, 0);
    EXPECT_EQ(res.bRanDry, 0);
    EXPECT_EQ(res.fMsPropLeft, 5.0);
}

TEST_F(McCampaign, AClimbAndCutLandsOnThePadAsTheBallisticArcSays) {
    writeAndReadSchedule(szClimbCut);
    // No drag, and an exhaust speed so large that the mass stays 100 kg:
    // 3.7 m/s^2 up for 1 s, a cut in 1 ms that changes the speed by nothing
    // (the thrust falls linearly from twice the weight), then free fall.
    McInputs inputs;
    inputs.arFDev[mcParamDragScale] = -1.0;
    inputs.arFDev[mcParamExhaustSpeed] = 1e12;
    const McRunResult res = fly(inputs);
    const double fTiCut = 1.001;
    const double fVeCut = fAcGTest;
    // Height at the cut: 1.85 m after the climb, then over the ramp of
    // d = 1 ms, a(s) = g - 2 g s / d: g d + g d^2 / 6.
    const double fZfCut = 0.5 * fAcGTest + fAcGTest * 0.001 + fAcGTest * 1e-6 / 6.0;
    const double fTiGround =
        fTiCut + (fVeCut + std::sqrt(fVeCut * fVeCut + 2.0 * fAcGTest * fZfCut)) / fAcGTest;
    ASSERT_EQ(res.bTouchdown, 1);
    // Touchdown is the first evaluation at or below the ground: at most one
    // step (0.05 s) after the crossing.
    EXPECT_GE(res.fTiTouchdown, fTiGround - 1e-4);
    EXPECT_LE(res.fTiTouchdown, fTiGround + 0.05);
    // The stages of a step lie on the exact line v(t) under constant
    // acceleration, so the touchdown velocity is the free-fall one at that
    // time, up to what the steps across the two kinks of the cut got wrong
    // (about 1e-5 m/s; each step may err by 1e-3).
    EXPECT_NEAR(res.fVeZfTouchdown, fVeCut - fAcGTest * (res.fTiTouchdown - fTiCut), 1e-4);
    EXPECT_EQ(res.fVeXfTouchdown, 0.0);
    // At rest on the pad, sunk into the 10000 N/m ground spring by m g / k.
    EXPECT_EQ(res.iStop, mcStopRest);
    EXPECT_LT(res.fTiRest, 30.0);
    EXPECT_EQ(res.fXfRest, 0.0);
    EXPECT_NEAR(res.fZfRest, -100.0 * fAcGTest / 10000.0, 1e-3);
    EXPECT_EQ(res.bUpright, 1);
    EXPECT_EQ(res.bRanDry, 0);
    EXPECT_NEAR(res.fMsPropLeft, 5.0, 1e-6);
}

TEST_F(McCampaign, BurningOutInTheAirIsRanDry) {
    writeAndReadSchedule(szBurnOut);
    const McRunResult res = fly(McInputs{});
    // 5 kg at 1000 N / 549.36 m/s lasts 2.7468 s; the vehicle is then high up.
    const double fTiBurnOut = 5.0 * 549.36 / 1000.0;
    EXPECT_EQ(res.bRanDry, 1);
    EXPECT_LE(res.fMsPropLeft, 0.0);
    EXPECT_GT(res.fMsPropLeft, -1e-3);
    ASSERT_EQ(res.bTouchdown, 1);
    EXPECT_GT(res.fTiTouchdown, fTiBurnOut);
    // With 0.1 kg less propellant it burns out 0.0549 s earlier, still in the air.
    const McRunResult resLess = fly(inputsWith(mcParamInitialMass, -0.1));
    EXPECT_EQ(resLess.bRanDry, 1);
    // A climb that lands with propellant left is not dry.
    writeAndReadSchedule(szClimbCut);
    EXPECT_EQ(fly(McInputs{}).bRanDry, 0);
}

TEST_F(McCampaign, AnUnphysicalVehicleIsNotFlown) {
    writeAndReadSchedule(szClimbCut);
    for (McInputs const& inputs : {inputsWith(mcParamInitialMass, -100.0),
                                   inputsWith(mcParamExhaustSpeed, -549.36),
                                   inputsWith(mcParamDragScale, -1.5)}) {
        const McRunResult res = fly(inputs, 3);
        EXPECT_EQ(res.iStop, mcStopUnphysical);
        EXPECT_EQ(res.iRun, 3);
        EXPECT_EQ(res.nStep, 0);
        EXPECT_EQ(res.fXfRest, 0.0);
        EXPECT_EQ(res.bTouchdown, 0);
    }
}

// ---- every deviation reaches the flight ----------------------------------------------------

// The flight of the simulate command with the changes made by hand.
struct ByHand {
    double fThrustFactor = 1.0, fMomentAdd = 0.0, fTiAdd = 0.0;
    double fIspAdd = 0.0, fDragFactor = 1.0;
    double fPitch0 = 0.0, fPitchDot0 = 0.0, fVeXf0 = 0.0, fMsAdd = 0.0;
};

Stvehicle3dof stRestByHand(McSchedule const& sched, ByHand const& hand, double* pfTiRest) {
    A1Val<double> arFTi = sched.arFTiCmd, arFFc = sched.arFFcThrustCmd,
                  arFMm = sched.arFMmPitchCmd;
    for (Long i = arFTi.iFirst(); i <= arFTi.iLast(); i++) {
        arFFc[i] *= hand.fThrustFactor;
        arFMm[i] += hand.fMomentAdd;
        arFTi[i] += hand.fTiAdd;
    }
    Vehicle veh = vehicle;
    veh.fIsp += hand.fIspAdd;
    veh.fCdAX *= hand.fDragFactor;
    veh.fCdAZ *= hand.fDragFactor;
    Planet pla = planet;
    ArFFnFArFModel model(&pla, &veh, 0.05, arFTi, arFFc, arFMm);
    A1Val<double> arFIC(1, 7);
    const double afIC[7] = {0.0, 0.0, hand.fPitch0, hand.fVeXf0, 0.0, hand.fPitchDot0,
                            100.0 + hand.fMsAdd};
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
    vttest::copyTestData("reference/flight/pitch_step/fltplan.txt", "fltplan.txt");
    readSchedule("fltplan.txt");
    struct Case {
        int iParam;
        double fDev;
        ByHand hand;
    };
    std::vector<Case> acase;
    auto add = [&](int iParam, double fDev, auto fnSet) {
        Case c{iParam, fDev, ByHand{}};
        fnSet(&c.hand);
        acase.push_back(c);
    };
    add(mcParamThrustScale, 0.03, [](ByHand* p) { p->fThrustFactor = 1.0 + 0.03; });
    add(mcParamMomentBias, 4.0, [](ByHand* p) { p->fMomentAdd = 4.0; });
    add(mcParamExhaustSpeed, -150.0, [](ByHand* p) { p->fIspAdd = -150.0; });
    add(mcParamInitialMass, 1.5, [](ByHand* p) { p->fMsAdd = 1.5; });
    add(mcParamDragScale, 2.0, [](ByHand* p) { p->fDragFactor = 1.0 + 2.0; });
    add(mcParamInitialPitch, 0.05, [](ByHand* p) { p->fPitch0 = 0.05; });
    add(mcParamInitialPitchRate, -0.1, [](ByHand* p) { p->fPitchDot0 = -0.1; });
    add(mcParamInitialVx, 0.3, [](ByHand* p) { p->fVeXf0 = 0.3; });
    add(mcParamCommandDelay, 0.02, [](ByHand* p) { p->fTiAdd = 0.02; });
    ASSERT_EQ(acase.size(), static_cast<std::size_t>(nMcParam));

    double fTiNominal = 0.0;
    const Stvehicle3dof stNominal = stRestByHand(sched, ByHand{}, &fTiNominal);
    for (Case const& c : acase) {
        SCOPED_TRACE(szMcParamName(c.iParam));
        const McRunResult res = fly(inputsWith(c.iParam, c.fDev));
        double fTiRest = 0.0;
        const Stvehicle3dof st = stRestByHand(sched, c.hand, &fTiRest);
        EXPECT_EQ(res.arFDev[c.iParam], c.fDev);
        EXPECT_EQ(res.fTiRest, fTiRest);
        EXPECT_EQ(res.fXfRest, st.fXf);
        EXPECT_EQ(res.fZfRest, st.fZf);
        EXPECT_EQ(res.fPitchRest, st.fPitch);
        EXPECT_EQ(res.fMsPropLeft, st.fMs - 95.0);
        // And the deviation did change the flight.
        EXPECT_TRUE(st.fXf != stNominal.fXf || st.fMs != stNominal.fMs || fTiRest != fTiNominal);
    }
}

TEST_F(McCampaign, ExtraMassIsPropellant) {
    writeAndReadSchedule(szNoThrust);
    McInputs inputs;
    inputs.arFDev[mcParamDragScale] = -1.0;
    inputs.arFDev[mcParamInitialMass] = 0.25;
    EXPECT_EQ(fly(inputs).fMsPropLeft, 5.25);
}

// ---- sharing runs among processes and threads -------------------------------------------

TEST(McRunsOfRank, CyclicSharesCoverEveryRunOnce) {
    for (Long nRank = 1; nRank <= 5; nRank++)
        for (Long nRun = 1; nRun <= 13; nRun++) {
            std::vector<int> anSeen(static_cast<std::size_t>(nRun) + 1, 0);
            for (Long iRank = 0; iRank < nRank; iRank++) {
                const std::vector<Long> aiRun = aiMcRunsOfRank(nRun, iRank, nRank);
                for (std::size_t i = 0; i < aiRun.size(); i++) {
                    EXPECT_EQ(aiRun[i], iRank + 1 + static_cast<Long>(i) * nRank);
                    anSeen[static_cast<std::size_t>(aiRun[i])] += 1;
                }
            }
            for (Long iRun = 1; iRun <= nRun; iRun++)
                EXPECT_EQ(anSeen[static_cast<std::size_t>(iRun)], 1) << nRun << " " << nRank;
        }
    EXPECT_TRUE(aiMcRunsOfRank(2, 3, 4).empty());
}

TEST_F(McCampaign, AProcessFliesOnlyItsShareAndGetsTheSameRuns) {
    vttest::copyTestData("reference/plan/hop_short/expected/fltplan.txt", "fltplan.txt");
    readSchedule("fltplan.txt");
    McDispersion disp;
    disp.arPert[mcParamThrustScale].fSd = 0.02;
    disp.arPert[mcParamInitialPitch].fSd = 0.01;
    const Long nRun = 30;
    std::vector<McRunResult> aAll(static_cast<std::size_t>(nRun));
    mcFlyRuns(aAll.data(), aiMcRunsOfRank(nRun, 0, 1), sched, disp, 2);
    for (Long iRank = 0; iRank < 3; iRank++) {
        const std::vector<Long> aiRun = aiMcRunsOfRank(nRun, iRank, 3);
        std::vector<McRunResult> aPart(aiRun.size());
        mcFlyRuns(aPart.data(), aiRun, sched, disp, 1);
        for (std::size_t i = 0; i < aiRun.size(); i++)
            EXPECT_EQ(std::memcmp(&aPart[i], &aAll[static_cast<std::size_t>(aiRun[i] - 1)],
                                  sizeof(McRunResult)),
                      0);
    }
}

}  // namespace

// A guided campaign: its undispersed run is the `g` flight; a run's sensor
// noise and command errors reach it (they change where it lands, a little);
// one, two and three threads give the same bytes.
TEST_F(McCampaign, GuidedRunsAreTheGuidedFlightAndDoNotDependOnThreads) {
    vttest::copyTestData("reference/plan/hop_short/expected/fltplan.txt", "fltplan.txt");
    readSchedule("fltplan.txt");
    McDispersion disp;
    std::string szErr;
    ASSERT_TRUE(bParseDispersionText(&disp,
                                     "runs 40\nthrust_scale 0.02\nmoment_bias 1\ncommand_delay "
                                     "0.01 0 0.04\nsensor_position 0.02\nsensor_pitch 0.002\n",
                                     "d.txt", &szErr))
        << szErr;
    const GuidanceSettings gs;
    const GuidanceRef ref(sched.arFTiCmd, sched.arFFcThrustCmd, sched.arFMmPitchCmd, vehicle,
                          planet, stvehicle3dof0, 0.0, gs);
    McGuided guided;
    guided.pref = &ref;
    guided.gains = guidanceGainsFm(gs, vehicle, planet);
    guided.uRngSeed = disp.uRngSeed;
    for (int j = 0; j < nMcSensor; j++) guided.arPertSensor[j] = disp.arPertSensor[j];

    const McRunResult res0 = mcRunFly(sched, McInputs{}, 0, &work, &guided);
    std::string szErrG;
    ASSERT_TRUE(bFlyGuidedScheduleFile("fltplan.txt", "no_guidance.txt", &arFTiRun, &arPStRun,
                                       &szErrG));
    Stvehicle3dof const& stLast = *static_cast<Stvehicle3dof*>(arPStRun[arPStRun.iLast()]);
    EXPECT_EQ(res0.fXfRest, stLast.fXf);
    EXPECT_EQ(res0.fZfRest, stLast.fZf);
    EXPECT_EQ(res0.fTiRest, arFTiRun[arFTiRun.iLast()]);

    const std::vector<Long> aiRun = aiMcRunsOfRank(disp.nRun, 0, 1);
    std::vector<McRunResult> a1(aiRun.size()), a2(aiRun.size()), a3(aiRun.size());
    mcFlyRuns(a1.data(), aiRun, sched, disp, 1, nullptr, nullptr, &guided);
    mcFlyRuns(a2.data(), aiRun, sched, disp, 2, nullptr, nullptr, &guided);
    mcFlyRuns(a3.data(), aiRun, sched, disp, 3, nullptr, nullptr, &guided);
    McDispersion dispQuiet = disp;  // the same runs without sensor noise
    McGuided guidedQuiet = guided;
    for (int j = 0; j < nMcSensor; j++) guidedQuiet.arPertSensor[j] = McPerturbation{};
    std::vector<McRunResult> aQuiet(aiRun.size());
    mcFlyRuns(aQuiet.data(), aiRun, sched, dispQuiet, 2, nullptr, nullptr, &guidedQuiet);
    for (std::size_t i = 0; i < aiRun.size(); i++) {
        EXPECT_EQ(std::memcmp(&a1[i], &a2[i], sizeof(McRunResult)), 0) << "run " << aiRun[i];
        EXPECT_EQ(std::memcmp(&a1[i], &a3[i], sizeof(McRunResult)), 0) << "run " << aiRun[i];
        EXPECT_NE(a1[i].fXfRest, aQuiet[i].fXfRest) << "run " << aiRun[i];
        EXPECT_NE(aQuiet[i].fXfRest, res0.fXfRest) << "run " << aiRun[i];
        EXPECT_LT(std::fabs(a1[i].fXfRest - res0.fXfRest), 0.2) << "run " << aiRun[i];
        EXPECT_EQ(a1[i].bUpright, 1) << "run " << aiRun[i];
    }
    ASSERT_TRUE(bWriteMcCsv("g.csv", a1.data(), disp.nRun, res0.fXfRest, res0.fZfRest, 2, true));
    const std::string szCsv = vttest::readFile("g.csv");
    EXPECT_EQ(szCsv.substr(szCsv.find('\n') - 12, 13), "miss[m],mode\n");
    EXPECT_EQ(szCsv.substr(szCsv.size() - 8), ",guided\n");
}
