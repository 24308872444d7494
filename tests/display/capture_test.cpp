// Bitmap file writer of the pane capture: header bytes, pixel rows with
// their padding, and the ways a capture stops the program.
#include <string>
#include <vector>

#include "core/logerror.h"
#include "display/capture.h"
#include "support/testutil.h"

using vttest::readFile;

using BmpWriterTest = InTempDir;

TEST_F(BmpWriterTest, HeadersAndPaddedRowsOfAThreeByTwoImage) {
    // Width 3: 9 bytes of pixels and 3 of padding per row. Bottom row first.
    const std::vector<unsigned char> arB = {
        1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 0, 0,            // bottom row
        11, 12, 13, 14, 15, 16, 17, 18, 19, 0, 0, 0};  // top row
    bitmapfileDisplaySetINumElm("t.bmp", 3, 2, arB.data());
    const std::string sz = readFile("t.bmp");
    ASSERT_EQ(sz.size(), 14u + 40u + 24u);

    const unsigned char arBHeaders[54] = {
        'B', 'M', 78, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0,  // file header
        40, 0, 0, 0,                                     // info header size
        3, 0, 0, 0,                                      // width
        2, 0, 0, 0,                                      // height (bottom-up)
        1, 0,                                            // planes
        24, 0,                                           // bits per pixel
        0, 0, 0, 0,                                      // no compression
        24, 0, 0, 0,                                     // size of the pixels
        0x13, 0x0b, 0, 0, 0x13, 0x0b, 0, 0,              // 2835 px/m both ways
        0, 0, 0, 0, 0, 0, 0, 0};                         // no palette
    EXPECT_EQ(sz.substr(0, 54), std::string(reinterpret_cast<const char*>(arBHeaders), 54));
    EXPECT_EQ(sz.substr(54), std::string(arB.begin(), arB.end()));
}

using BmpWriterDeathTest = InTempDir;

TEST_F(BmpWriterDeathTest, AFileThatCannotBeCreatedIsFatalAndLogged) {
    const unsigned char arB[4] = {};
    EXPECT_EXIT(
        {
            openLogFile();
            bitmapfileDisplaySetINumElm("no/such/dir/pane.bmp", 1, 1, arB);
        },
        ::testing::ExitedWithCode(1),
        "^FATAL ERROR --\n    bitmapfileDisplaySetINumElm\\(\\) couldn't open file\n$");
    EXPECT_NE(readFile("fe.log").find(
                  "FATAL ERROR --\n    bitmapfileDisplaySetINumElm() couldn't open file\n"),
              std::string::npos);
}

TEST_F(BmpWriterDeathTest, AShortWriteNamesWhatItWasWriting) {
    const unsigned char arB[4] = {};
    EXPECT_EXIT(bitmapfileDisplaySetINumElm("/dev/full", 1, 1, arB), ::testing::ExitedWithCode(1),
                "^FATAL ERROR --\n    bitmapfileDisplaySetINumElm\\(\\) bad write of bmfh\n$");
}

TEST_F(BmpWriterDeathTest, NegativeOrHugeSizesAreAssertions) {
    const unsigned char arB[4] = {};
    EXPECT_DEATH(bitmapfileDisplaySetINumElm("t.bmp", 1, iPxMaxBmp + 1, arB),
                 "Assertion failed: iPxDX >= 0 && iPxDX <= iPxMaxBmp && iPxDY >= 0 && "
                 "iPxDY <= iPxMaxBmp");
}
