// Bitmap file writer of the pane capture: header bytes, pixel rows with
// their padding, and the four ways a capture stops the program.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstdint>
#include <string>
#include <vector>

#include "core/logerror.h"
#include "display/capture.h"
#include "support/testutil.h"

using vttest::readFile;

namespace {

std::uint32_t u32At(const std::string& sz, size_t i) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(sz[i])) |
           static_cast<std::uint32_t>(static_cast<unsigned char>(sz[i + 1])) << 8 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(sz[i + 2])) << 16 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(sz[i + 3])) << 24;
}

std::uint32_t u16At(const std::string& sz, size_t i) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(sz[i])) |
           static_cast<std::uint32_t>(static_cast<unsigned char>(sz[i + 1])) << 8;
}

// In a death-test child: every file may grow to nByt bytes at most, and a
// write beyond that fails (instead of raising SIGXFSZ). The limit would also
// cut the child's captured standard error short, so the error text goes
// through a pipe to a helper process forked before the limit, which copies
// it out; the child waits for the helper when it exits.
pid_t pidCopyStderr = 0;

void waitForStderrCopy() {
    close(2);
    waitpid(pidCopyStderr, nullptr, 0);
}

void limitFileSize(rlim_t nByt) {
    int arFd[2];
    if (pipe(arFd) != 0) std::abort();
    pidCopyStderr = fork();
    if (pidCopyStderr == 0) {
        close(arFd[1]);
        char arCh[256];
        for (ssize_t nCh; (nCh = read(arFd[0], arCh, sizeof arCh)) > 0;) {
            if (write(2, arCh, static_cast<size_t>(nCh)) != nCh) break;
        }
        _exit(0);
    }
    close(arFd[0]);
    dup2(arFd[1], 2);
    close(arFd[1]);
    std::atexit(waitForStderrCopy);
    std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit rl = {nByt, nByt};
    setrlimit(RLIMIT_FSIZE, &rl);
}

}  // namespace

TEST(BmpRowTest, RowsArePaddedToTheNextMultipleOfFourBytes) {
    for (Long iPxDX = 0; iPxDX <= 9; ++iPxDX) {
        Long nByt = 0;
        while (nByt < 3 * iPxDX) nByt += 4;
        EXPECT_EQ(nBytRowBmp(iPxDX), nByt) << "width " << iPxDX;
    }
    EXPECT_EQ(nBytRowBmp(1152), 3456);
}

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

TEST_F(BmpWriterTest, SizeFieldsFollowTheDimensions) {
    // A 1152 x 831 pane, the window's default: rows need no padding.
    std::vector<unsigned char> arB(static_cast<size_t>(nBytRowBmp(1152)) * 831, 0x5a);
    bitmapfileDisplaySetINumElm("big.bmp", 1152, 831, arB.data());
    const std::string sz = readFile("big.bmp");
    const std::uint32_t nBytBits = 1152u * 3u * 831u;
    ASSERT_EQ(sz.size(), 54u + nBytBits);
    EXPECT_EQ(sz.substr(0, 2), "BM");
    EXPECT_EQ(u32At(sz, 2), 54u + nBytBits);
    EXPECT_EQ(u32At(sz, 6), 0u);
    EXPECT_EQ(u32At(sz, 10), 54u);
    EXPECT_EQ(u32At(sz, 14), 40u);
    EXPECT_EQ(u32At(sz, 18), 1152u);
    EXPECT_EQ(u32At(sz, 22), 831u);
    EXPECT_EQ(u16At(sz, 26), 1u);
    EXPECT_EQ(u16At(sz, 28), 24u);
    EXPECT_EQ(u32At(sz, 30), 0u);
    EXPECT_EQ(u32At(sz, 34), nBytBits);
    EXPECT_EQ(sz.find_first_not_of('\x5a', 54), std::string::npos);
}

TEST_F(BmpWriterTest, OddWidthsPadEveryRow) {
    // Width 1 and 2: 3 + 1 and 6 + 2 bytes per row; the writer copies the
    // caller's padding bytes as they are.
    const std::vector<unsigned char> arB1 = {10, 20, 30, 0, 40, 50, 60, 0, 70, 80, 90, 0};
    bitmapfileDisplaySetINumElm("w1.bmp", 1, 3, arB1.data());
    const std::string sz1 = readFile("w1.bmp");
    EXPECT_EQ(u32At(sz1, 34), 12u);
    EXPECT_EQ(sz1.substr(54), std::string(arB1.begin(), arB1.end()));

    const std::vector<unsigned char> arB2 = {1, 2, 3, 4, 5, 6, 0, 0};
    bitmapfileDisplaySetINumElm("w2.bmp", 2, 1, arB2.data());
    const std::string sz2 = readFile("w2.bmp");
    EXPECT_EQ(u32At(sz2, 2), 62u);
    EXPECT_EQ(sz2.substr(54), std::string(arB2.begin(), arB2.end()));
}

TEST_F(BmpWriterTest, AnEmptyPaneGivesTheHeadersAlone) {
    bitmapfileDisplaySetINumElm("e.bmp", 0, 0, nullptr);
    const std::string sz = readFile("e.bmp");
    ASSERT_EQ(sz.size(), 54u);
    EXPECT_EQ(u32At(sz, 2), 54u);
    EXPECT_EQ(u32At(sz, 34), 0u);
}

TEST_F(BmpWriterTest, AnExistingFileIsReplaced) {
    vttest::writeFile("t.bmp", std::string(500, 'x'));
    const unsigned char arB[4] = {9, 8, 7, 0};
    bitmapfileDisplaySetINumElm("t.bmp", 1, 1, arB);
    EXPECT_EQ(readFile("t.bmp").size(), 58u);
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

TEST_F(BmpWriterDeathTest, AFullDeviceFailsAtTheFileHeader) {
    const unsigned char arB[4] = {};
    EXPECT_EXIT(bitmapfileDisplaySetINumElm("/dev/full", 1, 1, arB),
                ::testing::ExitedWithCode(1),
                "^FATAL ERROR --\n    bitmapfileDisplaySetINumElm\\(\\) bad write of bmfh\n$");
}

TEST_F(BmpWriterDeathTest, RoomForTheFileHeaderOnlyFailsAtTheInfoHeader) {
    const unsigned char arB[4] = {};
    EXPECT_EXIT(
        {
            limitFileSize(14);
            bitmapfileDisplaySetINumElm("t.bmp", 1, 1, arB);
        },
        ::testing::ExitedWithCode(1),
        "^FATAL ERROR --\n    bitmapfileDisplaySetINumElm\\(\\) bad write of bmih\n$");
    EXPECT_EQ(readFile("t.bmp").size(), 14u);
}

TEST_F(BmpWriterDeathTest, RoomForPartOfThePixelsFailsAtTheBits) {
    std::vector<unsigned char> arB(static_cast<size_t>(nBytRowBmp(5)) * 4, 0);
    EXPECT_EXIT(
        {
            limitFileSize(54 + 10);
            bitmapfileDisplaySetINumElm("t.bmp", 5, 4, arB.data());
        },
        ::testing::ExitedWithCode(1),
        "^FATAL ERROR --\n    bitmapfileDisplaySetINumElm\\(\\) bad write of bits\n$");
    EXPECT_EQ(readFile("t.bmp").size(), 64u);
}

TEST_F(BmpWriterDeathTest, NegativeOrHugeSizesAreAssertions) {
    const unsigned char arB[4] = {};
    EXPECT_DEATH(bitmapfileDisplaySetINumElm("t.bmp", -1, 1, arB),
                 "Assertion failed: iPxDX >= 0 && iPxDX <= iPxMaxBmp");
    EXPECT_DEATH(bitmapfileDisplaySetINumElm("t.bmp", 1, iPxMaxBmp + 1, arB),
                 "Assertion failed: iPxDX >= 0 && iPxDX <= iPxMaxBmp && iPxDY >= 0 && "
                 "iPxDY <= iPxMaxBmp");
}
