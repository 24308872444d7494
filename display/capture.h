// Pane capture: the pane's pixels as an uncompressed 24-bit bitmap file.
//
// captureOpenGLPPaneToBmp() reads the pane back from the current OpenGL
// frame buffer and hands the pixels to bitmapfileDisplaySetINumElm(), which
// writes the file. The writer needs no OpenGL, so it can be used (and
// tested) with any pixel buffer.
//
// File layout (all numbers little-endian):
//   file header, 14 bytes: "BM", file size, two reserved zero words, offset
//     of the pixels (54);
//   information header, 40 bytes: its own size (40), width, height
//     (positive: rows run bottom-up), planes 1, 24 bits per pixel, no
//     compression, size of the pixel block, 2835 pixels per metre (72 dpi)
//     both ways, no palette;
//   pixel block: height rows from the bottom row up, each width blue-green-red
//     triples padded with zero bytes to a multiple of 4 bytes.
//
// A file that cannot be created, or a header or pixel block that is not
// written whole (a full disk, a size limit), ends the program through
// fatalError with "bitmapfileDisplaySetINumElm() couldn't open file",
// "... bad write of bmfh", "... bad write of bmih" or "... bad write of bits".
#pragma once

#include "core/types.h"

struct Pane;

// Largest width or height the writer accepts (assertion beyond it), which
// keeps every size field of the file well inside 32 bits.
constexpr Long iPxMaxBmp = 16384;

// Bytes in one stored pixel row of a given width: 3 per pixel, padded to a
// multiple of 4.
constexpr Long nBytRowBmp(Long iPxDX) { return (3 * iPxDX + 3) & ~3; }

// Writes the bitmap file szFile (created or truncated). pbBits holds iPxDY
// rows of nBytRowBmp(iPxDX) bytes each, bottom row first, blue-green-red --
// exactly what glReadPixels gives with GL_BGR, GL_UNSIGNED_BYTE and a pack
// alignment of 4. The caller keeps ownership of pbBits. Widths and heights
// must lie in 0..iPxMaxBmp (assertion).
void bitmapfileDisplaySetINumElm(const char* szFile, Long iPxDX, Long iPxDY,
                                 const unsigned char* pbBits);

// Reads the pane's iPxDX by iPxDY pixels from the current read buffer of
// the current OpenGL context and writes them to szFile as above. The pane's
// corner (iPxXL, iPxYT) is taken where the scene drawing puts its viewport:
// as the lower-left pixel in OpenGL's window coordinates (the program's
// panes fill their drawable and start at 0, 0). OpenGL errors of the
// read-back are reported to the log; the file is written in any case.
void captureOpenGLPPaneToBmp(const char* szFile, Pane* ppane);

// The same for a rectangle given by its lower-left pixel (OpenGL window
// coordinates) and its size.
void captureOpenGLRectToBmp(const char* szFile, Long iPxXL, Long iPxYB, Long iPxDX, Long iPxDY);
