// Vehicle dynamics, simulation driver, command schedule and run look-up
// (see fltsim.h).
#include "sim/fltsim.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <numbers>
#include <typeinfo>

#include "geom/geom3c.h"
#include "numerics/odeintfx.h"

namespace {

// Ground contact constants.
constexpr double fZfClearGnd = 1.0;                        // m, height that arms the contact
constexpr double fRdnAttErrFriction = 0.8726646259971648;  // 50 deg
constexpr double fMuGnd = 0.6;                             // friction coefficient
constexpr double fKSpringGnd = 10000.0;                    // N/m
constexpr double fCDampGnd = 500.0;                        // N/(m/s)
constexpr double fVeXfStuck = 0.025;                       // m/s, below it no sliding force
constexpr double fRdnSameSlope = 0.001;                    // rad
constexpr double fKPitchGnd = 400.0;                       // N*m/rad
constexpr double fCPitchGndUpright = 100.0;                // N*m/(rad/s)
constexpr double fCPitchGndTipped = 10.0;                  // N*m/(rad/s)

// The fixed initial rotation of the body frame (half a turn about z), built
// once for the whole program.
X4h const& x4hRotInit() {
    static const X4h x4h = x4hRotZ(std::numbers::pi);
    return x4h;
}

}  // namespace

// ---- the vehicle's actuators and inertia --------------------------------------

namespace {

// The actuator limits (Vehicle::fFcThrustMmPitchActFmCmd), in line in the
// flight's derivative.
[[gnu::always_inline]] inline void actFmCmdInline(Vehicle const& v, double* pfFcThrustAct,
                                                  double* pfMmPitchAct, double fFcThrustCmdIn,
                                                  double fMmPitchCmdIn, double fMs) {
    double fThrust = 0.0;
    if (fMs > v.fMsEmpty) {
        fThrust = fFcThrustCmdIn;
        if (fThrust < 0.0) fThrust = 0.0;
        if (fThrust > v.fFcThrustMax) fThrust = v.fFcThrustMax;
    }
    double fMoment = 0.0;
    if (fMs > v.fMsEmpty) {
        fMoment = fMmPitchCmdIn;
        if (fMoment < -v.fMmPitchMax) fMoment = -v.fMmPitchMax;
        if (fMoment > v.fMmPitchMax) fMoment = v.fMmPitchMax;
        // The lever-arm limit. With zero thrust the ratio is +-inf or NaN:
        // +-inf clips the moment to 0, NaN (0/0) leaves a zero moment at 0.
        //
        // A moment well inside the limit is left as it is without the two
        // divisions. With L = fl(fl(c |T|) (1 - 1e-7)) between 1e-290 and
        // 1e290 (no underflow or overflow on the way, so each rounding is
        // within a factor 1 + 2^-53), |M| < L means, exactly, |M| <
        // c |T| (1 + 2^-53)^3 (1 - 1e-7) < c |T| (1 - 9e-8): |M / T| <
        // c (1 - 9e-8), whose rounding stays below c, so neither comparison
        // below can hold. Zero, negative or NaN bounds never pass the test.
        const double fMomentLim = (v.fMmOvFcMax * std::fabs(fThrust)) * (1.0 - 1e-7);
        if (!(std::fabs(fMoment) < fMomentLim && fMomentLim > 1e-290 && fMomentLim < 1e290)) {
            if (fMoment / fThrust < -v.fMmOvFcMax) fMoment = -fThrust * v.fMmOvFcMax;
            if (fMoment / fThrust > v.fMmOvFcMax) fMoment = fThrust * v.fMmOvFcMax;
        }
    }
    *pfFcThrustAct = fThrust;
    *pfMmPitchAct = fMoment;
}

}  // namespace

void Vehicle::fFcThrustMmPitchActFmCmd(double* pfFcThrustAct, double* pfMmPitchAct,
                                       double fFcThrustCmdIn, double fMmPitchCmdIn,
                                       double fMs) const {
    actFmCmdInline(*this, pfFcThrustAct, pfMmPitchAct, fFcThrustCmdIn, fMmPitchCmdIn, fMs);
}

double Vehicle::fIPitchAtFMs(double fMs) const {
    // The straight line through (fMsGTO, fIPitchGTO) and (fMsEmpty,
    // fIPitchEmpty), from the full vehicle: I(m) = I_GTO + (m - m_GTO) *
    // (I_empty - I_GTO) / (m_empty - m_GTO). The flight and the plan take the
    // inertia from here, so a planned moment and a flown one use the same
    // bits.
    return fIPitchGTO + (fMs - fMsGTO) * (fIPitchEmpty - fIPitchGTO) / (fMsEmpty - fMsGTO);
}

// ---- records ----------------------------------------------------------------------

void deleteListStvehicle3dof(ListStvehicle3dof* plist) {
    while (plist != nullptr) {
        ListStvehicle3dof* plistTail = plist->plistTail;
        delete plist->pst;
        delete plist;
        plist = plistTail;
    }
}

namespace {

Stvehicle3dof stFmArFState(A1Val<double>& arFState, double fIPitch, double fFcThrustCmdIn,
                           double fFcThrustActIn, double fMmPitchCmdIn, double fMmPitchActIn) {
    return Stvehicle3dof(arFState[1], arFState[2], arFState[4], arFState[5], arFState[3],
                         arFState[6], arFState[7], fIPitch, fFcThrustCmdIn, fFcThrustActIn,
                         fMmPitchCmdIn, fMmPitchActIn);
}

}  // namespace

Stvehicle3dof* pstFmArFState(A1Val<double>& arFState, double fIPitch, double fFcThrustCmdIn,
                             double fFcThrustActIn, double fMmPitchCmdIn, double fMmPitchActIn) {
    return new Stvehicle3dof(stFmArFState(arFState, fIPitch, fFcThrustCmdIn, fFcThrustActIn,
                                          fMmPitchCmdIn, fMmPitchActIn));
}

X4h xgmFFmB_Fm_PStvehicle3dof(Stvehicle3dof* pstvehicle3dof) {
    // Body from flight: move the origin to the vehicle, then the body
    // rotation of the drag computation. Its inverse places the body.
    const X4h x4hBFmF = x4hRotY(pstvehicle3dof->fPitch) * x4hRotInit() *
                        x4hTrans(pstvehicle3dof->fXf, 0.0, pstvehicle3dof->fZf);
    return x4hInv(x4hBFmF);
}

// ---- the model --------------------------------------------------------------------

ArFFnFArFModel::ArFFnFArFModel(Planet* pplanetIn, Vehicle* pvehicleIn,
                               A1Val<void*>* parPArPPtVtxPgnGndIn, double fDTiIn,
                               A1Val<double>& arFTiCmdIn, A1Val<double>& arFFcThrustCmdIn,
                               A1Val<double>& arFMmPitchCmdIn)
    : pplanet(pplanetIn),
      pvehicle(pvehicleIn),
      parPArPPtVtxPgnGnd(parPArPPtVtxPgnGndIn),
      fDTi(fDTiIn),
      arFTiCmd(arFTiCmdIn),
      arFFcThrustCmd(arFFcThrustCmdIn),
      arFMmPitchCmd(arFMmPitchCmdIn),
      bClearedGnd(false),
      bEngineOff(false),
      bLanded(false),
      fTiTouchdown(0.0),
      fVeXfTouchdown(0.0),
      fVeZfTouchdown(0.0),
      bPlnsGndTaken(false),
      bPlnsGndUsable(false),
      plnsGnd() {}

namespace {

// The command look-up over a table whose rows 1..nCmd are read through
// fnTi(i), fnFc(i), fnMm(i). *piHiHint, when given, is the upper row of the
// last bracket of a table whose times never decrease.
//
// Why the hint finds the bisection's rows. The bisection keeps fnTi(iLo) <=
// fTi and (fnTi(iHi) > fTi or iHi == nCmd) and halves [iLo, iHi] until
// iHi = iLo + 1. When the times never decrease, "fnTi(i) > fTi" is false up
// to some row and true after it, so the bisection ends at iHi = the first
// row from 2 on with fnTi(iHi) > fTi, or nCmd when there is none (and a NaN
// time, never greater, gives nCmd too). The hint is taken only when it
// satisfies exactly that: fnTi(iHi) > fTi (or iHi == nCmd) and, below it,
// iHi == 2 or fnTi(iHi - 1) <= fTi. Otherwise the next row up is tried (the
// flight's time moves forward), then the bisection.
template <class FnTi, class FnFc, class FnMm>
void cmdFromTable(double* pfFcThrustCmd, double* pfMmPitchCmd, double fTi, Long nCmd,
                  bool bEngineOff, FnTi fnTi, FnFc fnFc, FnMm fnMm, Long* piHiHint) {
    if (fTi < fnTi(1) || fTi > fnTi(nCmd)) {
        *pfFcThrustCmd = 0.0;
        *pfMmPitchCmd = 0.0;
        return;
    }
    auto bIsHi = [&](Long i) {
        return (i == nCmd || fnTi(i) > fTi) && (i == 2 || !(fnTi(i - 1) > fTi));
    };
    Long iLo = 1;
    Long iHi = nCmd;
    if (piHiHint != nullptr && nCmd >= 2 && *piHiHint >= 2 && *piHiHint <= nCmd &&
        bIsHi(*piHiHint)) {
        iHi = *piHiHint;
        iLo = iHi - 1;
    } else if (piHiHint != nullptr && nCmd >= 2 && *piHiHint >= 2 && *piHiHint < nCmd &&
               bIsHi(*piHiHint + 1)) {
        iHi = *piHiHint + 1;
        iLo = iHi - 1;
    } else {
        while (iHi - iLo > 1) {
            const Long i = (iLo + iHi) / 2;
            if (fnTi(i) > fTi)
                iHi = i;
            else
                iLo = i;
        }
    }
    if (piHiHint != nullptr) *piHiHint = iHi;
    const double fH = fnTi(iHi) - fnTi(iLo);
    VT_ASSERT(fH != 0.0);
    const double fA = (fnTi(iHi) - fTi) / fH;
    const double fB = (fTi - fnTi(iLo)) / fH;
    if (bEngineOff) {
        *pfFcThrustCmd = 0.0;
        *pfMmPitchCmd = 0.0;
    } else {
        *pfFcThrustCmd = fA * fnFc(iLo) + fB * fnFc(iHi);
        *pfMmPitchCmd = fA * fnMm(iLo) + fB * fnMm(iHi);
    }
}

bool bCovers(A1Val<double> const& ar, Long nCmd) { return ar.iFirst() <= 1 && ar.iLast() >= nCmd; }

// Whether the times arFTi[1..nCmd] never decrease (false with a NaN).
bool bNeverDecreasing(const double* arFTi, Long nCmd) {
    for (Long i = 1; i < nCmd; i++)
        if (!(arFTi[i] <= arFTi[i + 1])) return false;
    return true;
}

// Whether they strictly increase, over two rows at least. The look-up of
// such a table never fails: its bracket is that of a table whose times never
// decrease (cmdFromTable), two neighbouring rows, whose times differ, so fH
// is not zero (the difference of two different finite doubles is not zero,
// and an infinite or NaN difference is not zero either). A table of one row
// brackets its time with that row itself, fH = 0.
bool bStrictlyIncreasing(const double* arFTi, Long nCmd) {
    if (nCmd < 2) return false;
    for (Long i = 1; i < nCmd; i++)
        if (!(arFTi[i] < arFTi[i + 1])) return false;
    return true;
}

}  // namespace

void ArFFnFArFModel::forgetKept() {
    pfTiCmdChecked = nullptr;
    nCmdChecked = 0;
    bCmdAscending = false;
    bCmdStrict = false;
    iCmdHiLast = 2;
    bCmdKept = false;
    bTrigKept = false;
    inertiaKept.forget();
    flowKept.forget();
}

void ArFFnFArFModel::cmdAtFTi(double* pfFcThrustCmd, double* pfMmPitchCmd, double fTi) {
    cmdInline(pfFcThrustCmd, pfMmPitchCmd, fTi, false);
}

[[gnu::always_inline]] inline void ArFFnFArFModel::cmdInline(double* pfFcThrustCmd,
                                                             double* pfMmPitchCmd, double fTi,
                                                             bool bInRun) {
    if (pcmdsource != nullptr) {
        // Guided: the commands held since the last control event.
        *pfFcThrustCmd = bEngineOff ? 0.0 : fFcThrustHeld;
        *pfMmPitchCmd = bEngineOff ? 0.0 : fMmPitchHeld;
        return;
    }
    // The table checked last, read directly (its pointer and length
    // unchanged): the stepper asks for the same time several times in a row
    // (its stages share times), and the same time and engine state give the
    // commands kept from the last look-up; otherwise the look-up, without
    // checking the table again.
    if (bCmdTableAsChecked(bInRun)) {
        if (bCmdKept && std::bit_cast<unsigned long long>(fTi) == iBitsTiCmdKept &&
            bEngineOff == bEngineOffCmdKept) {
            *pfFcThrustCmd = fFcThrustCmdKept;
            *pfMmPitchCmd = fMmPitchCmdKept;
            return;
        }
        cmdFromCheckedTable(pfFcThrustCmd, pfMmPitchCmd, fTi);
        return;
    }
    cmdAtFTiLookUp(pfFcThrustCmd, pfMmPitchCmd, fTi);
}

void ArFFnFArFModel::cmdFromCheckedTable(double* pfFcThrustCmd, double* pfMmPitchCmd,
                                         double fTi) {
    const double* arFTi = pfTiCmdChecked;
    const double* arFFc = arFFcThrustCmd._pel0;
    const double* arFMm = arFMmPitchCmd._pel0;
    cmdFromTable(
        pfFcThrustCmd, pfMmPitchCmd, fTi, nCmdChecked, bEngineOff,
        [arFTi](Long i) { return arFTi[i]; }, [arFFc](Long i) { return arFFc[i]; },
        [arFMm](Long i) { return arFMm[i]; }, bCmdAscending ? &iCmdHiLast : nullptr);
    bCmdKept = true;
    iBitsTiCmdKept = std::bit_cast<unsigned long long>(fTi);
    bEngineOffCmdKept = bEngineOff;
    fFcThrustCmdKept = *pfFcThrustCmd;
    fMmPitchCmdKept = *pfMmPitchCmd;
}

[[gnu::always_inline]] inline bool ArFFnFArFModel::bCmdTableAsChecked(bool bInRun) const {
    if (bInRun) return pfTiCmdChecked != nullptr;
    const Long nCmd = arFTiCmd.n();
    return arFTiCmd._pel0 == pfTiCmdChecked && nCmd == nCmdChecked && nCmd >= 1 &&
           arFTiCmd.iFirst() == 1 && bCovers(arFFcThrustCmd, nCmd) &&
           bCovers(arFMmPitchCmd, nCmd);
}

void ArFFnFArFModel::cmdAtFTiLookUp(double* pfFcThrustCmd, double* pfMmPitchCmd, double fTi) {
    const Long nCmd = arFTiCmd.n();
    if (nCmd >= 1 && arFTiCmd.iFirst() == 1 && bCovers(arFFcThrustCmd, nCmd) &&
        bCovers(arFMmPitchCmd, nCmd)) {
        // Every index used lies in 1..nCmd, which all three arrays cover:
        // read them directly. Reached only for a table other than the one
        // checked last (cmdInline answers that one), so it is checked now and
        // nothing kept from the other holds.
        const double* arFTi = arFTiCmd._pel0;
        pfTiCmdChecked = arFTi;
        nCmdChecked = nCmd;
        bCmdAscending = bNeverDecreasing(arFTi, nCmd);
        bCmdStrict = bStrictlyIncreasing(arFTi, nCmd);
        iCmdHiLast = 2;
        bCmdKept = false;
        cmdFromCheckedTable(pfFcThrustCmd, pfMmPitchCmd, fTi);
    } else {
        // Any other shape: the checked reads end the program at the first
        // index outside an array ("array bounds").
        cmdFromTable(
            pfFcThrustCmd, pfMmPitchCmd, fTi, nCmd, bEngineOff,
            [this](Long i) { return arFTiCmd[i]; }, [this](Long i) { return arFFcThrustCmd[i]; },
            [this](Long i) { return arFMmPitchCmd[i]; }, nullptr);
    }
}

void ArFFnFArFModel::arFAtFArF(A1Val<double>* parFDeriv, double fTi,
                               const A1Val<double>& arFState) {
    parFDeriv->reconstructIFirstILast(arFState.iFirst(), arFState.iLast());
    const double afState[iNStateVehicle] = {arFState[1], arFState[2], arFState[3], arFState[4],
                                            arFState[5], arFState[6], arFState[7]};
    double afDeriv[iNStateVehicle];
    derivAt(afDeriv, fTi, afState);
    for (Long i = 1; i <= iNStateVehicle; i++) (*parFDeriv)[i] = afDeriv[i - 1];
}

void ArFFnFArFModel::takePlnsGnd() {
    bPlnsGndUsable = bPlnsGndFm(&plnsGnd, parPArPPtVtxPgnGnd);
    bPlnsGndTaken = true;
    if (!bPlnsGndUsable) return;
    for (Long k = 0; k < plnsGnd.nPgn; k++) {
        if (!plnsGnd.abNrm[k]) continue;
        // The slope as the contact computes it from the unit normal.
        const double fPitchGnd = std::atan2(-plnsGnd.aafNrm[k][0], plnsGnd.aafNrm[k][2]);
        aafSlopeGnd[k][0] = fPitchGnd;
        aafSlopeGnd[k][1] = std::cos(fPitchGnd);
        aafSlopeGnd[k][2] = std::sin(fPitchGnd);
    }
}

namespace {

// ---- the physics of one evaluation, phase by phase ---------------------------------
//
// Forces are in the flight frame (x horizontal, z up), in N; the pitch p
// turns the thrust axis from z towards -x, so the thrust T acts along
// (-sin p, 0, cos p).

// Thrust and gravity: F = T (-sin p, cos p) + (0, -m g).
inline void addThrustAndGravity(double* pfFcXf, double* pfFcZf, double fSinPitch,
                                double fCosPitch, double fFcThrust, double fMs, double fAcG) {
    *pfFcXf = -fSinPitch * fFcThrust;
    *pfFcZf = fFcThrust * fCosPitch - fMs * fAcG;
}

// Drag, computed in the body axes.
//
// The body axes are reached from the flight frame by the half turn about z
// (x4hRotInit) and then the turn by the pitch about y: B = Ry(p) Rz(pi), as
// 4 x 4 frame changes (geom4h.h), and the force goes back by the stored
// inverse Rz(pi)^-1 Ry(p)^-1. With c = cos p, s = sin p, c0 = cos pi = -1
// exactly and s0 = sin pi (about 1.2e-16, not zero), the products are
//
//   B = | -c      c s0   0-s |      B^-1 = | -c     -s0   0-s  |
//       | -s0     -1     0   |             | s0 c   -1    s0 s |
//       | 0-s     s s0   0+c |             | 0-s    0     c    |
//
// where each entry is the sum the product forms, 0.0 + t1 + t2 + ... over
// its terms: a term with an exact zero factor is a signed zero, and adding a
// signed zero to a sum that starts at +0.0 never changes it (+0 + -0 is +0,
// and x + -0 = x + +0 = x for x != 0). So each entry is 0.0 plus its other
// terms; 0.0 + (-c) is -c because cos never returns a zero; "0-s" is kept
// as written, as it is +0 where s is +0 or -0.
//
// The relative wind (-vx, 0, -vz) in body axes: its y component is the
// literal 0.0, so only the x and z columns matter, and the middle terms
// (entry times 0.0) are signed zeros. The body components are used only
// squared and in comparisons with zero, where the sign of a zero makes no
// difference; so wx = (-c)(-vx) + (0-s)(-vz) = c vx + s vz and
// wz = (0-s)(-vx) + c (-vz) = s vx - c vz give every bit of what follows.
//
// The drag along each body axis opposes the wind component's sign:
// Fb = 1/2 rho CdA w^2, negative for wx < 0 and for wz not above 0.
//
// Back to the flight frame the force (Fxb, 0, Fzb) gives, with the middle
// terms Fxb:  (-s0) * 0.0 = -0.0, which leaves any sum unchanged, and
// 0 * 0.0 = +0.0 in z, which turns a -0 sum into +0 and is kept:
//   Fx = (-c) Fxb + (0-s) Fzb
//   Fz = ((0-s) Fxb + 0.0) + c Fzb.
// These are added to the thrust and gravity, where the sign of a zero can
// reach the state, so they are bit for bit the products' results.
//
// Only finite states are meant: a non-finite pitch or velocity gives NaN
// derivatives either way, and the stepper stops on the NaN error.
[[gnu::always_inline]] inline void addDrag(double* pfFcXf, double* pfFcZf, double fSinPitch, double fCosPitch,
                    double vx, double vz, double fDnAtm, double fCdAX, double fCdAZ) {
    const double c = fCosPitch;
    const double s = fSinPitch;
    const double fMinusS = 0.0 - s;
    const double wx = c * vx + s * vz;
    const double wz = s * vx - c * vz;
    double fFcXb = 0.5 * fDnAtm * fCdAX * (wx * wx);
    if (wx < 0.0) fFcXb = -fFcXb;
    double fFcZb = 0.5 * fDnAtm * fCdAZ * (wz * wz);
    if (!(wz > 0.0)) fFcZb = -fFcZb;
    *pfFcXf += (-c) * fFcXb + fMinusS * fFcZb;
    *pfFcZf += (fMinusS * fFcXb + 0.0) + c * fFcZb;
}

// Ground contact: a penalty spring and damper on the depth below the ground,
// Coulomb friction while upright, and torques towards the slope.
//
// With the slope angle g (the ground normal turned from z by g, as the
// pitch turns the thrust), depth h = z - z_ground (negative below), and the
// attitude error e = (p mod 2 pi) - g:
//   a. normal force      N = -k h cos g (along the normal, measured in z)
//   b. friction           |mu N| against vx, mu = 0.6 while |e| <= 50 deg
//   c. contact force      Fz = N cos g + Ff sin g, Fx = Ff cos g - N sin g,
//                         Fx = 0 below 0.025 m/s of sliding
//   d. damping            -500 (vx, vz)
//   e. restoring torque   -400 e while upright on the landing site's slope
//   f. pitch damping      -100 q upright, -10 q tipped.
// p mod 2 pi is fmod(p, 2 pi), which is p itself, exactly, for |p| < 2 pi
// (fmod is exact and returns its first argument when it is the smaller in
// magnitude), so fmod runs only for larger pitches.
struct Slope {
    double fPitchGnd;
    double fCos;
    double fSin;
};

[[gnu::always_inline]] inline void addGroundContact(double* pfFcXf, double* pfFcZf,
                                                    double* pfMmPitch,
                                                    double* pfPitchGndAtLandingSite,
                                                    Slope const& slope, double fZfGnd, double z,
                                                    double vx, double vz, double fPitch,
                                                    double fPitchDot, bool bLanded) {
    const double fPitchGnd = slope.fPitchGnd;
    const double fCosPitchGnd = slope.fCos;
    const double fSinPitchGnd = slope.fSin;
    if (!bLanded) *pfPitchGndAtLandingSite = fPitchGnd;
    const double fPitchGndAtLandingSite = *pfPitchGndAtLandingSite;
    const double fTwoPi = 2.0 * std::numbers::pi;
    const double fPitchMod = (std::fabs(fPitch) < fTwoPi) ? fPitch : std::fmod(fPitch, fTwoPi);
    const double fAttErr = fPitchMod - fPitchGnd;
    const double fMu = (std::fabs(fAttErr) <= fRdnAttErrFriction) ? fMuGnd : 0.0;
    const double fFcNormal = -fKSpringGnd * (z - fZfGnd) * fCosPitchGnd;
    double fFcFriction = std::fabs(fMu * fFcNormal);
    if (vx >= 0.0) fFcFriction = -fFcFriction;
    const double fFcZGnd = fFcNormal * fCosPitchGnd + fFcFriction * fSinPitchGnd;
    double fFcXGnd = fFcFriction * fCosPitchGnd - fFcNormal * fSinPitchGnd;
    if (std::fabs(vx) < fVeXfStuck) fFcXGnd = 0.0;
    *pfFcZf += fFcZGnd - fCDampGnd * vz;
    *pfFcXf += fFcXGnd - fCDampGnd * vx;
    if (std::fabs(fPitchGndAtLandingSite) - std::fabs(fPitchGnd) < fRdnSameSlope &&
        std::fabs(fAttErr) < fRdnAttErrFriction)
        *pfMmPitch += -fKPitchGnd * fAttErr;
    if (std::fabs(fAttErr) < fRdnAttErrFriction)
        *pfMmPitch += -fCPitchGndUpright * fPitchDot;
    else
        *pfMmPitch += -fCPitchGndTipped * fPitchDot;
}

}  // namespace

// sin and cos of the pitch, kept from the last call when the pitch is the
// same double (the same argument gives the same result).
[[gnu::always_inline]] inline void ArFFnFArFModel::sinCosPitchInline(double* pfSin,
                                                                     double* pfCos,
                                                                     double fPitch) {
    const unsigned long long iBitsPitch = std::bit_cast<unsigned long long>(fPitch);
    if (!bTrigKept || iBitsPitch != iBitsPitchTrig) {
        fSinPitchKept = std::sin(fPitch);
        fCosPitchKept = std::cos(fPitch);
        iBitsPitchTrig = iBitsPitch;
        bTrigKept = true;
    }
    *pfSin = fSinPitchKept;
    *pfCos = fCosPitchKept;
}

void ArFFnFArFModel::sinCosPitch(double* pfSin, double* pfCos, double fPitch) {
    sinCosPitchInline(pfSin, pfCos, fPitch);
}

void ArFFnFArFModel::derivAt(double* pfDeriv, double fTi, const double* pfState) {
    derivInline(pfDeriv, fTi, pfState, false);
}

[[gnu::always_inline]] inline void ArFFnFArFModel::derivInline(double* pfDeriv, double fTi,
                                                               const double* pfState,
                                                               bool bInRun) {
    const double x = pfState[0];
    const double z = pfState[1];
    const double fPitch = pfState[2];
    const double vx = pfState[3];
    const double vz = pfState[4];
    const double fPitchDot = pfState[5];
    const double fMs = pfState[6];

    // 1. Inertia at the current mass. Within a run it is kept by the mass's
    // bits: the vehicle does not change during a run, and the inertia is a
    // function of the mass and the vehicle alone, so the same bits give the
    // same inertia. While the engine is off the mass stays the same double
    // from one evaluation to the next (its flow is zero, and y + h * 0 is
    // y), and the division is taken once.
    auto fIPitchAt = [this](double fMsAt) { return pvehicle->fIPitchAtFMs(fMsAt); };
    const double fIPitch = bInRun ? inertiaKept.at(fMs, fIPitchAt) : fIPitchAt(fMs);

    // 2. Arm the ground contact once the vehicle is clear of the pad.
    // Deliberately set inside every evaluation, including the stepper's
    // trial evaluations that it later rejects, with no rollback: a trial
    // step that pokes above 1 m arms the contact for good, which can change
    // where a marginal hop lands.
    if (!bClearedGnd && z > fZfClearGnd) bClearedGnd = true;

    // 3. Commands and actuator limits; none once the engine is off. The
    // commands are then asked for only where the look-up could fail (its
    // assertion, the checked reads): with a command source, or a schedule
    // read directly whose times strictly increase, it cannot, and the
    // limits are a pure function whose result would be dropped.
    double fFcThrustActNow = 0.0, fMmPitchActNow = 0.0;
    if (!bEngineOff || (pcmdsource == nullptr && !(bCmdStrict && bCmdTableAsChecked(bInRun)))) {
        double fFcThrustCmdNow, fMmPitchCmdNow;
        cmdInline(&fFcThrustCmdNow, &fMmPitchCmdNow, fTi, bInRun);
        if (!bEngineOff)
            actFmCmdInline(*pvehicle, &fFcThrustActNow, &fMmPitchActNow, fFcThrustCmdNow,
                           fMmPitchCmdNow, fMs);
    }

    double fSinPitch, fCosPitch;
    sinCosPitchInline(&fSinPitch, &fCosPitch, fPitch);

    // 4. Thrust and gravity.
    double fFcXf, fFcZf;
    addThrustAndGravity(&fFcXf, &fFcZf, fSinPitch, fCosPitch, fFcThrustActNow, fMs,
                        pplanet->fAcG);

    // 5. Drag.
    if (pvehicle->fCdAX != 0.0 || pvehicle->fCdAZ != 0.0)
        addDrag(&fFcXf, &fFcZf, fSinPitch, fCosPitch, vx, vz, pplanet->fDnAtm, pvehicle->fCdAX,
                pvehicle->fCdAZ);

    // 6. Ground contact, once the vehicle has cleared the pad.
    if (bClearedGnd) {
        if (!bPlnsGndTaken) takePlnsGnd();
        double xAtGnd, yAtGnd, zAtGnd;
        bool bAtOrBelowGnd = false;
        Slope slope{};
        if (bPlnsGndUsable) {
            const Long k = iPgnAtOrBelowPlnsGnd(&xAtGnd, &yAtGnd, &zAtGnd, x, 0.0, z, plnsGnd);
            bAtOrBelowGnd = k >= 0;
            if (bAtOrBelowGnd) {
                // A polygon without a normal fails Dr3c's assertion here, as
                // the query itself would.
                if (!plnsGnd.abNrm[k])
                    (void)Dr3c(plnsGnd.aafPln[k][0], plnsGnd.aafPln[k][1],
                               plnsGnd.aafPln[k][2]);
                slope = Slope{aafSlopeGnd[k][0], aafSlopeGnd[k][1], aafSlopeGnd[k][2]};
            }
        } else {
            double dxNGnd, dyNGnd, dzNGnd;
            bAtOrBelowGnd = bPtAtOrBelowPArPArPPtVtxPgnGnd(&xAtGnd, &yAtGnd, &zAtGnd, &dxNGnd,
                                                           &dyNGnd, &dzNGnd, x, 0.0, z,
                                                           parPArPPtVtxPgnGnd);
            if (bAtOrBelowGnd) {
                const double fPitchGnd = std::atan2(-dxNGnd, dzNGnd);
                slope = Slope{fPitchGnd, std::cos(fPitchGnd), std::sin(fPitchGnd)};
            }
        }
        if (bAtOrBelowGnd) {
            addGroundContact(&fFcXf, &fFcZf, &fMmPitchActNow, &fPitchGndAtLandingSite, slope, zAtGnd, z, vx, vz, fPitch,
                             fPitchDot, bLanded);
            // Touchdown cuts the engine for the rest of the run. Like the
            // arming above, a rejected trial step that touches the ground
            // cuts it too.
            if (!bLanded) {
                fTiTouchdown = fTi;
                fVeXfTouchdown = vx;
                fVeZfTouchdown = vz;
            }
            bEngineOff = true;
            bLanded = true;
        }
    }

    // 7. The derivative.
    pfDeriv[0] = vx;
    pfDeriv[1] = vz;
    pfDeriv[2] = fPitchDot;
    pfDeriv[3] = fFcXf / fMs;
    pfDeriv[4] = fFcZf / fMs;
    pfDeriv[5] = fMmPitchActNow / fIPitch;
    // The mass flow -T / Isp, kept within a run by the thrust's bits as the
    // inertia is by the mass's: the stages of a step that share a time share
    // their commands and so their thrust (at least four of the eleven
    // evaluations of a step follow one at the same time), and once the
    // engine is off the thrust is always +0.0.
    auto fMsDotAt = [this](double fFcThrust) { return -fFcThrust / pvehicle->fIsp; };
    pfDeriv[6] = bInRun ? flowKept.at(fFcThrustActNow, fMsDotAt) : fMsDotAt(fFcThrustActNow);
}

// ---- the driver ---------------------------------------------------------------------

const char* szSimStop(SimStop stop) {
    switch (stop) {
        case SimStop::Rest: return "rest";
        case SimStop::TimeLimit: return "time limit";
        case SimStop::StepTooSmall: return "step too small";
        case SimStop::TooManySteps: return "too many steps";
    }
    return "?";
}

void stateFmStvehicle3dof(A1Val<double>* parFState, Stvehicle3dof const& st) {
    parFState->reconstructIFirstILast(1, iNStateVehicle);
    (*parFState)[1] = st.fXf;
    (*parFState)[2] = st.fZf;
    (*parFState)[3] = st.fPitch;
    (*parFState)[4] = st.fVeXf;
    (*parFState)[5] = st.fVeZf;
    (*parFState)[6] = st.fPitchDot;
    (*parFState)[7] = st.fMs;
}

namespace {

// A record of the current state: commands at fTi and the actuals they give
// at the current mass. The actuals come from the commands alone, not from
// the engine cut or the ground torques of the dynamics (once the engine is
// off the commands are zero, and so are the recorded actuals).
Stvehicle3dof stRecordAt(ArFFnFArFModel* parFFnFArFModel, double fTi, A1Val<double>& arFState,
                         double fIPitch) {
    double fFcThrustCmdNow, fMmPitchCmdNow;
    parFFnFArFModel->cmdAtFTi(&fFcThrustCmdNow, &fMmPitchCmdNow, fTi);
    double fFcThrustActNow, fMmPitchActNow;
    parFFnFArFModel->pvehicle->fFcThrustMmPitchActFmCmd(
        &fFcThrustActNow, &fMmPitchActNow, fFcThrustCmdNow, fMmPitchCmdNow, arFState[7]);
    return stFmArFState(arFState, fIPitch, fFcThrustCmdNow, fFcThrustActNow, fMmPitchCmdNow,
                        fMmPitchActNow);
}

ListStvehicle3dof* plistNew(double fTi, Stvehicle3dof* pst) {
    return new ListStvehicle3dof{fTi, pst, nullptr};
}

// The flight's history as the model's evaluations write it (step d of
// sim() takes a guided step again when it changed).
struct FlightFlags {
    bool bClearedGnd, bEngineOff, bLanded;
    double fTiTouchdown, fVeXfTouchdown, fVeZfTouchdown, fPitchGndAtLandingSite;
    bool operator==(FlightFlags const&) const = default;
};

FlightFlags flagsOf(ArFFnFArFModel const* pmodel) {
    return FlightFlags{pmodel->bClearedGnd,    pmodel->bEngineOff,     pmodel->bLanded,
                       pmodel->fTiTouchdown,   pmodel->fVeXfTouchdown, pmodel->fVeZfTouchdown,
                       pmodel->fPitchGndAtLandingSite};
}

void restoreFlags(ArFFnFArFModel* pmodel, FlightFlags const& flags) {
    pmodel->bClearedGnd = flags.bClearedGnd;
    pmodel->bEngineOff = flags.bEngineOff;
    pmodel->bLanded = flags.bLanded;
    pmodel->fTiTouchdown = flags.fTiTouchdown;
    pmodel->fVeXfTouchdown = flags.fVeXfTouchdown;
    pmodel->fVeZfTouchdown = flags.fVeZfTouchdown;
    pmodel->fPitchGndAtLandingSite = flags.fPitchGndAtLandingSite;
}

// Frees the list of saved states on every way out of sim(): in the
// robustness builds an assertion inside a run is an exception.
struct ListFreer {
    ListStvehicle3dof* plist;
    ~ListFreer() { deleteListStvehicle3dof(plist); }
};

}  // namespace

// The model's derivative for the driver's inlined stepper, which steps the
// model itself: within the run (bInRun).
struct ModelDerivInline {
    [[gnu::always_inline]] static void at(ArFFnFArFModel* pmodel, double* pfDeriv, double fTi,
                                          const double* pfState) {
        pmodel->derivInline(pfDeriv, fTi, pfState, true);
    }
};

void sim(A1Val<double>* parFTiData, A1Val<void*>* parPStvehicle, ArFFnFArFModel* parFFnFArFModel,
         double fTiIC, A1Val<double>& arFStateIC, double fTiMax, double fDTiData,
         double fDTiStepMin, Long iNStepMax, double fTolIntgX, double fTolIntgXDot,
         double fTolIntgTheta, double fTolIntgThetaDot, double fTolIntgMs,
         SimReport* preport, SimRecords records) {
    // 1. Working arrays.
    const Long iNState = iNStateVehicle;
    VT_ASSERT(arFStateIC.n() == iNState);
    A1Val<double> arFState(1, iNState);
    for (Long i = 1; i <= iNState; i++) arFState[i] = arFStateIC[arFStateIC.iFirst() + i - 1];
    A1Val<double> arFDeriv(1, iNState);
    A1Val<double> arFStateStart(1, iNState);  // a guided step's start (step d)
    A1Val<double> arFStateErrScale(1, iNState);
    arFStateErrScale[1] = fTolIntgX;
    arFStateErrScale[2] = fTolIntgX;
    arFStateErrScale[3] = fTolIntgTheta;
    arFStateErrScale[4] = fTolIntgXDot;
    arFStateErrScale[5] = fTolIntgXDot;
    arFStateErrScale[6] = fTolIntgThetaDot;
    arFStateErrScale[7] = fTolIntgMs;

    // 2. Direction of the first step.
    double fTi = fTiIC;
    double fDTi = (fTiMax > fTiIC) ? std::fabs(fDTiData) : -std::fabs(fDTiData);

    // 3. A fresh flight history; the ground's planes are taken afresh too.
    parFFnFArFModel->bClearedGnd = false;
    parFFnFArFModel->bEngineOff = false;
    parFFnFArFModel->bLanded = false;
    parFFnFArFModel->bPlnsGndTaken = false;
    parFFnFArFModel->forgetKept();
    // The model itself, not a class derived from it, is stepped with its
    // derivative inlined into the stepper: the same arithmetic (odeintfx.h).
    const bool bModelExact = typeid(*parFFnFArFModel) == typeid(ArFFnFArFModel);
    auto fnDeriv = [parFFnFArFModel](double* pfDeriv, double fTiAt,
                                     const double* pfState) __attribute__((always_inline)) {
        ModelDerivInline::at(parFFnFArFModel, pfDeriv, fTiAt, pfState);
    };

    // 3a. Guided flight: the command source's events. Each is taken at the
    // start of the step that begins on it (step c lands steps there), before
    // the derivative of that step, so a new command acts from its time on.
    CmdSource* const pcmdsource = parFFnFArFModel->pcmdsource;
    auto takeCmdEvents = [&]() {
        while (pcmdsource != nullptr && pcmdsource->fTiNextEvent() - fTi <= fDTiStepMin)
            pcmdsource->atEvent(fTi, arFState, parFFnFArFModel);
    };
    if (pcmdsource != nullptr) {
        parFFnFArFModel->fFcThrustHeld = 0.0;
        parFFnFArFModel->fMmPitchHeld = 0.0;
        pcmdsource->startRun(fTi);
        takeCmdEvents();
    }

    // 4. The first record. The inertia of the initial mass goes into every
    // record of the run: deliberately simple (the dynamics do use the
    // inertia of the current mass), so a listing shows the starting value
    // throughout while the propellant burns.
    const double fIPitch = parFFnFArFModel->pvehicle->fIPitchAtFMs(arFState[7]);
    ListFreer listfreer{plistNew(fTi, nullptr)};
    ListStvehicle3dof* plistHead = listfreer.plist;
    plistHead->pst = new Stvehicle3dof(stRecordAt(parFFnFArFModel, fTi, arFState, fIPitch));
    ListStvehicle3dof* plistLast = plistHead;
    Long iNData = 1;
    double fTiSave = fTi;
    bool bDTiUsedSet = false;
    double fDTiUsedMin = 0.0;
    double fDTiUsedMax = 0.0;
    SimReport report;
    bool bStepSeen = false;

    // 5. The steps.
    bool bStopped = false;
    for (Long iStep = 1; iStep <= iNStepMax && !bStopped; iStep++) {
        report.nStep = iStep;
        if (!parFFnFArFModel->bLanded && arFState[7] <= parFFnFArFModel->pvehicle->fMsEmpty)
            report.bRanDry = true;
        // a. Derivative at the start of the step (after any command event due
        // now).
        takeCmdEvents();
        if (bModelExact)
            fnDeriv(&arFDeriv[1], fTi, &arFState[1]);
        else
            parFFnFArFModel->arFAtFArF(&arFDeriv, fTi, arFState);

        // b. Forward only.
        if (fDTi <= 0.0) {
            std::printf("fTiMax = %16.6le, fTiIC = %16.6le, fDTi = %16.6le\n", fTiMax, fTiIC, fDTi);
            std::fflush(stdout);
            VT_ASSERT(fDTi > 0.0);
        }

        // c. Land exactly on the next output time and on the final time.
        if ((fTi + fDTi) - (fTiSave + fDTiData) >= -fDTiStepMin) fDTi = fTiSave + fDTiData - fTi;
        if (pcmdsource != nullptr) {
            // ... and on the next command event: no step straddles one.
            const double fTiEvent = pcmdsource->fTiNextEvent();
            if ((fTi + fDTi) - fTiEvent >= -fDTiStepMin) fDTi = fTiEvent - fTi;
        }
        if ((fTi + fDTi) - fTiMax > -fDTiStepMin) fDTi = fTiMax - fTi;

        // d. One accuracy-controlled step, the state advanced in place; the
        // tolerances are absolute (fEps 1).
        //
        // A guided flight lands a step on every command event, so in the air
        // its steps are as short as the events make them, well inside what
        // the tolerances allow: there the embedded pair, which measures its
        // error from the six stages of one step (five new evaluations a
        // trial), does what step doubling does with ten, and the two give
        // the same state to far below the tolerances. But the flight's
        // history flags are set inside the evaluations, at the stage times
        // of whichever stepper runs (the engine goes off in the evaluation
        // that first touches the ground, so the cut time, and the propellant
        // left, depends on them): a step in which any flag changes is taken
        // again from its start, flags restored, by step doubling, so ground
        // clearance, touchdown and engine cut happen where the open-loop
        // driver puts them. After the engine cut the flight settles as an
        // open-loop one does, by step doubling. The open-loop flight keeps
        // step doubling throughout.
        double fTiNext, fDTiUsed, fDTiNext;
        bool bDoubling = true;
        if (pcmdsource != nullptr && !parFFnFArFModel->bEngineOff) {
            const FlightFlags flags = flagsOf(parFFnFArFModel);
            for (Long i = 1; i <= iNState; i++) arFStateStart[i] = arFState[i];
            if (bModelExact)
                ck5StepQCFx<iNStateVehicle>(&arFState[1], &fTiNext, &fDTiUsed, &fDTiNext, fTi,
                                            &arFState[1], &arFDeriv[1], fDTi, 1.0,
                                            &arFStateErrScale[1], fnDeriv);
            else
                ck5StepQC(&arFState, &fTiNext, &fDTiUsed, &fDTiNext, fTi, &arFState, &arFDeriv,
                          iNState, fDTi, 1.0, &arFStateErrScale, parFFnFArFModel);
            bDoubling = !(flags == flagsOf(parFFnFArFModel));
            if (bDoubling) {
                restoreFlags(parFFnFArFModel, flags);
                for (Long i = 1; i <= iNState; i++) arFState[i] = arFStateStart[i];
            }
        }
        if (bDoubling) {
            if (bModelExact)
                rk5StepQCFx<iNStateVehicle>(&arFState[1], &fTiNext, &fDTiUsed, &fDTiNext, fTi,
                                            &arFState[1], &arFDeriv[1], fDTi, 1.0,
                                            &arFStateErrScale[1], fnDeriv);
            else
                rk5StepQC(&arFState, &fTiNext, &fDTiUsed, &fDTiNext, fTi, &arFState, &arFDeriv,
                          iNState, fDTi, 1.0, &arFStateErrScale, parFFnFArFModel);
        }
        fTi = fTiNext;

        // e. Step statistics since the last saved state.
        if (!bDTiUsedSet) {
            fDTiUsedMin = fDTiUsed;
            fDTiUsedMax = fDTiUsed;
            bDTiUsedSet = true;
        } else {
            if (fDTiUsed < fDTiUsedMin) fDTiUsedMin = fDTiUsed;
            if (fDTiUsed > fDTiUsedMax) fDTiUsedMax = fDTiUsed;
        }
        if (!bStepSeen || fDTiUsed < report.fDTiStepMin) report.fDTiStepMin = fDTiUsed;
        if (!bStepSeen || fDTiUsed > report.fDTiStepMax) report.fDTiStepMax = fDTiUsed;
        bStepSeen = true;

        // f. Save at output times and at the end.
        const bool bAtEnd = (fTiMax - fTiIC) * (fTi - fTiMax) >= 0.0;
        if (std::fabs(fTi - fTiSave) >= std::fabs(fDTiData - fDTiStepMin) || bAtEnd) {
            const Stvehicle3dof st = stRecordAt(parFFnFArFModel, fTi, arFState, fIPitch);
            if (records == SimRecords::LastOnly) {
                plistHead->fTi = fTi;  // the one node, written over
                *plistHead->pst = st;
            } else {
                plistLast->plistTail = plistNew(fTi, new Stvehicle3dof(st));
                plistLast = plistLast->plistTail;
                iNData += 1;
            }
            fTiSave = fTi;
            bDTiUsedSet = false;
        }

        // g. The final time.
        if (bAtEnd) {
            report.stop = SimStop::TimeLimit;
            bStopped = true;
            continue;
        }
        // h. At rest, wherever the vehicle is: on the ground, or (rarely) at
        // the top of a vertical hop where all three rates pass through zero
        // together. Deliberately not limited to the ground.
        // A guided flight comes to rest only after its touchdown: its steps
        // land on every command event, and the first ones (a delayed command
        // takes effect microseconds after the start) are short enough that
        // the vehicle still standing on the pad would pass the test.
        const bool bRestCounts = pcmdsource == nullptr || parFFnFArFModel->bLanded;
        if (bRestCounts && std::fabs(arFState[4]) < fTolIntgXDot &&
            std::fabs(arFState[5]) < fTolIntgXDot && std::fabs(arFState[6]) < fTolIntgThetaDot) {
            report.stop = SimStop::Rest;
            bStopped = true;
            continue;
        }
        // i. A collapsing step ends the run softly.
        if (std::fabs(fDTiNext) <= fDTiStepMin) {
            std::printf("Step size too small\n");
            std::fflush(stdout);
            report.stop = SimStop::StepTooSmall;
            bStopped = true;
            continue;
        }
        // j.
        fDTi = fDTiNext;
    }
    (void)fDTiUsedMin;
    (void)fDTiUsedMax;
    report.bTouchdown = parFFnFArFModel->bLanded;
    if (report.bTouchdown) {
        report.fTiTouchdown = parFFnFArFModel->fTiTouchdown;
        report.fVeXfTouchdown = parFFnFArFModel->fVeXfTouchdown;
        report.fVeZfTouchdown = parFFnFArFModel->fVeZfTouchdown;
    }
    report.fMsPropLeft = arFState[7] - parFFnFArFModel->pvehicle->fMsEmpty;
    if (!bStopped) report.stop = SimStop::TooManySteps;
    if (preport != nullptr) *preport = report;

    // 6. Too many steps.
    if (!bStopped) {
        std::printf("Too many steps");
        std::fflush(stdout);
        VT_ASSERT(bStopped);
    }

    // 7. Hand out the saved states; the list nodes go, the records stay.
    parFTiData->reconstructIFirstILast(1, iNData);
    parPStvehicle->reconstructIFirstILast(1, iNData);
    Long iData = 0;
    for (ListStvehicle3dof* plist = plistHead; plist != nullptr; plist = plist->plistTail) {
        iData += 1;
        (*parFTiData)[iData] = plist->fTi;
        (*parPStvehicle)[iData] = plist->pst;
        plist->pst = nullptr;
    }
    VT_ASSERT(iData == iNData);
}

// ---- the command schedule -------------------------------------------------------------

namespace {

constexpr int nChLineBuf = 1024;
constexpr std::int64_t nCmdMax = 1000000;

// A file name fit for a fatal message, which is itself used as a format:
// '%' would be read as a conversion, so it is shown as '?'.
void szFileForMsg(char* szOut, std::size_t nOut, const char* szFile) {
    std::snprintf(szOut, nOut, "%s", szFile);
    for (char* pch = szOut; *pch != '\0'; pch++)
        if (*pch == '%') *pch = '?';
}

// sscanf(sz, "%lf %lf %lf", ...) for a row of three plain decimals, the
// form every written schedule has: each an optional sign, digits, and
// optionally a point and more digits, separated by the C locale's white
// space and followed by it or the end. Anything else (an exponent, a hex
// or non-finite form, a field that runs on into another, fewer than three
// fields) gives false, and the row is left to sscanf itself.
//
// Why the values are sscanf's. On such a row sscanf's %lf takes exactly
// each field (the character after it can't continue a number) and converts
// it as strtod does, correctly rounded. from_chars converts the unsigned
// digits correctly rounded too, and rounding to nearest is symmetric, so
// negating afterwards gives the signed field's double (-0 included). A
// conversion that overflows or underflows is left to sscanf.
bool bScanPlainRow(const char* sz, double* af) {
    auto bSpace = [](char ch) { return ch == ' ' || (ch >= '\t' && ch <= '\r'); };
    auto bDigit = [](char ch) { return ch >= '0' && ch <= '9'; };
    const char* pch = sz;
    for (int i = 0; i < 3; i++) {
        while (bSpace(*pch)) pch++;
        const bool bNeg = *pch == '-';
        if (*pch == '-' || *pch == '+') pch++;
        const char* pchDigits = pch;
        while (bDigit(*pch)) pch++;
        if (pch == pchDigits) return false;
        if (*pch == '.')
            for (pch++; bDigit(*pch);) pch++;
        if (!(*pch == '\0' || bSpace(*pch))) return false;
        double f = 0.0;
        const auto res = std::from_chars(pchDigits, pch, f);
        if (res.ec != std::errc() || res.ptr != pch) return false;
        af[i] = bNeg ? -f : f;
    }
    return true;
}

}  // namespace

void readCmdsFromPFILE(A1Val<double>* parFTiCmd, A1Val<double>* parFFcThrustCmd,
                       A1Val<double>* parFMmPitchCmd, std::FILE* pfileIn, const char* szFile) {
    char szName[256];
    szFileForMsg(szName, sizeof szName, szFile);
    char szLine[nChLineBuf];
    szLine[0] = '\0';
    // The next line (at most 1023 bytes of it) into szLine; false at the end
    // of the file, where the buffer keeps the last line read. A read error
    // (a directory, a failing disk) is fatal.
    auto bReadLine = [&]() {
        if (std::fgets(szLine, nChLineBuf, pfileIn) != nullptr) return true;
        if (std::ferror(pfileIn)) {
            char szMsg[400];
            std::snprintf(szMsg, sizeof szMsg, "%s: read error", szName);
            fatalErrorSzMsg(szMsg);
        }
        return false;
    };

    // 1. The header: the line numbers of the first and last data rows.
    Long iLineFirst = 0;
    Long iLineLast = 0;
    if (!bReadLine() || std::sscanf(szLine, "%i %i", &iLineFirst, &iLineLast) != 2) {
        char szMsg[400];
        std::snprintf(szMsg, sizeof szMsg,
                      "%s: first line must give the first and last data line numbers", szName);
        fatalErrorSzMsg(szMsg);
    }
    const std::int64_t nCmdAsked = static_cast<std::int64_t>(iLineLast) - iLineFirst + 1;
    if (nCmdAsked < 1 || nCmdAsked > nCmdMax)
        fatalErrorSzFmtSzII("%s: data lines %i to %i give no rows or more than 1000000", szName,
                            iLineFirst, iLineLast);
    const Long nCmd = static_cast<Long>(nCmdAsked);

    // 2. Skip the lines before the first data row (none when iLineFirst <= 2:
    // the rows then start on line 2). Once the file has ended
    // nothing more can be read, and the buffer keeps the last line read.
    bool bEof = false;
    for (std::int64_t iLine = 2; iLine < iLineFirst && !bEof; iLine++) bEof = !bReadLine();

    // 3.
    parFTiCmd->reconstructIFirstILast(1, nCmd);
    parFFcThrustCmd->reconstructIFirstILast(1, nCmd);
    parFMmPitchCmd->reconstructIFirstILast(1, nCmd);

    // 4. The rows. A row that scans short keeps the previous row's values,
    // and past the end of the file the last line read is scanned again for
    // every remaining row. Both are deliberate: the reader stays simple, and
    // a plan whose last line count is one too large still flies (its last
    // row is repeated, and the repeated time only matters if the flight
    // looks up a command exactly there).
    double fTi = 0.0, fFcThrust = 0.0, fMmPitch = 0.0;
    Long iCmd = 0;
    for (std::int64_t iLine = iLineFirst; iLine <= iLineLast; iLine++) {
        if (!bEof) bEof = !bReadLine();
        double af[3];
        if (bScanPlainRow(szLine, af)) {
            fTi = af[0];
            fFcThrust = af[1];
            fMmPitch = af[2];
        } else {
            std::sscanf(szLine, "%lf %lf %lf", &fTi, &fFcThrust, &fMmPitch);
        }
        if (!std::isfinite(fTi) || !std::isfinite(fFcThrust) || !std::isfinite(fMmPitch))
            fatalErrorSzFmtSzI("%s, line %i: a number is not finite", szName,
                               static_cast<Long>(iLine));
        iCmd += 1;
        (*parFTiCmd)[iCmd] = fTi;
        (*parFFcThrustCmd)[iCmd] = fFcThrust;
        (*parFMmPitchCmd)[iCmd] = fMmPitch;
    }

    // 5.
    VT_ASSERT(iCmd == nCmd);
}

// ---- look-up in the stored run --------------------------------------------------------

void stvehicle3dofAtFTi(Stvehicle3dof* pstvehicle3dof, double fTi, StoredRun& run,
                        Vehicle const& vehicle) {
    A1Val<double>& arFTiData = run.arFTiData;
    A1Val<void*>& arPStvehicle = run.arPStvehicle;
    const Long nData = arFTiData.n();
    if (nData <= 0) return;
    const Long iFirst = arFTiData.iFirst();
    const Long iLast = arFTiData.iLast();
    if (fTi <= arFTiData[iFirst]) {
        *pstvehicle3dof = *static_cast<Stvehicle3dof*>(arPStvehicle[iFirst]);
        return;
    }
    if (fTi > arFTiData[iLast]) {
        *pstvehicle3dof = *static_cast<Stvehicle3dof*>(arPStvehicle[iLast]);
        return;
    }
    Long iLo = iFirst;
    Long iHi = iLast;
    while (iHi - iLo > 1) {
        const Long i = (iLo + iHi) / 2;
        if (arFTiData[i] > fTi)
            iHi = i;
        else
            iLo = i;
    }
    const double fH = arFTiData[iHi] - arFTiData[iLo];
    VT_ASSERT(fH != 0.0);
    const double fA = (arFTiData[iHi] - fTi) / fH;
    const double fB = (fTi - arFTiData[iLo]) / fH;
    Stvehicle3dof const& stLo = *static_cast<Stvehicle3dof*>(arPStvehicle[iLo]);
    Stvehicle3dof const& stHi = *static_cast<Stvehicle3dof*>(arPStvehicle[iHi]);
    Stvehicle3dof st;
    st.fXf = fA * stLo.fXf + fB * stHi.fXf;
    st.fZf = fA * stLo.fZf + fB * stHi.fZf;
    st.fVeXf = fA * stLo.fVeXf + fB * stHi.fVeXf;
    st.fVeZf = fA * stLo.fVeZf + fB * stHi.fVeZf;
    st.fPitch = fA * stLo.fPitch + fB * stHi.fPitch;
    st.fPitchDot = fA * stLo.fPitchDot + fB * stHi.fPitchDot;
    st.fMs = fA * stLo.fMs + fB * stHi.fMs;
    st.fIPitch = vehicle.fIPitchAtFMs(st.fMs);
    st.fFcThrustCmd = fA * stLo.fFcThrustCmd + fB * stHi.fFcThrustCmd;
    st.fFcThrustAct = fA * stLo.fFcThrustAct + fB * stHi.fFcThrustAct;
    st.fMmPitchCmd = fA * stLo.fMmPitchCmd + fB * stHi.fMmPitchCmd;
    st.fMmPitchAct = fA * stLo.fMmPitchAct + fB * stHi.fMmPitchAct;
    *pstvehicle3dof = st;
}
