// Pane capture: read-back of the pane and our own bitmap file writer.
#include "display/capture.h"

#include <cstdint>
#include <cstdio>
#include <vector>

#include "core/logerror.h"

namespace {

constexpr Long nBytFileHeaderBmp = 14;
constexpr Long nBytInfoHeaderBmp = 40;
constexpr Long iPxPerMetreBmp = 2835;  // 72 dpi

void putU16(unsigned char* pb, std::uint32_t u) {
    pb[0] = static_cast<unsigned char>(u & 0xffu);
    pb[1] = static_cast<unsigned char>((u >> 8) & 0xffu);
}

void putU32(unsigned char* pb, std::uint32_t u) {
    putU16(pb, u & 0xffffu);
    putU16(pb + 2, u >> 16);
}

}  // namespace

void bitmapfileDisplaySetINumElm(const char* szFile, Long iPxDX, Long iPxDY,
                                 const unsigned char* pbBits) {
    VT_ASSERT(iPxDX >= 0 && iPxDX <= iPxMaxBmp && iPxDY >= 0 && iPxDY <= iPxMaxBmp);
    const std::uint32_t nBytBits =
        static_cast<std::uint32_t>(nBytRowBmp(iPxDX)) * static_cast<std::uint32_t>(iPxDY);
    const std::uint32_t nBytOffBits = nBytFileHeaderBmp + nBytInfoHeaderBmp;

    unsigned char arBFileHeader[nBytFileHeaderBmp] = {};
    arBFileHeader[0] = 'B';
    arBFileHeader[1] = 'M';
    putU32(arBFileHeader + 2, nBytOffBits + nBytBits);
    // bytes 6..9: two reserved words, zero
    putU32(arBFileHeader + 10, nBytOffBits);

    unsigned char arBInfoHeader[nBytInfoHeaderBmp] = {};
    putU32(arBInfoHeader + 0, nBytInfoHeaderBmp);
    putU32(arBInfoHeader + 4, static_cast<std::uint32_t>(iPxDX));
    putU32(arBInfoHeader + 8, static_cast<std::uint32_t>(iPxDY));
    putU16(arBInfoHeader + 12, 1);   // planes
    putU16(arBInfoHeader + 14, 24);  // bits per pixel
    // bytes 16..19: compression, 0 = none
    putU32(arBInfoHeader + 20, nBytBits);
    putU32(arBInfoHeader + 24, iPxPerMetreBmp);
    putU32(arBInfoHeader + 28, iPxPerMetreBmp);
    // bytes 32..39: colours used and important, 0 = no palette

    std::FILE* pfile = std::fopen(szFile, "wb");
    if (pfile == nullptr) fatalError("bitmapfileDisplaySetINumElm() couldn't open file");
    // Unbuffered, so that a block the system does not take whole is seen at
    // the write of that block and reported by its own name.
    std::setvbuf(pfile, nullptr, _IONBF, 0);

    if (std::fwrite(arBFileHeader, 1, sizeof arBFileHeader, pfile) != sizeof arBFileHeader)
        fatalError("bitmapfileDisplaySetINumElm() bad write of bmfh");
    if (std::fwrite(arBInfoHeader, 1, sizeof arBInfoHeader, pfile) != sizeof arBInfoHeader)
        fatalError("bitmapfileDisplaySetINumElm() bad write of bmih");
    if (nBytBits > 0 && std::fwrite(pbBits, 1, nBytBits, pfile) != nBytBits)
        fatalError("bitmapfileDisplaySetINumElm() bad write of bits");
    if (std::fclose(pfile) != 0) fatalError("bitmapfileDisplaySetINumElm() bad write of bits");
}

#ifdef VT_HAVE_GL
#include "display/camera.h"
#include "display/glcheck.h"
#include "display/glapi.h"

void captureOpenGLPPaneToBmp(const char* szFile, Pane* ppane) {
    // The pane's corner is where the drawing put its viewport.
    captureOpenGLRectToBmp(szFile, ppane->iPxXL, ppane->iPxYT, ppane->iPxDX, ppane->iPxDY);
}

void captureOpenGLRectToBmp(const char* szFile, Long iPxXL, Long iPxYB, Long iPxDX, Long iPxDY) {
    VT_ASSERT(iPxDX >= 0 && iPxDX <= iPxMaxBmp && iPxDY >= 0 && iPxDY <= iPxMaxBmp);
    // Rows come back bottom-up, blue-green-red, each padded to 4 bytes: the
    // bitmap's own layout, so the buffer goes to the writer unchanged.
    std::vector<unsigned char> arBBits(static_cast<size_t>(nBytRowBmp(iPxDX)) *
                                       static_cast<size_t>(iPxDY));
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glPixelStorei(GL_PACK_ROW_LENGTH, 0);
    glPixelStorei(GL_PACK_SKIP_ROWS, 0);
    glPixelStorei(GL_PACK_SKIP_PIXELS, 0);
    checkGlErrorSzLocation("glPixelStorei()");
    if (!arBBits.empty()) {
        glReadPixels(iPxXL, iPxYB, iPxDX, iPxDY, GL_BGR, GL_UNSIGNED_BYTE, arBBits.data());
        checkGlErrorSzLocation("glReadPixels()");
    }
    bitmapfileDisplaySetINumElm(szFile, iPxDX, iPxDY, arBBits.data());
}
#endif
