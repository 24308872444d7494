// Three-dimensional cartesian geometry: points, free vectors, unit
// directions and 3-by-3 frame rotations.
//
// Pt3c (a place), Vc3c (a displacement) and Dr3c (a direction of length 1)
// are kept apart in the type system so that transforms treat each correctly:
// a point moves with a translation, a vector does not, a direction is
// re-normalised. All three are plain values with the fields fX, fY, fZ.
//
// A Dr3c is made only through its normalising constructors; a zero-length
// input fails the assertion "fNorm != 0.0" and ends the program.
//
// Rcb3c is a change of coordinate frame: applied to the coordinates of a
// point in the old frame it gives the point's coordinates in the new frame.
// The elementary rotations are therefore the transpose of the right-handed
// rotation by the angle (rcb3cRotFRdnZ(a) maps (1, 0, 0) to (cos a, -sin a,
// 0)), the same sense as the homogeneous factories of geom4h.h. Matrix
// elements mxF[r][c] are indexed 0..2.
//
// Angles are radians and the frame is right-handed throughout.
//
// Cylindrical coordinates are (r, phi, z): r the distance from the z axis,
// phi the azimuth measured from +x toward +y. Spherical coordinates are
// (r, phi, th): r the distance from the origin, phi the same azimuth, th the
// polar angle measured from +z (0 on the +z axis, pi on the -z axis).
// Conversions that return several numbers write them through pointer
// arguments, outputs first, inputs last.
#pragma once

#include "core/types.h"

class Vc3c;
class Dr3c;

// ---- points, vectors, directions --------------------------------------------

class Pt3c {
public:
    constexpr Pt3c() : fX(0.0), fY(0.0), fZ(0.0) {}
    constexpr Pt3c(double x, double y, double z) : fX(x), fY(y), fZ(z) {}

    double fX;
    double fY;
    double fZ;
};

class Vc3c {
public:
    constexpr Vc3c() : fX(0.0), fY(0.0), fZ(0.0) {}
    constexpr Vc3c(double x, double y, double z) : fX(x), fY(y), fZ(z) {}
    // The vector of length 1 along a direction.
    explicit Vc3c(Dr3c const& dr);

    double fX;
    double fY;
    double fZ;
};

class Dr3c {
public:
    // An unset direction holds (1, 0, 0), so it is a unit vector even
    // before it is given a meaning (arrays of camera records need it).
    constexpr Dr3c() : fX(1.0), fY(0.0), fZ(0.0) {}
    // The normalising constructors: each component divided by the length.
    // Assertion "fNorm != 0.0" for a zero-length input.
    Dr3c(double x, double y, double z);
    explicit Dr3c(const double* p);  // p[0], p[1], p[2]
    explicit Dr3c(Vc3c const& vc);

    double fX;
    double fY;
    double fZ;
};

// Small arithmetic, each in the obvious component-wise order.
Vc3c operator-(Pt3c const& pt1, Pt3c const& pt2);  // pt1 - pt2
Pt3c operator+(Pt3c const& pt, Vc3c const& vc);
Pt3c operator-(Pt3c const& pt, Vc3c const& vc);
Vc3c operator+(Vc3c const& vc1, Vc3c const& vc2);
Vc3c operator-(Vc3c const& vc1, Vc3c const& vc2);
Vc3c operator-(Vc3c const& vc);
Vc3c operator*(double f, Vc3c const& vc);
Vc3c operator*(double f, Dr3c const& dr);  // a vector of length |f| along dr
// The opposite direction (re-normalised like any new direction).
Dr3c operator-(Dr3c const& dr);

double fDotVcVc(Vc3c const& vc1, Vc3c const& vc2);
double fDotDrDr(Dr3c const& dr1, Dr3c const& dr2);
double fDotVcDr(Vc3c const& vc, Dr3c const& dr);
// Euclidean length, sqrt(x*x + y*y + z*z).
double fLenVc(Vc3c const& vc);
double fDistPtPt(Pt3c const& pt1, Pt3c const& pt2);

// ---- cross products -----------------------------------------------------------
// a x b = (a.y*b.z - a.z*b.y, a.z*b.x - a.x*b.z, a.x*b.y - a.y*b.x).
// The vc... forms return the product as it is; the dr... forms normalise it,
// so parallel operands fail the assertion "fNorm != 0.0".

Vc3c vcCrossVcVc(Vc3c const& a, Vc3c const& b);
Vc3c vcCrossVcDr(Vc3c const& a, Dr3c const& b);
Vc3c vcCrossDrVc(Dr3c const& a, Vc3c const& b);
Vc3c vcCrossDrDr(Dr3c const& a, Dr3c const& b);
Dr3c drCrossVcVc(Vc3c const& a, Vc3c const& b);
Dr3c drCrossVcDr(Vc3c const& a, Dr3c const& b);
Dr3c drCrossDrVc(Dr3c const& a, Vc3c const& b);
Dr3c drCrossDrDr(Dr3c const& a, Dr3c const& b);

// ---- frame rotations ------------------------------------------------------------

class Rcb3c {
public:
    // An unset rotation: all nine elements zero.
    Rcb3c();
    // Copies three rows of three.
    explicit Rcb3c(double (*mx)[3]);

    double mxF[3][3];
};

Rcb3c rcb3cIdent();
// Frame turned by the angle about one axis: rows of rcb3cRotFRdnZ(a) are
// (c, s, 0), (-s, c, 0), (0, 0, 1); X and Y likewise (cyclic).
Rcb3c rcb3cRotFRdnX(double fRdn);
Rcb3c rcb3cRotFRdnY(double fRdn);
Rcb3c rcb3cRotFRdnZ(double fRdn);
// Three successive frame turns: about Z by fRdn1, then about the new X by
// fRdn2, then about the newest Z by fRdn3; equal to
// rcb3cRotFRdnZ(fRdn3) * rcb3cRotFRdnX(fRdn2) * rcb3cRotFRdnZ(fRdn1).
Rcb3c rcb3cRotFRdnZXZ(double fRdn1, double fRdn2, double fRdn3);

// Frames from two directions. rcb3cDrXYNew(dr1, dr2): the new X axis is dr1,
// the new Y axis lies in the plane of dr1 and dr2 on dr2's side, Z completes
// the right-handed frame. The rows of the result are the new axes in old
// coordinates. The siblings name the axes the same way (first-named axis
// along dr1, second-named in the plane). dr1 parallel to dr2 fails the
// assertion "fNorm != 0.0".
Rcb3c rcb3cDrXYNew(Dr3c const& dr1, Dr3c const& dr2);
Rcb3c rcb3cDrYZNew(Dr3c const& dr1, Dr3c const& dr2);
Rcb3c rcb3cDrZXNew(Dr3c const& dr1, Dr3c const& dr2);
Rcb3c rcb3cDrXZNew(Dr3c const& dr1, Dr3c const& dr2);
Rcb3c rcb3cDrYXNew(Dr3c const& dr1, Dr3c const& dr2);
Rcb3c rcb3cDrZYNew(Dr3c const& dr1, Dr3c const& dr2);
// Frame turned by the angle about a unit axis (right-handed about the axis);
// rcb3cDrAxisFRdn(Dr3c(0, 0, 1), a) equals rcb3cRotFRdnZ(a).
Rcb3c rcb3cDrAxisFRdn(Dr3c const& drAxis, double fRdn);

// The inverse of a rotation: its transpose.
Rcb3c rcb3cInv(Rcb3c const& rcb);
// Matrix product; in a * b applied to a point, b acts first.
Rcb3c operator*(Rcb3c const& a, Rcb3c const& b);
Pt3c ptRcb(Rcb3c const& rcb, Pt3c const& pt);
Vc3c vcRcb(Rcb3c const& rcb, Vc3c const& vc);
Dr3c drRcb(Rcb3c const& rcb, Dr3c const& dr);

// ---- coordinate conversions --------------------------------------------------------
// Azimuths come from atan2 and lie in (-pi, pi]; the origin (and the z axis
// for the azimuth) gives 0 for the undefined angles.

void rctFmCyl(double* pfX, double* pfY, double* pfZ, double fR, double fPhi, double fZ);
Pt3c ptRctFmCyl(double fR, double fPhi, double fZ);
void rctFmSph(double* pfX, double* pfY, double* pfZ, double fR, double fPhi, double fTh);
Pt3c ptRctFmSph(double fR, double fPhi, double fTh);
void cylFmRct(double* pfR, double* pfPhi, double* pfZ, double fX, double fY, double fZ);
void cylFmPtRct(double* pfR, double* pfPhi, double* pfZ, Pt3c const& pt);
void cylFmSph(double* pfRCyl, double* pfPhi, double* pfZ, double fRSph, double fPhi,
              double fTh);
void sphFmRct(double* pfR, double* pfPhi, double* pfTh, double fX, double fY, double fZ);
void sphFmPtRct(double* pfR, double* pfPhi, double* pfTh, Pt3c const& pt);
void sphFmCyl(double* pfRSph, double* pfPhi, double* pfTh, double fRCyl, double fPhi,
              double fZ);
// The unit direction at azimuth fPhi and polar angle fTh, and back.
Dr3c drFmSph(double fPhi, double fTh);
void sphFmDr(double* pfPhi, double* pfTh, Dr3c const& dr);
Vc3c vcFmSph(double fR, double fPhi, double fTh);
void sphFmVc(double* pfR, double* pfPhi, double* pfTh, Vc3c const& vc);
Vc3c vcFmCyl(double fR, double fPhi, double fZ);
void cylFmVc(double* pfR, double* pfPhi, double* pfZ, Vc3c const& vc);
// Local frames: the rows are the unit vectors (e_r, e_phi, e_z) at a
// cylindrical point, and (e_r, e_th, e_phi) at a spherical point, so that
// vcRcb(rcbRotAt..., vc) gives the local components of a vector.
Rcb3c rcbRotAtCyl(double fR, double fPhi, double fZ);
Rcb3c rcbRotAtSph(double fR, double fPhi, double fTh);

// ---- angles ---------------------------------------------------------------------------

// Reduces to (-pi, pi]; -pi itself gives pi.
double fRdnMPPiFmFRdn(double fRdn);
// Reduces to [0, 2 pi).
double fRdn02PiFmFRdn(double fRdn);
// The angle between two directions, in [0, pi].
double fRdnBetweenDr12(Dr3c const& dr1, Dr3c const& dr2);
// The same for two directions given as (azimuth, polar angle) pairs.
double fRdnBetweenFPhiTh12(double fPhi1, double fTh1, double fPhi2, double fTh2);
// Splits an angle into sign (+1, or -1 for a negative angle), whole degrees,
// whole minutes and seconds of its magnitude.
void iSignIDegIMinFSecFromFRdn(Long* piSign, Long* piDeg, Long* piMin, double* pfSec,
                               double fRdn);

// ---- logging ----------------------------------------------------------------------------
// One time-stamped log line "<label> ( x, y, z )" (three lines for a
// rotation, one per row), numbers as "%.9g".
void logSzFmtPt3c(const char* szLabel, Pt3c const& pt);
void logSzFmtDr3c(const char* szLabel, Dr3c const& dr);
void logSzFmtRcb3c(const char* szLabel, Rcb3c const& rcb);
