// Bounded arrays, numeric arrays, vectors, matrices and the string class:
// index ranges, the failure paths (fatal error or assertion), re-sizing that
// keeps the block, deep copies, the BLAS products and the text dumps.
#include <climits>
#include <cstdlib>
#include <string>
#include <vector>

#include "core/array.h"
#include "core/mxtypes.h"
#include "core/str.h"
#include "support/testutil.h"

using vttest::szAssertRe;
using vttest::szPrinted;

namespace {
const char szFatalBounds[] = "^FATAL ERROR --\n    array bounds\n$";
const auto exit1 = ::testing::ExitedWithCode(1);
}  // namespace

TEST(A1ValTest, RangesAndTheTwoFailurePaths) {
    A1Val<double> aEmpty(1, 0);
    EXPECT_EQ(aEmpty.n(), 0);
    EXPECT_EQ(aEmpty._pel0, nullptr);
    EXPECT_EXIT(aEmpty[1], exit1, szFatalBounds);
    A1Val<double> a(5);  // the size form runs from 0
    EXPECT_EQ(a.iLast(), 4);
    EXPECT_EXIT(a[5], exit1, szFatalBounds);
    EXPECT_EXIT(a[-1], exit1, szFatalBounds);
    EXPECT_DEATH(a.atIPut(5, 0.0), szAssertRe("(i >= _iFirst) && (i <= _iLast)", "array"));
    EXPECT_DEATH(a.atIPut(-1, 0.0), szAssertRe("(i >= _iFirst) && (i <= _iLast)", "array"));
    // Counts that overflow 32 bits are refused, not wrapped.
    EXPECT_DEATH(A1Val<double>(INT32_MIN), szAssertRe("_iN >= 0", "array"));
    EXPECT_DEATH(A1Val<double>(3, 1), szAssertRe("_iN >= 0", "array"));
    EXPECT_DEATH(a.reconstructIN(INT32_MIN), szAssertRe("n >= 0", "array"));
}

TEST(A1ValTest, ResizeAndAssignmentKeepTheBlockWhenTheCountMatches) {
    A1Val<double> a(1, 4);
    for (Long i = 1; i <= 4; i++) a[i] = 10.0 * i;
    double* pelBlock = &a[1];
    a.reconstructIFirstILast(INT32_MAX - 3, INT32_MAX);  // far from 0: still the same block
    EXPECT_EQ(&a[INT32_MAX - 3], pelBlock);
    EXPECT_EQ(a[INT32_MAX], 40.0);
    a.reconstructIFirstILast(INT32_MIN, INT32_MIN + 3);
    EXPECT_EQ(a[INT32_MIN + 1], 20.0);
    A1Val<double> b(-7, -4);
    double* pelB = &b[-7];
    b = a;
    EXPECT_EQ(&b[INT32_MIN], pelB);
    EXPECT_EQ(b[INT32_MIN + 3], 40.0);
    b[INT32_MIN] = 0.0;
    EXPECT_EQ(a[INT32_MIN], 10.0);
    A1Val<double> c(a);  // copy, other count on assignment: deep
    A1Val<double> d(0, 0);
    d = c;
    EXPECT_EQ(d.n(), 4);
    EXPECT_EQ(d[INT32_MIN + 2], 30.0);
    a.reconstructIN(0);
    EXPECT_EQ(a._pel0, nullptr);
}

TEST(A2ValTest, RowMajorRangesReshapeCopyAndTranspose) {
    A2Val<double> a(1, 2, 0, 2);
    for (Long iR = 1; iR <= 2; iR++)
        for (Long iC = 0; iC <= 2; iC++) a(iR, iC) = 10.0 * iR + iC;
    const double* pelBlock = &a(1, 0);
    EXPECT_EQ(pelBlock[3], 20.0);  // rows one after another
    const std::string szExpr =
        "(iR >= _iRFirst) && (iR <= _iRLast) && (iC >= _iCFirst) && (iC <= _iCLast)";
    EXPECT_DEATH(a(3, 0), szAssertRe(szExpr, "array"));
    EXPECT_DEATH(a(1, -1), szAssertRe(szExpr, "array"));
    EXPECT_DEATH(a.atIRCPut(0, 0, 0.0), szAssertRe(szExpr, "array"));
    A2Val<double> aT = a.a2Trans();
    EXPECT_EQ(aT.iRFirst(), 0);
    EXPECT_EQ(aT.iCLast(), 2);
    EXPECT_EQ(aT(2, 1), 12.0);
    a.reconstructIRCFirstILast(1000000, 1000001, -1000000, -999998);  // same counts
    EXPECT_EQ(&a(1000000, -1000000), pelBlock);
    EXPECT_EQ(a(1000001, -999999), 21.0);
    A2Val<double> b(a), c;
    c = a;
    b(1000001, -999999) = 0.0;
    EXPECT_EQ(c(1000001, -999999), 21.0);
    a.reconstructIRCFirstILastElInit(5, 7, 0, 1, 4.0);
    EXPECT_EQ(a(7, 1), 4.0);
    EXPECT_DEATH(a.reconstructIRCFirstILast(2, 0, 1, 2), szAssertRe("( iNR >= 0 ) && ( iNC >= 0 )", "array"));
    EXPECT_DEATH((A2Val<double>(0, -2, 0, -2)), szAssertRe("(_iNR >= 0) || (_iNC >= 0)", "array"));
    // el goes first, then each further value overwrites from the first on.
    A2Val<double> aList(1, 2, 1, 2, 99.0, 1.0, 2.0, 3.0, 4.0);
    EXPECT_EQ(aList(1, 1), 1.0);
    EXPECT_EQ(aList(2, 2), 4.0);
}

TEST(ATest, RangesLayoutAndFailureTexts) {
    EXPECT_EXIT(A<double>(1, -1), exit1, "^FATAL ERROR --\n    invalid range in 1d A ctor\n$");
    EXPECT_EXIT((A<double>(1, 2, 5, 3)), exit1, "^FATAL ERROR --\n    invalid range in 2d A ctor\n$");
    EXPECT_EXIT((A<double>(0, 2000000000, 0, 2000000000)), exit1,
                "^FATAL ERROR --\n    " +
                    vttest::szRe("A<El>( lo=0, hi=2000000000 ) allocation failure") + "\n$");
    A<double> b(-1, 0, 10, 12);  // by column: (i, j) at (j - loC) * nR + (i - loR)
    b.atPut(0, 12, 5.0);
    EXPECT_EQ(b.pData()[5], 5.0);
    A<double> c(b);
    c.atPut(0, 12, 6.0);
    EXPECT_EQ(b.at(0, 12), 5.0);
    A<double> a1(1, 3, 2.5);
    EXPECT_EXIT(a1[4], exit1, szFatalBounds);
    EXPECT_DEATH(a1.at(0), szAssertRe("i >= lo && i <= *(plo+1)", "mxtypes"));
    EXPECT_DEATH(b.at(1, 10), szAssertRe("i >= loR && i <= hiR", "mxtypes"));
    EXPECT_DEATH(b.atPut(0, 13, 0.0), szAssertRe("j >= loC && j <= hiC", "mxtypes"));
    EXPECT_DEATH(b[1], szAssertRe("nDim() == 1", "mxtypes"));
}

TEST(VdMdcTest, RangesAndProducts) {
    Vd<double> v(-2, 1);
    v[1] = 4.0;
    EXPECT_EQ(v.pdata[3], 4.0);
    EXPECT_DEATH(v[2], szAssertRe("i >= lo && i <= hi", "mxtypes"));
    EXPECT_DEATH((Vd<double>(INT32_MIN, INT32_MAX)), "Assertion failed");  // 2^32 elements
    EXPECT_EQ((Vd<double>(INT32_MIN, INT32_MIN)).n(), 1);
    EXPECT_EQ((Vd<double>(INT32_MAX, INT32_MAX - 1)).n(), 0);
    // rows 2..4, columns 1..2: [1 2; 3 4; 5 6] * [7; -1] = [5; 17; 29]; transposed
    // [1 3 5; 2 4 6] * [1; 1; 2] = [14; 18].
    Mdc<double> m(2, 4, 1, 2);
    const double af[] = {1, 2, 3, 4, 5, 6};
    for (int k = 0; k < 6; k++) m.at(2 + k / 2, 1 + k % 2) = af[k];
    EXPECT_EQ(m.pdata[1], 3.0);  // by column
    Vd<double> x(1, 2), y(2, 4);
    x[1] = 7.0, x[2] = -1.0, y[2] = 1.0, y[3] = 1.0, y[4] = 2.0;
    Vd<double>* pv = pmdcgnTimesPVd(&m, &x);
    EXPECT_EQ(std::vector<double>(pv->pdata, pv->pdata + 3), (std::vector<double>{5, 17, 29}));
    EXPECT_EQ(pv->lo, 2);
    delete pv;
    pv = pmdcgnTransTimesPVd(&m, &y);
    EXPECT_EQ(std::vector<double>(pv->pdata, pv->pdata + 2), (std::vector<double>{14, 18}));
    delete pv;
    Vd<double> x0(0, 1);  // same length, other range
    EXPECT_DEATH(pmdcgnTimesPVd(&m, &x0), szAssertRe("loC == lo && hiC == hi", "mxtypes"));
    EXPECT_DEATH(m.at(5, 1), szAssertRe("iR >= loR && iR <= hiR && iC >= loC && iC <= hiC", "mxtypes"));
}

TEST(PrintTest, DumpsOfMatricesAndVectors) {
    Mdc<double> m(1, 2, 1, 3);
    const double af[] = {1.5, 0.0, -2.0, -0.0, 3.25, 0.0};
    for (int k = 0; k < 6; k++) m.at(1 + k / 3, 1 + k % 3) = af[k];
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPMdcgn(pf, &m, "%2i", " %7.3f", 2); }),
              "Mdc<F64>[ 1 .. 2, 1 .. 3]\n"
              " 1 :    1.500       0\n"
              "    -2.000\n"
              " 2 :        0   3.250\n"
              "         0\n");
    // 0 values per line: the number of rows.
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPMdcgn(pf, &m, "%i", " %g", 0); }),
              "Mdc<F64>[1 ..2,1 ..3]\n1 :  1.5 0\n  -2\n2 :  0 3.25\n  0\n");
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPMdcgnStats(pf, &m, "%i"); }),
              "Mdc<F64>[1 ..2,1 ..3], 3 non-zeroes, 3 exact zeroes\n");
    Mdc<double> mEmpty(1, 2, 1, 0);
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPMdcgn(pf, &mEmpty, "%3i", " %8.3f", 4); }),
              "Mdc<F64>[  1 ..  2,  1 ..  0]\n  empty\n");
    Vd<double> v(0, 4);
    for (Long i = 0; i <= 4; i++) v[i] = i + 1.0;
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPVd(pf, &v, "%2i", " %4.1f", 2); }),
              "Vd<F64>[ 0 .. 4]\n 0 :   1.0  2.0\n 2 :   3.0  4.0\n 4 :   5.0\n");
}

TEST(StrTest, AppendsAndNumberConversions) {
    Str str("ab");
    str.cat("cd").catCh('-', 3).cat(Str("x"));
    Str strCopy(str);
    strCopy.cat("y");
    EXPECT_STREQ(str.sz(), "abcd---x");
    EXPECT_STREQ(Str::strFmF64E(12, 2, 1234.56).sz(), "    1.23e+03");
    EXPECT_STREQ(Str::strFmF64F(0, -1, 1.5).sz(), "1.500000");
    EXPECT_STREQ(Str::strFmF64F(-6, 0, 2.0).sz(), "2     ");
    EXPECT_STREQ(Str::strFmF64G(9, 4, 123456.0).sz(), "1.235e+05");
    str.catF64F(0, 300, 1.0);  // wider than any fixed buffer would be
    EXPECT_EQ(str.n(), 8 + 302);
}
