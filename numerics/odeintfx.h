// rk4Step and rk5StepQC for a state of a fixed number of elements and a
// derivative known at compile time, so that the derivative is inlined into
// the stepper's loops.
//
// The arithmetic is rk4Step's and rk5StepQC's, operation for operation and
// in the same order, so every result is the same double; only the storage
// differs (plain arrays on the stack, indices 0..iN-1 for 1..iN). Their
// failures write the same "debug.txt" and fail the same assertions, through
// odeint.cpp.
//
// fn(pfDeriv, fX, pfY) writes the iN derivatives at (fX, pfY).
#pragma once

#include <cmath>

#include "core/types.h"

// The failure ends of the steppers below, in odeint.cpp with the others.
[[noreturn]] void rk4StepFailYTooSmall(double fX, double fH, const double* pfY,
                                       const double* pfDyT, const double* pfYOut, Long iNY,
                                       double fYNext);
[[noreturn]] void rk5StepQCFailStepTooSmall(Long iLoop, double fX, double fHTry, double fH,
                                            const double* pfYTemp1, const double* pfDyDxTemp,
                                            const double* pfYNext, Long iNY, double fXNext);
// rk5StepQC's checks of the scaled error and of the proposed step.
void rk5StepQCCheckErr(double fErrMax);
void rk5StepQCCheckHNext(double fHNextEst);

// rk4Step: pfYNext may be pfY.
template <Long iN, class Fn>
inline void rk4StepFx(double* pfYNext, double fX, const double* pfY, const double* pfDyDx,
                      double fH, Fn& fn) {
    double afYT[iN], afDyT[iN], afDyM[iN], afYOut[iN];
    const double fHH = fH / 2.0;
    const double fH6 = fH / 6.0;
    const double fXH = fX + fHH;

    for (Long i = 0; i < iN; i++) afYT[i] = pfY[i] + fHH * pfDyDx[i];
    fn(afDyT, fXH, afYT);
    for (Long i = 0; i < iN; i++) afYT[i] = pfY[i] + fHH * afDyT[i];
    fn(afDyM, fXH, afYT);
    for (Long i = 0; i < iN; i++) {
        afYT[i] = pfY[i] + fH * afDyM[i];
        afDyM[i] += afDyT[i];
    }
    fn(afDyT, fX + fH, afYT);

    for (Long i = 0; i < iN; i++)
        afYOut[i] = pfY[i] + fH6 * (pfDyDx[i] + afDyT[i] + 2.0 * afDyM[i]);
    for (Long i = 0; i < iN; i++) {
        const double fYNext = afYOut[i];
        if (fYNext != 0.0 && std::fabs(fYNext) < 1e-300)
            rk4StepFailYTooSmall(fX, fH, pfY, afDyT, afYOut, iN, fYNext);
    }
    for (Long i = 0; i < iN; i++) pfYNext[i] = afYOut[i];
}

// rk5StepQC: pfYNext may be pfY.
template <Long iN, class Fn>
inline void rk5StepQCFx(double* pfYNext, double* pfXNext, double* pfHUsed, double* pfHNextEst,
                        double fX, const double* pfY, const double* pfDyDx, double fHTry,
                        double fEps, const double* pfYErrScale, Fn& fn) {
    double afYTemp1[iN], afDyDxTemp[iN], afYNext[iN], afYTemp2[iN];
    double fH = fHTry;
    Long iLoop = 0;
    double fErrMax = 0.0;
    for (;;) {
        iLoop += 1;
        const double fHOver2 = 0.5 * fH;

        // Two half steps.
        rk4StepFx<iN>(afYTemp1, fX, pfY, pfDyDx, fHOver2, fn);
        const double fXTemp = fX + fHOver2;
        fn(afDyDxTemp, fXTemp, afYTemp1);
        rk4StepFx<iN>(afYNext, fXTemp, afYTemp1, afDyDxTemp, fHOver2, fn);

        *pfXNext = fX + fH;
        if (*pfXNext == fX)
            rk5StepQCFailStepTooSmall(iLoop, fX, fHTry, fH, afYTemp1, afDyDxTemp, afYNext, iN,
                                      *pfXNext);

        // One full step.
        rk4StepFx<iN>(afYTemp2, fX, pfY, pfDyDx, fH, fn);

        fErrMax = 0.0;
        for (Long i = 0; i < iN; i++) {
            const double fErr = std::fabs(afYNext[i] - afYTemp2[i]) / pfYErrScale[i];
            if (fErr > fErrMax || std::isnan(fErr)) fErrMax = fErr;
        }
        fErrMax = fErrMax / fEps;
        if (std::isnan(fErrMax)) rk5StepQCCheckErr(fErrMax);

        if (fErrMax <= 1.0) break;
        if (fErrMax > 1e-200) fH = 0.9 * fH * std::exp(-0.25 * std::log(fErrMax));
    }

    *pfHUsed = fH;
    if (fErrMax > 0.0006)
        *pfHNextEst = 0.9 * fH * std::exp(-0.2 * std::log(fErrMax));
    else
        *pfHNextEst = 4.0 * fH;
    if (*pfHNextEst == 0.0) rk5StepQCCheckHNext(*pfHNextEst);

    for (Long i = 0; i < iN; i++) pfYNext[i] = afYNext[i] + (afYNext[i] - afYTemp2[i]) / 15.0;
}
