// Ground polygons: planes, containment and the two terrain queries.
#include "sim/ground.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <tuple>
#include <vector>

#include "sim/params.h"

#include "support/scenario.h"

namespace {
A1Val<void*>& arPArPPtVtxPgnGnd = scenario.arPArPPtVtxPgnGnd;

const double fNaN = std::numeric_limits<double>::quiet_NaN();

// A polygon of our own: owns its vertices, handed out as the program's
// A1Val<void*> over 1..n of Pt3c*.
class Pgn {
public:
    explicit Pgn(std::vector<Pt3c> const& vpt) : arPPtVtx(1, static_cast<Long>(vpt.size())) {
        apt = vpt;
        for (Long i = 1; i <= arPPtVtx.iLast(); i++) arPPtVtx[i] = &apt[i - 1];
    }
    A1Val<void*>* par() { return &arPPtVtx; }

private:
    std::vector<Pt3c> apt;
    A1Val<void*> arPPtVtx;
};

class Ground : public ::testing::Test {
protected:
    void SetUp() override { initParams(&scenario); }
};

// Closed-form height of the program's terrain at x.
double zTerrainAt(double x) {
    const double t20 = std::tan(20.0 * M_PI / 180.0);
    const double s20 = 8.0 * t20;
    const double s45 = 3.0;
    const double x5End = 17.0 + (s20 + s45) / std::tan(30.0 * M_PI / 180.0);
    if (x <= 1.0) return 0.0;
    if (x <= 9.0) return -(x - 1.0) * t20;
    if (x <= 12.0) return -s20 - (x - 9.0);
    if (x <= 17.0) return -s20 - s45;
    if (x <= x5End) return -s20 - s45 + (x - 17.0) * std::tan(30.0 * M_PI / 180.0);
    return 0.0;
}

TEST_F(Ground, PlaneFollowsAPolygonChangedInPlace) {
    // Planes are kept between calls; a polygon moved in place, or given other
    // vertices at the same address, must still get its own plane.
    Pgn pgn({Pt3c(0, 0, 0), Pt3c(1, 0, 0), Pt3c(1, 1, 0), Pt3c(0, 1, 0)});
    double a, b, c, d;
    ptAtFootOfPerp(&a, &b, &c, 0, 0, 0, 1, 2, 2, -9);  // from the origin to x + 2y + 2z = 9
    EXPECT_TRUE(a == 1.0 && b == 2.0 && c == 2.0);
    plnEqnPgn(&a, &b, &c, &d, pgn.par());
    EXPECT_EQ(d, 0.0);
    for (Long i = 1; i <= 4; i++) static_cast<Pt3c*>((*pgn.par())[i])->fZ = 2.0;
    plnEqnPgn(&a, &b, &c, &d, pgn.par());
    EXPECT_EQ(c, 2.0);
    EXPECT_EQ(d, -4.0);
    Pt3c ptOther(0, 1, 5);
    (*pgn.par())[4] = &ptOther;  // one vertex swapped for another
    plnEqnPgn(&a, &b, &c, &d, pgn.par());
    EXPECT_NE(b, 0.0);
    // Many polygons in turn, each asked twice: always its own plane.
    for (int k = 0; k < 40; k++) {
        Pgn pgnK({Pt3c(0, 0, k), Pt3c(1, 0, k), Pt3c(1, 1, k)});
        for (int iTwice = 0; iTwice < 2; iTwice++) {
            plnEqnPgn(&a, &b, &c, &d, pgnK.par());
            EXPECT_EQ(d, -1.0 * k) << k;  // c = twice the area = 1
        }
    }
}

TEST_F(Ground, ThreeDTestDropsTheDominantNormalAxis) {
    // A wall in the plane x = 3 (normal along x): tested in (y, z).
    Pgn pgnWall({Pt3c(3, 0, 0), Pt3c(3, 1, 0), Pt3c(3, 1, 1), Pt3c(3, 0, 1)});
    double a, b, c, d;
    plnEqnPgn(&a, &b, &c, &d, pgnWall.par());
    EXPECT_TRUE(bPt3dInsidePgn(3.0, 0.5, 0.5, a, b, c, d, pgnWall.par()));
    EXPECT_FALSE(bPt3dInsidePgn(3.0, 1.5, 0.5, a, b, c, d, pgnWall.par()));
    // An L, concave, so the angle sum decides; in line with two of its
    // vertices (no difference along x to them), inside.
    Pgn pgnL({Pt3c(0, 0, 0), Pt3c(2, 0, 0), Pt3c(2, 1, 0), Pt3c(1, 1, 0), Pt3c(1, 2, 0),
              Pt3c(0, 2, 0)});
    EXPECT_TRUE(bPt3dInsidePgn(1.0, 0.5, 0.0, 0.0, 0.0, 1.0, 0.0, pgnL.par()));
    // A 45-degree roof, |a| = |c|: the tie goes to x, so the point is tested in (y, z), inside.
    Pgn pgnRoof({Pt3c(0, 0, 0), Pt3c(1, 0, 1), Pt3c(1, 1, 1), Pt3c(0, 1, 0)});
    plnEqnPgn(&a, &b, &c, &d, pgnRoof.par());
    EXPECT_EQ(std::fabs(a), std::fabs(c));
    EXPECT_TRUE(bPt3dInsidePgn(2.0, 0.5, 0.5, a, b, c, d, pgnRoof.par()));
    // The plane y + z = 0: |b| = |c|, the tie goes to y (tested in z, x). The
    // point's (x, y) lies inside the polygon's (x, y) shadow, its (z, x) not.
    Pgn pgnYZ({Pt3c(0, 0, 0), Pt3c(0, 1, -1), Pt3c(1, 1, -1), Pt3c(1, 0, 0)});
    plnEqnPgn(&a, &b, &c, &d, pgnYZ.par());
    ASSERT_EQ(std::fabs(b), std::fabs(c));
    EXPECT_EQ(d, 0.0);  // through the origin, the vertices' mean y 0.5 and z -0.5
    EXPECT_FALSE(bPt3dInsidePgn(0.5, 0.5, 0.5, a, b, c, d, pgnYZ.par()));
    EXPECT_TRUE(bPt3dInsidePgn(0.5, 0.5, -0.5, a, b, c, d, pgnYZ.par()));
    // A NaN normal has no dominant axis.
    EXPECT_DEATH(bPt3dInsidePgn(0.5, 0.2, 0.0, fNaN, 0.0, 1.0, 0.0, pgnYZ.par()),
                 "Assertion failed: fAbsC >= fAbsA && fAbsC >= fAbsB");
}

// The query into ar = (foot x, y, z, normal x, y, z), over the given polygons
// or, with pplns, through the planes taken once.
bool bQuery(double (&ar)[6], double x, double y, double z,
            A1Val<void*>* parPPgn = &arPArPPtVtxPgnGnd, PlnsGnd const* pplns = nullptr) {
    if (pplns != nullptr)
        return bPtAtOrBelowPlnsGnd(&ar[0], &ar[1], &ar[2], &ar[3], &ar[4], &ar[5], x, y, z, *pplns);
    return bPtAtOrBelowPArPArPPtVtxPgnGnd(&ar[0], &ar[1], &ar[2], &ar[3], &ar[4], &ar[5], x, y, z,
                                          parPPgn);
}

// Both forms of the query answer (x, y, z) with every bit alike.
bool bBothAgree(double x, double y, double z, A1Val<void*>* parPPgn, PlnsGnd const& plns) {
    double ar1[6] = {7, 7, 7, 7, 7, 7}, ar2[6] = {7, 7, 7, 7, 7, 7};
    const bool b1 = bQuery(ar1, x, y, z, parPPgn), b2 = bQuery(ar2, x, y, z, parPPgn, &plns);
    EXPECT_EQ(b1, b2) << x << " " << y << " " << z;
    EXPECT_EQ(std::memcmp(ar1, ar2, sizeof ar1), 0) << x << " " << y << " " << z;
    return b1;
}

TEST_F(Ground, PointsAboveBelowAndUnderTheKink) {
    using Ar = std::array<double, 6>;
    const Ar arUnset = {7, 7, 7, 7, 7, 7};
    double ar[6] = {7, 7, 7, 7, 7, 7};
    // Above every polygon (or beyond the far end): nothing written.
    for (double xAt : {-500.0, 0.0, 5.0, 10.5, 14.0, 20.0, 100.0})
        EXPECT_FALSE(bQuery(ar, xAt, 0.0, zTerrainAt(xAt) + 0.01)) << xAt;
    EXPECT_FALSE(bQuery(ar, 2000.0, 0.0, -5.0));
    EXPECT_EQ(std::to_array(ar), arUnset);
    // A metre below the pad edge: below the planes of strips 1 and 2, and
    // each of the two contains the foot of the perpendicular on its plane;
    // alone, strip 2 answers, with the whole ground strip 1 comes first and wins.
    const double s20 = std::sin(20.0 * M_PI / 180.0), c20 = std::cos(20.0 * M_PI / 180.0);
    A1Val<void*> arPPgnSlopeOnly(1, 1);
    arPPgnSlopeOnly[1] = arPArPPtVtxPgnGnd[2];
    ASSERT_TRUE(bQuery(ar, 0.95, 0.0, -1.0, &arPPgnSlopeOnly));
    EXPECT_GT(ar[0], 1.0);
    EXPECT_NEAR(ar[3], s20, 1e-12);
    ASSERT_TRUE(bQuery(ar, 0.95, 0.0, -1.0));
    for (int k = 0; k < 6; k++) EXPECT_NEAR(ar[k], (Ar{0.95, 0, 0, 0, 0, 1})[k], 1e-12) << k;
    EXPECT_EQ(ar[3], 0.0);
    // Below the slope just past the kink, the foot on the pad's plane beyond
    // x = 1: strip 2, the foot on the slope and the point along the normal.
    ASSERT_TRUE(bQuery(ar, 1.2, 0.0, -0.5));
    EXPECT_NEAR(ar[3], s20, 1e-12);
    EXPECT_NEAR(ar[5], c20, 1e-12);
    EXPECT_NEAR(ar[2], zTerrainAt(ar[0]), 1e-12);
    EXPECT_NEAR((1.2 - ar[0]) * ar[5] - (-0.5 - ar[2]) * ar[3], 0.0, 1e-12);
}

TEST_F(Ground, QueryWithPlanesTakenOnceGivesTheSameAnswers) {
    PlnsGnd plns;
    ASSERT_TRUE(bPlnsGndFm(&plns, &arPArPPtVtxPgnGnd));
    EXPECT_EQ(plns.nPgn, 6);
    int nBelow = 0;
    for (double x = -30.0; x <= 60.0; x += 0.173)
        for (double dz : {-2.0, -0.3, -1e-9, 0.0, 1e-9, 0.4})
            nBelow += bBothAgree(x, 0.0, zTerrainAt(x) + dz, &arPArPPtVtxPgnGnd, plns);
    EXPECT_GT(nBelow, 1000);
    // A ground of more polygons than it keeps is refused.
    A1Val<void*> arPPgnMany(1, PlnsGnd::nPgnMax + 1);
    for (Long i = 1; i <= arPPgnMany.iLast(); i++) arPPgnMany[i] = arPArPPtVtxPgnGnd[1];
    EXPECT_FALSE(bPlnsGndFm(&plns, &arPPgnMany));
}

// The query with the planes taken once answers points well clear of a
// polygon's box from the box alone: at and beside the margin of every edge,
// on rectangles gone round either way, on a rectangle's corners out of order
// and on a triangle (no inside shortcut), it must answer as the rule does.
TEST_F(Ground, BoxShortcutsAnswerAsTheWindingRuleAtTheirMargins) {
    Pgn pgnCcw({Pt3c(-1, -2, -1), Pt3c(3, -2, -1), Pt3c(3, 2, -1), Pt3c(-1, 2, -1)});
    Pgn pgnCw({Pt3c(5, -2, -1.5), Pt3c(5, 2, -1.5), Pt3c(9, 2, -0.5), Pt3c(9, -2, -0.5)});
    Pgn pgnBowTie({Pt3c(11, -2, -1), Pt3c(15, 2, -1), Pt3c(15, -2, -1), Pt3c(11, 2, -1)});
    Pgn pgnTriangle({Pt3c(17, -2, -1), Pt3c(21, -2, -1), Pt3c(19, 2, -1)});
    A1Val<void*> arPPgn(1, 4);
    Long i = 1;
    for (Pgn* p : {&pgnCcw, &pgnCw, &pgnBowTie, &pgnTriangle}) arPPgn[i++] = p->par();
    PlnsGnd plns;
    ASSERT_TRUE(bPlnsGndFm(&plns, &arPPgn));
    EXPECT_TRUE(plns.abRect[0] && plns.abRect[1]);
    EXPECT_FALSE(plns.abRect[2] || plns.abRect[3]);
    std::vector<double> vecOff = {0.0, 1e-300, 1e-12, 1e-7};
    for (double f : {1e-6, 2e-6}) vecOff.insert(vecOff.end(), {f, std::nextafter(f, 0.0), std::nextafter(f, 1.0)});
    std::vector<double> vecX, vecY;
    for (double x : {-1.0, 3.0, 5.0, 9.0, 11.0, 15.0, 17.0, 19.0, 21.0, 1.0, 7.0, 13.0, 1e80})
        for (double fOff : vecOff) vecX.insert(vecX.end(), {x - fOff, x + fOff});
    for (double y : {-2.0, 2.0, 0.0})
        for (double fOff : vecOff) vecY.insert(vecY.end(), {y - fOff, y + fOff});
    vecY.push_back(fNaN);
    int nBelow = 0;
    for (double x : vecX)
        for (double y : vecY) nBelow += bBothAgree(x, y, -3.0, &arPPgn, plns);
    EXPECT_GT(nBelow, 500);
    // The triangle by its own geometry: inside by the apex and the base,
    // outside in the corners of its box beside the slanted edges.
    double ar[6];
    for (auto [x, y, bIn] : {std::tuple{19.0, 1.5, true}, {19.0, -1.9, true}, {17.6, 1.9, false},
                             {20.8, 1.8, false}, {17.6, 0.9, false}})
        EXPECT_EQ(bQuery(ar, x, y, -3.0, &arPPgn), bIn) << x << " " << y;
}

}  // namespace
