// Formatting and line-reader failure paths: assertion texts and the fatal
// errors of the checked line readers.
#include "core/format.h"

#include <cmath>
#include <ctime>
#include <cstdio>
#include <string>
#include <vector>

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
    vttest::writeFile("in.txt", "\n  HEADER \nx y\n");
    std::FILE* pf = std::fopen("in.txt", "r");
    ASSERT_NE(pf, nullptr);
    checkLineSzNonWsInPFILE(" HEADER", pf);
    EXPECT_EXIT(checkLineSzNonWsInPFILE("y", pf), exit1,
                "^FATAL ERROR --\n    text file has \"x y\" where \"y\" was expected\n$");
    skipLineInPFILE(pf);  // the whole line, not its first character
    EXPECT_EXIT(checkLineSzNonWsInPFILE("END", pf), exit1,
                "text file ends where the line \"END\" was expected");
    char sz[nChLineMax];  // lines counted from 0 at the file's start
    EXPECT_TRUE(std::string(szILinePFILE(sz, 2, nChLineMax, pf)) == "x y" && !szILinePFILE(sz, 3, nChLineMax, pf));
    szILinePFILE(sz, 0, nChLineMax, pf);
    skipINLinePFILE(1, pf);
    EXPECT_EQ(std::fgetc(pf), 'x');
    std::fclose(pf);
    // A '%' from the file must not reach the fatal message as a format.
    vttest::writeFile("pct.txt", "50% %s%n off\n");
    pf = std::fopen("pct.txt", "r");
    EXPECT_EXIT(checkLineSzNonWsInPFILE("x", pf), exit1,
                "text file has \"50\\? \\?s\\?n off\" where \"x\" was expected");
    std::fclose(pf);
    vttest::writeFile("long.txt", std::string(2000, 'z') + "\n");
    pf = std::fopen("long.txt", "r");
    EXPECT_EXIT(readLineWithSzNonWsInPFILE(sz, pf), exit1, "text file line longer than 1023 characters");
    std::fclose(pf);
}

// The number splits, against values worked out by hand from the contracts.
TEST(FormatNumbers, SignMantissaExponentAndSIPrefix) {
    const struct { double f; Long iSign; double fMant; Long iExp; } aSplit[] = {
        {1000.0, 1, 0.1, 4}, {-0.05, -1, 0.5, -1}, {0.0, 0, 0.0, 0}, {-123.25, -1, 0.12325, 3}};
    for (const auto& c : aSplit) {
        Long iSign = 9, iExp = 9;
        double fMant = 9.0;
        iSignFMantIExpF(&iSign, &fMant, &iExp, c.f);
        EXPECT_EQ(iSign, c.iSign) << c.f;
        EXPECT_DOUBLE_EQ(fMant, c.fMant) << c.f;
        EXPECT_EQ(iExp, c.iExp) << c.f;
    }
    const struct { double f; unsigned char bIn; double fSig; Long iExp; char ch; } aSI[] = {
        {4700.0, 1, 4.7, 3, 'k'},     {1e20, 0, 1e20, 0, ' '},     {0.0, 1, 0.0, -3, 'm'},
        {-3.3e-4, 1, -330.0, -6, 'u'}, {1e-18, 1, 1.0, -18, 'a'},   {9e-19, 0, 9e-19, 0, ' '},
        {5e17, 1, 500.0, 15, 'P'},    {1e18, 0, 1e18, 0, ' '},     {12.0, 1, 12.0, 0, ' '}};
    for (const auto& c : aSI) {
        Long iSign, iExp = 99;
        double fSig = -1.0;
        char ch = '?';
        EXPECT_EQ(bInRangeISignFSigIExpChSIPrefixF(&iSign, &fSig, &iExp, &ch, c.f), c.bIn) << c.f;
        EXPECT_DOUBLE_EQ(fSig, c.fSig) << c.f;
        EXPECT_EQ(iExp, c.iExp) << c.f;
        EXPECT_EQ(ch, c.ch) << c.f;
    }
    const struct { Long iNChSize, iNChPrec; double f; const char* sz; } aFE[] = {
        {12, 4, 1234.6, "    1.235e+3"}, {10, 3, -0.000123, "  -1.23e-4"},
        {8, 4, 9.9996, "1.000e+1"},      {3, 3, 6.02e23, "6.02e+23"},
        {9, 4, 0.0, " 0.000e+0"},        {9, 1, 5e-12, "    5e-12"},
        {8, 2, 1234.6, "  1.2e+3"},      {11, 2, -2.5e-123, "  -2.5e-123"}};
    for (const auto& c : aFE) {
        auto print = [&](std::FILE* pf) { printFE(pf, c.iNChSize, c.iNChPrec, c.f); };
        EXPECT_EQ(vttest::szPrinted(print), c.sz);
    }
}

// Every date and time form at a few hours, including the deliberate oddities
// (year counted from 1900, 12:30:05 PM read as 0:30:05, midnight as hour 0).
TEST(FormatDateTime, AllFormsOfAFixedTime) {
    const struct { int iHr, iMin, iSec; unsigned char bD, bT, bS, b24; const char* sz; } a[] = {
        {12, 30, 5, 1, 0, 0, 0, "108Mar07"},   {12, 30, 5, 1, 1, 1, 1, "108Mar07  12:30:05"},
        {12, 30, 5, 0, 1, 1, 0, "0:30:05 PM"}, {12, 30, 5, 0, 1, 0, 0, "12:30 PM"},
        {0, 5, 9, 1, 1, 1, 0, "108Mar07  0:05:09 AM"}, {0, 5, 9, 0, 1, 0, 0, "0:05 AM"},
        {13, 5, 9, 0, 1, 1, 0, "1:05:09 PM"},  {13, 5, 9, 0, 1, 0, 0, "1:05 PM"},
        {9, 5, 9, 0, 1, 0, 1, "09:05"}};
    for (const auto& c : a) {
        std::tm tm{};
        tm.tm_year = 108, tm.tm_mon = 2, tm.tm_mday = 7;
        tm.tm_hour = c.iHr, tm.tm_min = c.iMin, tm.tm_sec = c.iSec;
        EXPECT_STREQ(strDateTimeFmTm(tm, c.bD, c.bT, c.bS, c.b24).sz(), c.sz);
    }
}

// Heading lines: title left, subtitle centred, page number at the right end,
// a single blank between neighbours that would collide; the sub-header with
// its rule; blanks, none for a count below 1.
TEST(FormatPages, HeadingLinesAndBlanks) {
    Str strHop("Hop"), strSummary("Summary"), strLong("Trajectory report"), strPhase("Phase 2");
    const struct { Str* pT; Str* pS; Long iPage, iNChPage, iNChLine; std::string sz; } a[] = {
        {&strHop, &strSummary, 7, 3, 40,
         std::string("Hop").append(13, ' ').append("Summary").append(9, ' ').append("Page   7\n")},
        {nullptr, &strSummary, 1, 1, 23, std::string(8, ' ').append("Summary  Page 1\n")},
        {&strHop, nullptr, 3, 2, 12, "Hop  Page  3\n"},
        {&strLong, &strPhase, 12, 2, 30, "Trajectory report Phase 2 Page 12\n"},
        {&strHop, &strPhase, 4, 1, 17, "Hop  Phase 2 Page 4\n"}};
    for (const auto& c : a)
        EXPECT_EQ(vttest::szPrinted([&](std::FILE* pf) {
                      printHeadLineOnPFILE(c.pT, c.pS, c.iPage, c.iNChPage, c.iNChLine, pf);
                  }),
                  c.sz);
    Str strAb("Ab");
    EXPECT_EQ(vttest::szPrinted([&](std::FILE* pf) { printSubHeaderLineOnPFILE(&strAb, 7, pf); }),
              "  Ab\n-------\n");
    EXPECT_EQ(vttest::szPrinted([&](std::FILE* pf) { printSubHeaderLineOnPFILE(&strHop, 10, pf); }),
              "   Hop\n----------\n");
    EXPECT_EQ(vttest::szPrinted([](std::FILE* pf) {
                  EXPECT_EQ(iNBlPFILE(-2, pf), 0);
                  EXPECT_EQ(iNBlPFILE(3, pf), 3);
              }),
              "   ");
}

TEST(FormatWhitespace, FindAndStrip) {
    const struct { const char* sz; Long iFirst, iLast; const char *szTrail, *szBoth; } a[] = {
        {"  ab c\t\n", 2, 5, "  ab c", "ab c"}, {"x", 0, 0, "x", "x"},
        {" \t\n", -1, -1, "", ""},              {"", -1, -1, "", ""}};
    for (const auto& c : a) {
        EXPECT_EQ(iFirstNonWsSz(c.sz), c.iFirst) << c.sz;
        EXPECT_EQ(iLastNonWsSz(c.sz), c.iLast) << c.sz;
        char szDst[16] = "zzzzzzzzzzzzzzz";
        EXPECT_STREQ(szStripTrailWs(szDst, c.sz), c.szTrail);
        EXPECT_STREQ(szStripLeadTrailWs(szDst, c.sz), c.szBoth);
        std::string s(c.sz);  // in place
        EXPECT_STREQ(szStripLeadTrailWs(s.data(), s.c_str()), c.szBoth);
    }
    EXPECT_EQ(iNextWsAfterSzI("ab cd", 0), 2);
    EXPECT_EQ(iNextWsAfterSzI("ab cd", 2), 5);
    EXPECT_EQ(iNextWsAfterSzI("a\tb c", 1), 3);
}

// The fixed-point fields of the reports are printf's "%W.Pf" bit for bit:
// half-way values (exact binary ties such as 0.125, and the doubles either
// side of a decimal half), negative zero and tiny negatives ("-0.00"), the
// edges of the exact integer path, huge values and non-numbers.
TEST(FormatNumbers, FixedFieldsArePrintfsText) {
    std::vector<double> vecF = {0.0, -0.0, 1e-300, -1e-300, 4.9e-324, 0.5, 1.5, 2.5, 0.125,
                                0.375, -0.625, 1e-9, 5e-10, 9007198.999999, 9007199.0,
                                9007199.25, 1e15, 1e300, -1e300, NAN, INFINITY, -INFINITY};
    for (int iPrec = 0; iPrec <= 9; iPrec++)
        for (long k = -2005; k <= 2005; k += 7) {
            const double fHalf = (static_cast<double>(k) + 0.5) / std::pow(10.0, iPrec);
            vecF.insert(vecF.end(), {fHalf, std::nextafter(fHalf, 0.0), std::nextafter(fHalf, 1e9),
                                     fHalf * 4093.0, std::ldexp(static_cast<double>(k), -iPrec - 3)});
        }
    for (double f : vecF)
        for (int iPrec : {0, 1, 2, 6, 9, 10}) {
            char szWant[400], szGot[400];
            std::snprintf(szWant, sizeof szWant, "%8.*f", iPrec, f);
            *pchPutFixed(szGot, f, 8, iPrec) = '\0';
            ASSERT_STREQ(szGot, szWant) << f << " with " << iPrec << " decimals";
        }
}
