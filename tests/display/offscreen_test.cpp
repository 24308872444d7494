// Offscreen rendering with no display server: the OpenGL error report in
// the log and the refusal of a bad size.
#include <string>

#include "core/logerror.h"
#include "display/capture.h"
#include "display/glcheck.h"
#include "display/offscreen.h"
#include "display/glapi.h"
#include "support/testutil.h"

using vttest::readFile;

class OffscreenTest : public InTempDir {
protected:
    void SetUp() override {
        InTempDir::SetUp();
        if (!offscreengl.bOpen(64, 48)) GTEST_SKIP() << "no offscreen OpenGL on this machine";
    }
    void TearDown() override {
        offscreengl.close();
        InTempDir::TearDown();
    }
    OffscreenGl offscreengl;
};

TEST_F(OffscreenTest, ABadCallIsReportedWithItsLocationInTheLog) {
    openLogFile();
    glBegin(0x7fff);  // not a primitive
    const Long nErr = nCheckGlErrorSzLocation("glBegin()");
    glMatrixMode(GL_MODELVIEW);
    glPopMatrix();  // nothing pushed
    checkGlErrorSzLocation("glPopMatrix()");
    EXPECT_EQ(nCheckGlErrorSzLocation("nothing pending"), 0);
    closeLogFile();
    EXPECT_EQ(nErr, 1);
    const std::string szLog = readFile("fe.log");
    EXPECT_EQ(szLog.find("nothing pending"), std::string::npos) << szLog;
    // Each report is the location line directly followed by its error line
    // ("hh:mm:ss " before each text).
    for (const auto& [szLoc, szErr] : {std::pair(" location = glBegin()\n", "invalid enum\n"),
                                       {" location = glPopMatrix()\n", "stack underflow\n"}}) {
        const size_t iLoc = szLog.find(szLoc);
        ASSERT_NE(iLoc, std::string::npos) << szLog;
        EXPECT_EQ(szLog.find(std::string(" ERROR: OpenGL error -- ") + szErr),
                  iLoc + std::string(szLoc).size() + 8)
            << szLog;
    }
}

using OffscreenFailureTest = InTempDir;

TEST_F(OffscreenFailureTest, ABadSizeIsLoggedAndRefusedWithoutACrash) {
    openLogFile();
    OffscreenGl offscreengl;
    EXPECT_FALSE(offscreengl.bOpen(0, 10));
    EXPECT_FALSE(offscreengl.bIsOpen());
    EXPECT_FALSE(bRenderOffscreenToBmp("pane.bmp", 10, iPxMaxBmp + 1, [] {}));
    closeLogFile();
    EXPECT_FALSE(vttest::fileExists("pane.bmp"));
    EXPECT_NE(readFile("fe.log").find("offscreen OpenGL: bad size 0 x 10"), std::string::npos);
}
