// Homogeneous 4-by-4 transforms of three-dimensional space, carried together
// with their inverses, and the homogeneous point, line and plane types they
// act on.
//
// Conventions, fixed for the whole program:
//   - Points are column vectors: a transform maps (x, y, z, 1) to mxF times
//     that column and divides by the fourth component. In a product A * B
//     applied to a point, B acts first.
//   - The elementary factories describe a change of coordinate frame, not a
//     motion: x4hTrans(dx, dy, dz) subtracts (dx, dy, dz) from a point, and
//     each rotation factory stores the transpose of the right-handed rotation
//     by the angle, so x4hRotZ(a) maps (1, 0, 0) to (cos a, -sin a, 0).
//     The scale factories multiply coordinates by their factors.
//   - Angles are radians.
//
// Matrices are double** with rows and columns indexed 1..4 (mxF[r][c]).
// mxFInv is meaningful only while bInv is true; a singular matrix given to
// the matrix constructors is not an error, it just leaves bInv false (the
// transform still works forwards; only inverting it fails, with the
// assertion "x4h.bInv").
//
// Vectors and directions transform without translation (as the column
// (x, y, z, 0)): only the upper-left 3-by-3 block of mxF is applied.
// Directions are normalised again afterwards. The ...Xgm... ("geometric
// motion") and ...Xcb... ("change of basis") forms compute exactly the same
// thing for every type; both names are kept so that calling code can say
// which reading it means.
#pragma once

#include "core/types.h"
#include "geom/geom3c.h"

// ---- free-standing matrices ---------------------------------------------------------
// A heap matrix of doubles: an array of row pointers indexed loR..hiR, each
// row indexed loC..hiC (every pointer biased so that the first index
// addresses the first element). Requires loR <= hiR and loC <= hiC
// (assertion); a failed allocation is a fatal error. The caller owns the
// result and gives it back with releaseMxF64 (same loR and loC).
double** mxF64New(Long loR, Long hiR, Long loC, Long hiC);
void releaseMxF64(double** mx, Long loR, Long loC);

// Gauss-Jordan elimination with full pivoting. Inverts mxA (rows and columns
// 1..n) in place and solves for the m right-hand-side columns of mxB (rows
// 1..n, columns 1..m; may be null when m is 0), which are replaced by the
// solutions. *piStatus: 0 done; 1 singular (an exact zero pivot; mxA and mxB
// are then left part-way through and hold no meaning); 2 bad arguments
// (n < 1, m < 0, or no mxB for m > 0).
void gaussJordan(double** mxA, Long n, double** mxB, Long m, Long* piStatus);

// ---- the transform ----------------------------------------------------------------------

class X4h {
public:
    // An unset transform: both matrices zero, bInv false.
    X4h();
    // Copies the matrix (rows 0..3 of 4 elements in this form) and inverts a
    // copy by gaussJordan: bInv true if it could, false for a singular matrix.
    explicit X4h(double (*mx)[4]);
    // The same with a matrix indexed 1..4 in both directions.
    explicit X4h(double** mx);
    // Takes both matrices as given (copied) and sets bInv true.
    X4h(double** mxFGiven, double** mxFInvGiven);
    X4h(X4h const& x4h);
    X4h& operator=(X4h const& x4h);
    ~X4h() = default;

    double** mxF;
    bool bInv;
    double** mxFInv;

    // The elements live inside the object, not on the heap: the vehicle
    // dynamics builds and inverts transforms on every derivative evaluation,
    // so a transform must cost no allocation. mxF and mxFInv point into this
    // storage (row pointer r addresses elements r*4-3 .. r*4 of the block
    // through indices 1..4; slot 0 of each block is unused); copies re-point
    // into their own storage.
private:
    struct NoInit {};
    explicit X4h(NoInit);
    void pointIntoStorage();

    double* _arpFRow[5];
    double* _arpFInvRow[5];
    double _arF[17];
    double _arFInv[17];

    friend X4h operator*(X4h const& a, X4h const& b);
    friend X4h x4hInv(X4h const& x4h);
    friend X4h x4hIdent();
};

// ---- factories ------------------------------------------------------------------------
// All give bInv true with the exact inverse, except a scale with a zero
// factor (bInv false).

X4h x4hIdent();
X4h x4hScaleX(double fS);
X4h x4hScaleY(double fS);
X4h x4hScaleZ(double fS);
X4h x4hScale(double fSX, double fSY, double fSZ);
// Scales about a centre point, which stays where it is.
X4h x4hScale(Pt3c const& ptC, double fSX, double fSY, double fSZ);
// Subtracts the offsets from a point (column 4 holds -dx, -dy, -dz).
X4h x4hTrans(double dx, double dy, double dz);
X4h x4hTrans(Vc3c const& vc);
X4h x4hRotX(double fRdn);
X4h x4hRotY(double fRdn);
X4h x4hRotZ(double fRdn);
// Z-X-Z frame turns: x4hRotZ(fRdn3) * x4hRotX(fRdn2) * x4hRotZ(fRdn1).
X4h x4hRotEuler(double fRdn1, double fRdn2, double fRdn3);
// Frames from two directions: the first-named axis becomes dr1, the
// second-named axis lies in the plane of dr1 and dr2 (see rcb3cDrXYNew).
// Parallel directions fail the assertion "fNorm != 0.0".
X4h x4hRotDrXYNew(Dr3c const& dr1, Dr3c const& dr2);
X4h x4hRotDrYZNew(Dr3c const& dr1, Dr3c const& dr2);
X4h x4hRotDrZXNew(Dr3c const& dr1, Dr3c const& dr2);
X4h x4hRotDrXZNew(Dr3c const& dr1, Dr3c const& dr2);
X4h x4hRotDrYXNew(Dr3c const& dr1, Dr3c const& dr2);
X4h x4hRotDrZYNew(Dr3c const& dr1, Dr3c const& dr2);
// Frame turn about a unit axis through the origin.
X4h x4hRotDrAxisFRdn(Dr3c const& drAxis, double fRdn);
// The rotation block is the given frame rotation; the inverse its transpose.
X4h x4hRotRcb3c(Rcb3c const& rcb);
// The same rotations about a centre point (which stays where it is).
X4h x4hRotPtCX(Pt3c const& ptC, double fRdn);
X4h x4hRotPtCY(Pt3c const& ptC, double fRdn);
X4h x4hRotPtCZ(Pt3c const& ptC, double fRdn);
X4h x4hRotPtCEuler(Pt3c const& ptC, double fRdn1, double fRdn2, double fRdn3);
X4h x4hRotPtCDrXYNew(Pt3c const& ptC, Dr3c const& dr1, Dr3c const& dr2);
X4h x4hRotPtCDrYZNew(Pt3c const& ptC, Dr3c const& dr1, Dr3c const& dr2);
X4h x4hRotPtCDrZXNew(Pt3c const& ptC, Dr3c const& dr1, Dr3c const& dr2);
X4h x4hRotPtCDrXZNew(Pt3c const& ptC, Dr3c const& dr1, Dr3c const& dr2);
X4h x4hRotPtCDrYXNew(Pt3c const& ptC, Dr3c const& dr1, Dr3c const& dr2);
X4h x4hRotPtCDrZYNew(Pt3c const& ptC, Dr3c const& dr1, Dr3c const& dr2);
X4h x4hRotPtCDrAxisFRdn(Pt3c const& ptC, Dr3c const& drAxis, double fRdn);
X4h x4hRotPtCRcb3c(Pt3c const& ptC, Rcb3c const& rcb);
// Mirror images: negate x, y or z; or mirror in the plane through ptOn with
// the unit normal drNrm. Each is its own inverse.
X4h x4hRflX();
X4h x4hRflY();
X4h x4hRflZ();
X4h x4hRflPlnPtDrNrm(Pt3c const& ptOn, Dr3c const& drNrm);

// ---- composition and inversion -----------------------------------------------------------
// mxF of the result is the matrix product a.b. When both operands have bInv,
// the inverse is b^-1 . a^-1 from the stored inverses and bInv is true;
// otherwise bInv is false and no inverse is computed.
X4h operator*(X4h const& a, X4h const& b);
// mxF and mxFInv exchanged. Assertion "x4h.bInv" without a valid inverse.
X4h x4hInv(X4h const& x4h);

// ---- homogeneous companions ------------------------------------------------------------------

class Pt4h {
public:
    Pt4h() : fX(0.0), fY(0.0), fZ(0.0), fW(1.0) {}
    Pt4h(double x, double y, double z, double w) : fX(x), fY(y), fZ(z), fW(w) {}
    explicit Pt4h(Pt3c const& pt) : fX(pt.fX), fY(pt.fY), fZ(pt.fZ), fW(1.0) {}
    // The cartesian point: x, y, z divided by w (no guard against w = 0).
    Pt3c pt3c() const;

    double fX;
    double fY;
    double fZ;
    double fW;
};

// A line as the points pt4hOrg + t * pt4hDir (four-component sums); the
// direction part has w = 0 until a projective transform changes it.
class Ln4h {
public:
    Ln4h() : pt4hOrg(), pt4hDir(1.0, 0.0, 0.0, 0.0) {}
    Ln4h(Pt3c const& ptOrg, Vc3c const& vcDir);
    Ln4h(Pt4h const& pt4hOrgGiven, Pt4h const& pt4hDirGiven)
        : pt4hOrg(pt4hOrgGiven), pt4hDir(pt4hDirGiven) {}
    // The unit direction of the line at its origin point (the direction of
    // increasing t). Assertion "fNorm != 0.0" for a degenerate line.
    Dr3c dr3c() const;

    Pt4h pt4hOrg;
    Pt4h pt4hDir;
};

// The plane a*x + b*y + c*z + d*w = 0.
class Pln4h {
public:
    Pln4h() : fA(0.0), fB(0.0), fC(1.0), fD(0.0) {}
    Pln4h(double a, double b, double c, double d) : fA(a), fB(b), fC(c), fD(d) {}
    // Through ptOn with the unit normal drNrm: (n, -n.ptOn).
    Pln4h(Dr3c const& drNrm, Pt3c const& ptOn);

    double fA;
    double fB;
    double fC;
    double fD;
};

Pt3c ptAtTLn4h(double fT, Ln4h const& ln);
// The parameter t at which the line meets the plane. A line parallel to the
// plane gives an infinity (or NaN if it lies in the plane); no guard.
double fTIntersectLnPln4h(Ln4h const& ln, Pln4h const& pln);

// ---- application -----------------------------------------------------------------------------
// Points: (x', y', z') = rows 1..3 of mxF.(x, y, z, 1) divided by
// w = m41*x + m42*y + m43*z + m44. No guard against w = 0.
Pt3c ptXgm3c(X4h const& x4h, Pt3c const& pt);
Pt3c ptXcb3c(X4h const& x4h, Pt3c const& pt);
// Vectors and directions: the upper-left 3-by-3 block only (no translation,
// no division); directions are normalised again (assertion "fNorm != 0.0"
// if the block sends the direction to zero).
Vc3c vcXgm3c(X4h const& x4h, Vc3c const& vc);
Vc3c vcXcb3c(X4h const& x4h, Vc3c const& vc);
Dr3c drXgm3c(X4h const& x4h, Dr3c const& dr);
Dr3c drXcb3c(X4h const& x4h, Dr3c const& dr);
// Homogeneous points: mxF times the column, no division. Lines: both of
// their parts. Planes (row vectors): the plane times mxFInv, so that a point
// on the plane stays on the transformed plane; requires the inverse
// (assertion "x4h.bInv").
Pt4h ptXgm4h(X4h const& x4h, Pt4h const& pt);
Ln4h lnXgm4h(X4h const& x4h, Ln4h const& ln);
Pln4h plnXgm4h(X4h const& x4h, Pln4h const& pln);
Pt4h ptXcb4h(X4h const& x4h, Pt4h const& pt);
Ln4h lnXcb4h(X4h const& x4h, Ln4h const& ln);
Pln4h plnXcb4h(X4h const& x4h, Pln4h const& pln);
