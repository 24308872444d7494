// Bounded arrays, numeric arrays and vectors: the failure paths (fatal
// error or assertion), the empty block and re-sizing that keeps the block.
#include <climits>
#include <cstdlib>
#include <string>

#include "core/array.h"
#include "core/mxtypes.h"
#include "support/testutil.h"

using vttest::szAssertRe;

namespace {
const char szFatalBounds[] = "^FATAL ERROR --\n    array bounds\n$";
const auto exit1 = ::testing::ExitedWithCode(1);
}  // namespace

TEST(A1ValTest, EmptyBlockAndTheTwoFailurePaths) {
    A1Val<double> aEmpty(1, 0);  // zero elements: no block at all
    EXPECT_EQ(aEmpty._pel0, nullptr);
    EXPECT_EXIT(aEmpty[1], exit1, szFatalBounds);
    A1Val<double> a(5);
    EXPECT_EXIT(a[5], exit1, szFatalBounds);
    EXPECT_DEATH(a.atIPut(-1, 0.0), szAssertRe("(i >= _iFirst) && (i <= _iLast)", "array"));
    EXPECT_DEATH(A1Val<double>(INT32_MIN), szAssertRe("_iN >= 0", "array"));
    EXPECT_DEATH(a.reconstructIN(INT32_MIN), szAssertRe("n >= 0", "array"));
    a.reconstructIN(0);
    EXPECT_EQ(a._pel0, nullptr);
}

TEST(A1ValTest, ReBiasAndAssignmentKeepTheBlockWhenTheCountMatches) {
    A1Val<double> a(1, 4);
    for (Long i = 1; i <= 4; i++) a[i] = 10.0 * i;
    double* pelBlock = &a[1];
    a.reconstructIFirstILast(INT32_MAX - 3, INT32_MAX);
    EXPECT_EQ(&a[INT32_MAX - 3], pelBlock);
    EXPECT_EQ(a[INT32_MAX], 40.0);
    A1Val<double> b(-7, -4);
    double* pelB = &b[-7];
    b = a;
    EXPECT_EQ(&b[INT32_MAX - 3], pelB);
    b[INT32_MAX] = 0.0;
    EXPECT_EQ(a[INT32_MAX], 40.0);
}

TEST(A2ValTest, ReBiasKeepsTheBlockAndBoundsAreAsserted) {
    A2Val<double> a(1, 2, 0, 2);
    a(2, 1) = 21.0;
    const double* pelBlock = &a(1, 0);
    EXPECT_DEATH(a(3, 0), szAssertRe("(iR >= _iRFirst) && (iR <= _iRLast) && (iC >= _iCFirst) && "
                                     "(iC <= _iCLast)", "array"));
    a.reconstructIRCFirstILast(1000000, 1000001, -1000000, -999998);
    EXPECT_EQ(&a(1000000, -1000000), pelBlock);
    EXPECT_EQ(a(1000001, -999999), 21.0);
    EXPECT_DEATH(a.reconstructIRCFirstILast(2, 0, 1, 2), szAssertRe("( iNR >= 0 ) && ( iNC >= 0 )", "array"));
    EXPECT_DEATH((A2Val<double>(0, -2, 0, -2)), szAssertRe("(_iNR >= 0) || (_iNC >= 0)", "array"));
    a.reconstructIRCFirstILastElInit(1, 2, 0, 1, 7.0);
    EXPECT_TRUE(a(1, 0) == 7.0 && a(2, 1) == 7.0);
}

TEST(A2ValTest, OneZeroCountStillObtainsABlockBothZeroNone) {
    // Kept for the life of the process: the zero-element block is never given back.
    static A2Val<double>* const paOneZero = new A2Val<double>(0, -1, 0, 2);
    EXPECT_NE(paOneZero->_pel00, nullptr);
    EXPECT_EQ((A2Val<double>(1, 0, 1, 0))._pel00, nullptr);
}

TEST(ATest, FailureTexts) {
    EXPECT_EXIT(A<double>(1, -1), exit1, "^FATAL ERROR --\n    invalid range in 1d A ctor\n$");
    EXPECT_EXIT((A<double>(1, 2, 5, 3)), exit1, "^FATAL ERROR --\n    invalid range in 2d A ctor\n$");
    EXPECT_EXIT((A<double>(0, 2000000000, 0, 2000000000)), exit1,
                "^FATAL ERROR --\n    " +
                    vttest::szRe("A<El>( lo=0, hi=2000000000 ) allocation failure") + "\n$");
    A<double> a1(1, 3, 2.5), b(-1, 0, 10, 12);
    EXPECT_EXIT(a1[4], exit1, szFatalBounds);
    EXPECT_DEATH(a1.at(0), szAssertRe("i >= lo && i <= *(plo+1)", "mxtypes"));
    EXPECT_DEATH(b.at(1, 10), szAssertRe("i >= loR && i <= hiR", "mxtypes"));
    EXPECT_DEATH(b.atPut(0, 13, 0.0), szAssertRe("j >= loC && j <= hiC", "mxtypes"));
    EXPECT_DEATH(b[1], szAssertRe("nDim() == 1", "mxtypes"));
}

TEST(VdMdcTest, BoundsAndRangeAssertions) {
    Vd<double> v(-2, 1);
    EXPECT_DEATH(v[2], szAssertRe("i >= lo && i <= hi", "mxtypes"));
    EXPECT_DEATH((Vd<double>(INT32_MIN, INT32_MAX)), "Assertion failed");  // 2^32 elements
    Mdc<double> m(2, 4, 1, 2);
    Vd<double> x0(0, 1);  // same length, other range
    EXPECT_DEATH(pmdcgnTimesPVd(&m, &x0), szAssertRe("loC == lo && hiC == hi", "mxtypes"));
    EXPECT_DEATH(m.at(5, 1), szAssertRe("iR >= loR && iR <= hiR && iC >= loC && iC <= hiC", "mxtypes"));
}

// The dumps as text: the bare zeroes, the continued lines, the per-line count
// of 0 (the number of rows), the empty matrix and the sparse forms. Of two
// columns equally long the first is the longest.
TEST(PrintTest, DumpsOfMatricesAndVectors) {
    using vttest::szPrinted;
    Mdc<double> m(1, 2, 1, 3), mEmpty(1, 2, 1, 0);
    const double af[] = {1.5, 0.0, -2.0, -0.0, 3.25, 0.0};
    for (int k = 0; k < 6; k++) m.at(1 + k / 3, 1 + k % 3) = af[k];
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPMdcgn(pf, &m, "%2i", " %7.3f", 2); }),
              "Mdc<F64>[ 1 .. 2, 1 .. 3]\n 1 :    1.500       0\n    -2.000\n 2 :        0   3.250\n         0\n");
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPMdcgn(pf, &m, "%i", " %g", 0); }),
              "Mdc<F64>[1 ..2,1 ..3]\n1 :  1.5 0\n  -2\n2 :  0 3.25\n  0\n");
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPMdcgnStats(pf, &m, "%i"); }),
              "Mdc<F64>[1 ..2,1 ..3], 3 non-zeroes, 3 exact zeroes\n");
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPMdcgn(pf, &mEmpty, "%3i", " %8.3f", 4); }),
              "Mdc<F64>[  1 ..  2,  1 ..  0]\n  empty\n");
    Vd<double> v(0, 4);
    for (Long i = 0; i <= 4; i++) v[i] = i + 1.0;
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPVd(pf, &v, "%2i", " %4.1f", 2); }),
              "Vd<F64>[ 0 .. 4]\n 0 :   1.0  2.0\n 2 :   3.0  4.0\n 4 :   5.0\n");
    Long aiStart[] = {0, 2, 2, 4}, aiR[] = {1, 3, 2, 4};  // columns 0 to 2: rows {1, 3}, {}, {2, 4}
    Mcc<double> mcc(1, 4, 0, 2, 4, new A<Long>(0, 3, aiStart), new A<Long>(0, 3, aiR), new double[4]{1, 2, 3, 4});
    Mco<double> mco(1, 4, 0, 2, 2, new A<Long>(0, 1, aiR), new A<Long>(0, 1, aiStart + 1), new double[2]{5, 6});
    Vc<double> vc(1, 4, 2, new A<Long>(0, 1, aiR + 2), new double[2]{-1, 7});
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPMccgnStats(pf, &mcc, "%i"); }),
              "Mcc<F64>[1 ..4,0 ..2], 4 non-zeroes, longest column, [,0], has 2 non-zeroes\n");
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPMccgn(pf, &mcc, "%i", " %g", 1); }),
              "Mcc<F64>[1 ..4,0 ..2], 4 non-zeroes\n  col 0\n  1 :  1\n  3 :  2\n  col 1\n  col 2\n  2 :  3\n  4 :  4\n");
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPMcogn(pf, &mco, "%i", " %g", 0); }),
              "Mco<F64>[1 ..4,0 ..2], 2 non-zeroes\n  (1,2) :  5  (3,2) :  6\n");
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPVc(pf, &vc, "%i", " %g", 1); }),
              "Vc<F64>[1 ..4], 2 non-zeroes\n  2 :  -1\n  4 :  7\n");
}

// The comparators as qsort takes them: by row then column, by column then row.
TEST(SortTest, EntriesByRowThenColumnAndByColumnThenRow) {
    ElRC ael[] = {{2, 1, 0.0}, {1, 2, 0.0}, {1, 1, 0.0}, {2, 0, 0.0}};
    auto szOrder = [&] { std::string sz; for (ElRC const& el : ael) sz += std::to_string(10 * el.iR + el.iC) + " "; return sz; };
    std::qsort(ael, 4, sizeof ael[0], iCompareRC);
    EXPECT_EQ(szOrder(), "11 12 20 21 ");
    std::qsort(ael, 4, sizeof ael[0], iCompareCR);
    EXPECT_EQ(szOrder(), "20 11 21 12 ");
    EXPECT_TRUE(iCompareR(&ael[0], &ael[2]) == 0 && iCompareC(&ael[1], &ael[2]) == 0 && iCompareRC(ael, ael) == 0);
}
