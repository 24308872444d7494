// Rendering with no display server: an OpenGL context on Mesa's surfaceless
// EGL platform, drawing into a framebuffer object of a fixed size.
//
// Used by the batch command `c` and by tests and benchmarks. The context is
// a compatibility-profile one, so the fixed-function drawing of the scene
// works as it does in the window. After bOpen() succeeds the context is
// current on the calling thread with the framebuffer object bound for both
// drawing and reading (colour 8-8-8-8, depth 24 bits) and the viewport set
// to the whole buffer.
//
// Failures never crash: each failing step writes "ERROR: Windows error %u"
// with the EGL error number (or the framebuffer status) and a line naming
// the step to the run log, and bOpen() returns false.
//
// Only one OffscreenGl is current at a time on a thread. The EGL display is
// shared by all of them and stays initialised until the process ends (the
// driver is loaded once).
#pragma once

#include <functional>

#include "core/types.h"

class OffscreenGl {
public:
    OffscreenGl() = default;
    ~OffscreenGl();
    OffscreenGl(OffscreenGl const&) = delete;
    OffscreenGl& operator=(OffscreenGl const&) = delete;

    // Creates the context and a framebuffer of iPxDX by iPxDY pixels (each
    // 1..16384) and makes it current. An open object is closed first.
    bool bOpen(Long iPxDX, Long iPxDY);
    // Makes the context current again and binds its framebuffer.
    void makeCurrent();
    // Releases the framebuffer and the context (no-op when not open).
    void close();

    bool bIsOpen() const { return _pvContext != nullptr; }
    Long iPxDX() const { return _iPxDX; }
    Long iPxDY() const { return _iPxDY; }

private:
    void* _pvDisplay = nullptr;  // EGLDisplay
    void* _pvContext = nullptr;  // EGLContext
    unsigned int _uFbo = 0;
    unsigned int _uRbColour = 0;
    unsigned int _uRbDepth = 0;
    Long _iPxDX = 0;
    Long _iPxDY = 0;
};

// Opens an offscreen context of iPxDX by iPxDY pixels, calls draw() (which
// draws into the current context, e.g. through displayStInPane with a pane
// of that size), and writes the result to the bitmap file szFile with
// captureOpenGLPPaneToBmp (whose fatal errors apply). Returns false, having
// logged why, when no offscreen context can be had; nothing is written then.
bool bRenderOffscreenToBmp(const char* szFile, Long iPxDX, Long iPxDY,
                           const std::function<void()>& draw);
