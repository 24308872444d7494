// Bounded arrays: ranges, the two failure paths of the accessors, re-sizing
// that keeps the block, deep copies, the transposed copy and the value-list
// constructor.
#include "core/array.h"

#include <string>

#include "support/testutil.h"

namespace {

using vttest::szRe;

std::string szAssert(const std::string& szExpr) {
    return "Assertion failed: " + szRe(szExpr) + ", file .*array";
}

// The block an A2Val obtained, from its biased base pointer.
double* pelBlockOf(const A2Val<double>& a) {
    return a._pel00 + (static_cast<long>(a._iRFirst) * a._iNC + a._iCFirst);
}

const char szFatalBounds[] = "^FATAL ERROR --\n    array bounds\n$";

}  // namespace

// ---- A1Val ------------------------------------------------------------------

TEST(A1ValTest, EmptyRangeHasNoStorageAndNoValidIndex) {
    A1Val<double> a(1, 0);
    EXPECT_EQ(a.n(), 0);
    EXPECT_EQ(a.iFirst(), 1);
    EXPECT_EQ(a.iLast(), 0);
    EXPECT_EQ(a._pel0, nullptr);
    EXPECT_EXIT(a[1], ::testing::ExitedWithCode(1), szFatalBounds);
    EXPECT_EXIT(a[0], ::testing::ExitedWithCode(1), szFatalBounds);
    A1Val<double> aSized(0);
    EXPECT_EQ(aSized._pel0, nullptr);
}

TEST(A1ValTest, SizeFormRunsFromZero) {
    A1Val<double> a(5);
    EXPECT_EQ(a.iFirst(), 0);
    EXPECT_EQ(a.iLast(), 4);
    for (Long i = 0; i < 5; i++) a[i] = i * 1.5;
    EXPECT_EQ(a[4], 6.0);
    EXPECT_EQ(&a[4] - &a[0], 4);
    EXPECT_EXIT(a[5], ::testing::ExitedWithCode(1), szFatalBounds);
    EXPECT_EXIT(a[-1], ::testing::ExitedWithCode(1), szFatalBounds);
}

// operator[] goes through the run log, unlike atIPut.
using A1ValLogTest = InTempDir;

TEST_F(A1ValLogTest, BoundsErrorReachesTheLog) {
    EXPECT_EXIT(
        {
            openLogFile();
            A1Val<Long> a(1, 3);
            a[4] = 0;
        },
        ::testing::ExitedWithCode(1), "array bounds");
    const std::string szLog = vttest::readFile("fe.log");
    EXPECT_NE(szLog.find("FATAL ERROR --\n    array bounds\n"), std::string::npos) << szLog;
}

TEST(A1ValTest, NegativeCountsAreAssertions) {
    EXPECT_DEATH(A1Val<double>(3, 1), szAssert("_iN >= 0"));
    EXPECT_DEATH(A1Val<double>(-1), szAssert("_iN >= 0"));
    A1Val<double> a(1, 2);
    EXPECT_DEATH(a.reconstructIN(-1), szAssert("n >= 0"));
    EXPECT_DEATH(a.reconstructIFirstILast(3, 1), szAssert("n >= 0"));
    EXPECT_DEATH(a.atIPut(3, 0.0), szAssert("(i >= _iFirst) && (i <= _iLast)"));
    EXPECT_DEATH(a.atIPut(0, 0.0), szAssert("(i >= _iFirst) && (i <= _iLast)"));
}

TEST(A1ValTest, ResizeToSameCountKeepsBlockAndValues) {
    A1Val<double> a(1, 4);
    for (Long i = 1; i <= 4; i++) a[i] = 10.0 * i;
    double* pelBlock = &a[1];
    a.reconstructIFirstILast(0, 3);
    EXPECT_EQ(a.iFirst(), 0);
    EXPECT_EQ(a.iLast(), 3);
    EXPECT_EQ(&a[0], pelBlock);
    EXPECT_EQ(a[0], 10.0);  // old element 1 is the new element 0
    EXPECT_EQ(a[3], 40.0);
    a.reconstructIN(4);     // same range again: nothing moves
    EXPECT_EQ(&a[0], pelBlock);
    a.reconstructIFirstILast(-7, -4);
    EXPECT_EQ(&a[-7], pelBlock);
    EXPECT_EQ(a[-4], 40.0);
}

TEST(A1ValTest, ResizeToOtherCountTakesNewRange) {
    A1Val<float> a(1, 2);
    a.reconstructIFirstILast(5, 9);
    EXPECT_EQ(a.n(), 5);
    EXPECT_EQ(a.iFirst(), 5);
    a[9] = 1.0f;
    a.reconstructIN(0);
    EXPECT_EQ(a.n(), 0);
    EXPECT_EQ(a._pel0, nullptr);
    a.reconstructIN(2);
    a[1] = 2.0f;
    EXPECT_EQ(a[1], 2.0f);
}

TEST(A1ValTest, AssignmentWithEqualCountKeepsTargetBlock) {
    A1Val<double> aSrc(0, 2);
    for (Long i = 0; i <= 2; i++) aSrc[i] = i + 0.5;
    A1Val<double> aDst(5, 7);
    double* pelBlock = &aDst[5];
    aDst = aSrc;
    EXPECT_EQ(aDst.iFirst(), 0);
    EXPECT_EQ(aDst.iLast(), 2);
    EXPECT_EQ(&aDst[0], pelBlock);
    EXPECT_EQ(aDst[2], 2.5);
    EXPECT_NE(&aDst[0], &aSrc[0]);
}

TEST(A1ValTest, AssignmentWithOtherCountCopiesDeeply) {
    A1Val<Long> aSrc(1, 3);
    for (Long i = 1; i <= 3; i++) aSrc[i] = i * i;
    A1Val<Long> aDst(0, 0);
    aDst = aSrc;
    EXPECT_EQ(aDst.n(), 3);
    EXPECT_EQ(aDst[3], 9);
    aDst[3] = 0;
    EXPECT_EQ(aSrc[3], 9);
    A1Val<Long> aEmpty(4, 3);
    aDst = aEmpty;
    EXPECT_EQ(aDst.n(), 0);
    EXPECT_EQ(aDst.iFirst(), 4);
}

TEST(A1ValTest, SelfAssignmentChangesNothing) {
    A1Val<double> a(2, 3);
    a[2] = 1.0;
    a[3] = 2.0;
    double* pel = &a[2];
    A1Val<double>& aRef = a;
    a = aRef;
    EXPECT_EQ(&a[2], pel);
    EXPECT_EQ(a[2], 1.0);
    EXPECT_EQ(a[3], 2.0);
    EXPECT_EQ(a.iFirst(), 2);
}

TEST(A1ValTest, CopyConstructorCopiesDeeply) {
    A1Val<unsigned char> a(-1, 1);
    a[-1] = 7;
    A1Val<unsigned char> b(a);
    b[-1] = 8;
    EXPECT_EQ(a[-1], 7);
    EXPECT_EQ(b.iFirst(), -1);
    EXPECT_EQ(b[-1], 8);
    A1Val<void*> aP(1, 1);
    aP[1] = &a;
    A1Val<void*> bP(aP);
    EXPECT_EQ(bP[1], &a);
}

// ---- A2Val -------------------------------------------------------------------

TEST(A2ValTest, DefaultIsEmpty) {
    A2Val<double> a;
    EXPECT_EQ(a.iNR(), 0);
    EXPECT_EQ(a.iNC(), 0);
    EXPECT_EQ(a._pel00, nullptr);
}

TEST(A2ValTest, RowMajorStorageWithBiasedBase) {
    A2Val<double> a(1, 2, 0, 2);
    EXPECT_EQ(a.iNR(), 2);
    EXPECT_EQ(a.iNC(), 3);
    for (Long iR = 1; iR <= 2; iR++)
        for (Long iC = 0; iC <= 2; iC++) a(iR, iC) = 10.0 * iR + iC;
    const double* pelBlock = &a(1, 0);
    EXPECT_EQ(pelBlock[1], 11.0);  // (1, 1): rows one after another
    EXPECT_EQ(pelBlock[3], 20.0);  // (2, 0)
    EXPECT_EQ(&a(2, 2) - pelBlock, 5);
    a.atIRCPut(2, 1, -1.0);
    EXPECT_EQ(pelBlock[4], -1.0);
}

TEST(A2ValTest, ShapeChecksFailOnlyWhenBothCountsAreNegative) {
    double* pelNoRows = nullptr;
    {
        A2Val<double> aNoRows(1, 0, 1, 3);
        EXPECT_EQ(aNoRows.iNR(), 0);
        EXPECT_EQ(aNoRows.iNC(), 3);
        pelNoRows = pelBlockOf(aNoRows);
    }
    delete[] pelNoRows;  // never released by the array (see below)
    EXPECT_DEATH((A2Val<double>(0, -2, 0, -2)), szAssert("(_iNR >= 0) || (_iNC >= 0)"));
    A2Val<double> aOneNegative(0, -2, 0, 3);  // passes, deliberately
    EXPECT_EQ(aOneNegative.iNR(), -1);
    EXPECT_EQ(aOneNegative.iNC(), 4);
    A2Val<double> a(1, 2, 1, 2);
    EXPECT_DEATH(a.reconstructIRCFirstILast(1, 2, 1, -1), szAssert("( iNR >= 0 ) && ( iNC >= 0 )"));
    EXPECT_DEATH(a.reconstructIRCFirstILast(2, 0, 1, 2), szAssert("( iNR >= 0 ) && ( iNC >= 0 )"));
}

TEST(A2ValTest, OutOfRangeElementIsAnAssertionNotAFatalError) {
    const std::string szExpr =
        "(iR >= _iRFirst) && (iR <= _iRLast) && (iC >= _iCFirst) && (iC <= _iCLast)";
    A2Val<double> a(1, 2, 0, 2);
    EXPECT_DEATH(a(3, 0), szAssert(szExpr));
    EXPECT_DEATH(a(0, 0), szAssert(szExpr));
    EXPECT_DEATH(a(1, 3), szAssert(szExpr));
    EXPECT_DEATH(a(1, -1), szAssert(szExpr));
    EXPECT_DEATH(a.atIRCPut(2, 3, 0.0), szAssert(szExpr));
}

TEST(A2ValTest, ZeroElementBlockOfAOneSidedEmptyShapeIsNeverReleased) {
    // A shape with exactly one zero count still obtains a (zero-element) block,
    // and the release rule skips it: a deliberate, tiny leak per such array.
    // The test gives the block back itself; had the array released it too,
    // the sanitizer build would report a double release here.
    double* pelBlock = nullptr;
    {
        A2Val<double> aOneZero(1, 0, 1, 3);
        ASSERT_NE(aOneZero._pel00, nullptr);
        pelBlock = pelBlockOf(aOneZero);
    }
    delete[] pelBlock;
    A2Val<double> aBothZero(1, 0, 5, 4);
    EXPECT_EQ(aBothZero._pel00, nullptr);
}

TEST(A2ValTest, ReshapeToSameCountsKeepsBlock) {
    A2Val<double> a(1, 2, 1, 3);
    for (Long iR = 1; iR <= 2; iR++)
        for (Long iC = 1; iC <= 3; iC++) a(iR, iC) = 10.0 * iR + iC;
    double* pelBlock = &a(1, 1);
    a.reconstructIRCFirstILast(0, 1, -1, 1);
    EXPECT_EQ(&a(0, -1), pelBlock);
    EXPECT_EQ(a(0, -1), 11.0);
    EXPECT_EQ(a(1, 1), 23.0);
    a.reconstructIRCFirstILastElInit(5, 7, 0, 1, 4.0);  // 3 by 2: a new shape
    EXPECT_EQ(a.iNR(), 3);
    EXPECT_EQ(a.iNC(), 2);
    for (Long iR = 5; iR <= 7; iR++)
        for (Long iC = 0; iC <= 1; iC++) EXPECT_EQ(a(iR, iC), 4.0);
    a.fillEl(-2.0);
    EXPECT_EQ(a(7, 1), -2.0);
}

TEST(A2ValTest, CopyAndAssignmentAreDeep) {
    A2Val<double> a(1, 2, 1, 2);
    a.fillEl(1.0);
    a(2, 2) = 5.0;
    A2Val<double> b(a);
    b(2, 2) = 6.0;
    EXPECT_EQ(a(2, 2), 5.0);
    A2Val<double> c(0, 1, 0, 1);
    double* pelBlock = &c(0, 0);
    c = a;  // same counts: the target's block stays
    EXPECT_EQ(&c(1, 1), pelBlock);
    EXPECT_EQ(c(2, 2), 5.0);
    EXPECT_EQ(c.iRFirst(), 1);
    A2Val<double> d;
    d = a;
    EXPECT_EQ(d(2, 2), 5.0);
    d(2, 2) = 0.0;
    EXPECT_EQ(a(2, 2), 5.0);
    A2Val<void*> aP(0, 0, 0, 0);
    aP(0, 0) = &a;
    A2Val<void*> bP(aP);
    EXPECT_EQ(bP(0, 0), &a);
}

TEST(A2ValTest, TransposeSwapsRangesAndElements) {
    A2Val<double> a(1, 2, 0, 2);
    for (Long iR = 1; iR <= 2; iR++)
        for (Long iC = 0; iC <= 2; iC++) a(iR, iC) = 10.0 * iR + iC;
    A2Val<double> aT = a.a2Trans();
    EXPECT_EQ(aT.iRFirst(), 0);
    EXPECT_EQ(aT.iRLast(), 2);
    EXPECT_EQ(aT.iCFirst(), 1);
    EXPECT_EQ(aT.iCLast(), 2);
    for (Long iR = 1; iR <= 2; iR++)
        for (Long iC = 0; iC <= 2; iC++) EXPECT_EQ(aT(iC, iR), a(iR, iC));
}

TEST(A2ValTest, ValueListFirstFurtherValueOverwritesEl) {
    // el goes to the first element, then every element takes the next value
    // after el, starting again at the first: el itself never survives.
    A2Val<double> a(1, 2, 1, 2, 99.0, 1.0, 2.0, 3.0, 4.0);
    EXPECT_EQ(a(1, 1), 1.0);
    EXPECT_EQ(a(1, 2), 2.0);
    EXPECT_EQ(a(2, 1), 3.0);
    EXPECT_EQ(a(2, 2), 4.0);
    int i1 = 0, i2 = 0;
    A2Val<void*> aP(0, 0, 0, 1, nullptr, static_cast<void*>(&i1), static_cast<void*>(&i2));
    EXPECT_EQ(aP(0, 0), &i1);
    EXPECT_EQ(aP(0, 1), &i2);
    EXPECT_DEATH((A2Val<double>(1, 0, 1, 2, 0.0)), szAssert("(_iNR > 0) && (_iNC > 0)"));
    EXPECT_DEATH((A2Val<double>(1, 2, 3, 2, 0.0)), szAssert("(_iNR > 0) && (_iNC > 0)"));
}
