// Planet, vehicle and scenario parameters, and the ground (see params.h).
#include "sim/params.h"

#include <cmath>
#include <numbers>

#include "geom/geom3c.h"

double fAcG = 0.0;
double fDnAtm = 0.0;
Planet planet;

double fMsGTO = 0.0;
double fMsEmpty = 0.0;
double fIPitchGTO = 0.0;
double fIPitchEmpty = 0.0;
double fFcThrustMax = 0.0;
double fMmPitchMax = 0.0;
double fMmOvFcMax = 0.0;
double fIsp = 0.0;
double fCdAX = 0.0;
double fCdAY = 0.0;
double fCdAZ = 0.0;
Vehicle vehicle;

double fSTiSim0 = 0.0;
double fXf0 = 0.0, fZf0 = 0.0, fPitch0 = 0.0;
double fVeXf0 = 0.0, fVeZf0 = 0.0, fPitchDot0 = 0.0;
double fMs0 = 0.0;
double fIPitch0 = 0.0;
double fFcThrustCmd = 0.0, fFcThrustAct = 0.0, fMmPitchCmd = 0.0, fMmPitchAct = 0.0;
Stvehicle3dof stvehicle3dof0;

Long nPgnGnd = 0;
A1Val<void*> arPArPPtVtxPgnGnd(0);

namespace {

constexpr Long nVtxPerStrip = 4;
constexpr double fYStripHalfWidth = 1000.0;

// The polygons built by the first initParams(); a later call rewrites their
// vertices instead of allocating new ones.
A1Val<void*>* apPgnBuilt[6] = {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};
// The start of each polygon's block of vertex pointers. An array reaches its
// block only through a pointer biased by its first index, which leak
// checkers do not follow; holding the start here shows them that the ground
// (which lives for the whole run) is still in use (volatile, so that the
// otherwise unread stores are kept).
void* volatile apvVtxBlockBuilt[6] = {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};

// Writes one strip (x1, z1) -> (x2, z2) across the flight plane into
// polygon iPgn (1-based), allocating it on first use.
void setStrip(Long iPgn, double x1, double x2, double z1, double z2) {
    A1Val<void*>*& parPPtVtx = apPgnBuilt[iPgn - 1];
    if (parPPtVtx == nullptr) {
        parPPtVtx = new A1Val<void*>(1, nVtxPerStrip);
        for (Long iVtx = 1; iVtx <= nVtxPerStrip; iVtx++) (*parPPtVtx)[iVtx] = new Pt3c();
        apvVtxBlockBuilt[iPgn - 1] = &(*parPPtVtx)[1];
    }
    *static_cast<Pt3c*>((*parPPtVtx)[1]) = Pt3c(x1, -fYStripHalfWidth, z1);
    *static_cast<Pt3c*>((*parPPtVtx)[2]) = Pt3c(x2, -fYStripHalfWidth, z2);
    *static_cast<Pt3c*>((*parPPtVtx)[3]) = Pt3c(x2, fYStripHalfWidth, z2);
    *static_cast<Pt3c*>((*parPPtVtx)[4]) = Pt3c(x1, fYStripHalfWidth, z1);
    arPArPPtVtxPgnGnd[iPgn] = parPPtVtx;
}

}  // namespace

void initParams() {
    fAcG = 3.7;
    fDnAtm = 0.01;
    planet = Planet(fAcG, fDnAtm);

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

    fSTiSim0 = 0.0;
    fXf0 = 0.0;
    fZf0 = 0.0;
    fPitch0 = 0.0;
    fVeXf0 = 0.0;
    fVeZf0 = 0.0;
    fPitchDot0 = 0.0;
    fMs0 = vehicle.fMsGTO;
    fIPitch0 = vehicle.fIPitchGTO;
    fFcThrustCmd = 0.0;
    fFcThrustAct = 0.0;
    fMmPitchCmd = 0.0;
    fMmPitchAct = 0.0;
    stvehicle3dof0 = Stvehicle3dof(fXf0, fZf0, fVeXf0, fVeZf0, fPitch0, fPitchDot0, fMs0, fIPitch0,
                                   fFcThrustCmd, fFcThrustAct, fMmPitchCmd, fMmPitchAct);

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

    nPgnGnd = 6;
    arPArPPtVtxPgnGnd.reconstructIFirstILast(1, nPgnGnd);
    setStrip(1, -1000.0, x1, 0.0, 0.0);
    setStrip(2, x1, x2, 0.0, -s20);
    setStrip(3, x2, x3, -s20, zValley);
    setStrip(4, x3, x4, zValley, zValley);
    setStrip(5, x4, x5, zValley, zValley + (s20 + s45));
    setStrip(6, x5, x6, 0.0, 0.0);
}
