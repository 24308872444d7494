// Vehicle dynamics, simulation driver, command schedule and run look-up
// (see fltsim.h).
#include "sim/fltsim.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <numbers>

#include "geom/geom3c.h"

thread_local double fPitchGndAtLandingSite = 0.0;

A1Val<double> arFTiData(0);
A1Val<void*> arPStvehicle(0);

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

void Vehicle::fFcThrustMmPitchActFmCmd(double* pfFcThrustAct, double* pfMmPitchAct,
                                       double fFcThrustCmdIn, double fMmPitchCmdIn,
                                       double fMs) const {
    double fThrust = 0.0;
    if (fMs > fMsEmpty) {
        fThrust = fFcThrustCmdIn;
        if (fThrust < 0.0) fThrust = 0.0;
        if (fThrust > fFcThrustMax) fThrust = fFcThrustMax;
    }
    double fMoment = 0.0;
    if (fMs > fMsEmpty) {
        fMoment = fMmPitchCmdIn;
        if (fMoment < -fMmPitchMax) fMoment = -fMmPitchMax;
        if (fMoment > fMmPitchMax) fMoment = fMmPitchMax;
        // The lever-arm limit. With zero thrust the ratio is +-inf or NaN:
        // +-inf clips the moment to 0, NaN (0/0) leaves a zero moment at 0.
        if (fMoment / fThrust < -fMmOvFcMax) fMoment = -fThrust * fMmOvFcMax;
        if (fMoment / fThrust > fMmOvFcMax) fMoment = fThrust * fMmOvFcMax;
    }
    *pfFcThrustAct = fThrust;
    *pfMmPitchAct = fMoment;
}

double Vehicle::fIPitchAtFMs(double fMs) const {
    const double fA = (fMs - fMsEmpty) / (fMsGTO - fMsEmpty);
    return (1.0 - fA) * fIPitchEmpty + fA * fIPitchGTO;
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

Stvehicle3dof* pstFmArFState(A1Val<double>& arFState, double fIPitch, double fFcThrustCmdIn,
                             double fFcThrustActIn, double fMmPitchCmdIn, double fMmPitchActIn) {
    return new Stvehicle3dof(arFState[1], arFState[2], arFState[4], arFState[5], arFState[3],
                             arFState[6], arFState[7], fIPitch, fFcThrustCmdIn, fFcThrustActIn,
                             fMmPitchCmdIn, fMmPitchActIn);
}

X4h xgmFFmB_Fm_PStvehicle3dof(Stvehicle3dof* pstvehicle3dof) {
    // Body from flight: move the origin to the vehicle, then the body
    // rotation of the drag computation. Its inverse places the body.
    const X4h x4hBFmF = x4hRotY(pstvehicle3dof->fPitch) * x4hRotInit() *
                        x4hTrans(pstvehicle3dof->fXf, 0.0, pstvehicle3dof->fZf);
    return x4hInv(x4hBFmF);
}

// ---- the model --------------------------------------------------------------------

ArFFnFArFModel::ArFFnFArFModel(Planet* pplanetIn, Vehicle* pvehicleIn, double fDTiIn,
                               A1Val<double>& arFTiCmdIn, A1Val<double>& arFFcThrustCmdIn,
                               A1Val<double>& arFMmPitchCmdIn)
    : pplanet(pplanetIn),
      pvehicle(pvehicleIn),
      fDTi(fDTiIn),
      arFTiCmd(arFTiCmdIn),
      arFFcThrustCmd(arFFcThrustCmdIn),
      arFMmPitchCmd(arFMmPitchCmdIn),
      bClearedGnd(false),
      bEngineOff(false),
      bLanded(false),
      bPlnsGndTaken(false),
      bPlnsGndUsable(false),
      plnsGnd() {}

namespace {

// The command look-up over a table whose rows 1..nCmd are read through
// fnTi(i), fnFc(i), fnMm(i).
template <class FnTi, class FnFc, class FnMm>
void cmdFromTable(double* pfFcThrustCmd, double* pfMmPitchCmd, double fTi, Long nCmd,
                  bool bEngineOff, FnTi fnTi, FnFc fnFc, FnMm fnMm) {
    if (fTi < fnTi(1) || fTi > fnTi(nCmd)) {
        *pfFcThrustCmd = 0.0;
        *pfMmPitchCmd = 0.0;
        return;
    }
    Long iLo = 1;
    Long iHi = nCmd;
    while (iHi - iLo > 1) {
        const Long i = (iLo + iHi) / 2;
        if (fnTi(i) > fTi)
            iHi = i;
        else
            iLo = i;
    }
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

}  // namespace

void ArFFnFArFModel::cmdAtFTi(double* pfFcThrustCmd, double* pfMmPitchCmd, double fTi) {
    const Long nCmd = arFTiCmd.n();
    if (nCmd >= 1 && arFTiCmd.iFirst() == 1 && bCovers(arFFcThrustCmd, nCmd) &&
        bCovers(arFMmPitchCmd, nCmd)) {
        // Every index used lies in 1..nCmd, which all three arrays cover:
        // read them directly (this runs in every derivative evaluation).
        const double* arFTi = arFTiCmd._pel0;
        const double* arFFc = arFFcThrustCmd._pel0;
        const double* arFMm = arFMmPitchCmd._pel0;
        cmdFromTable(
            pfFcThrustCmd, pfMmPitchCmd, fTi, nCmd, bEngineOff,
            [arFTi](Long i) { return arFTi[i]; }, [arFFc](Long i) { return arFFc[i]; },
            [arFMm](Long i) { return arFMm[i]; });
    } else {
        // Any other shape: the checked reads end the program at the first
        // index outside an array ("array bounds").
        cmdFromTable(
            pfFcThrustCmd, pfMmPitchCmd, fTi, nCmd, bEngineOff,
            [this](Long i) { return arFTiCmd[i]; }, [this](Long i) { return arFFcThrustCmd[i]; },
            [this](Long i) { return arFMmPitchCmd[i]; });
    }
}

void ArFFnFArFModel::arFAtFArF(A1Val<double>* parFDeriv, double fTi,
                               const A1Val<double>& arFState) {
    parFDeriv->reconstructIFirstILast(arFState.iFirst(), arFState.iLast());
    const double x = arFState[1];
    const double z = arFState[2];
    const double fPitch = arFState[3];
    const double vx = arFState[4];
    const double vz = arFState[5];
    const double fPitchDot = arFState[6];
    const double fMs = arFState[7];

    // 1. Inertia at the current mass.
    const double fIPitch = pvehicle->fIPitchAtFMs(fMs);

    // 2. Arm the ground contact once the vehicle is clear of the pad.
    // Deliberately set inside every evaluation, including the stepper's
    // trial evaluations that it later rejects, with no rollback: a trial
    // step that pokes above 1 m arms the contact for good, which can change
    // where a marginal hop lands.
    if (!bClearedGnd && z > fZfClearGnd) bClearedGnd = true;

    // 3. Commands and actuator limits.
    double fFcThrustCmdNow, fMmPitchCmdNow;
    cmdAtFTi(&fFcThrustCmdNow, &fMmPitchCmdNow, fTi);
    double fFcThrustActNow, fMmPitchActNow;
    pvehicle->fFcThrustMmPitchActFmCmd(&fFcThrustActNow, &fMmPitchActNow, fFcThrustCmdNow,
                                       fMmPitchCmdNow, fMs);
    if (bEngineOff) {
        fFcThrustActNow = 0.0;
        fMmPitchActNow = 0.0;
    }

    // 4. Thrust and gravity.
    double fFcXf = -std::sin(fPitch) * fFcThrustActNow;
    double fFcZf = fFcThrustActNow * std::cos(fPitch) - fMs * pplanet->fAcG;

    // 5. Drag, computed in the body axes.
    if (pvehicle->fCdAX != 0.0 || pvehicle->fCdAZ != 0.0) {
        const Vc3c vcRelWindF(-vx, 0.0, -vz);
        const X4h xcbBFmF = x4hRotY(fPitch) * x4hRotInit();
        const Vc3c vcRelWindB = vcXcb3c(xcbBFmF, vcRelWindF);
        const double wx = vcRelWindB.fX;
        const double wz = vcRelWindB.fZ;
        double fFcXb = 0.5 * pplanet->fDnAtm * pvehicle->fCdAX * (wx * wx);
        if (wx < 0.0) fFcXb = -fFcXb;
        double fFcZb = 0.5 * pplanet->fDnAtm * pvehicle->fCdAZ * (wz * wz);
        if (!(wz > 0.0)) fFcZb = -fFcZb;
        const Vc3c vcFcAeroB(fFcXb, 0.0, fFcZb);
        const Vc3c vcFcAeroF = vcXcb3c(x4hInv(xcbBFmF), vcFcAeroB);
        fFcXf += vcFcAeroF.fX;
        fFcZf += vcFcAeroF.fZ;
    }

    // 6. Ground contact, once the vehicle has cleared the pad.
    double xAtGnd, yAtGnd, zAtGnd, dxNGnd, dyNGnd, dzNGnd;
    bool bAtOrBelowGnd = false;
    if (bClearedGnd) {
        if (!bPlnsGndTaken) {
            bPlnsGndUsable = bPlnsGndFm(&plnsGnd, &arPArPPtVtxPgnGnd);
            bPlnsGndTaken = true;
        }
        bAtOrBelowGnd = bPlnsGndUsable ? bPtAtOrBelowPlnsGnd(&xAtGnd, &yAtGnd, &zAtGnd, &dxNGnd,
                                                             &dyNGnd, &dzNGnd, x, 0.0, z, plnsGnd)
                                       : bPtAtOrBelowPArPArPPtVtxPgnGnd(
                                             &xAtGnd, &yAtGnd, &zAtGnd, &dxNGnd, &dyNGnd, &dzNGnd,
                                             x, 0.0, z, &arPArPPtVtxPgnGnd);
    }
    if (bAtOrBelowGnd) {
        // a. Slope of the ground under the vehicle.
        const double fPitchGnd = std::atan2(-dxNGnd, dzNGnd);
        const double fCosPitchGnd = std::cos(fPitchGnd);
        const double fSinPitchGnd = std::sin(fPitchGnd);
        if (!bLanded) fPitchGndAtLandingSite = fPitchGnd;
        // b. Attitude relative to the ground, and friction while upright.
        const double fAttErr = std::fmod(fPitch, 2.0 * std::numbers::pi) - fPitchGnd;
        const double fMu = (std::fabs(fAttErr) <= fRdnAttErrFriction) ? fMuGnd : 0.0;
        // c. Normal force of the penalty spring on the depth.
        const double fFcNormal = -fKSpringGnd * (z - zAtGnd) * fCosPitchGnd;
        // d. Friction opposing the horizontal velocity.
        double fFcFriction = std::fabs(fMu * fFcNormal);
        if (vx >= 0.0) fFcFriction = -fFcFriction;
        // e. Contact force in the flight frame.
        const double fFcZGnd = fFcNormal * fCosPitchGnd + fFcFriction * fSinPitchGnd;
        double fFcXGnd = fFcFriction * fCosPitchGnd - fFcNormal * fSinPitchGnd;
        if (std::fabs(vx) < fVeXfStuck) fFcXGnd = 0.0;
        // f. Damping.
        fFcZf += fFcZGnd - fCDampGnd * vz;
        fFcXf += fFcXGnd - fCDampGnd * vx;
        // g. Restoring torque towards the slope of the landing site.
        if (std::fabs(fPitchGndAtLandingSite) - std::fabs(fPitchGnd) < fRdnSameSlope &&
            std::fabs(fAttErr) < fRdnAttErrFriction)
            fMmPitchActNow += -fKPitchGnd * fAttErr;
        // h. Pitch damping, strong while upright.
        if (std::fabs(fAttErr) < fRdnAttErrFriction)
            fMmPitchActNow += -fCPitchGndUpright * fPitchDot;
        else
            fMmPitchActNow += -fCPitchGndTipped * fPitchDot;
        // i. Touchdown cuts the engine for the rest of the run. Like the
        // arming above, a rejected trial step that touches the ground cuts
        // it too.
        bEngineOff = true;
        bLanded = true;
    }

    // 7. The derivative.
    (*parFDeriv)[1] = vx;
    (*parFDeriv)[2] = vz;
    (*parFDeriv)[3] = fPitchDot;
    (*parFDeriv)[4] = fFcXf / fMs;
    (*parFDeriv)[5] = fFcZf / fMs;
    (*parFDeriv)[6] = fMmPitchActNow / fIPitch;
    (*parFDeriv)[7] = -fFcThrustActNow / pvehicle->fIsp;
}

// ---- the driver ---------------------------------------------------------------------

namespace {

// A record of the current state: commands at fTi and the actuals they give
// at the current mass. The actuals come from the commands alone, not from
// the engine cut or the ground torques of the dynamics (once the engine is
// off the commands are zero, and so are the recorded actuals).
Stvehicle3dof* pstRecordAt(ArFFnFArFModel* parFFnFArFModel, double fTi, A1Val<double>& arFState,
                           double fIPitch) {
    double fFcThrustCmdNow, fMmPitchCmdNow;
    parFFnFArFModel->cmdAtFTi(&fFcThrustCmdNow, &fMmPitchCmdNow, fTi);
    double fFcThrustActNow, fMmPitchActNow;
    parFFnFArFModel->pvehicle->fFcThrustMmPitchActFmCmd(
        &fFcThrustActNow, &fMmPitchActNow, fFcThrustCmdNow, fMmPitchCmdNow, arFState[7]);
    return pstFmArFState(arFState, fIPitch, fFcThrustCmdNow, fFcThrustActNow, fMmPitchCmdNow,
                         fMmPitchActNow);
}

ListStvehicle3dof* plistNew(double fTi, Stvehicle3dof* pst) {
    return new ListStvehicle3dof{fTi, pst, nullptr};
}

// Frees the list of saved states on every way out of sim(): in the
// robustness builds an assertion inside a run is an exception.
struct ListFreer {
    ListStvehicle3dof* plist;
    ~ListFreer() { deleteListStvehicle3dof(plist); }
};

}  // namespace

void sim(A1Val<double>* parFTiData, A1Val<void*>* parPStvehicle, ArFFnFArFModel* parFFnFArFModel,
         double fTiIC, A1Val<double>& arFStateIC, double fTiMax, double fDTiData,
         double fDTiStepMin, Long iNStepMax, double fTolIntgX, double fTolIntgXDot,
         double fTolIntgTheta, double fTolIntgThetaDot, double fTolIntgMs) {
    // 1. Working arrays.
    const Long iNState = iNStateVehicle;
    VT_ASSERT(arFStateIC.n() == iNState);
    A1Val<double> arFState(1, iNState);
    for (Long i = 1; i <= iNState; i++) arFState[i] = arFStateIC[arFStateIC.iFirst() + i - 1];
    A1Val<double> arFDeriv(1, iNState);
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

    // 4. The first record. The inertia of the initial mass goes into every
    // record of the run: deliberately simple (the dynamics do use the
    // inertia of the current mass), so a listing shows the starting value
    // throughout while the propellant burns.
    const double fIPitch = parFFnFArFModel->pvehicle->fIPitchAtFMs(arFState[7]);
    ListFreer listfreer{plistNew(fTi, nullptr)};
    ListStvehicle3dof* plistHead = listfreer.plist;
    plistHead->pst = pstRecordAt(parFFnFArFModel, fTi, arFState, fIPitch);
    ListStvehicle3dof* plistLast = plistHead;
    Long iNData = 1;
    double fTiSave = fTi;
    bool bDTiUsedSet = false;
    double fDTiUsedMin = 0.0;
    double fDTiUsedMax = 0.0;

    // 5. The steps.
    bool bStopped = false;
    for (Long iStep = 1; iStep <= iNStepMax && !bStopped; iStep++) {
        // a. Derivative at the start of the step.
        parFFnFArFModel->arFAtFArF(&arFDeriv, fTi, arFState);

        // b. Forward only.
        if (fDTi <= 0.0) {
            std::printf("fTiMax = %16.6le, fTiIC = %16.6le, fDTi = %16.6le\n", fTiMax, fTiIC, fDTi);
            std::fflush(stdout);
            VT_ASSERT(fDTi > 0.0);
        }

        // c. Land exactly on the next output time and on the final time.
        if ((fTi + fDTi) - (fTiSave + fDTiData) >= -fDTiStepMin) fDTi = fTiSave + fDTiData - fTi;
        if ((fTi + fDTi) - fTiMax > -fDTiStepMin) fDTi = fTiMax - fTi;

        // d. One accuracy-controlled step, the state advanced in place; the
        // tolerances are absolute (fEps 1).
        double fTiNext, fDTiUsed, fDTiNext;
        rk5StepQC(&arFState, &fTiNext, &fDTiUsed, &fDTiNext, fTi, &arFState, &arFDeriv, iNState,
                  fDTi, 1.0, &arFStateErrScale, parFFnFArFModel);
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

        // f. Save at output times and at the end.
        const bool bAtEnd = (fTiMax - fTiIC) * (fTi - fTiMax) >= 0.0;
        if (std::fabs(fTi - fTiSave) >= std::fabs(fDTiData - fDTiStepMin) || bAtEnd) {
            plistLast->plistTail = plistNew(fTi, nullptr);
            plistLast = plistLast->plistTail;
            plistLast->pst = pstRecordAt(parFFnFArFModel, fTi, arFState, fIPitch);
            iNData += 1;
            fTiSave = fTi;
            bDTiUsedSet = false;
        }

        // g. The final time.
        if (bAtEnd) {
            bStopped = true;
            continue;
        }
        // h. At rest, wherever the vehicle is: on the ground, or (rarely) at
        // the top of a vertical hop where all three rates pass through zero
        // together. Deliberately not limited to the ground.
        if (std::fabs(arFState[4]) < fTolIntgXDot && std::fabs(arFState[5]) < fTolIntgXDot &&
            std::fabs(arFState[6]) < fTolIntgThetaDot) {
            bStopped = true;
            continue;
        }
        // i. A collapsing step ends the run softly.
        if (std::fabs(fDTiNext) <= fDTiStepMin) {
            std::printf("Step size too small\n");
            std::fflush(stdout);
            bStopped = true;
            continue;
        }
        // j.
        fDTi = fDTiNext;
    }
    (void)fDTiUsedMin;
    (void)fDTiUsedMax;

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
        std::sscanf(szLine, "%lf %lf %lf", &fTi, &fFcThrust, &fMmPitch);
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

void stvehicle3dofAtFTi(Stvehicle3dof* pstvehicle3dof, double fTi) {
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
