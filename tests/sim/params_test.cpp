// Built-in parameters and the ground polygons.
#include "sim/params.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "geom/geom3c.h"

namespace {

Pt3c ptVtx(Long iPgn, Long iVtx) {
    A1Val<void*>* parPPtVtx = static_cast<A1Val<void*>*>(arPArPPtVtxPgnGnd[iPgn]);
    return *static_cast<Pt3c*>((*parPPtVtx)[iVtx]);
}

// Runs in a fresh copy of the test program (the threadsafe death-test style
// re-executes it), so nothing has called initParams() yet.
TEST(ParamsDeathTest, AllZeroBeforeInitParams) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const bool bZero = planet.fAcG == 0.0 && planet.fDnAtm == 0.0 &&
                               vehicle.fMsGTO == 0.0 && vehicle.fCdAZ == 0.0 &&
                               stvehicle3dof0.fMs == 0.0 && stvehicle3dof0.fIPitch == 0.0 &&
                               arPArPPtVtxPgnGnd.n() == 0 && nPgnGnd == 0;
            std::exit(bZero ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(Params, PlanetVehicleAndInitialState) {
    initParams();
    EXPECT_EQ(planet.fAcG, 3.7);
    EXPECT_EQ(planet.fDnAtm, 0.01);
    // Four times the take-off weight, and the moment limit from it: exact.
    EXPECT_EQ(fFcThrustMax, 1480.0);
    EXPECT_EQ(fMmPitchMax, 592.0);
    const double arFExpected[11] = {
        100.0, 95.0, 13.83, 13.06, 1480.0, 592.0, 0.4, 549.36, 0.09, 0.09, 0.7853981633974483};
    const double arFGot[11] = {vehicle.fMsGTO,       vehicle.fMsEmpty,     vehicle.fIPitchGTO,
                               vehicle.fIPitchEmpty, vehicle.fFcThrustMax, vehicle.fMmPitchMax,
                               vehicle.fMmOvFcMax,   vehicle.fIsp,         vehicle.fCdAX,
                               vehicle.fCdAY,        vehicle.fCdAZ};
    for (int i = 0; i < 11; i++) EXPECT_EQ(arFGot[i], arFExpected[i]) << "field " << i;

    EXPECT_EQ(fSTiSim0, 0.0);
    EXPECT_EQ(stvehicle3dof0.fMs, 100.0);
    EXPECT_EQ(stvehicle3dof0.fIPitch, 13.83);
    const double arFZero[10] = {stvehicle3dof0.fXf,          stvehicle3dof0.fZf,
                                stvehicle3dof0.fVeXf,        stvehicle3dof0.fVeZf,
                                stvehicle3dof0.fPitch,       stvehicle3dof0.fPitchDot,
                                stvehicle3dof0.fFcThrustCmd, stvehicle3dof0.fFcThrustAct,
                                stvehicle3dof0.fMmPitchCmd,  stvehicle3dof0.fMmPitchAct};
    for (int i = 0; i < 10; i++) EXPECT_EQ(arFZero[i], 0.0) << "field " << i;
}

TEST(Params, GroundStripsAsTabled) {
    initParams();
    ASSERT_EQ(nPgnGnd, 6);
    ASSERT_EQ(arPArPPtVtxPgnGnd.iFirst(), 1);
    ASSERT_EQ(arPArPPtVtxPgnGnd.iLast(), 6);
    // (x1, x2, z1, z2) of each strip, from the closed forms of the terrain.
    const double s20 = 8.0 * std::tan(20.0 * M_PI / 180.0);
    const double s45 = 3.0;
    const double x5End = 17.0 + (s20 + s45) / std::tan(30.0 * M_PI / 180.0);
    const double arFStrip[6][4] = {
        {-1000.0, 1.0, 0.0, 0.0},       {1.0, 9.0, 0.0, -s20},
        {9.0, 12.0, -s20, -s20 - s45},  {12.0, 17.0, -s20 - s45, -s20 - s45},
        {17.0, x5End, -s20 - s45, 0.0}, {x5End, x5End + 1000.0, 0.0, 0.0}};
    for (Long iPgn = 1; iPgn <= 6; iPgn++) {
        A1Val<void*>* parPPtVtx = static_cast<A1Val<void*>*>(arPArPPtVtxPgnGnd[iPgn]);
        ASSERT_EQ(parPPtVtx->iFirst(), 1);
        ASSERT_EQ(parPPtVtx->iLast(), 4);
        const double* ar = arFStrip[iPgn - 1];
        const double arFX[4] = {ar[0], ar[1], ar[1], ar[0]};
        const double arFY[4] = {-1000.0, -1000.0, 1000.0, 1000.0};
        const double arFZ[4] = {ar[2], ar[3], ar[3], ar[2]};
        for (Long iVtx = 1; iVtx <= 4; iVtx++) {
            const Pt3c pt = ptVtx(iPgn, iVtx);
            EXPECT_NEAR(pt.fX, arFX[iVtx - 1], 1e-12) << iPgn << " " << iVtx;
            EXPECT_EQ(pt.fY, arFY[iVtx - 1]) << iPgn << " " << iVtx;
            EXPECT_NEAR(pt.fZ, arFZ[iVtx - 1], 1e-12) << iPgn << " " << iVtx;
        }
    }
    // The values the terrain is known by, to the last digit.
    EXPECT_EQ(ptVtx(2, 2).fZ, -2.9117618741296187);
    EXPECT_EQ(ptVtx(3, 2).fZ, -5.911761874129619);
    EXPECT_EQ(ptVtx(5, 2).fX, 27.23947192824111);
    EXPECT_EQ(ptVtx(6, 1).fX, ptVtx(5, 2).fX);  // the plain begins where the slope ends
    EXPECT_EQ(ptVtx(6, 2).fX, 1027.23947192824111);
    EXPECT_NEAR(ptVtx(5, 2).fZ, 0.0, 1e-15);
    // Each strip begins where the previous one ends.
    for (Long iPgn = 2; iPgn <= 6; iPgn++) {
        EXPECT_EQ(ptVtx(iPgn, 1).fX, ptVtx(iPgn - 1, 2).fX);
        EXPECT_EQ(ptVtx(iPgn, 1).fZ, ptVtx(iPgn - 1, 2).fZ);
    }
}

TEST(Params, SecondCallRewritesTheSamePolygons) {
    initParams();
    void* apPgn[6];
    for (Long i = 1; i <= 6; i++) apPgn[i - 1] = arPArPPtVtxPgnGnd[i];
    static_cast<Pt3c*>((*static_cast<A1Val<void*>*>(apPgn[0]))[1])->fZ = 42.0;
    vehicle.fIsp = 1.0;
    initParams();
    for (Long i = 1; i <= 6; i++) EXPECT_EQ(arPArPPtVtxPgnGnd[i], apPgn[i - 1]);
    EXPECT_EQ(ptVtx(1, 1).fZ, 0.0);
    EXPECT_EQ(vehicle.fIsp, 549.36);
}

}  // namespace
