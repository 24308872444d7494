// Statistics and reports of a campaign, against hand computations.
#include "mc/summary.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "support/testutil.h"

namespace {

McRunResult resAt(Long iRun, double x, double z) {
    McRunResult res{};
    res.iRun = iRun;
    res.iStop = mcStopRest;
    res.fXfRest = x;
    res.fZfRest = z;
    return res;
}

TEST(McSummaryStats, NearestRankRadii) {
    // Five misses: R50 is the 3rd smallest (ceil 2.5), R90 and R95 the 5th.
    const std::vector<double> af5 = {1.0, 2.0, 3.0, 4.0, 5.0};
    EXPECT_EQ(fMcRadiusAtPercent(af5, 50), 3.0);
    EXPECT_EQ(fMcRadiusAtPercent(af5, 90), 5.0);
    EXPECT_EQ(fMcRadiusAtPercent(af5, 95), 5.0);
    EXPECT_EQ(fMcRadiusAtPercent(af5, 20), 1.0);  // exactly the 1st
    EXPECT_EQ(fMcRadiusAtPercent(af5, 21), 2.0);
    // Twenty: the 10th, 18th and 19th.
    std::vector<double> af20;
    for (int i = 1; i <= 20; i++) af20.push_back(0.5 * i);
    EXPECT_EQ(fMcRadiusAtPercent(af20, 50), 5.0);
    EXPECT_EQ(fMcRadiusAtPercent(af20, 90), 9.0);
    EXPECT_EQ(fMcRadiusAtPercent(af20, 95), 9.5);
    EXPECT_EQ(fMcRadiusAtPercent(af20, 100), 10.0);
    // One run: everything is that run.
    EXPECT_EQ(fMcRadiusAtPercent({0.25}, 50), 0.25);
    EXPECT_EQ(fMcRadiusAtPercent({0.25}, 95), 0.25);
}

TEST(McSummaryStats, SummaryOfAKnownSet) {
    // Rest x 1, 2, 3, 6 (z 0) about (2, 0): misses 1, 0, 1, 4.
    std::vector<McRunResult> ares = {resAt(1, 1.0, 0.0), resAt(2, 2.0, 0.0), resAt(3, 3.0, 0.0),
                                     resAt(4, 6.0, 0.0)};
    ares[0].bUpright = 1;
    ares[1].bUpright = 1;
    ares[2].bRanDry = 1;
    ares[3].iStop = mcStopEnd;
    const McSummary summ = mcSummarize(ares.data(), 4, 2.0, 0.0);
    EXPECT_EQ(summ.nRun, 4);
    EXPECT_EQ(summ.fXfRestMean, 3.0);
    // Sample deviation: sqrt((4 + 1 + 0 + 9) / 3).
    EXPECT_DOUBLE_EQ(summ.fXfRestSd, std::sqrt(14.0 / 3.0));
    // Sorted misses 0, 1, 1, 4: R50 the 2nd, R90 and R95 the 4th.
    EXPECT_EQ(summ.fR50, 1.0);
    EXPECT_EQ(summ.fR90, 4.0);
    EXPECT_EQ(summ.fR95, 4.0);
    EXPECT_EQ(summ.nUpright, 2);
    EXPECT_EQ(summ.nRanDry, 1);
    EXPECT_EQ(summ.anStop[mcStopRest], 3);
    EXPECT_EQ(summ.anStop[mcStopEnd], 1);
    EXPECT_EQ(summ.anStop[mcStopStep], 0);
    EXPECT_EQ(summ.iRunWorst, 4);
    EXPECT_EQ(summ.fMissWorst, 4.0);
    EXPECT_EQ(summ.fXfRef, 2.0);
    // The miss is the distance in the vertical plane: 3, 4, 5.
    EXPECT_EQ(fMcMiss(resAt(5, 5.0, 4.0), 2.0, 0.0), 5.0);
}

TEST(McSummaryStats, EqualWorstMissesGoToTheLowerRunNumber) {
    // Given in an order where the higher number comes first.
    std::vector<McRunResult> ares = {resAt(7, 5.0, 0.0), resAt(3, -1.0, 0.0), resAt(5, 2.0, 0.0)};
    const McSummary summ = mcSummarize(ares.data(), 3, 2.0, 0.0);
    EXPECT_EQ(summ.iRunWorst, 3);
    EXPECT_EQ(summ.fMissWorst, 3.0);
}

TEST(McSummaryStats, OneRunHasNoSpread) {
    const McRunResult res = resAt(1, 4.0, 3.0);
    const McSummary summ = mcSummarize(&res, 1, 0.0, 0.0);
    EXPECT_EQ(summ.fXfRestMean, 4.0);
    EXPECT_EQ(summ.fXfRestSd, 0.0);
    EXPECT_EQ(summ.fR50, 5.0);
    EXPECT_EQ(summ.fR95, 5.0);
    EXPECT_EQ(summ.iRunWorst, 1);
}

TEST(McSummaryText, ExactLayout) {
    McSummary summ;
    summ.nRun = 1000;
    summ.fXfRef = 30.12346;
    summ.fZfRef = -0.0371;
    summ.fXfRestMean = 30.5;
    summ.fXfRestSd = 0.25;
    summ.fR50 = 0.125;
    summ.fR90 = 0.5;
    summ.fR95 = 1.0;
    summ.nUpright = 987;
    summ.nRanDry = 3;
    summ.anStop[mcStopRest] = 990;
    summ.anStop[mcStopEnd] = 8;
    summ.anStop[mcStopStep] = 1;
    summ.anStop[mcStopUnphysical] = 1;
    summ.iRunWorst = 417;
    summ.fMissWorst = 12.34567;
    McSummaryLabels labels;
    labels.szPlanFile = "fltplan.txt";
    labels.szDispersionFile = "dispersion.txt";
    labels.uRngSeed = 18446744073709551615ULL;
    labels.szRefFrom = "rest point of the undispersed flight";
    EXPECT_EQ(szMcSummaryText(summ, labels),
              "LANDING DISPERSION\n"
              "    flight plan        = fltplan.txt\n"
              "    dispersion file    = dispersion.txt\n"
              "    runs               = 1000\n"
              "    random seed        = 18446744073709551615\n"
              "    planned end point  = (   30.1235    -0.0371) m, rest point of the undispersed "
              "flight\n"
              "    rest x mean        =    30.5000 m\n"
              "    rest x std dev     =     0.2500 m\n"
              "    miss R50           =     0.1250 m\n"
              "    miss R90           =     0.5000 m\n"
              "    miss R95           =     1.0000 m\n"
              "    upright at rest    =     0.9870 (987 of 1000)\n"
              "    ran dry in the air =     0.0030 (3 of 1000)\n"
              "    stopped            = at rest 990, at 30 s 8, step too small 1, not flown 1\n"
              "    worst run          = 417 (miss 12.3457 m)\n");
}

TEST(McSummaryCsv, RowsWithAndWithoutTouchdown) {
    McRunResult res = resAt(12, 30.25, -0.037);
    for (int j = 0; j < nMcParam; j++) res.arFDev[j] = 0.0;
    res.arFDev[mcParamThrustScale] = -0.0123456789012;
    res.arFDev[mcParamCommandDelay] = 0.005;
    res.fTiRest = 6.35;
    res.fPitchRest = 1e-5;
    res.bTouchdown = 1;
    res.fTiTouchdown = 5.5;
    res.fVeXfTouchdown = 0.3;
    res.fVeZfTouchdown = -0.4;
    res.fMsPropLeft = 0.75;
    res.bUpright = 1;
    res.nStep = 321;
    EXPECT_EQ(szMcCsvRow(res, 0.5),
              "12,-0.0123456789,0,0,0,0,0,0,0,0.005,6.35,30.25,-0.037,1e-05,5.5,0.3,-0.4,0.5,"
              "0.75,1,0,rest,321,0.5\n");
    res.bTouchdown = 0;
    res.bUpright = 0;
    res.bRanDry = 1;
    res.iStop = mcStopEnd;
    EXPECT_EQ(szMcCsvRow(res, 2.0),
              "12,-0.0123456789,0,0,0,0,0,0,0,0.005,6.35,30.25,-0.037,1e-05,,,,,0.75,0,1,end,321,"
              "2\n");
}

class McSummaryFiles : public InTempDir {};

TEST_F(McSummaryFiles, CsvHasTheHeaderAndOneRowPerRunInOrder) {
    std::vector<McRunResult> ares = {resAt(1, 1.0, 0.0), resAt(2, 5.0, 3.0)};
    ASSERT_TRUE(bWriteMcCsv("runs.csv", ares.data(), 2, 2.0, -1.0));
    EXPECT_EQ(vttest::readFile("runs.csv"), szMcCsvHeader() +
                                                szMcCsvRow(ares[0], std::sqrt(2.0)) +
                                                szMcCsvRow(ares[1], 5.0));
    EXPECT_FALSE(bWriteMcCsv("no/such/dir/runs.csv", ares.data(), 2, 2.0, -1.0));
}

}  // namespace
