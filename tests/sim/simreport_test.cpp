// The driver's outcome report: why a flight stopped, its touchdown and the
// propellant left.
#include <gtest/gtest.h>

#include "sim/flight.h"
#include "sim/ground.h"

#include "support/scenario.h"

namespace {
double& fZf0 = scenario.fZf0;
}  // namespace

TEST(SimReport, StopTouchdownAndPropellant) {
    initParams(&scenario);
    const struct { const char* szName; double fZf0, fFcThrust; SimStop stop; bool bTouchdown, bRanDry; }
        acase[] = {
            // Dropped from 10 m with the engine off: lands and comes to rest.
            {"drop", 10.0, 0.0, SimStop::Rest, true, false},
            // Full thrust from the pad: burns out high up, falls back after
            // the propellant is gone.
            {"burnout", 0.0, 1.0e6, SimStop::Rest, true, true},
            // No thrust on the pad: never higher than 1 m, so the contact is
            // never armed and the vehicle falls through the ground until 30 s.
            {"sink", 0.0, 0.0, SimStop::TimeLimit, false, false}};
    for (const auto& c : acase) {
        Stvehicle3dof st0 = stvehicle3dof0;
        st0.fZf = c.fZf0;
        A1Val<double> arFTi(1, 2), arFFc(1, 2), arFMm(1, 2);
        arFTi[1] = 0.0, arFTi[2] = 30.0;
        arFFc[1] = arFFc[2] = c.fFcThrust;
        arFMm[1] = arFMm[2] = 0.0;
        ArFFnFArFModel model(&planet, &vehicle, &scenario.arPArPPtVtxPgnGnd, 0.05, arFTi, arFFc, arFMm);
        A1Val<double> arFTiRun(0);
        A1Val<void*> arPStRun(0);
        SimReport rep;
        flyModel(&arFTiRun, &arPStRun, &model, st0, FlightSettings(), &rep);
        SCOPED_TRACE(c.szName);
        EXPECT_EQ(rep.stop, c.stop) << szSimStop(rep.stop);
        EXPECT_EQ(rep.bTouchdown, c.bTouchdown);
        EXPECT_EQ(rep.bRanDry, c.bRanDry);
        EXPECT_EQ(rep.fMsPropLeft,
                  static_cast<Stvehicle3dof*>(arPStRun[arPStRun.iLast()])->fMs - vehicle.fMsEmpty);
        EXPECT_GT(rep.nStep, 0);
        EXPECT_GT(rep.fDTiStepMin, 0.0);  // the first step counts as well
        EXPECT_LE(rep.fDTiStepMin, rep.fDTiStepMax);
        EXPECT_LE(rep.fDTiStepMax, 0.05 * (1.0 + 1e-12));
        EXPECT_TRUE(c.stop != SimStop::TimeLimit || arFTiRun[arFTiRun.iLast()] == 30.0);
        deleteStoredRun(&arFTiRun, &arPStRun);
    }
}
