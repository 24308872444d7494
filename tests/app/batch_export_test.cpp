// The batch mode's extras after the key chain: the plan warnings on standard
// error, the CSV export (--csv) and the charts as PNG files (--plots), run
// as a user runs them.
#include <filesystem>
#include <string>

#include "app/plotdata.h"
#include "support/testutil.h"

using namespace vttest;

namespace {

// Whether this build has the window module that draws the charts.
bool bChartsBuilt() {
  return std::filesystem::exists(
      std::filesystem::path(szProgram()).parent_path() /
      "libvantorell-window.so");
}

// Whether the text is a PNG file of 960 x 400 pixels, by its header.
bool bPng960x400(const std::string &sz) {
  return sz.size() > 24 &&
         sz.compare(0, 16,
                    std::string("\x89PNG\r\n\x1a\n\0\0\0\x0dIHDR", 16)) == 0 &&
         sz.compare(16, 8, std::string("\0\0\x03\xc0\0\0\x01\x90", 8)) == 0;
}

const char *const aszPng[] = {"plot_x.png",      "plot_z.png",
                              "plot_pitch.png",  "plot_thrust.png",
                              "plot_moment.png", "plot_mass.png"};

std::string szExample() {
  return std::string(VT_EXAMPLES) + "/handmade/traj1r.txt";
}

} // namespace

using BatchExportTest = InTempDir;

// Warnings after the SUMMARY, one line each and per plan made, exit 0; a
// flyable plan is silent.
TEST_F(BatchExportTest, PlanWarningsGoToStandardErrorAndAFlyablePlanIsSilent) {
  copyTestData("plan/fast_hop/traj1r.txt", "traj1r.txt");
  auto r = runCommand(szProgram() + " -k pl", szDir);
  EXPECT_EQ(r.iExit, 0) << r.szErr;
  EXPECT_EQ(r.szErr.rfind("Vantorell: warning: plan: thruster", 0), 0u)
      << r.szErr;
  EXPECT_NE(
      r.szErr.find("above their share of the maximum thrust (493.3333 N)"),
      std::string::npos);
  EXPECT_NE(r.szErr.find("no thrust is left"), std::string::npos);
  EXPECT_TRUE(r.szOut.find("SUMMARY\n") != std::string::npos &&
              fileExists("traj1l.txt"));
  copyTestData("plan/under_ground/traj1r.txt", "traj1r.txt");
  r = runCommand(szProgram() + " -k pp", szDir);
  const std::string szLine = r.szErr.substr(0, r.szErr.find('\n') + 1);
  EXPECT_EQ(szLine.rfind("Vantorell: warning: plan: path at z = ", 0), 0u)
      << r.szErr;
  EXPECT_TRUE(r.iExit == 0 && r.szErr == szLine + szLine);
  std::filesystem::remove("traj1r.txt");
  std::filesystem::copy_file(szExample(), "traj1r.txt");
  r = runCommand(szProgram() + " -k ps", szDir);
  EXPECT_TRUE(r.iExit == 0 && r.szErr.empty()) << r.szErr;
}

TEST_F(BatchExportTest, ExportMessagesAndExitStatuses) {
  const bool bCharts = bChartsBuilt();
  const std::string szUsage = "vantorell: --csv and --plots go with -k KEYS "
                              "(in the window: File > Export)\n"
                              "Try 'vantorell --help' for more information.\n";
  const struct {
    bool bPlan, bFlightPlan, bNeedsCharts;
    const char *szDirMade, *szArgs;
    int iExit;
    std::string szErr;
    const char *szMade, *szNotMade;
  } acase[] = {
      {false, true, false, nullptr, "-k s --csv", 0, "", "run.csv", "plan.csv"},
      {false, false, false, nullptr, "-k l --csv", 3,
       "Vantorell: --csv: no plan and no run to write\n", nullptr, "run.csv"},
      {true, false, false, "run.csv", "-k ps --csv", 3,
       "Vantorell: cannot write run.csv: Is a directory\n", "plan.csv",
       nullptr},
      {false, false, false, nullptr, "--csv", 2, szUsage, nullptr, nullptr},
      {false, false, false, nullptr, "--plots", 2, szUsage, nullptr, nullptr},
      {true, false, true, nullptr, "-k p --plots", 0, "", "plot_mass.png",
       nullptr},
      {false, false, true, nullptr, "-k l --plots", 3,
       "Vantorell: --plots: no plan and no run to plot\n", nullptr,
       "plot_mass.png"},
      {true, false, true, "plot_x.png", "-k p --plots", 3,
       "Vantorell: cannot write plot_x.png\n", nullptr, nullptr}};
  for (const auto &c : acase) {
    if (c.bNeedsCharts && !bCharts)
      continue;
    SCOPED_TRACE(c.szArgs);
    for (const auto &entry : std::filesystem::directory_iterator(szDir))
      std::filesystem::remove_all(entry.path());
    if (c.bPlan)
      std::filesystem::copy_file(szExample(), "traj1r.txt");
    if (c.bFlightPlan)
      copyTestData("reference/flight/freefall_cut/fltplan.txt", "fltplan.txt");
    if (c.szDirMade != nullptr)
      std::filesystem::create_directory(c.szDirMade);
    const auto r = runCommand(szProgram() + " " + c.szArgs, szDir);
    EXPECT_EQ(r.iExit, c.iExit);
    EXPECT_EQ(r.szErr, c.szErr);
    if (c.szMade != nullptr) {
      EXPECT_TRUE(fileExists(c.szMade));
    }
    if (c.szNotMade != nullptr) {
      EXPECT_FALSE(fileExists(c.szNotMade));
    }
  }
  const auto r = runCommand(szProgram() + " --help", szDir);
  EXPECT_NE(r.szOut.find("  --csv "), std::string::npos);
  EXPECT_NE(r.szOut.find("  --plots "), std::string::npos);
}

// ---- charts
// ---------------------------------------------------------------------

// Drawn offscreen with no display at all, and a platform setting that would
// need one; only the charts load the toolkit (the dynamic loader names every
// library it opens).
TEST_F(BatchExportTest,
       PlotsAreSixPngFilesDrawnWithNoDisplayAndOnlyTheyLoadTheToolkit) {
  if (!bChartsBuilt())
    GTEST_SKIP() << "built without the window";
  std::filesystem::copy_file(szExample(), "traj1r.txt");
  auto r = runCommand("env -u DISPLAY -u WAYLAND_DISPLAY QT_QPA_PLATFORM=xcb " +
                          szProgram() + " -k ps --plots",
                      szDir);
  ASSERT_EQ(r.iExit, 0) << r.szErr;
  EXPECT_EQ(r.szErr, ""); // none of the toolkit's chatter
  for (const char *szPng : aszPng)
    EXPECT_TRUE(bPng960x400(readFile(szPng))) << szPng;
  r = runCommand("env LD_DEBUG=files " + szProgram() + " -k ps --csv", szDir);
  EXPECT_EQ(r.iExit, 0);
  for (const char *szLib : {"libQt6", "libOpenGL", "libEGL", "libnlopt"})
    EXPECT_EQ(r.szErr.find(szLib), std::string::npos) << szLib;
  r = runCommand("env LD_DEBUG=files " + szProgram() + " -k ps --plots", szDir);
  EXPECT_EQ(r.iExit, 0);
  EXPECT_NE(r.szErr.find("libQt6Charts"), std::string::npos);
}
