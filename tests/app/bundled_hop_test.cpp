// The bundled hop (examples/traj1r.txt, designed by `d` from examples/hop.txt)
// is one the guided flight can land: its plan breaks no limit, keeps a tenth
// of the propellant, and flown guided it comes to rest upright on its own
// end point, at no more than 1.5 open-loop flights' evaluations.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "app/plotdata.h"
#include "plan/planstate.h"
#include "plan/wptfpln.h"
#include "sim/flight.h"
#include "sim/fltsim.h"
#include "guide/guidance.h"
#include "sim/params.h"
#include "support/testutil.h"

#include "support/scenario.h"

namespace {
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

class BundledHop : public InScenarioPlanned {};

}  // namespace

TEST_F(BundledHop, PlansWithinTheLimitsAndLandsGuidedOnItsEndPoint) {
    const std::string szHop = std::string(VT_EXAMPLES) + "/traj1r.txt";
    const double fXEnd = 13.0, fZEnd = -5.9117618741296187;  // its last waypoint
    plan(szHop);

    // Every plan check passes; a tenth of the 5 kg of propellant is left.
    EXPECT_TRUE(vecPlanViolationFm(ps.pvdfT, ps.paPVdfX, ps.pvdfMs, ps.paPVdfF, ps.paPVdfM,
                                   scenario.fFcThrustMax, scenario.fMsEmpty,
                                   &scenario.arPArPPtVtxPgnGnd)
                    .empty());
    EXPECT_LE(ps.fMsProp, 0.9 * 5.0);
    EXPECT_NEAR(vehicle.fMsGTO - vehicle.fMsEmpty, 5.0, 1e-12);
    EXPECT_NEAR((*pvdfAt(ps.paPVdfX, ps.paPVdfX->hi()))[1], fXEnd, 1e-9);
    EXPECT_NEAR((*pvdfAt(ps.paPVdfX, ps.paPVdfX->hi()))[3], fZEnd, 1e-9);

    // Guided, undispersed: at rest, upright, within 5 cm of the end point
    // (the distance the plots panel reports, the ground spring's sag under
    // the vehicle's weight included), with more than a tenth left.
    std::string szErr;
    SimReport report;
    ASSERT_TRUE(bFlyGuidedScheduleFile(scenario, "fltplan.txt", "guidance.txt", &arFTiRun, &arPStRun,
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
    const GuidanceSettings gs;
    const GuidanceRef ref(arFTi, arFT, arFM, vehicle, planet, stvehicle3dof0, 0.0, gs);
    GuidedCmds cmds(ref, guidanceGainsFm(gs, vehicle, planet), vehicle, planet.fAcG);
    Long anEval[2] = {0, 0};
    for (int iGuided = 0; iGuided < 2; iGuided++) {
        CountingModel model(&planet, &vehicle, &scenario.arPArPPtVtxPgnGnd, 0.05, arFTi, arFT, arFM);
        if (iGuided == 1) model.pcmdsource = &cmds;
        deleteStoredRun(&arFTiRun, &arPStRun);
        flyModel(&arFTiRun, &arPStRun, &model, stvehicle3dof0, FlightSettings(), &report);
        anEval[iGuided] = model.nEval;
        // The model itself, its derivative in line with what it keeps, gives every bit of every record.
        ArFFnFArFModel modelInline(&planet, &vehicle, &scenario.arPArPPtVtxPgnGnd, 0.05, arFTi, arFT, arFM);
        modelInline.pcmdsource = model.pcmdsource;
        A1Val<double> arFTiInline(0);
        A1Val<void*> arPStInline(0);
        flyModel(&arFTiInline, &arPStInline, &modelInline, stvehicle3dof0, FlightSettings(), &report);
        for (Long i = 1; i <= std::max(arPStRun.n(), arPStInline.n()); i++)
            ASSERT_TRUE(i <= arPStInline.n() && i <= arPStRun.n() && !std::memcmp(arPStInline[i], arPStRun[i], sizeof(Stvehicle3dof))) << i;
        deleteStoredRun(&arFTiInline, &arPStInline);
    }
    EXPECT_LE(static_cast<double>(anEval[1]), 1.5 * static_cast<double>(anEval[0]))
        << anEval[1] << " against " << anEval[0];
}
