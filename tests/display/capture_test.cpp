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

TEST_F(BmpWriterTest, AnEmptyPaneGivesTheHeadersAlone) {
    bitmapfileDisplaySetINumElm("e.bmp", 0, 0, nullptr);
    const std::string sz = readFile("e.bmp");
    ASSERT_EQ(sz.size(), 54u);
    EXPECT_EQ(sz.substr(2, 4), std::string("\x36\0\0\0", 4));  // the file's size
    EXPECT_EQ(sz.substr(34, 4), std::string(4, '\0'));          // the pixels' size
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

TEST_F(BmpWriterDeathTest, EachShortWriteNamesWhatItWasWriting) {
    // Room for nothing (a full device), for the file header only, and for
    // part of the pixels.
    std::vector<unsigned char> arB(static_cast<size_t>(nBytRowBmp(5)) * 4, 0);
    const struct { const char* szFile; rlim_t nBytMax; const char* szWhat; size_t nBytLeft; } acase[] = {
        {"/dev/full", RLIM_INFINITY, "bmfh", 0}, {"t.bmp", 14, "bmih", 14}, {"t.bmp", 64, "bits", 64}};
    for (const auto& c : acase) {
        EXPECT_EXIT(
            {
                if (c.nBytMax != RLIM_INFINITY) limitFileSize(c.nBytMax);
                bitmapfileDisplaySetINumElm(c.szFile, 5, 4, arB.data());
            },
            ::testing::ExitedWithCode(1),
            std::string("^FATAL ERROR --\n    bitmapfileDisplaySetINumElm\\(\\) bad write of ") +
                c.szWhat + "\n$");
        if (c.nBytLeft > 0) {
            EXPECT_EQ(readFile(c.szFile).size(), c.nBytLeft);
        }
    }
}

TEST_F(BmpWriterDeathTest, NegativeOrHugeSizesAreAssertions) {
    const unsigned char arB[4] = {};
    EXPECT_DEATH(bitmapfileDisplaySetINumElm("t.bmp", -1, 1, arB),
                 "Assertion failed: iPxDX >= 0 && iPxDX <= iPxMaxBmp");
    EXPECT_DEATH(bitmapfileDisplaySetINumElm("t.bmp", 1, iPxMaxBmp + 1, arB),
                 "Assertion failed: iPxDX >= 0 && iPxDX <= iPxMaxBmp && iPxDY >= 0 && "
                 "iPxDY <= iPxMaxBmp");
}
