// Single-step ODE integrators (see odeint.h).
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

}  // namespace

// ---- rk4Step ------------------------------------------------------------------

void rk4Step(A1Val<double>* parFYNext, double fX, A1Val<double>* parFY,
             A1Val<double>* parFDyDx, Long iNY, double fH,
             ArF64FnF64ArF64* parFDyDxFnFXArFY) {
    VT_ASSERT(parFY->iFirst() == 1 && parFY->iLast() == iNY);
    VT_ASSERT(parFDyDx->iFirst() == 1 && parFDyDx->iLast() == iNY);
    parFYNext->reconstructIFirstILast(1, iNY);

    // Work arrays live as long as the thread; re-sizing to the same count
    // keeps their blocks, so a step allocates nothing after the first.
    static thread_local A1Val<double> arFYT(1, 0);
    static thread_local A1Val<double> arFDyT(1, 0);
    static thread_local A1Val<double> arFDyM(1, 0);
    static thread_local A1Val<double> arFYOut(1, 0);
    arFYT.reconstructIFirstILast(1, iNY);
    arFYOut.reconstructIFirstILast(1, iNY);

    const A1Val<double>& arFY = *parFY;
    const A1Val<double>& arFDyDx = *parFDyDx;
    const double fHH = fH / 2.0;
    const double fH6 = fH / 6.0;
    const double fXH = fX + fHH;

    for (Long i = 1; i <= iNY; i++) arFYT[i] = arFY[i] + fHH * arFDyDx[i];
    parFDyDxFnFXArFY->arFAtFArF(&arFDyT, fXH, arFYT);
    for (Long i = 1; i <= iNY; i++) arFYT[i] = arFY[i] + fHH * arFDyT[i];
    parFDyDxFnFXArFY->arFAtFArF(&arFDyM, fXH, arFYT);
    for (Long i = 1; i <= iNY; i++) {
        arFYT[i] = arFY[i] + fH * arFDyM[i];
        arFDyM[i] += arFDyT[i];
    }
    parFDyDxFnFXArFY->arFAtFArF(&arFDyT, fX + fH, arFYT);

    // The result goes to a work array first so that the dump below still
    // shows the input state when the caller passed one array for both.
    for (Long i = 1; i <= iNY; i++)
        arFYOut[i] = arFY[i] + fH6 * (arFDyDx[i] + arFDyT[i] + 2.0 * arFDyM[i]);

    for (Long i = 1; i <= iNY; i++) {
        const double fYNext = arFYOut[i];
        if (fYNext != 0.0 && std::fabs(fYNext) < 1e-300) {
            writeDebugYTooSmall(fX, fH, arFY, arFDyT, arFYOut);
            VT_ASSERT(std::fabs(fYNext) >= 1e-300);
        }
    }
    for (Long i = 1; i <= iNY; i++) (*parFYNext)[i] = arFYOut[i];
}

// ---- the failure ends of the fixed-size steppers (odeintfx.h) --------------------

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

    static thread_local A1Val<double> arFYTemp1(1, 0);
    static thread_local A1Val<double> arFDyDxTemp(1, 0);
    static thread_local A1Val<double> arFYNext(1, 0);
    static thread_local A1Val<double> arFYTemp2(1, 0);

    // *parFYNext is written only once the step is accepted, from the work
    // arrays alone: the simulation passes its state as both *parFY and
    // *parFYNext, and every trial must start from the untouched state.
    double fH = fHTry;
    Long iLoop = 0;
    double fErrMax = 0.0;
    for (;;) {
        iLoop += 1;
        const double fHOver2 = 0.5 * fH;

        // Two half steps.
        rk4Step(&arFYTemp1, fX, parFY, parFDyDx, iNY, fHOver2, parFDyDxFnFXArFY);
        const double fXTemp = fX + fHOver2;
        parFDyDxFnFXArFY->arFAtFArF(&arFDyDxTemp, fXTemp, arFYTemp1);
        rk4Step(&arFYNext, fXTemp, &arFYTemp1, &arFDyDxTemp, iNY, fHOver2, parFDyDxFnFXArFY);

        *pfXNext = fX + fH;
        if (*pfXNext == fX) {
            writeDebugStepTooSmall(iLoop, fX, fHTry, fH, arFYTemp1, arFDyDxTemp, arFYNext);
            VT_ASSERT(*pfXNext != fX);
        }

        // One full step.
        rk4Step(&arFYTemp2, fX, parFY, parFDyDx, iNY, fH, parFDyDxFnFXArFY);

        fErrMax = 0.0;
        for (Long i = 1; i <= iNY; i++) {
            const double fErr = std::fabs(arFYNext[i] - arFYTemp2[i]) / (*parFYErrScale)[i];
            // A NaN component must not be passed over by the comparison.
            if (fErr > fErrMax || std::isnan(fErr)) fErrMax = fErr;
        }
        fErrMax = fErrMax / fEps;
        // A NaN scaled error would retry for ever: NaN > 1e-200 is false, so
        // the step would never shrink. Stop here instead of hanging.
        VT_ASSERT(!std::isnan(fErrMax));

        if (fErrMax <= 1.0) break;
        if (fErrMax > 1e-200) fH = 0.9 * fH * std::exp(-0.25 * std::log(fErrMax));
    }

    *pfHUsed = fH;
    if (fErrMax > 0.0006)
        *pfHNextEst = 0.9 * fH * std::exp(-0.2 * std::log(fErrMax));
    else
        *pfHNextEst = 4.0 * fH;
    VT_ASSERT(*pfHNextEst != 0.0);

    // Local extrapolation: the fourth-order error of the two half steps is
    // removed, leaving a fifth-order result.
    for (Long i = 1; i <= iNY; i++)
        (*parFYNext)[i] = arFYNext[i] + (arFYNext[i] - arFYTemp2[i]) / 15.0;
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
    static thread_local A1Val<double> arFZM(1, 0);
    static thread_local A1Val<double> arFZN(1, 0);
    static thread_local A1Val<double> arFDz(1, 0);
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
    static thread_local A1Val<double> arFFx(1, 0);
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

    static thread_local A1Val<double> arFYSav(1, 0);
    static thread_local A1Val<double> arFDyDxSav(1, 0);
    static thread_local A1Val<double> arFYSeq(1, 0);
    static thread_local A1Val<double> arFYErr(1, 0);
    static thread_local A1Val<double> arFXEst(1, nBSStage);
    static thread_local A2Val<double> a2FD;

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

// The Cash-Karp tableau (J. R. Cash, A. H. Karp, ACM TOMS 16 (1990) 201):
//   k1 = f(x, y)
//   k_i = f(x + c_i h, y + h sum_{j<i} a_ij k_j),  i = 2..6
//   y5 = y + h sum b_i k_i      (fifth order, kept)
//   y4 = y + h sum b*_i k_i     (fourth order, for the error only)
// so the error measured is y5 - y4 = h sum (b_i - b*_i) k_i. The weights
// below are the published ones; each row of a sums to c_i, and b and b* each
// sum to 1 (the consistency conditions, checked by the tests through the
// order of the step on a known solution).
void ck5StepQC(A1Val<double>* parFYNext, double* pfXNext, double* pfHUsed,
               double* pfHNextEst, double fX, A1Val<double>* parFY,
               A1Val<double>* parFDyDx, Long iNY, double fHTry, double fEps,
               A1Val<double>* parFYErrScale, ArF64FnF64ArF64* parFDyDxFnFXArFY) {
    VT_ASSERT(parFY->iFirst() == 1 && parFY->iLast() == iNY);
    VT_ASSERT(parFDyDx->iFirst() == 1 && parFDyDx->iLast() == iNY);
    VT_ASSERT(parFYErrScale->iFirst() == 1 && parFYErrScale->iLast() == iNY);
    parFYNext->reconstructIFirstILast(1, iNY);

    constexpr double c2 = 0.2, c3 = 0.3, c4 = 0.6, c5 = 1.0, c6 = 0.875;
    constexpr double a21 = 0.2;
    constexpr double a31 = 3.0 / 40.0, a32 = 9.0 / 40.0;
    constexpr double a41 = 0.3, a42 = -0.9, a43 = 1.2;
    constexpr double a51 = -11.0 / 54.0, a52 = 2.5, a53 = -70.0 / 27.0, a54 = 35.0 / 27.0;
    constexpr double a61 = 1631.0 / 55296.0, a62 = 175.0 / 512.0, a63 = 575.0 / 13824.0,
                     a64 = 44275.0 / 110592.0, a65 = 253.0 / 4096.0;
    constexpr double b1 = 37.0 / 378.0, b3 = 250.0 / 621.0, b4 = 125.0 / 594.0,
                     b6 = 512.0 / 1771.0;  // b2 = b5 = 0
    constexpr double e1 = b1 - 2825.0 / 27648.0, e3 = b3 - 18575.0 / 48384.0,
                     e4 = b4 - 13525.0 / 55296.0, e5 = -277.0 / 14336.0, e6 = b6 - 0.25;

    static thread_local A1Val<double> arFK2(1, 0), arFK3(1, 0), arFK4(1, 0), arFK5(1, 0),
        arFK6(1, 0), arFYT(1, 0), arFYOut(1, 0);
    arFYT.reconstructIFirstILast(1, iNY);
    arFYOut.reconstructIFirstILast(1, iNY);
    const A1Val<double>& arFY = *parFY;
    const A1Val<double>& k1 = *parFDyDx;

    // *parFYNext is written only once the step is accepted (it may be *parFY).
    double fH = fHTry;
    double fErrMax = 0.0;
    for (;;) {
        for (Long i = 1; i <= iNY; i++) arFYT[i] = arFY[i] + fH * a21 * k1[i];
        parFDyDxFnFXArFY->arFAtFArF(&arFK2, fX + c2 * fH, arFYT);
        for (Long i = 1; i <= iNY; i++) arFYT[i] = arFY[i] + fH * (a31 * k1[i] + a32 * arFK2[i]);
        parFDyDxFnFXArFY->arFAtFArF(&arFK3, fX + c3 * fH, arFYT);
        for (Long i = 1; i <= iNY; i++)
            arFYT[i] = arFY[i] + fH * (a41 * k1[i] + a42 * arFK2[i] + a43 * arFK3[i]);
        parFDyDxFnFXArFY->arFAtFArF(&arFK4, fX + c4 * fH, arFYT);
        for (Long i = 1; i <= iNY; i++)
            arFYT[i] = arFY[i] + fH * (a51 * k1[i] + a52 * arFK2[i] + a53 * arFK3[i] + a54 * arFK4[i]);
        parFDyDxFnFXArFY->arFAtFArF(&arFK5, fX + c5 * fH, arFYT);
        for (Long i = 1; i <= iNY; i++)
            arFYT[i] = arFY[i] + fH * (a61 * k1[i] + a62 * arFK2[i] + a63 * arFK3[i] +
                                       a64 * arFK4[i] + a65 * arFK5[i]);
        parFDyDxFnFXArFY->arFAtFArF(&arFK6, fX + c6 * fH, arFYT);

        *pfXNext = fX + fH;
        if (*pfXNext == fX) {
            writeDebugStepTooSmall(0, fX, fHTry, fH, arFYT, arFK6, arFYOut);
            VT_ASSERT(*pfXNext != fX);
        }
        fErrMax = 0.0;
        for (Long i = 1; i <= iNY; i++) {
            arFYOut[i] = arFY[i] + fH * (b1 * k1[i] + b3 * arFK3[i] + b4 * arFK4[i] + b6 * arFK6[i]);
            const double fErr = std::fabs(fH * (e1 * k1[i] + e3 * arFK3[i] + e4 * arFK4[i] +
                                                e5 * arFK5[i] + e6 * arFK6[i])) /
                                (*parFYErrScale)[i];
            if (fErr > fErrMax || std::isnan(fErr)) fErrMax = fErr;
        }
        fErrMax = fErrMax / fEps;
        VT_ASSERT(!std::isnan(fErrMax));
        if (fErrMax <= 1.0) break;
        if (fErrMax > 1e-200) fH = 0.9 * fH * std::exp(-0.25 * std::log(fErrMax));
    }

    *pfHUsed = fH;
    if (fErrMax > 0.0006)
        *pfHNextEst = 0.9 * fH * std::exp(-0.2 * std::log(fErrMax));
    else
        *pfHNextEst = 4.0 * fH;
    VT_ASSERT(*pfHNextEst != 0.0);
    for (Long i = 1; i <= iNY; i++) (*parFYNext)[i] = arFYOut[i];
}
