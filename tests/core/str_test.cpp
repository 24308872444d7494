// The small string class: appending and the three number conversions.
#include "core/str.h"

#include <gtest/gtest.h>

TEST(StrTest, AppendsAndCopiesDeeply) {
    Str str("ab");
    str.cat("cd").catCh('-', 3).cat(Str("x"));
    EXPECT_STREQ(str.sz(), "abcd---x");
    EXPECT_EQ(str.n(), 8);
    Str strCopy(str);
    strCopy.cat("y");
    EXPECT_STREQ(str.sz(), "abcd---x");
    EXPECT_TRUE(Str().bEmpty());
    EXPECT_TRUE(Str(nullptr).bEmpty());
    EXPECT_TRUE(Str("q") == Str("q"));
    Str strNone;
    strNone.catCh('z', 0).catCh('z', -4).cat(nullptr);
    EXPECT_STREQ(strNone.sz(), "");
}

TEST(StrTest, NumberConversionsTakeWidthAndPrecision) {
    EXPECT_STREQ(Str::strFmF64E(12, 2, 1234.56).sz(), "    1.23e+03");
    EXPECT_STREQ(Str::strFmF64E(0, 0, -0.5).sz(), "-5e-01");
    EXPECT_STREQ(Str::strFmF64F(8, 1, -3.14159).sz(), "    -3.1");
    EXPECT_STREQ(Str::strFmF64F(0, -1, 1.5).sz(), "1.500000");  // default precision
    EXPECT_STREQ(Str::strFmF64F(-6, 0, 2.0).sz(), "2     ");    // negative width: left
    EXPECT_STREQ(Str::strFmF64G(0, 3, 0.000123456).sz(), "0.000123");
    EXPECT_STREQ(Str::strFmF64G(9, 4, 123456.0).sz(), "1.235e+05");
    Str str("x=");
    str.catF64F(0, 300, 1.0);  // wider than any fixed buffer would be
    EXPECT_EQ(str.n(), 2 + 302);
    EXPECT_EQ(str.sz()[str.n() - 1], '0');
}
