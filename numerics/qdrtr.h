// Quadrature of a scalar function object (FFnF) over a finite interval [a, b].
//
//   QTrapzd  one stage of the successively refined trapezoid rule;
//   QTrap    refines until two successive trapezoid estimates agree;
//   QSimp    combines successive trapezoid stages into Simpson's rule.
//
// Each object is set up for one integral and evaluates the function at a and
// b at once, in its constructor; fValue() then computes the integral. The
// function object is not owned and must outlive the integrator.
//
// Convergence is relative: |s - olds| < eps * |olds|, tested from the first
// refinement on. An integral whose estimates are exactly zero (a zero
// integrand, or a == b) therefore never converges. When the stage limit is
// used up, "Too many steps in routine QTrap::fValue" goes to standard error
// (QSimp too) and the program ends with a failed assertion. Limits are not
// checked: reversed limits give the negated integral.
#pragma once

#include <cstdint>

#include "core/types.h"
#include "numerics/ffnf.h"

class QTrapzd {
public:
    // Stage 1: 0.5 (b - a) (f(a) + f(b)).
    QTrapzd(FFnF* pfFnF, double fA, double fB);
    // Adds _iT midpoints and halves the spacing.
    //
    // The point counter is 16 bits wide by design: after 15 refinements it
    // has doubled past 32767 and wrapped to -32768, then to 0. From then on a
    // refinement adds no points and only halves the estimate, so an integral
    // that has not settled within 16 stages does not settle at all and ends
    // in the stage-limit failure instead.
    void refine();
    double fValue() const { return _fValue; }
    // Number of points the next refinement adds (wraps as described above).
    std::int16_t iT() const { return _iT; }

private:
    FFnF* _pfFnF;
    double _fA;
    double _fB;
    std::int16_t _iT;
    double _fValue;
};

class QTrap {
public:
    // Relative tolerance 1e-05, stages 2..20.
    QTrap(FFnF* pfFnF, double fA, double fB);
    QTrap(FFnF* pfFnF, double fA, double fB, double fEps, std::int16_t nStepMax);
    double fValue();

private:
    QTrapzd _qTrapzd;
    double _fEps;
    std::int16_t _iNStepMax;
};

class QSimp {
public:
    // A stage limit below 2 fails right after the first refinement.
    QSimp(FFnF* pfFnF, double fA, double fB, double fEps, std::int16_t nStepMax);
    double fValue();

private:
    QTrapzd _qTrapzd;
    double _fEps;
    std::int16_t _iNStepMax;
};
