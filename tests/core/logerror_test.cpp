// Run log layout, fatal-error record and assertion texts.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
// GCC 12 sees uninitialised members inside <regex> when optimising with the
// sanitizers on; a false alarm in the library, not in this file.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <regex>
#include <string>
#include <vector>

#include "core/logerror.h"
#include "support/testutil.h"

using vttest::readFile;

namespace {

const std::string szRule69(69, '#');
const std::string szRule78(78, '#');
const char szTime[] = "[0-2][0-9]:[0-5][0-9]:[0-6][0-9] ";
const char szDate[] =
    "DATE -- [0-9]{4}/(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec)/[0-3][0-9] "
    "\\((Sunday|Monday|Tuesday|Wednesday|Thursday|Friday|Saturday)\\)\n";

const std::string t = szTime;
const char szCantHappen[] =
    "CAN'T HAPPEN -- Program bug -- will try and continue, but disaster may ensue!\n"
    "    logDateIfChanged1\nAssertion failed: 0,";

// The log as a pattern: date line, opening banner, then szBody.
std::regex reLog(const std::string& szBody) {
    return std::regex("^" + t + szDate + "\n" + t + "LOG FILE OPENED\n\n" + szBody);
}

}  // namespace

using LogFileTest = InTempDir;

TEST_F(LogFileTest, FatalErrorWritesFramedRecordAndExitsOne) {
    EXPECT_EXIT(
        {
            openLogFile();
            fatalErrorSzFmtII("A<El>( lo=%i, hi=%i ) allocation failure", 1, -5);
        },
        ::testing::ExitedWithCode(1),
        "^FATAL ERROR --\n    A<El>\\( lo=1, hi=-5 \\) allocation failure\n$");
    const std::string szLog = readFile("fe.log");
    EXPECT_TRUE(std::regex_match(
        szLog, reLog("\n" + t + szRule69 +
                     "\nFATAL ERROR --\n    A<El>\\( lo=1, hi=-5 \\) allocation failure\n\n" +
                     szRule78 + "\n$")))
        << szLog;
}

TEST(AssertionTest, FiresInEveryBuildWithExpressionText) {
    int i = 3;
    EXPECT_DEATH(VT_ASSERT(i < 2), "Assertion failed: i < 2, file .*logerror_test.cpp, line");
}

TEST_F(LogFileTest, CantHappenEndsTheProgramAfterItsRecord) {
    EXPECT_DEATH(
        {
            openLogFile();
            cantHappen("logDateIfChanged1");
        },
        szCantHappen);
}

// ---- every writer writes what its format gives ---------------------------------

TEST_F(LogFileTest, TimerLinePadsToTwentyEightColumnsAndNeverCuts) {
    const std::string szLong = "a step name longer than twenty-eight columns";
    EXPECT_EXIT(
        {
            openLogFile();
            initTiming();
            usleep(30000);
            logTimeStepSz("short");
            logTimeStepSz(szLong.c_str());
            closeLogFile();
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "");
    const std::string szSec = " {3}[0-9]\\.[0-9]{3}";
    const std::string szTail = " took " + szSec + " sec; time from start " + szSec + " sec\n";
    const std::string szLog = readFile("fe.log");
    ASSERT_TRUE(std::regex_match(szLog, reLog(t + "short" + std::string(23, ' ') + szTail + t +
                                              szLong + szTail + "\n" + t + "LOG FILE CLOSING\n$")))
        << szLog;
    std::vector<double> vf;
    const std::regex reNum("took +([0-9.]+) sec; time from start +([0-9.]+) sec");
    for (auto it = std::sregex_iterator(szLog.begin(), szLog.end(), reNum); it != std::sregex_iterator(); ++it)
        vf.insert(vf.end(), {std::stod((*it)[1]), std::stod((*it)[2])});
    ASSERT_EQ(vf.size(), 4u);
    // Step, then total: the first step took the whole 30 ms wait; the second,
    // logged at once, took next to nothing, and the total is the sum of steps.
    const double fStep1 = vf[0], fTotal1 = vf[1], fStep2 = vf[2], fTotal2 = vf[3];
    EXPECT_GE(fStep1, 0.029);
    EXPECT_EQ(fStep1, fTotal1);
    EXPECT_LT(fStep2, fTotal2);
    EXPECT_NEAR(fTotal2, fTotal1 + fStep2, 0.0015);
}

// ---- the date rule ------------------------------------------------------------

TEST_F(LogFileTest, DateRuleWritesANewDateLineWhenTheDateDiffers) {
    // A date that differs from the stored one gets a date line. That line is
    // itself time-stamped with the present moment, so its own date rule runs
    // with today's date: today's line comes first, then the given date's, and
    // today is what stays stored. The same date again writes nothing.
    EXPECT_EXIT(
        {
            openLogFile();
            std::tm tm{};
            tm.tm_year = 108;
            tm.tm_mon = 2;
            tm.tm_mday = 4;
            tm.tm_wday = 2;
            logDateIfChanged(&tm);
            std::time_t t = std::time(nullptr);
            std::tm tmToday{};
            localtime_r(&t, &tmToday);
            logDateIfChanged(&tmToday);
            logLineSz("after");
            closeLogFile();
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "");
    const std::string szLog = readFile("fe.log");
    EXPECT_TRUE(std::regex_match(szLog, reLog(t + szDate + "\n" + t +
                                              "DATE -- 2008/Mar/04 \\(Tuesday\\)\n\n" + t +
                                              "after\n\n" + t + "LOG FILE CLOSING\n$")))
        << szLog;
}

TEST_F(LogFileTest, MonthOrWeekdayOutOfRangeIsAnImpossibleState) {
    std::tm tm{};
    tm.tm_year = 108, tm.tm_mday = 4, tm.tm_mon = 12;
    EXPECT_DEATH(logDateIfChanged(&tm), szCantHappen);
    tm.tm_mon = 0, tm.tm_wday = 7;
    EXPECT_DEATH(logDateIfChanged(&tm), szCantHappen);
}

// ---- fatal errors ---------------------------------------------------------------

TEST(FatalErrorTest, EveryFormattingVariantReportsItsText) {
    const auto status = ::testing::ExitedWithCode(1);
    EXPECT_EXIT(fatalError("plain"), status, "^FATAL ERROR --\n    plain\n$");
    EXPECT_EXIT(fatalErrorSzFmtI("n=%i", 5), status, "^FATAL ERROR --\n    n=5\n$");
    EXPECT_EXIT(fatalErrorSzFmtSzIII("%s %i %i %i", "g", -1, 0, 1), status, "    g -1 0 1\n$");
    EXPECT_EXIT(fatalErrorSzFmtF64("f=%.2f", 1.5), status, "^FATAL ERROR --\n    f=1\\.50\n$");
}

TEST_F(LogFileTest, PercentInAFatalMessageIsReadTwiceOnStandardError) {
    // Deliberate: the message is the format string of its standard-error copy,
    // so "%%" reaches the log as it is and the terminal as a single '%'.
    EXPECT_EXIT(
        {
            openLogFile();
            fatalErrorSzMsg("50%% done");
        },
        ::testing::ExitedWithCode(1), "^FATAL ERROR --\n    50% done\n$");
    const std::string szLog = readFile("fe.log");
    EXPECT_NE(szLog.find("FATAL ERROR --\n    50%% done\n"), std::string::npos) << szLog;
}
