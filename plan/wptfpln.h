// Trajectory planning: the waypoint file, the B-spline fit and the path
// analysis.
//
// A hop is described by one line of waypoints (t, x, z) in "traj1r.txt".
// The fit turns them into two scalar B-splines of time, x(t) of degree 6 and
// z(t) of degree 5, which pass through every waypoint and start and end at
// rest. The analysis samples both splines and derives what the vehicle must
// do to fly them: pitch and its rates, the thrust force and pitch moment, the
// mass as propellant burns, and the force range of the three thrusters.
//
// Ownership: every vector or array handed out through a pointer-to-pointer
// argument is newly allocated and belongs to the caller. Arrays of points
// (A<unsigned char*>) hold pointers to Vd<double> vectors that belong to the
// array's owner as well. paPVdfNew makes them, in one block with their
// elements; release them with deletePaPVdf() only, and never replace a
// vector (write its elements in place).
//
// Index ranges: the parameter vector is 1..nParam; waypoints are 0..nPt-1;
// knot vectors 0..m; control points 0..n, each a Vd<double> over 1..1;
// points along the path are Vd<double> over 1..3 holding (x, y, z), y = 0.
#pragma once

#include "core/mxtypes.h"
#include "core/types.h"
#include "sim/params.h"

// ---- waypoint file -------------------------------------------------------------
// Reads the numbers on the first line of szFile (the rest of the file is
// ignored) into a new vector over 1..nParam in file order.
// Stops the program (fatal error, exit status 1) when the file cannot be
// opened, is empty, its first line fills the 4,096-character buffer (4,095
// characters including the newline), the line holds no number, a token is
// not a number, or a number is not finite. Any count of numbers that fits the
// line is accepted.
Vd<double>* pvdfParamTraj1FromFile(const char* szFile);

// ---- B-spline fit --------------------------------------------------------------
// Clamped uniform knot vector over 0..m: p+1 knots at fTi, p+1 at fTf, the
// interior ones evenly spaced in time. Fatal when n < p.
void getBSplineVdfUKnot(Long n, Long p, Long m, double fTi, double fTf, Vd<double>* pvdfUKnot);

// Fits x(t) (degree 6, nX = nPt + 5) and z(t) (degree 5, nZ = nPt + 1) through
// the waypoint triples of pvdfParam, with x', x'', x''' and z' zero at both
// end times, by one dense LU solve.
// Fatal when the count is not a multiple of 3, or with fewer than four
// waypoints (from the knot vector). *pbOk is false, and no other output is
// written, when the solve fails: a singular system, a last time not after
// the first, a waypoint time outside [first time, last time], or a solution
// that is not finite.
void paramsToBSpline(Vd<double>* pvdfParam, unsigned char* pbOk, Vd<double>** ppvdfTParam,
                     A<unsigned char*>** ppaPVdfXParam, double* pfTi, double* pfTf, Long* pnX,
                     Long* ppX, Long* pmX, Vd<double>** ppvdfUKnotX,
                     A<unsigned char*>** ppaPVdfXCpX, Long* pnZ, Long* ppZ, Long* pmZ,
                     Vd<double>** ppvdfUKnotZ, A<unsigned char*>** ppaPVdfXCpZ);

// ---- path analysis -------------------------------------------------------------
// Evaluates both splines at every time of pvdfT (its own index range, which
// every per-sample output takes) and derives position, velocity,
// acceleration, pitch and its two rates, mass, thrust force and pitch moment,
// plus the horizontal range, the propellant used and the smallest and
// largest force of one of the three thrusters.
// Uses the planet's gravity and the vehicle's masses, inertias (fIPitchAtFMs)
// and exhaust speed. Every output pointer may be null; results are stored only through
// the non-null ones. Sample times must lie inside the fitted range (the span
// search asserts otherwise). Drag is not part of the force.
void analyzePathBSpline(Planet const& planet, Vehicle const& vehicle, Long nX, Long pX, Long mX,
                        Vd<double>* pvdfUKnotX, A<unsigned char*>* paPVdfXCpX, Long nZ, Long pZ,
                        Long mZ, Vd<double>* pvdfUKnotZ, A<unsigned char*>* paPVdfXCpZ,
                        Vd<double>* pvdfT, A<unsigned char*>** ppaPVdfX, Vd<double>** ppvdfPitch,
                        A<unsigned char*>** ppaPVdfXDot, Vd<double>** ppvdfPitchDot,
                        A<unsigned char*>** ppaPVdfXDot2, Vd<double>** ppvdfPitchDot2,
                        Vd<double>** ppvdfMs, A<unsigned char*>** ppaPVdfF,
                        A<unsigned char*>** ppaPVdfM, double* pfHorzRange, double* pfMsProp,
                        double* pfFThrusterMin, double* pfFThrusterMax);

// ---- helpers -------------------------------------------------------------------
// A new array over lo..hi of new zero vectors over 1..nDim.
A<unsigned char*>* paPVdfNew(Long lo, Long hi, Long nDim);
// The vector behind element i of an array of vector pointers.
inline Vd<double>* pvdfAt(A<unsigned char*>* pa, Long i) {
    return reinterpret_cast<Vd<double>*>((*pa)[i]);
}
// Deletes every vector of the array, then the array; null is allowed.
void deletePaPVdf(A<unsigned char*>* pa);
