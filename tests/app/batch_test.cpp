// The batch mode end to end: the program run as a user runs it, on the
// reference cases and on hand-made fixtures, with its exact outputs, messages
// and exit statuses.
#include <algorithm>
#include <filesystem>
#include <map>
#include <string>

#include "display/viewstack.h"
#include "support/testutil.h"

using namespace vttest;

namespace {

vttest::RunResult runKeys(const std::string& szKeys, const std::string& szDir) {
    return runCommand(szProgram() + " -k " + szKeys, szDir);
}

std::string szRef(const std::string& szRel) {
    return readFile(std::string(VT_TEST_DATA) + "/reference/" + szRel);
}

}  // namespace

using BatchTest = InTempDir;

TEST_F(BatchTest, PlanReferenceHopShortWritesExactReportsAndSummary) {
    copyTestData("reference/plan/hop_short/traj1r.txt", "traj1r.txt");
    const auto r = runKeys("pl", szDir);
    EXPECT_EQ(r.iExit, 0) << r.szErr;
    EXPECT_EQ(r.szOut, szRef("plan/hop_short/expected/summary.txt"));
    EXPECT_EQ(r.szErr, szRef("plan/hop_short/expected/stderr.txt"));
    EXPECT_EQ(readFile("fltplan.txt"), szRef("plan/hop_short/expected/fltplan.txt"));
    EXPECT_EQ(readFile("traj1l.txt"), szRef("plan/hop_short/expected/traj1l.txt"));
}

TEST_F(BatchTest, PlanReferenceBadCountIsFatalWithNoPlanWritten) {
    copyTestData("reference/plan/bad_count/traj1r.txt", "traj1r.txt");
    const auto r = runKeys("pl", szDir);
    EXPECT_EQ(r.iExit, 1);
    EXPECT_EQ(r.szErr, szRef("plan/bad_count/expected/stderr.txt"));
    EXPECT_EQ(r.szOut, szRef("plan/bad_count/expected/summary.txt"));
    EXPECT_FALSE(fileExists("fltplan.txt"));
    EXPECT_FALSE(fileExists("traj1l.txt"));
    const std::string szLog = readFile("fe.log");
    EXPECT_NE(szLog.find("FATAL ERROR --\n    paramsToBSpline with 13 params; must be a "
                         "multiple of 3\n\n" +
                         std::string(78, '#') + "\n"),
              std::string::npos)
        << szLog;
}

TEST_F(BatchTest, FlightReferencesReproduceResultsByteForByte) {
    for (const char* szCase : {"freefall_cut", "pitch_step"}) {
        SCOPED_TRACE(szCase);
        copyTestData(std::string("reference/flight/") + szCase + "/fltplan.txt", "fltplan.txt");
        const auto r = runKeys("s", szDir);
        EXPECT_EQ(r.iExit, 0) << r.szErr;
        EXPECT_EQ(r.szOut, "");
        EXPECT_EQ(readFile("results.txt"),
                  szRef(std::string("flight/") + szCase + "/expected/results.txt"));
    }
}

TEST_F(BatchTest, MessagesFatalErrorsAndUsageErrorsAndTheirStatuses) {
    const std::string szFlightPlan = "reference/flight/freefall_cut/fltplan.txt";
    const std::string szHop = "reference/plan/hop_short/traj1r.txt";
    const struct {
        std::string szWaypoints, szFlightPlan, szArgs;
        int iExit;
        std::string szErr;  // the whole text, or its start when it ends in "..."
        bool bLog;          // whether fe.log is written
    } acase[] = {
        {"", "", "-k ri", 3,
         "Vantorell: No sim to run!  's' first\nVantorell: No sim to initialize!  's' first\n", true},
        // Waypoint times outside the range of the first and last.
        {"0 0 0 5 1 1 2 2 2 3 3 0\n", "", "-k plf", 3, "Vantorell: couldn't solve\n", true},
        {"", szFlightPlan, "-k sri", 0, "Vantorell: r: the replay needs the window; skipped\n",
         true},
        {"", "", "-k s", 1, "FATAL ERROR --\n    can't open flight plan fltplan.txt...", true},
        {"", "", "-k p", 1, "FATAL ERROR --\n    pvdfParamTraj1FromFile() can't open traj1r.txt...",
         true},
        {szHop, "", "-k FL", 0, "", true},  // F and L are not commands
        {szHop, "", "-k px", 2, "vantorell: unknown key 'x'...", false},
        {"", "", "--bogus", 2, "...", false},
        {"", "", "-k", 2, "...", false},
        {"", "", "-C /nonexistent/dir -k p", 2, "...", false}};
    for (const auto& c : acase) {
        SCOPED_TRACE(c.szArgs);
        for (const auto& entry : std::filesystem::directory_iterator(szDir))
            std::filesystem::remove_all(entry.path());
        if (c.szWaypoints.rfind("reference/", 0) == 0)
            copyTestData(c.szWaypoints, "traj1r.txt");
        else if (!c.szWaypoints.empty())
            writeFile("traj1r.txt", c.szWaypoints);
        if (!c.szFlightPlan.empty()) copyTestData(c.szFlightPlan, "fltplan.txt");
        const auto r = runCommand(szProgram() + " " + c.szArgs, szDir);
        EXPECT_EQ(r.iExit, c.iExit);
        const std::size_t nCh = c.szErr.size();
        if (nCh >= 3 && c.szErr.compare(nCh - 3, 3, "...") == 0)
            EXPECT_EQ(r.szErr.substr(0, nCh - 3), c.szErr.substr(0, nCh - 3)) << r.szErr;
        else
            EXPECT_EQ(r.szErr, c.szErr);
        EXPECT_EQ(fileExists("fe.log"), c.bLog);
        if (c.iExit == 1) {
            EXPECT_NE(readFile("fe.log").find("FATAL ERROR --"), std::string::npos);
        }
        EXPECT_FALSE(fileExists("traj1l.txt"));
        if (c.szFlightPlan.empty()) {
            EXPECT_FALSE(fileExists("fltplan.txt"));
        }
    }
    auto r = runCommand(szProgram() + " --help", szDir);
    EXPECT_EQ(r.iExit, 0);
    EXPECT_NE(r.szOut.find("Usage: vantorell"), std::string::npos);
    r = runCommand(szProgram() + " --version", szDir);
    EXPECT_EQ(r.iExit, 0);
    EXPECT_EQ(r.szOut.rfind("vantorell ", 0), 0u);
}

// -C runs in the given directory; c writes the pane there at the size asked.
TEST_F(BatchTest, DashCAndCaptureOfTheRequestedSize) {
    std::filesystem::create_directory("work");
    copyTestData("reference/flight/freefall_cut/fltplan.txt", "work/fltplan.txt");
    const auto r = runCommand(szProgram() + " -C work -k sc --size 480x360", szDir);
    ASSERT_EQ(r.iExit, 0) << r.szErr;
    EXPECT_TRUE(fileExists("work/results.txt") && !fileExists("results.txt"));
    const std::string szBmp = readFile("work/pane.bmp");
    ASSERT_EQ(szBmp.size(), 54u + 360u * 1440u);  // rows of 480 * 3 bytes, already 4-aligned
    EXPECT_EQ(szBmp.substr(0, 2), "BM");
    EXPECT_EQ(szBmp.substr(18, 8), std::string("\xe0\x01\0\0\x68\x01\0\0", 8));  // 480, 360
    // The triad's x axis, 3 pixels wide, holds the scene's full-red pixels
    // (blue, green, red in the file): most columns it crosses have 3.
    std::map<int, int> mapNColumns;
    int iXAxisEnd = -1;
    for (int x = 0; x < 480; x++) {
        int n = 0;
        for (int y = 0; y < 360; y++) n += static_cast<unsigned char>(szBmp[54 + y * 1440 + 3 * x + 2]) == 255;
        if (n > 0) mapNColumns[n] += 1;
        if (n == 3) iXAxisEnd = x;
    }
    EXPECT_EQ(std::max_element(mapNColumns.begin(), mapNColumns.end(),
                               [](auto a, auto b) { return a.second < b.second; })->first, 3);
    // It ends where its tip, 16 m along x, falls through the default camera.
    const XfmCFmW3c cam = xfmCFmW3cDefaultFm(xfmPFmC3cFm(Pane{480, 360, 0, 0}));
    const Pt4h pt4hTip = ptXgm4h(cam.x4hCFmW, Pt4h(16.0, 0.0, 0.0, 1.0));
    EXPECT_NEAR(iXAxisEnd, (pt4hTip.fX / pt4hTip.fW + 1.0) * 240.0, 3.0);
}

// g: the plan flown guided, into the same results.txt; without fltplan.txt it
// ends as s does; a bad guidance.txt is a message naming the file, the line
// and the problem, and nothing is flown.
TEST_F(BatchTest, GuidedSimulateLikeSimulateAndABadGuidanceFileFliesNothing) {
    const auto rS = runKeys("s", szDir);
    auto r = runKeys("g", szDir);
    EXPECT_EQ(r.iExit, rS.iExit);
    EXPECT_EQ(r.szErr, rS.szErr);
    writeFile("traj1r.txt", readFile(VT_EXAMPLES "/guided_hop/traj1r.txt"));
    r = runKeys("pg", szDir);
    EXPECT_EQ(r.iExit, 0) << r.szErr;
    EXPECT_EQ(r.szOut.substr(r.szOut.rfind("guided flight:")),
              "guided flight: touchdown at 5.54 s, vertical -0.42 m/s, horizontal -0.03 m/s; "
              "stopped (rest) at 7.35 s; 0.879 kg of propellant left\n");
    const std::string szResults = readFile("results.txt");
    EXPECT_EQ(szResults.substr(0, szResults.find('\n') + 1),
              "     ti      Xf      Zf     Pitch   VeXf    VeZf  PitchDot  Ms     ThCmd   ThAct   "
              "MmCmd   MmAct\n");
    writeFile("guidance.txt", "control_rate 40  # fine\n\ndamping 5\n");
    std::filesystem::remove("results.txt");
    r = runKeys("g", szDir);
    EXPECT_EQ(r.iExit, 3);
    EXPECT_EQ(r.szErr, "Vantorell: guidance.txt:3: damping 5 out of range (0.1 to 2)\n");
    EXPECT_FALSE(fileExists("results.txt"));
}
