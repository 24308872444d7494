// The ground height with the planes taken once answers as the query that
// forms each plane afresh, bit for bit, across every polygon of the
// built-in terrain, at and beside their edges, and off the terrain.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "sim/ground.h"
#include "sim/params.h"

namespace {

class GroundHeight : public ::testing::Test {
protected:
    BuiltInScenario scenario;
    A1Val<void*>& arPArPPtVtxPgnGnd = scenario.arPArPPtVtxPgnGnd;
};

}  // namespace

TEST_F(GroundHeight, PlanesTakenOnceGiveEveryBitOfTheHeight) {
    PlnsGnd plns;
    ASSERT_TRUE(bPlnsGndFm(&plns, &arPArPPtVtxPgnGnd));
    // The strips' ends and sides, each with its neighbouring doubles, and a
    // sweep from before the pad to beyond the far plain.
    std::vector<double> vecX, vecY = {0.0, std::numeric_limits<double>::quiet_NaN()};
    for (Long iPgn = 1; iPgn <= arPArPPtVtxPgnGnd.iLast(); iPgn++) {
        A1Val<void*>& arPPtVtx = *static_cast<A1Val<void*>*>(arPArPPtVtxPgnGnd[iPgn]);
        for (Long iVtx = 1; iVtx <= arPPtVtx.iLast(); iVtx++) {
            Pt3c const& pt = *static_cast<Pt3c const*>(arPPtVtx[iVtx]);
            for (double f : {-1.0, 1.0}) {
                vecX.insert(vecX.end(), {pt.fX, std::nextafter(pt.fX, f * 1e9)});
                vecY.insert(vecY.end(), {pt.fY, std::nextafter(pt.fY, f * 1e9)});
            }
        }
    }
    for (double x = -30.0; x <= 60.0; x += 0.173) vecX.push_back(x);
    int nOnGnd = 0;
    for (double x : vecX)
        for (double y : vecY) {
            double ar1[3] = {7, 7, 7}, ar2[3] = {7, 7, 7};
            const bool b1 = bPtOnGndAtXY(&ar1[0], &ar1[1], &ar1[2], x, y, &arPArPPtVtxPgnGnd);
            const bool b2 = bPtOnGndAtXY(&ar2[0], &ar2[1], &ar2[2], x, y, plns);
            EXPECT_EQ(b1, b2) << x << " " << y;
            EXPECT_EQ(std::memcmp(ar1, ar2, sizeof ar1), 0) << x << " " << y;
            nOnGnd += b1;
        }
    EXPECT_GT(nOnGnd, 1000);
}
