// The program vantorell-mc as a user runs it: options, exit statuses,
// messages and the files it writes.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/testutil.h"

namespace {

class McProgram : public InTempDir {
protected:
    vttest::RunResult run(const std::string& szArgs) {
        return vttest::runCommand(std::string("'") + VT_MC_BIN + "' " + szArgs, szDir, 120);
    }
    void copyInputs(const std::string& szTo = "") {
        vttest::copyTestData("reference/plan/hop_short/expected/fltplan.txt", szTo + "fltplan.txt");
        vttest::copyTestData("../../examples/dispersion.txt", szTo + "dispersion.txt");
    }
    // Exit status, standard error and standard output.
    void expectRun(const std::string& szArgs, int iExit, const std::string& szErr,
                   const std::string& szOut = "") {
        const vttest::RunResult r = run(szArgs);
        EXPECT_EQ(r.iExit, iExit) << szArgs;
        EXPECT_EQ(r.szErr, szErr) << szArgs;
        EXPECT_EQ(r.szOut, szOut) << szArgs;
    }
};

std::size_t nLines(const std::string& sz) { return std::count(sz.begin(), sz.end(), '\n'); }

TEST_F(McProgram, HelpVersionAndUsageErrors) {
    const vttest::RunResult r = run("--help"), rv = run("--version");
    EXPECT_EQ(r.iExit + rv.iExit, 0);
    EXPECT_EQ(r.szOut.rfind("Usage: vantorell-mc [OPTION]... [DISPERSION_FILE]\n", 0), 0u);
    EXPECT_NE(r.szOut.find("Exit status: 0 when the campaign ran, 1 when the flight plan could"),
              std::string::npos);
    EXPECT_EQ(rv.szOut.rfind("vantorell-mc ", 0), 0u);
    for (const char* szArgs : {"-j 0", "-j x", "-j", "--runs 0", "--target 3", "--bogus", "a b"}) {
        const vttest::RunResult ru = run(szArgs);
        EXPECT_EQ(ru.iExit, 2) << szArgs;
        EXPECT_NE(ru.szErr.find("Try 'vantorell-mc --help'"), std::string::npos) << szArgs;
    }
}

TEST_F(McProgram, BadOrMissingInputsAreNamedAndWriteNothing) {
    expectRun("", 2, "vantorell-mc: can't read dispersion file dispersion.txt\n");
    vttest::writeFile("dispersion.txt", "runs 10\n\nthrust_scale -0.5\n");
    expectRun("", 2, "vantorell-mc: dispersion.txt:3: negative deviation -0.5 for thrust_scale\n");
    vttest::writeFile("d.txt", "runs 3\n");
    expectRun("d.txt --plan plan.txt", 1, "vantorell-mc: can't open flight plan plan.txt\n");
    vttest::writeFile("plan.txt", "");  // an empty plan reads as the simulate command reads it
    expectRun("d.txt --plan plan.txt", 1,
              "FATAL ERROR --\n    plan.txt: first line must give the first and last data line "
              "numbers\n");
    EXPECT_FALSE(vttest::fileExists("mc_runs.csv"));
}

TEST_F(McProgram, ACampaignWritesTheThreeReports) {
    copyInputs();
    const vttest::RunResult r = run("-j 2 --runs 40");
    ASSERT_EQ(r.iExit, 0) << r.szErr;
    const std::string szSummary = vttest::readFile("mc_summary.txt"), szCsv = vttest::readFile("mc_runs.csv");
    EXPECT_EQ(r.szOut, szSummary);
    EXPECT_NE(szSummary.find("    runs               = 40\n    random seed        = 20240601\n"),
              std::string::npos);
    EXPECT_NE(szSummary.find("rest point of the undispersed flight"), std::string::npos);
    EXPECT_EQ(nLines(szCsv), 41u);
    EXPECT_EQ(szCsv.rfind("run,thrust_scale_dev[-],", 0), 0u);
    EXPECT_NE(szCsv.find("\n40,"), std::string::npos);
    // Standard error is no terminal here: no progress, only the closing line
    // (after one saying so in a build without the picture).
    std::string szErr = r.szErr;
    const std::string szNoPicture = "vantorell-mc: this build has no picture support";
    if (szErr.rfind(szNoPicture, 0) == 0) szErr.erase(0, szErr.find('\n') + 1);
    EXPECT_EQ(szErr.rfind("vantorell-mc: 40 runs in ", 0), 0u) << r.szErr;
    EXPECT_EQ(nLines(szErr), 1u) << r.szErr;
    EXPECT_TRUE(szErr.size() != r.szErr.size() || vttest::fileExists("mc_rest_points.png"));
}

TEST_F(McProgram, AnAbortDuringTheFlightsNamesTheRunsInFlight) {
    // The driver's assertions end the process with abort(); the program then
    // names the runs being flown. Here the abort comes from outside.
    copyInputs();
    vttest::writeFile("dispersion.txt", "runs 100000\ninitial_vx 0.1\n");
    vttest::writeFile("abort.sh", std::string("'") + VT_MC_BIN +
                                      "' -j 2 --no-picture & p=$!\nsleep 1\nkill -ABRT $p\n"
                                      "wait $p\n");
    const vttest::RunResult r = vttest::runCommand("sh abort.sh", szDir, 60);
    EXPECT_EQ(r.iExit, 134) << r.szErr;
    EXPECT_NE(r.szErr.find("vantorell-mc: stopped during run(s) "), std::string::npos) << r.szErr;
    EXPECT_FALSE(vttest::fileExists("mc_runs.csv"));
}

}  // namespace
