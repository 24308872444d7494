// Numeric arrays, vectors, matrices: layout, failure texts, BLAS products and
// the text dumps.
#include "core/mxtypes.h"

#include <cstdio>
#include <algorithm>
#include <cstdlib>
#include <string>

#include "support/testutil.h"

namespace {

using vttest::szRe;

std::string szAssert(const std::string& szExpr) {
    return "Assertion failed: " + szRe(szExpr) + ", file .*mxtypes";
}

const char szFatalBounds[] = "FATAL ERROR --\n    array bounds\n";

// Whatever a printer writes, as a string.
template <class Fn>
std::string szPrinted(Fn fn) {
    char* pch = nullptr;
    std::size_t n = 0;
    std::FILE* pfile = open_memstream(&pch, &n);
    fn(pfile);
    std::fclose(pfile);
    std::string sz(pch, n);
    std::free(pch);
    return sz;
}

Mdc<double>* pmdcFm(Long loR, Long hiR, Long loC, Long hiC, std::initializer_list<double> lfRowWise) {
    auto* pm = new Mdc<double>(loR, hiR, loC, hiC);
    auto it = lfRowWise.begin();
    for (Long iR = loR; iR <= hiR; iR++)
        for (Long iC = loC; iC <= hiC; iC++) pm->at(iR, iC) = *it++;
    return pm;
}

}  // namespace

// ---- A<T> --------------------------------------------------------------------

TEST(ArrayATest, OneDimensionalEmptyRangeIsLegal) {
    A<double> a(1, 0);
    EXPECT_EQ(a.nDim(), 1);
    EXPECT_EQ(a.lo(), 1);
    EXPECT_EQ(a.hi(), 0);
    EXPECT_EQ(a.n(), 0);
}

TEST(ArrayATest, InvalidRangesAreFatal) {
    EXPECT_EXIT(A<double>(1, -1), ::testing::ExitedWithCode(1),
                "^FATAL ERROR --\n    invalid range in 1d A ctor\n$");
    EXPECT_EXIT((A<double>(1, -1, 2.0)), ::testing::ExitedWithCode(1),
                "invalid range in 1d A ctor");
    EXPECT_EXIT((A<double>(1, -1, 1, 2)), ::testing::ExitedWithCode(1),
                "^FATAL ERROR --\n    invalid range in 2d A ctor\n$");
    EXPECT_EXIT((A<double>(1, 2, 5, 3)), ::testing::ExitedWithCode(1),
                "invalid range in 2d A ctor");
    // Empty rows or columns (hi = lo - 1) are legal.
    A<double> a(1, 0, 1, 2);
    EXPECT_EQ(a.nR(), 0);
    EXPECT_EQ(a.nC(), 2);
}

TEST(ArrayATest, ImpossibleSizeIsAnAllocationFailureNotAWrappedCount) {
    // 4e18 doubles cannot be addressed at all: refused before asking for memory.
    EXPECT_EXIT((A<double>(0, 2000000000, 0, 2000000000)), ::testing::ExitedWithCode(1),
                "^FATAL ERROR --\n    " + szRe("A<El>( lo=0, hi=2000000000 ) allocation failure") +
                    "\n$");
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the address sanitizer reports huge requests itself";
#else
    // 8e18 bytes: addressable in principle, refused by the allocator.
    EXPECT_EXIT((A<double>(-3, 999999996, 0, 999999999)), ::testing::ExitedWithCode(1),
                szRe("A<El>( lo=-3, hi=999999996 ) allocation failure"));
#endif
}

TEST(ArrayATest, ConstructorsFillOrCopyValues) {
    A<double> aEl(-1, 1, 2.5);
    for (Long i = -1; i <= 1; i++) EXPECT_EQ(aEl[i], 2.5);
    double afSrc[] = {1.0, 2.0, 3.0};
    A<double> aCopied(4, 6, afSrc);
    EXPECT_EQ(aCopied.at(4), 1.0);
    EXPECT_EQ(aCopied.at(6), 3.0);
    afSrc[0] = 9.0;  // copied, not adopted
    EXPECT_EQ(aCopied.at(4), 1.0);
}

TEST(ArrayATest, TwoDimensionalDataIsStoredByColumn) {
    A<double> a(1, 3, 1, 2);
    EXPECT_EQ(a.nDim(), 2);
    EXPECT_EQ(a.nR(), 3);
    EXPECT_EQ(a.nC(), 2);
    EXPECT_EQ(a.loC(), 1);
    EXPECT_EQ(a.hiC(), 2);
    a.atPut(2, 1, 7.0);
    a.atPut(1, 2, 9.0);
    EXPECT_EQ(a.pData()[1], 7.0);
    EXPECT_EQ(a.pData()[3], 9.0);
    EXPECT_EQ(a.at(2, 1), 7.0);

    // Shifted bounds: (i, j) at (j - loC) * nR + (i - loR).
    A<double> b(-1, 0, 10, 12);
    b.atPut(0, 12, 5.0);
    EXPECT_EQ(b.pData()[(12 - 10) * 2 + (0 - -1)], 5.0);
    EXPECT_EQ(b.lo(2), 10);
    EXPECT_EQ(b.hi(2), 12);
    EXPECT_EQ(b.n(2), 3);
}

TEST(ArrayATest, CopyIsDeep) {
    A<Long> a(0, 1, 0, 1);
    a.atPut(1, 1, 4);
    A<Long> b(a);
    b.atPut(1, 1, 5);
    EXPECT_EQ(a.at(1, 1), 4);
    EXPECT_EQ(b.at(1, 1), 5);
    EXPECT_EQ(b.hiR(), 1);
    A<Long> c(3, 3);
    c = a;
    EXPECT_EQ(c.nDim(), 2);
    EXPECT_EQ(c.at(1, 1), 4);
}

TEST(ArrayATest, EveryElementTypeWorks) {
    A<ULong> aU(1, 2, 7u);
    A<unsigned char> aUch(0, 3, static_cast<unsigned char>(200));
    unsigned char uch = 0;
    A<unsigned char*> aP(1, 1, &uch);
    EXPECT_EQ(aU[2], 7u);
    EXPECT_EQ(aUch[3], 200);
    EXPECT_EQ(aP[1], &uch);
}

TEST(ArrayATest, OutOfRangeAndWrongDimensionTexts) {
    A<double> a1(1, 3);
    A<double> a2(1, 3, 1, 2);
    EXPECT_EXIT(a1[4], ::testing::ExitedWithCode(1), szFatalBounds);
    EXPECT_EXIT(a1[0], ::testing::ExitedWithCode(1), szFatalBounds);
    EXPECT_DEATH(a1.at(4), szAssert("i >= lo && i <= *(plo+1)"));
    EXPECT_DEATH(a1.atPut(0, 1.0), szAssert("i >= lo && i <= *(plo+1)"));
    EXPECT_DEATH(a2.at(4, 1), szAssert("i >= loR && i <= hiR"));
    EXPECT_DEATH(a2.atPut(1, 3, 0.0), szAssert("j >= loC && j <= hiC"));
    EXPECT_DEATH(a2.at(1), szAssert("nDim() == 1"));
    EXPECT_DEATH(a2[1], szAssert("nDim() == 1"));
    EXPECT_DEATH(a1.at(1, 1), szAssert("nDim() == 2"));
    EXPECT_DEATH(a1.lo(2), szAssert("iDim <= nDim()"));
    EXPECT_DEATH(a1.hi(2), szAssert("iDim <= nDim()"));
    EXPECT_DEATH(a2.n(3), szAssert("iDim <= nDim()"));
}

// ---- Vd, Mdc ------------------------------------------------------------------

TEST(VectorMatrixTest, VdIndexesFromLo) {
    Vd<double> v(-2, 1);
    EXPECT_EQ(v.n(), 4);
    v[-2] = 1.0;
    v[1] = 4.0;
    EXPECT_EQ(v.pdata[0], 1.0);
    EXPECT_EQ(v.pdata[3], 4.0);
    EXPECT_DEATH(v[2], szAssert("i >= lo && i <= hi"));
    EXPECT_DEATH(v[-3], szAssert("i >= lo && i <= hi"));
}

TEST(VectorMatrixTest, MdcIsStoredByColumn) {
    Mdc<double> m(0, 1, 5, 7);
    EXPECT_EQ(m.nR(), 2);
    EXPECT_EQ(m.nC(), 3);
    m.at(1, 6) = 3.0;
    m.at(0, 7) = 8.0;
    EXPECT_EQ(m.pdata[(6 - 5) * 2 + 1], 3.0);
    EXPECT_EQ(m.pdata[(7 - 5) * 2 + 0], 8.0);
    Mdc<double> m1(2, 3);  // the size form is 1-based
    EXPECT_EQ(m1.loR, 1);
    EXPECT_EQ(m1.hiC, 3);
    EXPECT_DEATH(m.at(2, 5), szAssert("iR >= loR && iR <= hiR && iC >= loC && iC <= hiC"));
    EXPECT_DEATH(m.at(0, 8), szAssert("iR >= loR && iR <= hiR && iC >= loC && iC <= hiC"));
}

// ---- products ------------------------------------------------------------------

TEST(ProductTest, MatrixTimesVectorByHand) {
    // rows 2..4, columns 1..2: [1 2; 3 4; 5 6] * [7; -1] = [5; 17; 29]
    Mdc<double>* pm = pmdcFm(2, 4, 1, 2, {1, 2, 3, 4, 5, 6});
    Vd<double> v(1, 2);
    v[1] = 7.0;
    v[2] = -1.0;
    Vd<double>* pvR = pmdcgnTimesPVd(pm, &v);
    EXPECT_EQ(pvR->lo, 2);
    EXPECT_EQ(pvR->hi, 4);
    EXPECT_EQ((*pvR)[2], 5.0);
    EXPECT_EQ((*pvR)[3], 17.0);
    EXPECT_EQ((*pvR)[4], 29.0);
    delete pvR;

    // transposed: [1 3 5; 2 4 6] * [1; 1; 2] = [14; 18]
    Vd<double> w(2, 4);
    w[2] = 1.0;
    w[3] = 1.0;
    w[4] = 2.0;
    Vd<double>* pvT = pmdcgnTransTimesPVd(pm, &w);
    EXPECT_EQ(pvT->lo, 1);
    EXPECT_EQ(pvT->hi, 2);
    EXPECT_EQ((*pvT)[1], 14.0);
    EXPECT_EQ((*pvT)[2], 18.0);
    delete pvT;
    delete pm;
}

TEST(ProductTest, LargerProductMatchesPlainSums) {
    const Long nR = 7, nC = 5;
    Mdc<double> m(0, nR - 1, 3, 3 + nC - 1);
    for (Long iR = 0; iR < nR; iR++)
        for (Long iC = 3; iC < 3 + nC; iC++) m.at(iR, iC) = (iR + 1) * 0.5 - iC * 0.25;
    Vd<double> v(3, 3 + nC - 1);
    for (Long iC = 3; iC < 3 + nC; iC++) v[iC] = iC * iC - 10.0;
    Vd<double>* pvR = pmdcgnTimesPVd(&m, &v);
    for (Long iR = 0; iR < nR; iR++) {
        double fSum = 0.0;
        for (Long iC = 3; iC < 3 + nC; iC++) fSum += m.at(iR, iC) * v[iC];
        EXPECT_DOUBLE_EQ((*pvR)[iR], fSum) << iR;
    }
    delete pvR;
}

TEST(ProductTest, EmptyDimensionsGiveZeroesOrNothing) {
    Mdc<double> mNoCols(1, 3, 1, 0);
    Vd<double> vEmpty(1, 0);
    Vd<double>* pvR = pmdcgnTimesPVd(&mNoCols, &vEmpty);
    ASSERT_EQ(pvR->n(), 3);
    for (Long i = 1; i <= 3; i++) EXPECT_EQ((*pvR)[i], 0.0);
    delete pvR;
    Mdc<double> mNoRows(1, 0, 1, 2);
    Vd<double> v2(1, 2);
    Vd<double>* pvE = pmdcgnTimesPVd(&mNoRows, &v2);
    EXPECT_EQ(pvE->n(), 0);
    delete pvE;
}

TEST(ProductTest, RangesMustMatchNotJustLengths) {
    Mdc<double> m(2, 3);  // rows 1..2, columns 1..3
    Vd<double> v0(0, 2);  // three elements, but from 0
    EXPECT_DEATH(pmdcgnTimesPVd(&m, &v0), szAssert("loC == lo && hiC == hi"));
    Vd<double> w0(0, 1);
    EXPECT_DEATH(pmdcgnTransTimesPVd(&m, &w0), szAssert("loR == lo && hiR == hi"));
}

// ---- text dumps ------------------------------------------------------------------

TEST(PrintTest, EmptyMatrixSaysSo) {
    Mdc<double> m(1, 2, 1, 0);
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPMdcgn(pf, &m, "%3i", " %8.3f", 4); }),
              "Mdc<F64>[  1 ..  2,  1 ..  0]\n  empty\n");
    Mdc<double> mNoRows(5, 4, 0, 1);
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPMdcgn(pf, &mNoRows, "%i", "%g", 4); }),
              "Mdc<F64>[5 ..4,0 ..1]\n  empty\n");
}

TEST(PrintTest, MatrixRowsZeroesAndContinuationLines) {
    Mdc<double>* pm = pmdcFm(1, 2, 1, 3, {1.5, 0.0, -2.0, -0.0, 3.25, 0.0});
    // " %7.3f" renders 0.0 in 8 characters; "%2i" renders 0 in 2.
    const std::string sz =
        szPrinted([&](std::FILE* pf) { printPMdcgn(pf, pm, "%2i", " %7.3f", 2); });
    EXPECT_EQ(sz,
              "Mdc<F64>[ 1 .. 2, 1 .. 3]\n"
              " 1 :    1.500       0\n"
              "    -2.000\n"
              " 2 :        0   3.250\n"
              "         0\n");
    delete pm;
}

TEST(PrintTest, ZeroValuesPerLineMeansNumberOfRows) {
    // Three rows, four columns: the row breaks after three values, not four.
    Mdc<double>* pm = pmdcFm(1, 3, 1, 4, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPMdcgn(pf, pm, "%i", " %2.0f", 0); }),
              "Mdc<F64>[1 ..3,1 ..4]\n"
              "1 :   1  2  3\n"
              "   4\n"
              "2 :   5  6  7\n"
              "   8\n"
              "3 :   9 10 11\n"
              "  12\n");
    // The raw-block form prints the same.
    EXPECT_EQ(szPrinted([&](std::FILE* pf) {
                  printAsMdc(pf, 1, 3, 1, 4, pm->pdata, "%i", " %2.0f", 0);
              }),
              szPrinted([&](std::FILE* pf) { printPMdcgn(pf, pm, "%i", " %2.0f", 0); }));
    delete pm;
}

TEST(PrintTest, VectorGroupsStartWithTheirFirstIndex) {
    Vd<double> v(0, 4);
    for (Long i = 0; i <= 4; i++) v[i] = i + 1.0;
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPVd(pf, &v, "%2i", " %4.1f", 2); }),
              "Vd<F64>[ 0 .. 4]\n"
              " 0 :   1.0  2.0\n"
              " 2 :   3.0  4.0\n"
              " 4 :   5.0\n");
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPVd(pf, &v, "%i", " %g", 0); }),
              "Vd<F64>[0 ..4]\n0 :  1 2 3 4 5\n");
    Vd<double> vEmpty(3, 2);
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPVd(pf, &vEmpty, "%i", " %g", 3); }),
              "Vd<F64>[3 ..2]\n");
}

TEST(PrintTest, StatisticsCountExactZeroes) {
    Mdc<double>* pm = pmdcFm(1, 2, 1, 2, {0.0, 1.0, 2.0, 0.0});
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPMdcgnStats(pf, pm, "%i"); }),
              "Mdc<F64>[1 ..2,1 ..2], 2 non-zeroes, 2 exact zeroes\n");
    delete pm;
}

// ---- sparse forms ------------------------------------------------------------------

namespace {

A<Long>* paFm(std::initializer_list<Long> li) {
    auto* pa = new A<Long>(0, static_cast<Long>(li.size()) - 1);
    Long k = 0;
    for (Long i : li) pa->atPut(k++, i);
    return pa;
}

double* pfFm(std::initializer_list<double> lf) {
    auto* pf = new double[lf.size()];
    std::copy(lf.begin(), lf.end(), pf);
    return pf;
}

}  // namespace

TEST(SparseTest, VectorOwnsAndCopiesItsEntries) {
    Vc<double> v(1, 10, 2, paFm({3, 7}), pfFm({0.5, -1.0}));
    Vc<double> vCopy(v);
    vCopy.pdata[0] = 9.0;
    (*vCopy.paI)[0] = 4;
    EXPECT_EQ(v.pdata[0], 0.5);
    EXPECT_EQ((*v.paI)[0], 3);
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPVc(pf, &v, "%i", "%g", 1); }),
              "Vc<F64>[1 ..10], 2 non-zeroes\n  3 : 0.5\n  7 : -1\n");
}

TEST(SparseTest, CoordinateAndCompressedPrints) {
    Mco<double> mco(1, 3, 1, 2, 3, paFm({1, 3, 2}), paFm({1, 1, 2}), pfFm({1.0, 2.0, 3.0}));
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPMcogn(pf, &mco, "%i", "%g", 2); }),
              "Mco<F64>[1 ..3,1 ..2], 3 non-zeroes\n  (1,1) : 1  (3,1) : 2\n  (2,2) : 3\n");
    // The same matrix compressed by column; the start table runs over 1..3.
    A<Long>* paStart = new A<Long>(1, 3);
    paStart->atPut(1, 0);
    paStart->atPut(2, 2);
    paStart->atPut(3, 3);
    Mcc<double> mcc(1, 3, 1, 2, 3, paStart, paFm({1, 3, 2}), pfFm({1.0, 2.0, 3.0}));
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPMccgn(pf, &mcc, "%i", "%g", 0); }),
              "Mcc<F64>[1 ..3,1 ..2], 3 non-zeroes\n"
              "  col 1\n  1 : 1  3 : 2\n"
              "  col 2\n  2 : 3\n");
    EXPECT_EQ(szPrinted([&](std::FILE* pf) { printPMccgnStats(pf, &mcc, "%i"); }),
              "Mcc<F64>[1 ..3,1 ..2], 3 non-zeroes, longest column, [,1], has 2 non-zeroes\n");
    Mcc<double> mccCopy(mcc);
    mccCopy.pdata[2] = 0.0;
    EXPECT_EQ(mcc.pdata[2], 3.0);
}

TEST(SparseTest, HashedAndBlockFormsPrintNothing) {
    Mhc<double> mhc(1, 4, 0, 2);
    Mhb<double> mhb(1, 4, 0, 2);
    EXPECT_EQ(mhc.nNz, 0);
    EXPECT_EQ((*mhc.paICToNNz)[2], 0);
    EXPECT_EQ((*mhc.paICToPApBin)[0], nullptr);
    EXPECT_EQ(szPrinted([&](std::FILE* pf) {
                  printPMhcgn(pf, &mhc, "%i", "%g", 1);
                  printPMhbgn(pf, &mhb, "%i", "%g", 1);
              }),
              "");
}

TEST(SparseTest, ComparatorsOrderEntriesForQsort) {
    ElRC ael[] = {{2, 1, 0.0}, {1, 2, 0.0}, {2, 0, 0.0}, {1, 1, 0.0}};
    std::qsort(ael, 4, sizeof(ElRC), iCompareRC);
    EXPECT_EQ(ael[0].iR * 10 + ael[0].iC, 11);
    EXPECT_EQ(ael[1].iR * 10 + ael[1].iC, 12);
    EXPECT_EQ(ael[2].iR * 10 + ael[2].iC, 20);
    EXPECT_EQ(ael[3].iR * 10 + ael[3].iC, 21);
    std::qsort(ael, 4, sizeof(ElRC), iCompareCR);
    EXPECT_EQ(ael[0].iR * 10 + ael[0].iC, 20);
    EXPECT_EQ(ael[1].iR * 10 + ael[1].iC, 11);
    EXPECT_EQ(ael[2].iR * 10 + ael[2].iC, 21);
    EXPECT_EQ(ael[3].iR * 10 + ael[3].iC, 12);
    EXPECT_LT(iCompareR(&ael[1], &ael[0]), 0);
    EXPECT_GT(iCompareC(&ael[3], &ael[0]), 0);
    EXPECT_EQ(iCompareR(&ael[0], &ael[2]), 0);
}
