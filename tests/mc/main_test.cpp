// The program vantorell-mc as a user runs it: options, exit statuses,
// messages and the files it writes.
#include <gtest/gtest.h>

#include <string>

#include "support/testutil.h"

namespace {

class McProgram : public InTempDir {
protected:
    vttest::RunResult run(const std::string& szArgs) {
        return vttest::runCommand(std::string("'") + VT_MC_BIN + "' " + szArgs, szDir, 120);
    }
    void copyPlan() {
        vttest::copyTestData("reference/plan/hop_short/expected/fltplan.txt", "fltplan.txt");
    }
};

std::size_t nLines(const std::string& sz) {
    std::size_t n = 0;
    for (char ch : sz)
        if (ch == '\n') n += 1;
    return n;
}

TEST_F(McProgram, HelpAndVersion) {
    const vttest::RunResult r = run("--help");
    EXPECT_EQ(r.iExit, 0);
    EXPECT_EQ(r.szOut.rfind("Usage: vantorell-mc [OPTION]... [DISPERSION_FILE]\n", 0), 0u);
    EXPECT_NE(r.szOut.find("Exit status: 0 when the campaign ran, 1 when the flight plan could"),
              std::string::npos);
    const vttest::RunResult rv = run("--version");
    EXPECT_EQ(rv.iExit, 0);
    EXPECT_EQ(rv.szOut.rfind("vantorell-mc ", 0), 0u);
}

TEST_F(McProgram, UsageErrorsExitWithStatus2) {
    for (const char* szArgs : {"-j 0", "-j x", "-j", "--runs 0", "--target 3", "--bogus",
                               "a.txt b.txt"}) {
        const vttest::RunResult r = run(szArgs);
        EXPECT_EQ(r.iExit, 2) << szArgs;
        EXPECT_NE(r.szErr.find("Try 'vantorell-mc --help'"), std::string::npos) << szArgs;
    }
}

TEST_F(McProgram, ABadDispersionLineIsNamedAndExitsWithStatus2) {
    copyPlan();
    vttest::writeFile("dispersion.txt", "runs 10\n\nthrust_scale -0.5\n");
    const vttest::RunResult r = run("");
    EXPECT_EQ(r.iExit, 2);
    EXPECT_EQ(r.szErr, "vantorell-mc: dispersion.txt:3: negative deviation -0.5 for thrust_scale\n");
    EXPECT_EQ(r.szOut, "");
    EXPECT_FALSE(vttest::fileExists("mc_runs.csv"));
}

TEST_F(McProgram, MissingFilesAreNamed) {
    const vttest::RunResult r = run("");
    EXPECT_EQ(r.iExit, 2);
    EXPECT_EQ(r.szErr, "vantorell-mc: can't read dispersion file dispersion.txt\n");
    vttest::writeFile("d.txt", "runs 3\n");
    const vttest::RunResult rPlan = run("d.txt --plan plan.txt");
    EXPECT_EQ(rPlan.iExit, 1);
    EXPECT_EQ(rPlan.szErr, "vantorell-mc: can't open flight plan plan.txt\n");
    vttest::writeFile("plan.txt", "");  // an empty plan reads as one, as the simulate command reads it
    const vttest::RunResult rEmpty = run("d.txt --plan plan.txt");
    EXPECT_EQ(rEmpty.iExit, 1);
    EXPECT_EQ(rEmpty.szErr,
              "FATAL ERROR --\n    plan.txt: first line must give the first and last data line numbers\n");
}

TEST_F(McProgram, ABadPlanEndsAsTheSimulateCommandWould) {
    vttest::writeFile("dispersion.txt", "runs 3\n");
    vttest::writeFile("fltplan.txt", "   3    4\nheader\n0 600 0\n1 nan 0\n");
    const vttest::RunResult r = run("");
    EXPECT_EQ(r.iExit, 1);
    EXPECT_NE(r.szErr.find("fltplan.txt, line 4: a number is not finite"), std::string::npos)
        << r.szErr;
}

TEST_F(McProgram, ACampaignWritesTheThreeReports) {
    copyPlan();
    vttest::copyTestData("../../examples/dispersion.txt", "dispersion.txt");
    const vttest::RunResult r = run("-j 2 --runs 40");
    ASSERT_EQ(r.iExit, 0) << r.szErr;
    const std::string szSummary = vttest::readFile("mc_summary.txt");
    EXPECT_EQ(r.szOut, szSummary);
    EXPECT_NE(szSummary.find("    runs               = 40\n"), std::string::npos);
    EXPECT_NE(szSummary.find("    random seed        = 20240601\n"), std::string::npos);
    EXPECT_NE(szSummary.find("rest point of the undispersed flight"), std::string::npos);
    const std::string szCsv = vttest::readFile("mc_runs.csv");
    EXPECT_EQ(nLines(szCsv), 41u);
    EXPECT_EQ(szCsv.rfind("run,thrust_scale_dev[-],", 0), 0u);
    EXPECT_NE(szCsv.find("\n1,"), std::string::npos);
    EXPECT_NE(szCsv.find("\n40,"), std::string::npos);
    // Standard error is no terminal here: no progress, only the closing line.
    EXPECT_EQ(r.szErr.find('\r'), std::string::npos);
    // (A build without the picture says so in one line first.)
    std::string szErr = r.szErr;
    const std::string szNoPicture = "vantorell-mc: this build has no picture support";
    if (szErr.rfind(szNoPicture, 0) == 0) szErr.erase(0, szErr.find('\n') + 1);
    EXPECT_EQ(szErr.rfind("vantorell-mc: 40 runs in ", 0), 0u) << r.szErr;
    EXPECT_EQ(nLines(szErr), 1u) << r.szErr;
    // The picture, when this build has one.
    if (szErr.size() == r.szErr.size()) {
        ASSERT_TRUE(vttest::fileExists("mc_rest_points.png"));
        const std::string szPng = vttest::readFile("mc_rest_points.png");
        ASSERT_GT(szPng.size(), 24u);
        EXPECT_EQ(szPng.substr(0, 8), std::string("\x89PNG\r\n\x1a\n", 8));
    }
}

TEST_F(McProgram, TargetAndDirectoryOptions) {
    ASSERT_EQ(system("mkdir -p sub"), 0);
    vttest::copyTestData("reference/plan/hop_short/expected/fltplan.txt", "sub/fltplan.txt");
    vttest::writeFile("sub/d.txt", "runs 5\ninitial_vx 0.01\n");
    const vttest::RunResult r = run("-C sub --no-picture --target 0.5,0 -j 1 d.txt");
    ASSERT_EQ(r.iExit, 0) << r.szErr;
    EXPECT_NE(r.szOut.find("    planned end point  = (    0.5000     0.0000) m, given with "
                           "--target\n"),
              std::string::npos)
        << r.szOut;
    EXPECT_TRUE(vttest::fileExists("sub/mc_runs.csv"));
    EXPECT_FALSE(vttest::fileExists("sub/mc_rest_points.png"));
}

TEST_F(McProgram, AnAbortDuringTheFlightsNamesTheRunsInFlight) {
    // The driver's assertions end the process with abort(); the program then
    // names the runs being flown. Here the abort comes from outside, a second
    // into a campaign of some minutes.
    copyPlan();
    vttest::writeFile("dispersion.txt", "runs 100000\ninitial_vx 0.1\n");
    vttest::writeFile("abort.sh", std::string("'") + VT_MC_BIN +
                                      "' -j 2 --no-picture & p=$!\nsleep 1\nkill -ABRT $p\n"
                                      "wait $p\n");
    const vttest::RunResult r = vttest::runCommand("sh abort.sh", szDir, 60);
    EXPECT_EQ(r.iExit, 134) << r.szErr;
    EXPECT_NE(r.szErr.find("vantorell-mc: stopped during run(s) "), std::string::npos) << r.szErr;
    EXPECT_FALSE(vttest::fileExists("mc_runs.csv"));
}

TEST_F(McProgram, OneAndTwoThreadsWriteTheSameBytes) {
    copyPlan();
    vttest::copyTestData("../../examples/dispersion.txt", "dispersion.txt");
    ASSERT_EQ(run("-j 1 --runs 60 --no-picture").iExit, 0);
    const std::string szCsv1 = vttest::readFile("mc_runs.csv");
    const std::string szSum1 = vttest::readFile("mc_summary.txt");
    ASSERT_EQ(run("-j 2 --runs 60 --no-picture").iExit, 0);
    EXPECT_EQ(vttest::readFile("mc_runs.csv"), szCsv1);
    EXPECT_EQ(vttest::readFile("mc_summary.txt"), szSum1);
}

}  // namespace
