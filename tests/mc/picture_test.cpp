// The picture of the rest points.
#include "mc/picture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/testutil.h"

namespace {

using McPicture = InTempDir;

std::uint32_t uBigEndian(const std::string& sz, std::size_t i) {
    std::uint32_t u = 0;
    for (std::size_t k = 0; k < 4; k++) u = (u << 8) | static_cast<unsigned char>(sz[i + k]);
    return u;
}

TEST_F(McPicture, WritesA1200By900PngOrSaysWhyNot) {
    initParams();
    std::vector<McRunResult> ares(3);
    const double afX[3] = {29.5, 30.2, 250.0};  // the last far away, left out above
    for (int i = 0; i < 3; i++) {
        ares[i] = McRunResult{};
        ares[i].iRun = i + 1;
        ares[i].fXfRest = afX[i];
        ares[i].bUpright = (i == 0);
    }
    std::string szErr;
    const bool bOk = bWriteMcPicture("rest.png", ares.data(), 3, 30.0, 0.0, 0.3, 0.8, &szErr);
    if (!bMcPictureAvailable()) {
        EXPECT_FALSE(bOk);
        EXPECT_EQ(szErr, "this build has no picture support (Qt 6 Gui); rest.png not written");
        EXPECT_FALSE(vttest::fileExists("rest.png"));
        return;
    }
    ASSERT_TRUE(bOk) << szErr;
    const std::string szPng = vttest::readFile("rest.png");
    ASSERT_GT(szPng.size(), 33u);
    EXPECT_EQ(szPng.substr(0, 16), std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16));
    EXPECT_EQ(uBigEndian(szPng, 16), 1200u);
    EXPECT_EQ(uBigEndian(szPng, 20), 900u);
    // A second picture in the same process works as well; a bad path is named.
    EXPECT_TRUE(bWriteMcPicture("again.png", ares.data(), 1, 30.0, 0.0, 0.0, 0.0, &szErr));
    EXPECT_FALSE(bWriteMcPicture("no/such/dir/p.png", ares.data(), 1, 0.0, 0.0, 0.0, 0.0, &szErr));
    EXPECT_NE(szErr.find("no/such/dir/p.png"), std::string::npos) << szErr;
}

}  // namespace
