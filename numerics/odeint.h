// Single-step integrators for a system of first-order equations y' = f(x, y).
//
//   rk4Step            one classical fourth-order Runge-Kutta step of fixed size
//   rk5StepQC          one accuracy-controlled step: step doubling on rk4Step
//                      with local extrapolation (fifth order); the flight
//                      simulation runs on this one
//   ck5StepQC          one accuracy-controlled step: the embedded Cash-Karp
//                      pair (fifth order); the guided flight runs on this one
//   mmidStep           modified midpoint rule over a whole interval
//   rzextr             rational extrapolation of successive midpoint results
//                      to step size zero
//   bulirschStoerStep  one accuracy-controlled Bulirsch-Stoer step
//
// The right-hand side is an ArF64FnF64ArF64. Every state, derivative and
// error-scale array is an A1Val<double> over 1..iNY exactly; the steppers
// assert that range on their inputs and re-size their outputs to it. Output
// arrays are owned by the caller.
//
// The steppers keep nothing between calls: their work arrays live for one
// call (rk4Step, rk5StepQC and ck5StepQC hold them on the stack for states
// of up to 16 elements), so flights may run on several threads at once and a
// derivative object may itself call a stepper.
//
// Failures end the program through an assertion. Before a step-size or
// underflow failure the steppers rewrite "debug.txt" in the current directory
// with a dump of the step, so the file holds the last failure only.
#pragma once

#include "core/array.h"
#include "core/types.h"

// The derivative of an array state at a time.
class ArF64FnF64ArF64 {
public:
    // Writes f(fTi, arFState) into *parFDeriv, re-sizing it to the state's
    // range first.
    virtual void arFAtFArF(A1Val<double>* parFDeriv, double fTi,
                           const A1Val<double>& arFState) = 0;

    // Declared after the operation so that it keeps the first slot.
    virtual ~ArF64FnF64ArF64() = default;
};

// One classical RK4 step of length fH from (fX, *parFY), whose derivative
// *parFDyDx the caller has already evaluated. Result in *parFYNext (re-sized
// to 1..iNY). *parFYNext may be the same array as *parFY.
//
// A result component that is non-zero but smaller than 1e-300 in magnitude
// writes "debug.txt" and fails an assertion; an exact 0.0 is fine.
void rk4Step(A1Val<double>* parFYNext, double fX, A1Val<double>* parFY,
             A1Val<double>* parFDyDx, Long iNY, double fH,
             ArF64FnF64ArF64* parFDyDxFnFXArFY);

// One accuracy-controlled step from (fX, *parFY) with derivative *parFDyDx,
// trying fHTry first. The step is accepted when
//     max_i |two half steps - one full step|_i / (*parFYErrScale)[i] / fEps <= 1.0
// (a scaled error of exactly 1.0 is accepted); otherwise it shrinks and
// retries. Returns the new state in *parFYNext, the new abscissa in *pfXNext,
// the step taken in *pfHUsed and the proposed next step in *pfHNextEst, which
// grows at most fourfold.
//
// *parFYNext may be the same array as *parFY (the simulation advances its
// state in place); the result is bit for bit the same as with two arrays.
//
// Fails an assertion (after writing "debug.txt") when the step shrinks so far
// that fX + h == fX; fails an assertion when the scaled error is NaN (the
// retry loop could never end) or the proposed next step is exactly 0.
void rk5StepQC(A1Val<double>* parFYNext, double* pfXNext, double* pfHUsed,
               double* pfHNextEst, double fX, A1Val<double>* parFY,
               A1Val<double>* parFDyDx, Long iNY, double fHTry, double fEps,
               A1Val<double>* parFYErrScale, ArF64FnF64ArF64* parFDyDxFnFXArFY);

// One accuracy-controlled step of the embedded Runge-Kutta pair of Cash and
// Karp (fifth order, with a fourth-order solution from the same six stages):
// arguments, results, acceptance test, step-size rules and failures as for
// rk5StepQC, but the error measured is |fifth order - fourth order| of the
// one step, and the fifth-order result is kept. Five evaluations per trial
// (the caller gives the first), where rk5StepQC takes ten: for a step whose
// length is forced (a landed event) and which the tolerance would allow
// longer, it is the cheaper of the two.
void ck5StepQC(A1Val<double>* parFYNext, double* pfXNext, double* pfHUsed,
               double* pfHNextEst, double fX, A1Val<double>* parFY,
               A1Val<double>* parFDyDx, Long iNY, double fHTry, double fEps,
               A1Val<double>* parFYErrScale, ArF64FnF64ArF64* parFDyDxFnFXArFY);

// Modified midpoint rule from (fX, *parFY) with derivative *parFDyDx over the
// whole interval fH, split into iNStep >= 1 sub-steps. Result in *parFYNext
// (re-sized to 1..iNY; may be the same array as *parFY).
void mmidStep(A1Val<double>* parFYNext, double fX, A1Val<double>* parFY,
              A1Val<double>* parFDyDx, Long iNY, double fH,
              ArF64FnF64ArF64* parFDyDxFnFXArFY, Long iNStep);

// Rational-function extrapolation to zero of a sequence of estimates.
// Call it with iEst = 1, 2, 3, ... for the successive estimates *parFYEst
// (1..iNV) made at abscissa fXEst (for the midpoint rule, the squared
// sub-step). It returns the extrapolated values in *parFYZ and an error
// estimate in *parFDy (both re-sized to 1..iNV). At most nUse of the latest
// estimates take part.
//
// The caller owns the history: *parFXEst holds the abscissas (indices
// 1..iEst are written; it must cover them) and *pa2FD the extrapolation
// tableau (re-sized on iEst = 1 to rows 1..iNV, columns 1..nUse). Both must be
// left untouched between calls of one sequence.
void rzextr(Long iEst, double fXEst, A1Val<double>* parFYEst, A1Val<double>* parFYZ,
            A1Val<double>* parFDy, Long iNV, Long nUse, A1Val<double>* parFXEst,
            A2Val<double>* pa2FD);

// One accuracy-controlled Bulirsch-Stoer step; arguments and results as for
// rk5StepQC. The interval fHTry is covered by midpoint sequences of 2, 4, 6,
// 8, 12, 16, 24, 32, 48, 64, 96 sub-steps, extrapolated rationally (at most
// the last 7 take part); from the fourth on, a scaled error below 1.0 (strictly)
// accepts. If all eleven fail, the step is cut by 16, "    B-S step failed,
// fH = ..." is printed on standard output and the step is retried; a step that
// no longer moves fX prints a framed "step size underflow" on standard error
// and fails an assertion. *parFYNext may be the same array as *parFY.
void bulirschStoerStep(A1Val<double>* parFYNext, double* pfXNext, double* pfHUsed,
                       double* pfHNextEst, double fX, A1Val<double>* parFY,
                       A1Val<double>* parFDyDx, Long iNY, double fHTry, double fEps,
                       A1Val<double>* parFYErrScale, ArF64FnF64ArF64* parFDyDxFnFXArFY);
