// Homogeneous transforms: the weight division of points, the singular
// matrix without an inverse, and the assertion and allocation failures.
#include <gtest/gtest.h>

#include "geom/geom4h.h"

namespace {

void expectPtEq(Pt3c const& pt, double x, double y, double z) {
    EXPECT_EQ(pt.fX, x);
    EXPECT_EQ(pt.fY, y);
    EXPECT_EQ(pt.fZ, z);
}

}  // namespace

TEST(Hom4hTest, PointsDivideByTheirWeight) {
    expectPtEq(Pt4h(2.0, -4.0, 6.0, 2.0).pt3c(), 1.0, -2.0, 3.0);
    // Through a perspective matrix (w = -z): the image of (1, 1, -2) is (0.5, 0.5, -1).
    double arP[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, -1, 0}};
    X4h xP(arP);
    EXPECT_FALSE(xP.bInv);
    expectPtEq(ptXgm3c(xP, Pt3c(1, 1, -2)), 0.5, 0.5, -1.0);
}

TEST(X4hMatrixDeathTest, BadRangesHugeSizesAndMissingInverses) {
    EXPECT_DEATH(mxF64New(1, 0, 1, 4), "Assertion failed: loR <= hiR && loC <= hiC");
    EXPECT_EXIT(mxF64New(1, 2000000000, 1, 2000000000), ::testing::ExitedWithCode(1),
                "mxF64New\\( 1, 2000000000, 1, 2000000000 \\) allocation failure");
    double ar[4][4] = {};
    X4h x(ar);
    EXPECT_DEATH(x4hInv(x), "Assertion failed: x4h.bInv, file .*geom4h.cpp");
    EXPECT_DEATH(plnXgm4h(x, Pln4h()), "Assertion failed: x4h.bInv");
}
