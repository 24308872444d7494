// The steppers rk4Step, rk5StepQC and ck5StepQC (odeint.h) over plain
// arrays, with the derivative a template argument, so that it is inlined
// into the stepper's loops.
//
// rk4StepFx, rk5StepQCFx and ck5StepQCFx take a state of iN elements, iN
// known at compile time: their work arrays are plain arrays on the stack.
// rk4StepN, rk5StepQCN and ck5StepQCN are the same steppers for a length
// given either that way (OdeLenFx<iN>) or at run time (a Long): the forms of
// odeint.h are these with the run-time length. Arrays are indexed 0..iN-1
// for the 1..iN of odeint.h; the arithmetic is the same operation for
// operation, so every result is the same double, and failures write the same
// "debug.txt" and fail the same assertions, through odeint.cpp.
//
// fn(pfDeriv, fX, pfY) writes the iN derivatives at (fX, pfY).
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <type_traits>

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

// The length of the state: a constant (OdeLenFx<iN>) or a run-time Long.
template <Long iN>
using OdeLenFx = std::integral_constant<Long, iN>;

// One work array of iN doubles, left uninitialised, living for the call that
// declares it.
template <class Len>
class OdeWork;

template <Long iN>
class OdeWork<OdeLenFx<iN>> {
public:
    explicit OdeWork(OdeLenFx<iN>) {}
    double* pf() { return af; }

private:
    double af[iN];
};

// A run-time length: on the stack up to nOnStack elements, as the program's
// seven-element state is, from the heap beyond.
template <>
class OdeWork<Long> {
public:
    explicit OdeWork(Long iN) : pfData(iN <= nOnStack ? af : new double[iN]) {}
    OdeWork(OdeWork const&) = delete;
    OdeWork& operator=(OdeWork const&) = delete;
    ~OdeWork() {
        if (pfData != af) delete[] pfData;
    }
    double* pf() { return pfData; }

private:
    static constexpr Long nOnStack = 16;
    double af[nOnStack];
    double* pfData;
};

// rk4Step: pfYNext may be pfY.
template <class Len, class Fn>
inline void rk4StepN(Len iN, double* pfYNext, double fX, const double* pfY, const double* pfDyDx,
                     double fH, Fn& fn) {
    OdeWork<Len> wYT(iN), wDyT(iN), wDyM(iN), wYOut(iN);
    double* const afYT = wYT.pf();
    double* const afDyT = wDyT.pf();
    double* const afDyM = wDyM.pf();
    double* const afYOut = wYOut.pf();
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

    // The result goes to a work array first so that the dump still shows the
    // input state when the caller passed one array for both.
    for (Long i = 0; i < iN; i++)
        afYOut[i] = pfY[i] + fH6 * (pfDyDx[i] + afDyT[i] + 2.0 * afDyM[i]);
    // A component with 0 < |y| < 1e-300 fails the step. The test runs first
    // on the bits, without a branch per component: with the sign bit
    // cleared, the bit patterns of doubles order as their magnitudes do
    // (NaNs above infinity), so 0 < |y| < 1e-300 exactly when bits(|y|) - 1
    // < bits(1e-300) - 1 in unsigned arithmetic (a zero wraps to the
    // largest value). The least of these over the components decides; only
    // then does the loop find the first such component for the message.
    constexpr std::uint64_t iBitsTiny = std::bit_cast<std::uint64_t>(1e-300) - 1;
    std::uint64_t iBitsLeast = ~std::uint64_t{0};
    for (Long i = 0; i < iN; i++) {
        const std::uint64_t iBits =
            (std::bit_cast<std::uint64_t>(afYOut[i]) & 0x7fffffffffffffffULL) - 1;
        iBitsLeast = iBits < iBitsLeast ? iBits : iBitsLeast;
    }
    if (iBitsLeast < iBitsTiny) {
        for (Long i = 0; i < iN; i++) {
            const double fYNext = afYOut[i];
            if (fYNext != 0.0 && std::fabs(fYNext) < 1e-300)
                rk4StepFailYTooSmall(fX, fH, pfY, afDyT, afYOut, iN, fYNext);
        }
    }
    for (Long i = 0; i < iN; i++) pfYNext[i] = afYOut[i];
}

// rk5StepQC: pfYNext may be pfY.
template <class Len, class Fn>
inline void rk5StepQCN(Len iN, double* pfYNext, double* pfXNext, double* pfHUsed,
                       double* pfHNextEst, double fX, const double* pfY, const double* pfDyDx,
                       double fHTry, double fEps, const double* pfYErrScale, Fn& fn) {
    OdeWork<Len> wYTemp1(iN), wDyDxTemp(iN), wYNext(iN), wYTemp2(iN);
    double* const afYTemp1 = wYTemp1.pf();
    double* const afDyDxTemp = wDyDxTemp.pf();
    double* const afYNext = wYNext.pf();
    double* const afYTemp2 = wYTemp2.pf();

    // pfYNext is written only once the step is accepted, from the work arrays
    // alone: the simulation passes its state as both pfY and pfYNext, and
    // every trial must start from the untouched state.
    double fH = fHTry;
    Long iLoop = 0;
    double fErrMax = 0.0;
    for (;;) {
        iLoop += 1;
        const double fHOver2 = 0.5 * fH;

        // Two half steps.
        rk4StepN(iN, afYTemp1, fX, pfY, pfDyDx, fHOver2, fn);
        const double fXTemp = fX + fHOver2;
        fn(afDyDxTemp, fXTemp, afYTemp1);
        rk4StepN(iN, afYNext, fXTemp, afYTemp1, afDyDxTemp, fHOver2, fn);

        *pfXNext = fX + fH;
        if (*pfXNext == fX)
            rk5StepQCFailStepTooSmall(iLoop, fX, fHTry, fH, afYTemp1, afDyDxTemp, afYNext, iN,
                                      *pfXNext);

        // One full step.
        rk4StepN(iN, afYTemp2, fX, pfY, pfDyDx, fH, fn);

        fErrMax = 0.0;
        for (Long i = 0; i < iN; i++) {
            const double fErr = std::fabs(afYNext[i] - afYTemp2[i]) / pfYErrScale[i];
            // A NaN component must not be passed over by the comparison.
            if (fErr > fErrMax || std::isnan(fErr)) fErrMax = fErr;
        }
        fErrMax = fErrMax / fEps;
        // A NaN scaled error would retry for ever: NaN > 1e-200 is false, so
        // the step would never shrink. Stop here instead of hanging.
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

    // Local extrapolation: the fourth-order error of the two half steps is
    // removed, leaving a fifth-order result.
    for (Long i = 0; i < iN; i++) pfYNext[i] = afYNext[i] + (afYNext[i] - afYTemp2[i]) / 15.0;
}

// ck5StepQC, the embedded Cash-Karp pair: pfYNext may be pfY, and is
// written only once the step is accepted.
//
// The Cash-Karp tableau (J. R. Cash, A. H. Karp, ACM TOMS 16 (1990) 201):
//   k1 = f(x, y)
//   k_i = f(x + c_i h, y + h sum_{j<i} a_ij k_j),  i = 2..6
//   y5 = y + h sum b_i k_i      (fifth order, kept)
//   y4 = y + h sum b*_i k_i     (fourth order, for the error only)
// so the error measured is y5 - y4 = h sum (b_i - b*_i) k_i. The weights
// below are the published ones; each row of a sums to c_i, and b and b* each
// sum to 1 (the consistency conditions, checked by the tests through the
// order of the step on a known solution).
template <class Len, class Fn>
inline void ck5StepQCN(Len iN, double* pfYNext, double* pfXNext, double* pfHUsed,
                       double* pfHNextEst, double fX, const double* pfY, const double* pfDyDx,
                       double fHTry, double fEps, const double* pfYErrScale, Fn& fn) {
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
    OdeWork<Len> wK2(iN), wK3(iN), wK4(iN), wK5(iN), wK6(iN), wYT(iN), wYOut(iN);
    double* const k2 = wK2.pf();
    double* const k3 = wK3.pf();
    double* const k4 = wK4.pf();
    double* const k5 = wK5.pf();
    double* const k6 = wK6.pf();
    double* const afYT = wYT.pf();
    double* const afYOut = wYOut.pf();
    const double* k1 = pfDyDx;
    double fH = fHTry;
    double fErrMax = 0.0;
    for (;;) {
        for (Long i = 0; i < iN; i++) afYT[i] = pfY[i] + fH * a21 * k1[i];
        fn(k2, fX + c2 * fH, afYT);
        for (Long i = 0; i < iN; i++) afYT[i] = pfY[i] + fH * (a31 * k1[i] + a32 * k2[i]);
        fn(k3, fX + c3 * fH, afYT);
        for (Long i = 0; i < iN; i++)
            afYT[i] = pfY[i] + fH * (a41 * k1[i] + a42 * k2[i] + a43 * k3[i]);
        fn(k4, fX + c4 * fH, afYT);
        for (Long i = 0; i < iN; i++)
            afYT[i] = pfY[i] + fH * (a51 * k1[i] + a52 * k2[i] + a53 * k3[i] + a54 * k4[i]);
        fn(k5, fX + c5 * fH, afYT);
        for (Long i = 0; i < iN; i++)
            afYT[i] = pfY[i] + fH * (a61 * k1[i] + a62 * k2[i] + a63 * k3[i] + a64 * k4[i] +
                                     a65 * k5[i]);
        fn(k6, fX + c6 * fH, afYT);

        *pfXNext = fX + fH;
        if (*pfXNext == fX) rk5StepQCFailStepTooSmall(0, fX, fHTry, fH, afYT, k6, afYOut, iN, *pfXNext);
        fErrMax = 0.0;
        for (Long i = 0; i < iN; i++) {
            afYOut[i] = pfY[i] + fH * (b1 * k1[i] + b3 * k3[i] + b4 * k4[i] + b6 * k6[i]);
            const double fErr =
                std::fabs(fH * (e1 * k1[i] + e3 * k3[i] + e4 * k4[i] + e5 * k5[i] + e6 * k6[i])) /
                pfYErrScale[i];
            if (fErr > fErrMax || std::isnan(fErr)) fErrMax = fErr;
        }
        fErrMax = fErrMax / fEps;
        rk5StepQCCheckErr(fErrMax);
        if (fErrMax <= 1.0) break;
        if (fErrMax > 1e-200) fH = 0.9 * fH * std::exp(-0.25 * std::log(fErrMax));
    }
    *pfHUsed = fH;
    if (fErrMax > 0.0006)
        *pfHNextEst = 0.9 * fH * std::exp(-0.2 * std::log(fErrMax));
    else
        *pfHNextEst = 4.0 * fH;
    rk5StepQCCheckHNext(*pfHNextEst);
    for (Long i = 0; i < iN; i++) pfYNext[i] = afYOut[i];
}

// The steppers for a state of iN elements, iN known at compile time.
template <Long iN, class Fn>
inline void rk4StepFx(double* pfYNext, double fX, const double* pfY, const double* pfDyDx,
                      double fH, Fn& fn) {
    rk4StepN(OdeLenFx<iN>{}, pfYNext, fX, pfY, pfDyDx, fH, fn);
}

template <Long iN, class Fn>
inline void rk5StepQCFx(double* pfYNext, double* pfXNext, double* pfHUsed, double* pfHNextEst,
                        double fX, const double* pfY, const double* pfDyDx, double fHTry,
                        double fEps, const double* pfYErrScale, Fn& fn) {
    rk5StepQCN(OdeLenFx<iN>{}, pfYNext, pfXNext, pfHUsed, pfHNextEst, fX, pfY, pfDyDx, fHTry,
               fEps, pfYErrScale, fn);
}

template <Long iN, class Fn>
inline void ck5StepQCFx(double* pfYNext, double* pfXNext, double* pfHUsed, double* pfHNextEst,
                        double fX, const double* pfY, const double* pfDyDx, double fHTry,
                        double fEps, const double* pfYErrScale, Fn& fn) {
    ck5StepQCN(OdeLenFx<iN>{}, pfYNext, pfXNext, pfHUsed, pfHNextEst, fX, pfY, pfDyDx, fHTry,
               fEps, pfYErrScale, fn);
}
