// Run log layout, fatal-error record and assertion texts.
#include <regex>
#include <string>

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

}  // namespace

using LogFileTest = InTempDir;

TEST_F(LogFileTest, OpenAndCloseWriteDateLineBlankLineAndBanner) {
    EXPECT_EXIT(
        {
            openLogFile();
            logLineSz("hello");
            logSzFmtI("n=%i", 3);
            logLineSzFmtB("ok=%s", 0);
            closeLogFile();
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "");
    const std::string szLog = readFile("fe.log");
    const std::string t = szTime;
    const std::regex re("^" + t + szDate + "\n" + t + "LOG FILE OPENED\n\n" + t + "hello\n" +
                        "n=3" + t + "ok=false\n\n" + t + "LOG FILE CLOSING\n$");
    EXPECT_TRUE(std::regex_match(szLog, re)) << szLog;
}

TEST_F(LogFileTest, FatalErrorWritesFramedRecordAndExitsOne) {
    EXPECT_EXIT(
        {
            openLogFile();
            fatalErrorSzFmtII("A<El>( lo=%i, hi=%i ) allocation failure", 1, -5);
        },
        ::testing::ExitedWithCode(1),
        "^FATAL ERROR --\n    A<El>\\( lo=1, hi=-5 \\) allocation failure\n$");
    const std::string szLog = readFile("fe.log");
    const std::string t = szTime;
    const std::regex re("^" + t + szDate + "\n" + t + "LOG FILE OPENED\n\n\n" + t + szRule69 +
                        "\nFATAL ERROR --\n    A<El>\\( lo=1, hi=-5 \\) allocation failure\n\n" +
                        szRule78 + "\n$");
    EXPECT_TRUE(std::regex_match(szLog, re)) << szLog;
}

TEST_F(LogFileTest, FatalErrorWithoutLogStillReportsOnStderr) {
    EXPECT_EXIT(fatalErrorSzMsg("no log here"), ::testing::ExitedWithCode(1),
                "FATAL ERROR --\n    no log here\n");
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
        "CAN'T HAPPEN -- Program bug -- will try and continue, but disaster may ensue!\n"
        "    logDateIfChanged1\nAssertion failed: 0,");
}
