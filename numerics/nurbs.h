// Non-rational B-spline curves of any degree and dimension: knot-span search,
// the non-zero basis functions at a parameter value, the basis functions with
// their derivatives, and a curve point with its derivatives.
//
// Notation: p is the degree, the control points are indexed 0..n, and the
// knot vector U runs over 0..m with m = n + p + 1, non-decreasing. The curve
// is defined for u in [U[p], U[n+1]].
//
// Inputs:
//   pvdfUKnot  knot vector, Vd<double> over exactly 0..n+p+1; only read.
//   papVdfP    control points: a one-dimensional A<unsigned char*> over 0..n
//              whose elements point at Vd<double> coordinate vectors over
//              1..nDim. The caller owns the points.
// Outputs (supplied by the caller, only written):
//   pvdfN        Vd<double> over 0..p; entry j is N(span-p+j, p)(u).
//   pmdcfDerivs  basis routine: Mdc<double> rows 0..nDeriv (order k) by
//                columns 0..p (basis function j);
//                curve routine: Mdc<double> rows 1..nDim (coordinate) by
//                columns 0..d (order k).
//   pvdfX        Vd<double> whose low index is 1; entries 1..nDim written.
//
// Every precondition is an assertion: a wrong knot-vector range, u outside
// [U[p], U[n+1]] (NaN included), and any index outside a container's range.
// Nothing is clamped or extrapolated.
//
// Work tables live for one call only and nothing is kept between calls, so
// any number of threads may evaluate at once. For degrees up to 15 (and, for
// a curve's derivatives, up to 4 coordinates) they are on the stack and an
// evaluation allocates nothing; other shapes take them from the heap.
#pragma once

#include "core/mxtypes.h"
#include "core/types.h"

// The knot span i, p <= i <= n, with U[i] <= u < U[i+1]. The closing value
// u == U[n+1] gives n, the last non-empty span, so the curve's end point is
// evaluated inside the curve.
Long iSpanInKnotvc(Long n, Long p, double u, Vd<double>* pvdfUKnot);

// The p + 1 basis functions that are non-zero on span iSpan, at u, into
// (*pvdfN)[0..p].
void vdfNBSpline(Long iSpan, double u, Long p, Vd<double>* pvdfUKnot, Vd<double>* pvdfN);

// The basis functions of span iSpan and their derivatives of orders 0..nDeriv
// at u: entry (k, j) is the k-th derivative of N(iSpan-p+j, p). Orders above p
// come out as rows of zeros.
void mdcfDerivsBSpline(Long iSpan, double u, Long p, Long nDeriv, Vd<double>* pvdfUKnot,
                       Mdc<double>* pmdcfDerivs);

// The curve point at u into (*pvdfX)[1..nDim].
void vdfXBSplineAtU(Long nDim, double u, Long n, Long p, Vd<double>* pvdfUKnot,
                    A<unsigned char*>* papVdfP, Vd<double>* pvdfX);

// The curve's derivatives of orders 0..d at u: column k holds the k-th
// derivative (column 0 the point), rows 1..nDim the coordinates. Columns above
// p are zero. Note that u comes after the control points here, unlike in
// vdfXBSplineAtU.
void mdcfDerivsBSplineAtU(Long nDim, Long n, Long p, Vd<double>* pvdfUKnot,
                          A<unsigned char*>* papVdfP, double u, Long d, Mdc<double>* pmdcfDerivs);
