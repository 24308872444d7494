// Formatting and line-reader failure paths: assertion texts and the fatal
// errors of the checked line readers.
#include "core/format.h"

#include <cmath>
#include <ctime>
#include <cstdio>
#include <string>

#include "support/testutil.h"

namespace {

std::string szAssert(const std::string& szExpr) { return vttest::szAssertRe(szExpr, "format"); }
const auto exit1 = ::testing::ExitedWithCode(1);

}  // namespace

TEST(FormatDeathTest, AssertionTexts) {
    Long iSign, iExp;
    double fMant;
    EXPECT_DEATH(iSignFMantIExpF(&iSign, &fMant, &iExp, NAN), szAssert("std::isfinite(f)"));
    std::tm tm{};
    tm.tm_mon = 12;
    EXPECT_DEATH(strDateTimeFmTm(tm, 1, 1, 1, 1), szAssert("tm.tm_mon >= 0 && tm.tm_mon <= 11"));
    EXPECT_DEATH(iNextWsAfterSzI("ab", -1), szAssert("i >= 0"));
}

using LineReaderTest = InTempDir;

TEST_F(LineReaderTest, CheckedLinesAndTheirFatalErrors) {
    vttest::writeFile("in.txt", "\n  HEADER \nx\n");
    std::FILE* pf = std::fopen("in.txt", "r");
    ASSERT_NE(pf, nullptr);
    checkLineSzNonWsInPFILE(" HEADER", pf);
    EXPECT_EXIT(checkLineSzNonWsInPFILE("y", pf), exit1,
                "^FATAL ERROR --\n    text file has \"x\" where \"y\" was expected\n$");
    skipLineInPFILE(pf);
    EXPECT_EXIT(checkLineSzNonWsInPFILE("END", pf), exit1,
                "text file ends where the line \"END\" was expected");
    std::fclose(pf);
    // A '%' from the file must not reach the fatal message as a format.
    vttest::writeFile("pct.txt", "50% %s%n off\n");
    pf = std::fopen("pct.txt", "r");
    EXPECT_EXIT(checkLineSzNonWsInPFILE("x", pf), exit1,
                "text file has \"50\\? \\?s\\?n off\" where \"x\" was expected");
    std::fclose(pf);
    vttest::writeFile("long.txt", std::string(2000, 'z') + "\n");
    pf = std::fopen("long.txt", "r");
    char sz[nChLineMax];
    EXPECT_EXIT(readLineWithSzNonWsInPFILE(sz, pf), exit1, "text file line longer than 1023 characters");
    std::fclose(pf);
}
