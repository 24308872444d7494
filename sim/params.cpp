// Planet, vehicle and scenario parameters, and the ground (see params.h).
#include "sim/params.h"

#include <cmath>
#include <numbers>

#include "geom/geom3c.h"

namespace {

constexpr Long nVtxPerStrip = 4;
constexpr double fYStripHalfWidth = 1000.0;

// Writes one strip (x1, z1) -> (x2, z2) across the flight plane into
// polygon iPgn (1-based), allocating it on first use.
void setStrip(A1Val<void*>* parPArPPtVtxPgnGnd, A1Val<void*>** ppPgnBuilt, Long iPgn, double x1,
              double x2, double z1, double z2) {
    A1Val<void*>*& parPPtVtx = *ppPgnBuilt;
    if (parPPtVtx == nullptr) {
        parPPtVtx = new A1Val<void*>(1, nVtxPerStrip);
        for (Long iVtx = 1; iVtx <= nVtxPerStrip; iVtx++) (*parPPtVtx)[iVtx] = new Pt3c();
    }
    *static_cast<Pt3c*>((*parPPtVtx)[1]) = Pt3c(x1, -fYStripHalfWidth, z1);
    *static_cast<Pt3c*>((*parPPtVtx)[2]) = Pt3c(x2, -fYStripHalfWidth, z2);
    *static_cast<Pt3c*>((*parPPtVtx)[3]) = Pt3c(x2, fYStripHalfWidth, z2);
    *static_cast<Pt3c*>((*parPPtVtx)[4]) = Pt3c(x1, fYStripHalfWidth, z1);
    (*parPArPPtVtxPgnGnd)[iPgn] = parPPtVtx;
}

}  // namespace

Scenario::~Scenario() {
    for (A1Val<void*>* parPPtVtx : apPgnBuilt) {
        if (parPPtVtx == nullptr) continue;
        for (Long iVtx = parPPtVtx->iFirst(); iVtx <= parPPtVtx->iLast(); iVtx++)
            delete static_cast<Pt3c*>((*parPPtVtx)[iVtx]);
        delete parPPtVtx;
    }
}

void initParams(Scenario* psc) {
    Scenario& sc = *psc;
    double& fAcG = sc.fAcG;
    double& fDnAtm = sc.fDnAtm;
    double& fMsGTO = sc.fMsGTO;
    double& fMsEmpty = sc.fMsEmpty;
    double& fIPitchGTO = sc.fIPitchGTO;
    double& fIPitchEmpty = sc.fIPitchEmpty;
    double& fFcThrustMax = sc.fFcThrustMax;
    double& fMmPitchMax = sc.fMmPitchMax;
    double& fMmOvFcMax = sc.fMmOvFcMax;
    double& fIsp = sc.fIsp;
    double& fCdAX = sc.fCdAX;
    double& fCdAY = sc.fCdAY;
    double& fCdAZ = sc.fCdAZ;
    Vehicle& vehicle = sc.vehicle;
    fAcG = 3.7;
    fDnAtm = 0.01;
    sc.planet = Planet(fAcG, fDnAtm);

    fMsGTO = 100.0;
    fMsEmpty = 95.0;
    fIPitchGTO = 13.83;
    fIPitchEmpty = 13.06;
    fFcThrustMax = 400.0 * fAcG;
    fMmPitchMax = 0.4 * fFcThrustMax;
    fMmOvFcMax = 0.4;
    fIsp = 549.36;
    fCdAX = 0.09;
    fCdAY = 0.09;
    fCdAZ = std::numbers::pi / 4.0;
    vehicle = Vehicle(fMsGTO, fMsEmpty, fIPitchGTO, fIPitchEmpty, fFcThrustMax, fMmPitchMax,
                      fMmOvFcMax, fIsp, fCdAX, fCdAY, fCdAZ);

    sc.fSTiSim0 = 0.0;
    sc.fXf0 = 0.0;
    sc.fZf0 = 0.0;
    sc.fPitch0 = 0.0;
    sc.fVeXf0 = 0.0;
    sc.fVeZf0 = 0.0;
    sc.fPitchDot0 = 0.0;
    sc.fMs0 = vehicle.fMsGTO;
    sc.fIPitch0 = vehicle.fIPitchGTO;
    sc.fFcThrustCmd = 0.0;
    sc.fFcThrustAct = 0.0;
    sc.fMmPitchCmd = 0.0;
    sc.fMmPitchAct = 0.0;
    sc.stvehicle3dof0 =
        Stvehicle3dof(sc.fXf0, sc.fZf0, sc.fVeXf0, sc.fVeZf0, sc.fPitch0, sc.fPitchDot0, sc.fMs0,
                      sc.fIPitch0, sc.fFcThrustCmd, sc.fFcThrustAct, sc.fMmPitchCmd, sc.fMmPitchAct);

    // The ground. Angles in radians: 20, 45 and 30 degrees. Each strip
    // begins where the last one ended; the upslope's end is computed from its
    // rise and tan 30, so the far plain is at height 0 up to rounding.
    const double fRdn20 = 0.3490658503988659;
    const double fRdn45 = std::numbers::pi / 4.0;
    const double fRdn30 = 0.5235987755982988;
    const double s20 = 8.0 * std::tan(fRdn20);
    const double s45 = 3.0 * std::tan(fRdn45);
    const double x1 = 1.0;
    const double x2 = x1 + 8.0;
    const double x3 = x2 + 3.0;
    const double x4 = x3 + 5.0;
    const double x5 = x4 + (s20 + s45) / std::tan(fRdn30);
    const double x6 = x5 + 1000.0;
    const double zValley = -s20 - s45;

    sc.nPgnGnd = 6;
    sc.arPArPPtVtxPgnGnd.reconstructIFirstILast(1, sc.nPgnGnd);
    setStrip(&sc.arPArPPtVtxPgnGnd, &sc.apPgnBuilt[0], 1, -1000.0, x1, 0.0, 0.0);
    setStrip(&sc.arPArPPtVtxPgnGnd, &sc.apPgnBuilt[1], 2, x1, x2, 0.0, -s20);
    setStrip(&sc.arPArPPtVtxPgnGnd, &sc.apPgnBuilt[2], 3, x2, x3, -s20, zValley);
    setStrip(&sc.arPArPPtVtxPgnGnd, &sc.apPgnBuilt[3], 4, x3, x4, zValley, zValley);
    setStrip(&sc.arPArPPtVtxPgnGnd, &sc.apPgnBuilt[4], 5, x4, x5, zValley, zValley + (s20 + s45));
    setStrip(&sc.arPArPPtVtxPgnGnd, &sc.apPgnBuilt[5], 6, x5, x6, 0.0, 0.0);
    sc.apvBlockHeld[0] = &sc.arPArPPtVtxPgnGnd[1];
    for (int iPgn = 0; iPgn < 6; iPgn++) sc.apvBlockHeld[1 + iPgn] = &(*sc.apPgnBuilt[iPgn])[1];
}
