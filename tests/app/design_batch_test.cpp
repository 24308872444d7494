// The `d` key in batch mode: designs flown by `s`, and the messages of a bad
// hop file and of a target out of reach.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>

#include "support/testutil.h"

using namespace vttest;

using DesignBatchTest = InTempDir;

namespace {

// x and z of the last record of "results.txt", and the largest pitch (deg)
// over the flight.
void restPoint(double* px, double* pz, double* pfPitchMax) {
    std::istringstream in(readFile("results.txt"));
    std::string szLine;
    std::getline(in, szLine);  // the header
    *pfPitchMax = 0.0;
    int nRecord = 0;
    while (std::getline(in, szLine)) {
        double t = 0.0, fPitch = 0.0;
        if (std::sscanf(szLine.c_str(), "%lf %lf %lf %lf", &t, px, pz, &fPitch) != 4) continue;
        *pfPitchMax = std::max(*pfPitchMax, std::fabs(fPitch));
        nRecord++;
    }
    ASSERT_GT(nRecord, 0);
}

}  // namespace

// The far plain's target designs, passes every plan check (no warning), and
// flown open-loop comes to rest upright within 1 m of the target.
TEST_F(DesignBatchTest, DesignsPassThePlanChecksAndFlyToTheTarget) {
    writeFile("hop.txt", "target_x 28.5\npropellant_reserve 0.05\n");
    const auto r = runCommand(szProgram() + " -k dps", szDir);
    EXPECT_EQ(r.iExit, 0);
    EXPECT_EQ(r.szErr, "");
    // The DESIGN block, then the SUMMARY of `p` with the same propellant.
    const std::size_t iProp = r.szOut.find("    propellant mass    = ");
    ASSERT_EQ(r.szOut.rfind("\nDESIGN\n    target x, z        = ", 0), 0u) << r.szOut;
    ASSERT_NE(iProp, std::string::npos);
    const std::size_t iSummary = r.szOut.find("\nSUMMARY\n");
    ASSERT_NE(iSummary, std::string::npos);
    EXPECT_EQ(r.szOut.substr(iProp, 35), r.szOut.substr(r.szOut.find("propellant", iSummary) - 4, 35));
    double x = 0.0, z = 0.0, fPitchMax = 0.0;
    restPoint(&x, &z, &fPitchMax);
    EXPECT_LT(std::hypot(x - 28.5, z), 1.0) << x << " " << z;
    // The thrust never points below the horizon: no somersault on the way
    // (the least propellant into the valley would take one).
    EXPECT_LT(fPitchMax, 90.0);
}

TEST_F(DesignBatchTest, BadHopFileOrNoHopIsAMessageAndLeavesTheWaypointsAlone) {
    writeFile("traj1r.txt", "0 0 0  1 1 1  2 2 2  3 3 0\n");
    const struct {
        const char* szHop;
        const char* szErr;  // the start of it
    } acase[] = {
        {"target_x 20\nmargin 0.1\n", "Vantorell: hop.txt:2: unknown name 'margin'\n"},
        {"target_x 28.5\ntime 2\n",
         "Vantorell: no hop to x = 28.5000 m in 2.0000 s within the limits: the thrusters bind"}};
    for (const auto& c : acase) {
        SCOPED_TRACE(c.szHop);
        writeFile("hop.txt", c.szHop);
        const auto r = runCommand(szProgram() + " -k d", szDir);
        EXPECT_EQ(r.iExit, 3);
        EXPECT_EQ(r.szOut, "");
        EXPECT_EQ(r.szErr.rfind(c.szErr, 0), 0u) << r.szErr;
        EXPECT_EQ(r.szErr.find('\n'), r.szErr.size() - 1) << r.szErr;
        EXPECT_EQ(readFile("traj1r.txt"), "0 0 0  1 1 1  2 2 2  3 3 0\n");
        EXPECT_FALSE(fileExists("traj1r.txt.tmp"));
        EXPECT_FALSE(fileExists("fltplan.txt"));
    }
}
