// Single-step ODE integrators (see odeint.h).
//
// The loops of this file are kept scalar. The derivative object is called
// through a virtual function, so every derivative reaches the stepper as
// separate 8-byte stores, which the loops read back at once; vector loads of
// two such values cannot be served from the pending stores and wait for them
// to reach the cache. With the loops scalar, rk5StepQC on a seven-element
// state takes about a tenth less time than with them vectorised. The choice
// changes no result: each element's arithmetic is the same either way, and
// the error maximum is the same value in any order (a NaN stops the step
// either way). The inlined steppers of odeintfx.h, with the derivative
// visible to the compiler, are compiled where they are used, as before.
// (GCC's switch; clang, which builds only the fuzz targets, keeps its own.)
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC optimize("no-tree-vectorize")
#endif
#include "numerics/odeint.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "numerics/odeintfx.h"

namespace {

// Writes each element of ar on a line of its own, as the step dumps do.
void writeArFLines(std::FILE* pfile, const A1Val<double>& ar) {
    for (Long i = ar.iFirst(); i <= ar.iLast(); i++) std::fprintf(pfile, "    %20.10e\n", ar[i]);
}

// An array's elements 0..iN-1 as an A1Val over 1..iN.
A1Val<double> arFFmPf(const double* pf, Long iN) {
    A1Val<double> ar(1, iN);
    for (Long i = 1; i <= iN; i++) ar[i] = pf[i - 1];
    return ar;
}

// "debug.txt" of an rk4Step result component that underflowed.
void writeDebugYTooSmall(double fX, double fH, const A1Val<double>& arFY,
                         const A1Val<double>& arFDyT, const A1Val<double>& arFYNext) {
    std::FILE* pfile = std::fopen("debug.txt", "w");
    if (pfile == nullptr) return;
    std::fprintf(pfile, "Y too small in rk4Step\n");
    std::fprintf(pfile, "    fX          = %20.10e\n", fX);
    std::fprintf(pfile, "    fH          = %20.10e\n", fH);
    std::fprintf(pfile, "    *parFY =\n");
    writeArFLines(pfile, arFY);
    std::fprintf(pfile, "   *arFDyT =\n");
    writeArFLines(pfile, arFDyT);
    std::fprintf(pfile, "   *parFYNext =\n");
    writeArFLines(pfile, arFYNext);
    std::fclose(pfile);
}

// "debug.txt" of an rk5StepQC step that no longer moves x.
void writeDebugStepTooSmall(Long iLoop, double fX, double fHTry, double fH,
                            const A1Val<double>& arFYTemp1, const A1Val<double>& arFDyDxTemp,
                            const A1Val<double>& arFYNext) {
    std::FILE* pfile = std::fopen("debug.txt", "w");
    if (pfile == nullptr) return;
    std::fprintf(pfile, "Step size too small in routine rk5StepQC\n");
    std::fprintf(pfile, "    iLoop       = %i\n", iLoop);
    std::fprintf(pfile, "    fX          = %20.10e\n", fX);
    std::fprintf(pfile, "    fHTry       = %20.10e\n", fHTry);
    std::fprintf(pfile, "    fH          = %20.10e\n", fH);
    std::fprintf(pfile, "    arFYTemp1 =\n");
    writeArFLines(pfile, arFYTemp1);
    std::fprintf(pfile, "   arFDyDxTemp =\n");
    writeArFLines(pfile, arFDyDxTemp);
    std::fprintf(pfile, "    arFYNext =\n");
    writeArFLines(pfile, arFYNext);
    std::fclose(pfile);
}

// Number of midpoint sub-steps of each Bulirsch-Stoer stage (1..11).
constexpr Long nBSStage = 11;
constexpr Long nBSUse = 7;
constexpr Long aiNBSSeq[nBSStage + 1] = {0, 2, 4, 6, 8, 12, 16, 24, 32, 48, 64, 96};

// A derivative object seen through the interface of the steppers of
// odeintfx.h, fn(pfDeriv, fX, pfY): the state is copied into an array over
// 1..iNY, the object writes its derivative array, and that is copied out.
// Copies change no value, so the steppers compute with exactly the numbers
// the object gives.
//
// With nEvalPerTrial > 0, evaluation iEvalExact of every nEvalPerTrial is
// one whose array the stepper takes as a given derivative, which must lie
// over 1..iNY exactly (rk4Step's check of its argument): rk5StepQC's trials
// take ten evaluations, the fourth being the derivative at the midpoint,
// which starts the second half step.
class FnOfArF {
public:
    FnOfArF(ArF64FnF64ArF64* pfn, Long iNY, Long nEvalPerTrial = 0, Long iEvalExact = 0)
        : pfn(pfn), iNY(iNY), nEvalPerTrial(nEvalPerTrial), iEvalExact(iEvalExact),
          arFState(1, iNY), arFDeriv(1, iNY) {}
    void operator()(double* pfDeriv, double fX, const double* pfY) {
        // The object gets the state as a constant: it stays over 1..iNY.
        for (Long i = 1; i <= iNY; i++) arFState._pel0[i] = pfY[i - 1];
        pfn->arFAtFArF(&arFDeriv, fX, arFState);
        if (nEvalPerTrial > 0) {
            if (iEval == iEvalExact) {
                const A1Val<double>* parFDyDx = &arFDeriv;
                VT_ASSERT(parFDyDx->iFirst() == 1 && parFDyDx->iLast() == iNY);
            }
            iEval = (iEval + 1) % nEvalPerTrial;
        }
        // A derivative array that does not cover 1..iNY stops the program
        // with "array bounds" at the first element it lacks, as the
        // steppers' own reads of it always did; the rest is read directly.
        if (iNY > 0 && arFDeriv.iFirst() > 1) (void)arFDeriv[1];
        if (arFDeriv.iLast() < iNY) (void)arFDeriv[arFDeriv.iLast() + 1];
        for (Long i = 1; i <= iNY; i++) pfDeriv[i - 1] = arFDeriv._pel0[i];
    }

private:
    ArF64FnF64ArF64* pfn;
    Long iNY;
    Long nEvalPerTrial;
    Long iEvalExact;
    Long iEval = 0;
    A1Val<double> arFState;
    A1Val<double> arFDeriv;
};

// Element 1 of an array over 1..iN, iN >= 0 (no element when iN is 0).
double* pfFirst(A1Val<double>* par) { return par->n() == 0 ? nullptr : &(*par)[1]; }

}  // namespace

// ---- rk4Step ------------------------------------------------------------------

// rk4Step, rk5StepQC and ck5StepQC are the steppers of odeintfx.h with the
// state's length given at run time, after the checks of their arguments.

void rk4Step(A1Val<double>* parFYNext, double fX, A1Val<double>* parFY,
             A1Val<double>* parFDyDx, Long iNY, double fH,
             ArF64FnF64ArF64* parFDyDxFnFXArFY) {
    VT_ASSERT(parFY->iFirst() == 1 && parFY->iLast() == iNY);
    VT_ASSERT(parFDyDx->iFirst() == 1 && parFDyDx->iLast() == iNY);
    parFYNext->reconstructIFirstILast(1, iNY);
    FnOfArF fn(parFDyDxFnFXArFY, iNY);
    rk4StepN(iNY, pfFirst(parFYNext), fX, pfFirst(parFY), pfFirst(parFDyDx), fH, fn);
}

// ---- the failure ends of the steppers (odeintfx.h) -------------------------------

void rk4StepFailYTooSmall(double fX, double fH, const double* pfY, const double* pfDyT,
                          const double* pfYOut, Long iNY, double fYNext) {
    writeDebugYTooSmall(fX, fH, arFFmPf(pfY, iNY), arFFmPf(pfDyT, iNY), arFFmPf(pfYOut, iNY));
    VT_ASSERT(std::fabs(fYNext) >= 1e-300);
    std::abort();
}

void rk5StepQCFailStepTooSmall(Long iLoop, double fX, double fHTry, double fH,
                               const double* pfYTemp1, const double* pfDyDxTemp,
                               const double* pfYNext, Long iNY, double fXNext) {
    writeDebugStepTooSmall(iLoop, fX, fHTry, fH, arFFmPf(pfYTemp1, iNY),
                           arFFmPf(pfDyDxTemp, iNY), arFFmPf(pfYNext, iNY));
    const double* pfXNext = &fXNext;
    VT_ASSERT(*pfXNext != fX);
    std::abort();
}

void rk5StepQCCheckErr(double fErrMax) { VT_ASSERT(!std::isnan(fErrMax)); }

void rk5StepQCCheckHNext(double fHNextEst) {
    const double* pfHNextEst = &fHNextEst;
    VT_ASSERT(*pfHNextEst != 0.0);
}

// ---- rk5StepQC ----------------------------------------------------------------

void rk5StepQC(A1Val<double>* parFYNext, double* pfXNext, double* pfHUsed,
               double* pfHNextEst, double fX, A1Val<double>* parFY,
               A1Val<double>* parFDyDx, Long iNY, double fHTry, double fEps,
               A1Val<double>* parFYErrScale, ArF64FnF64ArF64* parFDyDxFnFXArFY) {
    VT_ASSERT(parFY->iFirst() == 1 && parFY->iLast() == iNY);
    VT_ASSERT(parFDyDx->iFirst() == 1 && parFDyDx->iLast() == iNY);
    VT_ASSERT(parFYErrScale->iFirst() == 1 && parFYErrScale->iLast() == iNY);
    parFYNext->reconstructIFirstILast(1, iNY);
    FnOfArF fn(parFDyDxFnFXArFY, iNY, 10, 3);
    rk5StepQCN(iNY, pfFirst(parFYNext), pfXNext, pfHUsed, pfHNextEst, fX, pfFirst(parFY),
               pfFirst(parFDyDx), fHTry, fEps, pfFirst(parFYErrScale), fn);
}

// ---- mmidStep -----------------------------------------------------------------

void mmidStep(A1Val<double>* parFYNext, double fX, A1Val<double>* parFY,
              A1Val<double>* parFDyDx, Long iNY, double fH,
              ArF64FnF64ArF64* parFDyDxFnFXArFY, Long iNStep) {
    VT_ASSERT(parFY->iFirst() == 1 && parFY->iLast() == iNY);
    VT_ASSERT(parFDyDx->iFirst() == 1 && parFDyDx->iLast() == iNY);
    VT_ASSERT(iNStep >= 1);
    parFYNext->reconstructIFirstILast(1, iNY);

    // arFZM holds z(m-1), arFZN holds z(m), arFDz the derivative at z(m).
    A1Val<double> arFZM(1, 0);
    A1Val<double> arFZN(1, 0);
    A1Val<double> arFDz(1, 0);
    arFZM.reconstructIFirstILast(1, iNY);
    arFZN.reconstructIFirstILast(1, iNY);

    const double fHSub = fH / iNStep;
    const double fH2 = 2.0 * fHSub;
    for (Long i = 1; i <= iNY; i++) {
        arFZM[i] = (*parFY)[i];
        arFZN[i] = (*parFY)[i] + fHSub * (*parFDyDx)[i];
    }
    // The last derivative is taken at fX + fH exactly, not at the sum of the
    // sub-steps.
    parFDyDxFnFXArFY->arFAtFArF(&arFDz, iNStep == 1 ? fX + fH : fX + fHSub, arFZN);
    for (Long m = 1; m < iNStep; m++) {
        for (Long i = 1; i <= iNY; i++) {
            const double fZNext = arFZM[i] + fH2 * arFDz[i];
            arFZM[i] = arFZN[i];
            arFZN[i] = fZNext;
        }
        const double fXM = (m + 1 == iNStep) ? fX + fH : fX + (m + 1) * fHSub;
        parFDyDxFnFXArFY->arFAtFArF(&arFDz, fXM, arFZN);
    }
    for (Long i = 1; i <= iNY; i++)
        (*parFYNext)[i] = 0.5 * (arFZN[i] + arFZM[i] + fHSub * arFDz[i]);
}

// ---- rzextr -------------------------------------------------------------------

void rzextr(Long iEst, double fXEst, A1Val<double>* parFYEst, A1Val<double>* parFYZ,
            A1Val<double>* parFDy, Long iNV, Long nUse, A1Val<double>* parFXEst,
            A2Val<double>* pa2FD) {
    VT_ASSERT(parFYEst->iFirst() == 1 && parFYEst->iLast() == iNV);
    VT_ASSERT(iEst >= 1 && nUse >= 2);
    parFYZ->reconstructIFirstILast(1, iNV);
    parFDy->reconstructIFirstILast(1, iNV);

    A1Val<double>& arFXEst = *parFXEst;
    A2Val<double>& a2FD = *pa2FD;
    arFXEst[iEst] = fXEst;

    if (iEst == 1) {
        a2FD.reconstructIRCFirstILast(1, iNV, 1, nUse);
        for (Long j = 1; j <= iNV; j++) {
            const double fY = (*parFYEst)[j];
            (*parFYZ)[j] = fY;
            a2FD(j, 1) = fY;
            (*parFDy)[j] = fY;
        }
        return;
    }
    VT_ASSERT(a2FD.iRFirst() == 1 && a2FD.iRLast() == iNV && a2FD.iCLast() == nUse);

    // Ratios of the earlier abscissas to the newest one.
    A1Val<double> arFFx(1, 0);
    arFFx.reconstructIFirstILast(1, nUse);
    const Long m1 = iEst < nUse ? iEst : nUse;
    for (Long k = 1; k <= m1 - 1; k++) arFFx[k + 1] = arFXEst[iEst - k] / fXEst;

    for (Long j = 1; j <= iNV; j++) {
        double fYY = (*parFYEst)[j];
        double fV = a2FD(j, 1);
        double fC = fYY;
        double fDdy = 0.0;
        a2FD(j, 1) = fYY;
        for (Long k = 2; k <= m1; k++) {
            const double fB1 = arFFx[k] * fV;
            double fB = fB1 - fC;
            if (fB != 0.0) {
                fB = (fC - fV) / fB;
                fDdy = fC * fB;
                fC = fB1 * fB;
            } else {
                fDdy = fV;
            }
            if (k != m1) fV = a2FD(j, k);
            a2FD(j, k) = fDdy;
            fYY += fDdy;
        }
        (*parFDy)[j] = fDdy;
        (*parFYZ)[j] = fYY;
    }
}

// ---- bulirschStoerStep --------------------------------------------------------

void bulirschStoerStep(A1Val<double>* parFYNext, double* pfXNext, double* pfHUsed,
                       double* pfHNextEst, double fX, A1Val<double>* parFY,
                       A1Val<double>* parFDyDx, Long iNY, double fHTry, double fEps,
                       A1Val<double>* parFYErrScale, ArF64FnF64ArF64* parFDyDxFnFXArFY) {
    VT_ASSERT(parFY->iFirst() == 1 && parFY->iLast() == iNY);
    VT_ASSERT(parFDyDx->iFirst() == 1 && parFDyDx->iLast() == iNY);
    VT_ASSERT(parFYErrScale->iFirst() == 1 && parFYErrScale->iLast() == iNY);
    parFYNext->reconstructIFirstILast(1, iNY);

    A1Val<double> arFYSav(1, 0);
    A1Val<double> arFDyDxSav(1, 0);
    A1Val<double> arFYSeq(1, 0);
    A1Val<double> arFYErr(1, 0);
    A1Val<double> arFXEst(1, nBSStage);
    A2Val<double> a2FD;

    // The start is saved: *parFYNext (which may be *parFY) receives every
    // stage's extrapolation.
    const double fXSav = fX;
    arFYSav = *parFY;
    arFDyDxSav = *parFDyDx;

    double fH = fHTry;
    for (;;) {
        for (Long j = 1; j <= nBSStage; j++) {
            mmidStep(&arFYSeq, fXSav, &arFYSav, &arFDyDxSav, iNY, fH, parFDyDxFnFXArFY,
                     aiNBSSeq[j]);
            const double fHSub = fH / aiNBSSeq[j];
            rzextr(j, fHSub * fHSub, &arFYSeq, parFYNext, &arFYErr, iNY, nBSUse, &arFXEst, &a2FD);
            if (j > 3) {
                double fErrMax = 0.0;
                for (Long i = 1; i <= iNY; i++) {
                    const double fErr = std::fabs(arFYErr[i] / (*parFYErrScale)[i]);
                    // A NaN estimate is kept, so that it is never accepted.
                    if (fErr > fErrMax || std::isnan(fErr)) fErrMax = fErr;
                }
                fErrMax = fErrMax / fEps;
                if (fErrMax < 1.0) {
                    *pfXNext = fXSav + fH;
                    *pfHUsed = fH;
                    if (j == nBSUse)
                        *pfHNextEst = 0.95 * fH;
                    else if (j == nBSUse - 1)
                        *pfHNextEst = 1.2 * fH;
                    else
                        *pfHNextEst = fH * 16.0 / aiNBSSeq[j];
                    return;
                }
            }
        }
        std::printf("    B-S step failed, fH = %12.4le\n", fH);
        // A quarter, then halved (11 - 7) / 2 times.
        fH = fH * 0.25;
        for (Long i = 1; i <= (nBSStage - nBSUse) / 2; i++) fH = fH * 0.5;
        if (fXSav + fH == fXSav) {
            std::fprintf(stderr, "****************************************\n");
            std::fprintf(stderr, "step size underflow in bulirschStoerStep\n");
            std::fprintf(stderr, "****************************************\n");
            VT_ASSERT(fX + fH != fX);
        }
    }
}

// ---- ck5StepQC ----------------------------------------------------------------

void ck5StepQC(A1Val<double>* parFYNext, double* pfXNext, double* pfHUsed,
               double* pfHNextEst, double fX, A1Val<double>* parFY,
               A1Val<double>* parFDyDx, Long iNY, double fHTry, double fEps,
               A1Val<double>* parFYErrScale, ArF64FnF64ArF64* parFDyDxFnFXArFY) {
    VT_ASSERT(parFY->iFirst() == 1 && parFY->iLast() == iNY);
    VT_ASSERT(parFDyDx->iFirst() == 1 && parFDyDx->iLast() == iNY);
    VT_ASSERT(parFYErrScale->iFirst() == 1 && parFYErrScale->iLast() == iNY);
    parFYNext->reconstructIFirstILast(1, iNY);
    FnOfArF fn(parFDyDxFnFXArFY, iNY);
    ck5StepQCN(iNY, pfFirst(parFYNext), pfXNext, pfHUsed, pfHNextEst, fX, pfFirst(parFY),
               pfFirst(parFDyDx), fHTry, fEps, pfFirst(parFYErrScale), fn);
}
