// Offscreen rendering with no display server: context, framebuffer, read
// back through the pane capture, and the OpenGL error report in the log.
#include <GL/gl.h>

#include <cstdint>
#include <string>

#include "core/logerror.h"
#include "display/camera.h"
#include "display/capture.h"
#include "display/glcheck.h"
#include "display/offscreen.h"
#include "support/testutil.h"

using vttest::readFile;

namespace {

struct BmpPixels {
    Long iPxDX = 0;
    Long iPxDY = 0;
    std::string szBits;
    // Blue, green, red of the pixel at column iX, row iY counted from the
    // bottom.
    unsigned char bAt(Long iX, Long iY, int iCh) const {
        return static_cast<unsigned char>(
            szBits[static_cast<size_t>(iY * nBytRowBmp(iPxDX) + 3 * iX + iCh)]);
    }
};

std::int32_t i32At(const std::string& sz, size_t i) {
    std::uint32_t u = 0;
    for (int k = 3; k >= 0; --k) u = (u << 8) | static_cast<unsigned char>(sz[i + k]);
    return static_cast<std::int32_t>(u);
}

BmpPixels bmpRead(const char* szFile) {
    const std::string sz = readFile(szFile);
    BmpPixels bmp;
    if (sz.size() < 54) return bmp;
    bmp.iPxDX = i32At(sz, 18);
    bmp.iPxDY = i32At(sz, 22);
    bmp.szBits = sz.substr(54);
    return bmp;
}

}  // namespace

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

TEST_F(OffscreenTest, CaptureKeepsColoursAndBottomUpRowOrder) {
    glClearColor(0.5f, 0.25f, 0.25f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    // A fixed-function quad over the bottom-left 16 x 8 pixels, in pure
    // green.
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0.0, 64.0, 0.0, 48.0, -1.0, 1.0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glColor3f(0.0f, 1.0f, 0.0f);
    glRectd(0.0, 0.0, 16.0, 8.0);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    captureOpenGLRectToBmp("pane.bmp", 0, 0, 64, 48);

    const BmpPixels bmp = bmpRead("pane.bmp");
    ASSERT_EQ(bmp.iPxDX, 64);
    ASSERT_EQ(bmp.iPxDY, 48);
    ASSERT_EQ(bmp.szBits.size(), 64u * 3u * 48u);
    // Background 0.5, 0.25, 0.25 is stored as 128, 64, 64 (red, green, blue)
    // give or take one step of rounding; the file holds blue first.
    for (Long iY : {10, 47})
        for (int iCh : {0, 1, 2}) EXPECT_NEAR(bmp.bAt(40, iY, iCh), iCh == 2 ? 128 : 64, 1);
    // The quad sits in the first rows of the file: rows run bottom-up.
    for (int iCh : {0, 1, 2}) EXPECT_EQ(bmp.bAt(3, 2, iCh), iCh == 1 ? 255 : 0);
    EXPECT_NEAR(bmp.bAt(3, 40, 2), 128, 1);
    EXPECT_NEAR(bmp.bAt(20, 2, 2), 128, 1);
}

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

TEST_F(OffscreenTest, PaneCaptureReadsThePaneRectangle) {
    glClearColor(0.0f, 0.0f, 1.0f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    // The pane: 20 x 10 pixels from column 4, row 2; filled with red.
    Pane pane;
    pane.iPxDX = 20;
    pane.iPxDY = 10;
    pane.iPxXL = 4;
    pane.iPxYT = 2;
    glEnable(GL_SCISSOR_TEST);
    glScissor(4, 2, 20, 10);
    glClearColor(1.0f, 0.0f, 0.0f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    glDisable(GL_SCISSOR_TEST);
    captureOpenGLPPaneToBmp("pane.bmp", &pane);
    const BmpPixels bmp = bmpRead("pane.bmp");
    ASSERT_EQ(bmp.iPxDX, 20);
    ASSERT_EQ(bmp.iPxDY, 10);
    for (Long iY = 0; iY < 10; ++iY) {
        for (Long iX = 0; iX < 20; ++iX) {
            ASSERT_EQ(bmp.bAt(iX, iY, 2), 255) << iX << "," << iY;
            ASSERT_EQ(bmp.bAt(iX, iY, 0), 0) << iX << "," << iY;
        }
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
