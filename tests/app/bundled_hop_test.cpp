// The bundled hop (examples/traj1r.txt, designed by `d` from examples/hop.txt)
// is one the guided flight can land: its plan breaks no limit, keeps a tenth
// of the propellant, and flown guided it comes to rest upright on its own
// end point. And the guided flight's stepper (the embedded pair of
// ck5StepQC) against exact solutions, and what it saves.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "app/plotdata.h"
#include "numerics/odeint.h"
#include "plan/planstate.h"
#include "plan/wptfpln.h"
#include "sim/flight.h"
#include "sim/fltsim.h"
#include "guide/guidance.h"
#include "sim/params.h"
#include "support/testutil.h"

namespace {

// The last waypoint of a waypoint file, read here on its own: the first line
// is "t x z t x z ...".
void lastWaypoint(const std::string& szFile, double* pfX, double* pfZ) {
    std::ifstream in(szFile);
    std::string szLine;
    std::getline(in, szLine);
    std::istringstream iss(szLine);
    std::vector<double> af;
    for (double f; iss >> f;) af.push_back(f);
    ASSERT_GE(af.size(), 12u);
    ASSERT_EQ(af.size() % 3, 0u);
    *pfX = af[af.size() - 2];
    *pfZ = af[af.size() - 1];
}

// The model, counting its evaluations.
class CountingModel : public ArFFnFArFModel {
public:
    using ArFFnFArFModel::ArFFnFArFModel;
    void arFAtFArF(A1Val<double>* pd, double fTi, const A1Val<double>& arFState) override {
        nEval += 1;
        ArFFnFArFModel::arFAtFArF(pd, fTi, arFState);
    }
    Long nEval = 0;
};

class BundledHop : public InTempDir {
protected:
    void SetUp() override {
        InTempDir::SetUp();
        initParams();
    }
    void TearDown() override {
        deleteStoredRun(&arFTiRun, &arPStRun);
        deleteTraj1Params();
        deleteTraj1Path();
        deletePathAnalysis();
        InTempDir::TearDown();
    }
    A1Val<double> arFTi{0}, arFT{0}, arFM{0}, arFTiRun{0};
    A1Val<void*> arPStRun{0};
};

TEST_F(BundledHop, PlansWithinTheLimitsAndLandsGuidedOnItsEndPoint) {
    const std::string szHop = std::string(VT_EXAMPLES) + "/traj1r.txt";
    double fXEnd = 0.0, fZEnd = 0.0;
    lastWaypoint(szHop, &fXEnd, &fZEnd);
    vttest::writeFile("traj1r.txt", vttest::readFile(szHop));
    std::FILE* pfileNull = std::fopen("/dev/null", "w");
    ASSERT_TRUE(bRunPlanCommand(pfileNull));
    std::fclose(pfileNull);

    // Every plan check passes; a tenth of the 5 kg of propellant is left.
    EXPECT_TRUE(vecPlanViolationFmProgram().empty());
    EXPECT_LE(fMsProp, 0.9 * 5.0);
    EXPECT_NEAR(vehicle.fMsGTO - vehicle.fMsEmpty, 5.0, 1e-12);
    EXPECT_NEAR((*pvdfAt(paPVdfX, paPVdfX->hi()))[1], fXEnd, 1e-9);
    EXPECT_NEAR((*pvdfAt(paPVdfX, paPVdfX->hi()))[3], fZEnd, 1e-9);

    // Guided, undispersed: at rest, upright, within 5 cm of the end point
    // (the distance the plots panel reports, the ground spring's sag under
    // the vehicle's weight included), with more than a tenth left.
    writeFltplanTxt();
    std::string szErr;
    SimReport report;
    ASSERT_TRUE(bFlyGuidedScheduleFile("fltplan.txt", "guidance.txt", &arFTiRun, &arPStRun,
                                       &szErr, &report))
        << szErr;
    Stvehicle3dof const& st = *static_cast<Stvehicle3dof*>(arPStRun[arPStRun.iLast()]);
    EXPECT_EQ(report.stop, SimStop::Rest);
    EXPECT_TRUE(report.bTouchdown);
    EXPECT_FALSE(report.bRanDry);
    EXPECT_GT(report.fMsPropLeft, 0.5);
    EXPECT_LT(std::hypot(st.fXf - fXEnd, st.fZf - fZEnd), 0.05);
    EXPECT_LT(std::fabs(st.fPitch), 0.01);

    // The guided flight costs at most 1.5 open-loop flights in evaluations.
    std::FILE* pfile = std::fopen("fltplan.txt", "r");
    readCmdsFromPFILE(&arFTi, &arFT, &arFM, pfile, "fltplan.txt");
    std::fclose(pfile);
    const GuidanceSettings gs;
    const GuidanceRef ref(arFTi, arFT, arFM, vehicle, planet, stvehicle3dof0, 0.0, gs);
    GuidedCmds cmds(ref, guidanceGainsFm(gs, vehicle, planet), vehicle, planet.fAcG);
    Long anEval[2] = {0, 0};
    for (int iGuided = 0; iGuided < 2; iGuided++) {
        CountingModel model(&planet, &vehicle, 0.05, arFTi, arFT, arFM);
        if (iGuided == 1) model.pcmdsource = &cmds;
        deleteStoredRun(&arFTiRun, &arPStRun);
        flyModel(&arFTiRun, &arPStRun, &model, stvehicle3dof0, FlightSettings(), &report);
        anEval[iGuided] = model.nEval;
    }
    EXPECT_LE(static_cast<double>(anEval[1]), 1.5 * static_cast<double>(anEval[0]))
        << anEval[1] << " against " << anEval[0];
}

// y' = -2 x y (y = exp(-x^2)) and the oscillator y1' = y2, y2' = -y1
// (y1 = sin x, y2 = cos x).
class Gauss : public ArF64FnF64ArF64 {
public:
    void arFAtFArF(A1Val<double>* pd, double fX, const A1Val<double>& arFY) override {
        pd->reconstructIFirstILast(1, 1);
        (*pd)[1] = -2.0 * fX * arFY[1];
    }
};
class Oscillator : public ArF64FnF64ArF64 {
public:
    void arFAtFArF(A1Val<double>* pd, double, const A1Val<double>& arFY) override {
        pd->reconstructIFirstILast(1, 2);
        (*pd)[1] = arFY[2];
        (*pd)[2] = -arFY[1];
    }
};

// One step of ck5StepQC from x0 = 0.3 on the exact solution: the error e(h)
// of a fifth-order step falls as h^6 (halving h divides it by 64), and with
// a tolerance the step shrinks until the error is within it.
TEST(EmbeddedStep, IsOfFifthOrderAndKeepsItsTolerance) {
    Gauss gauss;
    Oscillator osc;
    struct Case {
        ArF64FnF64ArF64* pfn;
        Long n;
        double (*exact)(double, Long);
        double fH;  // the longest step of the order check
    };
    const Case acase[] = {
        {&gauss, 1, [](double x, Long) { return std::exp(-x * x); }, 0.1},
        {&osc, 2, [](double x, Long i) { return i == 1 ? std::sin(x) : std::cos(x); }, 0.2},
    };
    const double fX0 = 0.3;
    for (Case const& c : acase) {
        // The error of one step of length h, any tolerance accepting it.
        auto fErrStep = [&](double fH, double fEps, double* pfHUsed) {
            A1Val<double> arFY(1, c.n), arFDy(1, c.n), arFScale(1, c.n), arFNext(1, c.n);
            for (Long i = 1; i <= c.n; i++) {
                arFY[i] = c.exact(fX0, i);
                arFScale[i] = 1.0;
            }
            c.pfn->arFAtFArF(&arFDy, fX0, arFY);
            double fXNext, fHNext;
            ck5StepQC(&arFNext, &fXNext, pfHUsed, &fHNext, fX0, &arFY, &arFDy, c.n, fH, fEps,
                      &arFScale, c.pfn);
            double fErr = 0.0;
            for (Long i = 1; i <= c.n; i++)
                fErr = std::fmax(fErr, std::fabs(arFNext[i] - c.exact(fXNext, i)));
            return fErr;
        };
        // The ratio r(h) = e(h) / e(h/2) tends to 64 with a first
        // correction linear in h, so 2 r(h/2) - r(h) is 64 up to O(h^2).
        double fHUsed = 0.0;
        auto fRatio = [&](double fH) {
            return fErrStep(fH, 1e30, &fHUsed) / fErrStep(fH / 2.0, 1e30, &fHUsed);
        };
        const double fRatio64 = 2.0 * fRatio(c.fH / 2.0) - fRatio(c.fH);
        EXPECT_NEAR(fRatio64, 64.0, 2.0) << c.n << ": r(h) " << fRatio(c.fH);
        // A tight tolerance shortens the step, and the error stays within it.
        const double fErrTight = fErrStep(1.0, 1e-9, &fHUsed);
        EXPECT_LT(fHUsed, 1.0) << c.n;
        EXPECT_LT(fErrTight, 1e-9) << c.n;
    }
}

}  // namespace
