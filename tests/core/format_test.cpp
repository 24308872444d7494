// Number, time and text formatting, and the line readers.
#include "core/format.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <vector>
// GCC 12 sees uninitialised members inside <regex> when optimising with the
// sanitizers on; a false alarm in the library, not in this file.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <regex>
#include <string>
#include <utility>

#include "support/testutil.h"

namespace {

using vttest::szPrinted;

std::string szAssert(const std::string& szExpr) { return vttest::szAssertRe(szExpr, "format"); }

std::string szFE(Long iNChSize, Long iNChPrec, double f) {
    return szPrinted([&](std::FILE* pf) { printFE(pf, iNChSize, iNChPrec, f); });
}

std::tm tmAt(int iYear, int iMon, int iDay, int iHr, int iMin, int iSec) {
    std::tm tm{};
    tm.tm_year = iYear - 1900;
    tm.tm_mon = iMon;
    tm.tm_mday = iDay;
    tm.tm_hour = iHr;
    tm.tm_min = iMin;
    tm.tm_sec = iSec;
    return tm;
}

std::string szDT(const std::tm& tm, int bDate, int bTime, int bTimeS, int b24) {
    return strDateTimeFmTm(tm, static_cast<unsigned char>(bDate), static_cast<unsigned char>(bTime),
                           static_cast<unsigned char>(bTimeS), static_cast<unsigned char>(b24))
        .sz();
}

}  // namespace

// ---- sign, mantissa, exponent ----------------------------------------------------------

TEST(SignMantExpTest, ZeroHasNoSign) {
    Long iSign = 9, iExp = 9;
    double fMant = 9.0;
    iSignFMantIExpF(&iSign, &fMant, &iExp, 0.0);
    EXPECT_EQ(std::vector<double>({double(iSign), fMant, double(iExp)}), std::vector<double>(3, 0.0));
}

TEST(SignMantExpTest, ExponentIsOneAboveTheLeadingDigitsOverTheWholeRange) {
    // The leading digit's exponent read independently from printf's "%e".
    for (double f : {0.1, 1.0, 9.99, 123.456, 7.5e-5, -3.3, 4.2e15, 9.99e99, 1.234e-200,
                     -6.02e23, 2.5e-310, 1.0e307}) {
        Long iSign, iExp;
        double fMant;
        iSignFMantIExpF(&iSign, &fMant, &iExp, f);
        char sz[64];
        std::snprintf(sz, sizeof sz, "%.3e", f);
        const int iExpLeading = std::atoi(std::strchr(sz, 'e') + 1);
        EXPECT_EQ(iExp, iExpLeading + 1) << f;
        EXPECT_EQ(iSign, f > 0.0 ? 1 : -1) << f;
        EXPECT_GE(fMant, 0.1) << f;
        EXPECT_LT(fMant, 1.0) << f;
        EXPECT_NEAR(iSign * fMant * std::pow(10.0, iExp), f, 1e-12 * std::fabs(f)) << f;
    }
}

TEST(SignMantExpTest, NonFiniteAndOverlargeValuesEndInAssertions) {
    Long iSign, iExp;
    double fMant;
    EXPECT_DEATH(iSignFMantIExpF(&iSign, &fMant, &iExp, NAN), szAssert("std::isfinite(f)"));
    EXPECT_DEATH(iSignFMantIExpF(&iSign, &fMant, &iExp, -INFINITY), szAssert("std::isfinite(f)"));
    EXPECT_DEATH(iSignFMantIExpF(&iSign, &fMant, &iExp, 1.5e308),
                 szAssert("fabs( f - *piSign*fMant*pow( 10.0, (F64) iExp ) ) < 1.0e-10 * fabs( f )"));
}

// ---- SI prefixes -------------------------------------------------------------------------

TEST(SIPrefixTest, EveryRowOfTheTableAndBothEdges) {
    const char achExpected[] = "afpnum kMGTP";
    for (int e = -18; e <= 17; e++) {
        const double f = 2.5 * std::pow(10.0, e);
        Long iSign, iExp;
        double fSig;
        char chPrefix = '?';
        ASSERT_EQ(bInRangeISignFSigIExpChSIPrefixF(&iSign, &fSig, &iExp, &chPrefix, f), 1) << e;
        const int iRow = (e + 18) / 3;
        EXPECT_EQ(iExp, -18 + 3 * iRow) << e;
        EXPECT_EQ(chPrefix, achExpected[iRow]) << e;
        EXPECT_NEAR(fSig, 2.5 * std::pow(10.0, e - iExp), 1e-12) << e;
    }
    // Both edges; zero sits at the milli row; signs carry.
    const struct { double f; int bIn; char chPrefix; Long iSign, iExp; double fSig; } acase[] = {
        {9.9e17, 1, 'P', 1, 15, 990.0}, {1e18, 0, '?', 1, 0, 0.0},   {1e-18, 1, 'a', 1, -18, 1.0},
        {9e-19, 0, '?', 1, 0, 9e-19},   {0.0, 1, 'm', 0, -3, 0.0},    {-0.0047, 1, 'm', -1, -3, -4.7}};
    for (const auto& c : acase) {
        Long iSign = 9, iExp = 9;
        double fSig;
        char chPrefix = '?';
        EXPECT_EQ(bInRangeISignFSigIExpChSIPrefixF(&iSign, &fSig, &iExp, &chPrefix, c.f), c.bIn) << c.f;
        if (c.bIn) {
            EXPECT_EQ(chPrefix, c.chPrefix) << c.f;
            EXPECT_EQ(iExp, c.iExp) << c.f;
            EXPECT_EQ(iSign, c.iSign) << c.f;
            EXPECT_DOUBLE_EQ(fSig, c.fSig) << c.f;
        } else {
            EXPECT_EQ(fSig, c.f);  // out of range: the value as it is
        }
    }
}

// ---- exponent form -------------------------------------------------------------------------

TEST(PrintFETest, MantissaFromOneToTenRightAlignedNeverCut) {
    const struct { Long iSize, iPrec; double f; const char* sz; } acase[] = {
        {12, 4, 1234.56, "    1.235e+3"}, {12, 4, -0.000123, "   -1.230e-4"},
        {12, 4, 6.02e23, "   6.020e+23"}, {12, 4, 1.5e-100, "  1.500e-100"},
        {12, 4, 1.0, "    1.000e+0"},     {12, 4, 0.5, "    5.000e-1"},
        {8, 4, 0.0, "0.000e+0"},          {3, 4, 1234.56, "1.235e+3"},
        {6, 1, 1234.56, "  1e+3"},        {10, 4, 9.99996, "  1.000e+1"},
        {10, 4, -0.0999996, " -1.000e-1"}};
    for (const auto& c : acase) EXPECT_EQ(szFE(c.iSize, c.iPrec, c.f), c.sz) << c.f;
}

// ---- date and time -----------------------------------------------------------------------

TEST(DateTimeTest, DocumentedFormsAndTheirAsymmetries) {
    struct Case { int iHr, iMin, iSec, bDate, bTime, bTimeS, b24; const char* sz; };
    const Case acase[] = {
        {12, 30, 5, 0, 1, 1, 0, "0:30:05 PM"}, {12, 30, 5, 0, 1, 0, 0, "12:30 PM"},
        {12, 30, 5, 0, 1, 1, 1, "12:30:05"},   {12, 30, 5, 0, 1, 0, 1, "12:30"},
        {0, 15, 9, 0, 1, 1, 0, "0:15:09 AM"},  {0, 15, 9, 0, 1, 0, 0, "0:15 AM"},
        {11, 59, 59, 0, 1, 0, 0, "11:59 AM"},  {13, 5, 9, 0, 1, 1, 0, "1:05:09 PM"},
        {13, 5, 9, 0, 1, 0, 0, "1:05 PM"},     {23, 0, 0, 1, 1, 1, 0, "108Mar04  11:00:00 PM"},
        {9, 5, 0, 1, 1, 1, 1, "108Mar04  09:05:00"}, {9, 5, 0, 1, 0, 1, 1, "108Mar04"},
        {9, 5, 0, 0, 0, 1, 1, ""}};
    for (const Case& c : acase)
        EXPECT_EQ(szDT(tmAt(2008, 2, 4, c.iHr, c.iMin, c.iSec), c.bDate, c.bTime, c.bTimeS, c.b24), c.sz);
    EXPECT_EQ(szDT(tmAt(1999, 0, 1, 0, 0, 0), 1, 0, 0, 0), "99Jan01");
    EXPECT_EQ(szDT(tmAt(2023, 11, 25, 0, 0, 0), 1, 0, 0, 0), "123Dec25");
}

TEST(DateTimeTest, MonthOutsideTheYearIsAnAssertion) {
    std::tm tm = tmAt(2008, 2, 4, 1, 2, 3);
    tm.tm_mon = 12;
    EXPECT_DEATH(szDT(tm, 1, 1, 1, 1), szAssert("tm.tm_mon >= 0 && tm.tm_mon <= 11"));
    tm.tm_mon = -1;
    EXPECT_DEATH(szDT(tm, 0, 1, 1, 1), szAssert("tm.tm_mon >= 0 && tm.tm_mon <= 11"));
}

// ---- pages -----------------------------------------------------------------------------------

TEST(PageTest, BlanksAndHeadingLines) {
    Long nBl = -1;
    for (auto [n, nWritten] : {std::pair{3, 3}, {-2, 0}}) {
        EXPECT_EQ(szPrinted([&](std::FILE* pf) { nBl = iNBlPFILE(n, pf); }), std::string(nWritten, ' '));
        EXPECT_EQ(nBl, nWritten);
    }

    Str strTitle("Run"), strSub("Summary");
    EXPECT_EQ(szPrinted([&](std::FILE* pf) {
                  printHeadLineOnPFILE(&strTitle, &strSub, 7, 3, 30, pf);
              }),
              "Run" + std::string(8, ' ') + "Summary" + std::string(4, ' ') + "Page   7\n");
    // Too narrow: the parts stay apart by one blank, nothing is cut.
    EXPECT_EQ(szPrinted([&](std::FILE* pf) {
                  printHeadLineOnPFILE(&strTitle, &strSub, 12, 1, 10, pf);
              }),
              "Run Summary Page 12\n");
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printSubHeaderLineOnPFILE(&strSub, 11, pf); }),
              "  Summary\n-----------\n");
}

// ---- whitespace ------------------------------------------------------------------------------

TEST(WhitespaceTest, FirstLastAndNextWhitespace) {
    EXPECT_EQ(iFirstNonWsSz("  ab c \t"), 2);
    EXPECT_EQ(iLastNonWsSz("  ab c \t"), 5);
    EXPECT_EQ(iFirstNonWsSz(" \t\n"), -1);
    EXPECT_EQ(iLastNonWsSz(""), -1);
    EXPECT_EQ(iNextWsAfterSzI("ab cd", 0), 2);
    EXPECT_EQ(iNextWsAfterSzI("ab\tcd", 1), 2);
    EXPECT_EQ(iNextWsAfterSzI("ab cd", 2), 5);  // the blank at 2 is not after 2
    EXPECT_EQ(iNextWsAfterSzI("ab cd", 3), 5);
    EXPECT_EQ(iNextWsAfterSzI("ab", 7), 2);
    EXPECT_DEATH(iNextWsAfterSzI("ab", -1), szAssert("i >= 0"));
}

TEST(WhitespaceTest, StripCopiesOrWorksInPlace) {
    char sz[32];
    EXPECT_STREQ(szStripTrailWs(sz, " a b \t\n"), " a b");
    EXPECT_STREQ(szStripLeadTrailWs(sz, " \ta b \r\n"), "a b");
    EXPECT_STREQ(szStripLeadTrailWs(sz, "   "), "");
    EXPECT_STREQ(szStripTrailWs(sz, "\t"), "");
    char szInPlace[] = "   keep  me  ";
    EXPECT_EQ(szStripLeadTrailWs(szInPlace, szInPlace), szInPlace);
    EXPECT_STREQ(szInPlace, "keep  me");
}

// ---- line readers ------------------------------------------------------------------------------

using LineReaderTest = InTempDir;

TEST_F(LineReaderTest, SkipsBlankAndCommentLines) {
    vttest::writeFile("in.txt", "# comment\n\n  first line  \r\n\t# indented comment\nsecond\n   \nlast");
    std::FILE* pf = std::fopen("in.txt", "r");
    ASSERT_NE(pf, nullptr);
    char sz[nChLineMax];
    EXPECT_EQ(readLineWithSzNonWsInPFILE(sz, pf), 1);
    EXPECT_STREQ(sz, "  first line  ");
    EXPECT_EQ(readLineWithSzNonWsInPFILE(sz, pf), 1);
    EXPECT_STREQ(sz, "second");
    EXPECT_EQ(readLineWithSzNonWsInPFILE(sz, pf), 1);
    EXPECT_STREQ(sz, "last");
    EXPECT_EQ(readLineWithSzNonWsInPFILE(sz, pf), 0);
    EXPECT_STREQ(sz, "");
    std::fclose(pf);
}

TEST_F(LineReaderTest, CheckedLinesAndTheirFatalErrors) {
    vttest::writeFile("in.txt", "\n  HEADER \nx\n");
    std::FILE* pf = std::fopen("in.txt", "r");
    ASSERT_NE(pf, nullptr);
    checkLineSzNonWsInPFILE(" HEADER", pf);
    EXPECT_EXIT(checkLineSzNonWsInPFILE("y", pf), ::testing::ExitedWithCode(1),
                "^FATAL ERROR --\n    text file has \"x\" where \"y\" was expected\n$");
    skipLineInPFILE(pf);
    EXPECT_EXIT(checkLineSzNonWsInPFILE("END", pf), ::testing::ExitedWithCode(1),
                "text file ends where the line \"END\" was expected");
    std::fclose(pf);
    // A '%' from the file must not reach the fatal message as a format.
    vttest::writeFile("pct.txt", "50% %s%n off\n");
    std::FILE* pfPct = std::fopen("pct.txt", "r");
    EXPECT_EXIT(checkLineSzNonWsInPFILE("x", pfPct), ::testing::ExitedWithCode(1),
                "text file has \"50\\? \\?s\\?n off\" where \"x\" was expected");
    std::fclose(pfPct);
}

TEST_F(LineReaderTest, OverlongLineIsAFatalError) {
    vttest::writeFile("long.txt", std::string(2000, 'z') + "\n");
    std::FILE* pf = std::fopen("long.txt", "r");
    char sz[nChLineMax];
    EXPECT_EXIT(readLineWithSzNonWsInPFILE(sz, pf), ::testing::ExitedWithCode(1),
                "text file line longer than 1023 characters");
    std::fclose(pf);
}

TEST_F(LineReaderTest, NumberedLinesAndSkipping) {
    vttest::writeFile("in.txt", "a\nbb\nccc\n");
    std::FILE* pf = std::fopen("in.txt", "r");
    char sz[16];
    EXPECT_STREQ(szILinePFILE(sz, 2, 16, pf), "ccc");
    EXPECT_STREQ(szILinePFILE(sz, 0, 16, pf), "a");  // from the start again
    EXPECT_STREQ(szILinePFILE(sz, 2, 2, pf), "c");   // cut to the buffer
    EXPECT_EQ(szILinePFILE(sz, 3, 16, pf), nullptr);
    EXPECT_EQ(szILinePFILE(sz, 9, 16, pf), nullptr);
    EXPECT_DEATH(szILinePFILE(sz, -1, 16, pf), szAssert("iLine >= 0"));
    std::rewind(pf);
    skipINLinePFILE(2, pf);
    EXPECT_EQ(readLineWithSzNonWsInPFILE(sz, pf), 1);
    EXPECT_STREQ(sz, "ccc");
    EXPECT_DEATH(skipINLinePFILE(0, pf), szAssert("iNLine > 0"));
    std::rewind(pf);
    skipLineInPFILE(pf);
    EXPECT_EQ(readLineWithSzNonWsInPFILE(sz, pf), 1);
    EXPECT_STREQ(sz, "bb");
    std::fclose(pf);
}

// The reports' fixed-point fields (run report and flight plan): printf's
// text for every value, at and beside the rounding ties of each precision, signed zeros, tiny and huge
// values, infinities and NaN, and many random doubles.
TEST(PchPutFixed, WritesWhatPrintfWrites) {
    std::vector<double> vecF = {0.0,     -0.0,     0.005,   -0.005, 0.015,  0.125,   -0.125,
                                2.675,   1.005,    0.05,    -0.05,  0.25,   99999.995, 1e-320,
                                -1e-320, 123.4500, 1e15,    -1e300, 1.7976931348623157e308,
                                std::numeric_limits<double>::infinity(),
                                -std::numeric_limits<double>::infinity(),
                                std::numeric_limits<double>::quiet_NaN(),
                                -std::numeric_limits<double>::quiet_NaN()};
    for (int i = -2000; i <= 2000; i++) {
        const double fTie = (i + 0.5) / 100.0;  // near the ties of %.2f
        vecF.insert(vecF.end(), {fTie, std::nextafter(fTie, -1e9), std::nextafter(fTie, 1e9),
                                 (i + 0.5) / 10.0, -(i + 0.5) / 10.0, (i + 0.5) / 1e6,
                                 std::ldexp(i, -20)});
    }
    std::mt19937_64 rng(20261124);
    for (int i = 0; i < 20000; i++) {
        const std::uint64_t iBits = rng();
        double f;
        std::memcpy(&f, &iBits, sizeof f);
        vecF.push_back(f);
        vecF.push_back(std::ldexp(static_cast<double>(iBits >> 11), -53 + i % 40));
    }
    char szOur[400], szPrintf[400];
    for (double f : vecF) {
        for (int iPrec : {1, 2, 6}) {
            const int iWidth = iPrec == 6 ? 12 : 8;
            *pchPutFixed(szOur, f, iWidth, iPrec) = '\0';
            std::snprintf(szPrintf, sizeof szPrintf, "%*.*f", iWidth, iPrec, f);
            ASSERT_STREQ(szOur, szPrintf) << iPrec;
        }
    }
}
