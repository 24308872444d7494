// Offscreen OpenGL on Mesa's surfaceless EGL platform, into a framebuffer
// object.
#include "display/offscreen.h"

#ifdef VT_HAVE_GL

#include <cstring>

#include "core/logerror.h"
#include "display/capture.h"
#include "display/glcheck.h"
#include "display/glapi.h"

namespace {

void logEglFailure(const char* szWhat) {
    logLineSzFmtU("ERROR: Windows error %u", static_cast<ULong>(eglGetError()));
    logLineSzFmtSz("       offscreen OpenGL: %s", szWhat);
}

bool bExtensionIn(const char* szList, const char* szExt) {
    if (szList == nullptr) return false;
    const size_t nCh = std::strlen(szExt);
    for (const char* pch = szList; (pch = std::strstr(pch, szExt)) != nullptr; pch += nCh) {
        const bool bStart = (pch == szList) || pch[-1] == ' ';
        const bool bEnd = pch[nCh] == '\0' || pch[nCh] == ' ';
        if (bStart && bEnd) return true;
    }
    return false;
}

EGLDisplay pdisplayInit() {
    const char* szClientExt = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
    if (!bExtensionIn(szClientExt, "EGL_MESA_platform_surfaceless")) {
        logEglFailure("no surfaceless EGL platform");
        return EGL_NO_DISPLAY;
    }
    auto pfnGetPlatformDisplay = reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(
        eglGetProcAddress("eglGetPlatformDisplayEXT"));
    if (pfnGetPlatformDisplay == nullptr) {
        logEglFailure("eglGetPlatformDisplayEXT missing");
        return EGL_NO_DISPLAY;
    }
    EGLDisplay pdisplay =
        pfnGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    if (pdisplay == EGL_NO_DISPLAY) {
        logEglFailure("eglGetPlatformDisplayEXT()");
        return EGL_NO_DISPLAY;
    }
    EGLint iMajor = 0;
    EGLint iMinor = 0;
    if (eglInitialize(pdisplay, &iMajor, &iMinor) != EGL_TRUE) {
        logEglFailure("eglInitialize()");
        return EGL_NO_DISPLAY;
    }
    return pdisplay;
}

// The EGL display is one per process (the driver hands out the same one
// for the same platform), initialised by the first OffscreenGl and kept
// until the process ends: terminating it would unload the driver, and
// opening again would load it again (tens of milliseconds), while what the
// driver keeps for the display would no longer be reachable. Fixed once
// taken: a process whose first attempt failed has no offscreen drawing.
EGLDisplay pdisplayAcquire() {
    static const EGLDisplay pdisplay = pdisplayInit();
    return pdisplay;
}

// A context of the compatibility profile, of whatever version the driver
// gives. Asking for 3.0 or more would get a core context, in which nothing
// fixed-function draws.
EGLContext pcontextCreate(EGLDisplay pdisplay, EGLConfig config) {
    const EGLint arIAttrCompat[] = {EGL_CONTEXT_OPENGL_PROFILE_MASK,
                                    EGL_CONTEXT_OPENGL_COMPATIBILITY_PROFILE_BIT, EGL_NONE};
    EGLContext pcontext = eglCreateContext(pdisplay, config, EGL_NO_CONTEXT, arIAttrCompat);
    if (pcontext == EGL_NO_CONTEXT) {
        // Older EGL without the profile attribute: its default context is a
        // compatibility one anyway.
        pcontext = eglCreateContext(pdisplay, config, EGL_NO_CONTEXT, nullptr);
    }
    return pcontext;
}

bool bChooseConfig(EGLDisplay pdisplay, EGLConfig* pconfig) {
    // 8-8-8-8 chosen explicitly: the surfaceless platform also offers
    // 5-6-5 and 10-10-10-2 configurations, and we read the pixels back as
    // bytes.
    const EGLint arIAttrPbuffer[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RED_SIZE, 8,
                                     EGL_GREEN_SIZE, 8, EGL_BLUE_SIZE, 8, EGL_ALPHA_SIZE, 8,
                                     EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
    const EGLint arIAttrAny[] = {EGL_SURFACE_TYPE, 0, EGL_RED_SIZE, 8, EGL_GREEN_SIZE, 8,
                                 EGL_BLUE_SIZE, 8, EGL_ALPHA_SIZE, 8, EGL_RENDERABLE_TYPE,
                                 EGL_OPENGL_BIT, EGL_NONE};
    for (const EGLint* piAttr : {arIAttrPbuffer, arIAttrAny}) {
        EGLConfig arConfig[64];
        EGLint nConfig = 0;
        if (eglChooseConfig(pdisplay, piAttr, arConfig, 64, &nConfig) != EGL_TRUE) continue;
        // eglChooseConfig sorts deeper colour first; take the first exact
        // 8-8-8-8 one.
        for (EGLint i = 0; i < nConfig; ++i) {
            EGLint iR = 0, iG = 0, iB = 0, iA = 0;
            eglGetConfigAttrib(pdisplay, arConfig[i], EGL_RED_SIZE, &iR);
            eglGetConfigAttrib(pdisplay, arConfig[i], EGL_GREEN_SIZE, &iG);
            eglGetConfigAttrib(pdisplay, arConfig[i], EGL_BLUE_SIZE, &iB);
            eglGetConfigAttrib(pdisplay, arConfig[i], EGL_ALPHA_SIZE, &iA);
            if (iR == 8 && iG == 8 && iB == 8 && iA == 8) {
                *pconfig = arConfig[i];
                return true;
            }
        }
    }
    return false;
}

}  // namespace

OffscreenGl::~OffscreenGl() { close(); }

bool OffscreenGl::bOpen(Long iPxDX, Long iPxDY) {
    close();
    if (iPxDX < 1 || iPxDX > iPxMaxBmp || iPxDY < 1 || iPxDY > iPxMaxBmp) {
        logLineSzFmtII("ERROR: offscreen OpenGL: bad size %i x %i", iPxDX, iPxDY);
        return false;
    }
    EGLDisplay pdisplay = pdisplayAcquire();
    if (pdisplay == EGL_NO_DISPLAY) return false;
    if (eglBindAPI(EGL_OPENGL_API) != EGL_TRUE) {
        logEglFailure("eglBindAPI(EGL_OPENGL_API)");
        return false;
    }
    EGLConfig config = nullptr;
    if (!bChooseConfig(pdisplay, &config)) {
        logEglFailure("no 8-8-8-8 OpenGL configuration");
        return false;
    }
    EGLContext pcontext = pcontextCreate(pdisplay, config);
    if (pcontext == EGL_NO_CONTEXT) {
        logEglFailure("eglCreateContext()");
        return false;
    }
    if (eglMakeCurrent(pdisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, pcontext) != EGL_TRUE) {
        logEglFailure("eglMakeCurrent()");
        eglDestroyContext(pdisplay, pcontext);
        return false;
    }
    _pvDisplay = pdisplay;
    _pvContext = pcontext;
    _iPxDX = iPxDX;
    _iPxDY = iPxDY;

    glGenFramebuffers(1, &_uFbo);
    glBindFramebuffer(GL_FRAMEBUFFER, _uFbo);
    glGenRenderbuffers(1, &_uRbColour);
    glBindRenderbuffer(GL_RENDERBUFFER, _uRbColour);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, iPxDX, iPxDY);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, _uRbColour);
    glGenRenderbuffers(1, &_uRbDepth);
    glBindRenderbuffer(GL_RENDERBUFFER, _uRbDepth);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT24, iPxDX, iPxDY);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, _uRbDepth);
    checkGlErrorSzLocation("glFramebufferRenderbuffer()");
    const GLenum uStatus = glCheckFramebufferStatus(GL_FRAMEBUFFER);
    if (uStatus != GL_FRAMEBUFFER_COMPLETE) {
        logLineSzFmtU("ERROR: Windows error %u", static_cast<ULong>(uStatus));
        logLineSz("       offscreen OpenGL: framebuffer incomplete");
        close();
        return false;
    }
    glDrawBuffer(GL_COLOR_ATTACHMENT0);
    glReadBuffer(GL_COLOR_ATTACHMENT0);
    glViewport(0, 0, iPxDX, iPxDY);
    checkGlErrorSzLocation("glViewport()");
    return true;
}

void OffscreenGl::makeCurrent() {
    if (!bIsOpen()) return;
    if (eglMakeCurrent(_pvDisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, _pvContext) != EGL_TRUE) {
        logEglFailure("eglMakeCurrent()");
        return;
    }
    glBindFramebuffer(GL_FRAMEBUFFER, _uFbo);
}

void OffscreenGl::close() {
    if (!bIsOpen()) return;
    if (eglMakeCurrent(_pvDisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, _pvContext) == EGL_TRUE) {
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        if (_uRbDepth != 0) glDeleteRenderbuffers(1, &_uRbDepth);
        if (_uRbColour != 0) glDeleteRenderbuffers(1, &_uRbColour);
        if (_uFbo != 0) glDeleteFramebuffers(1, &_uFbo);
    }
    eglMakeCurrent(_pvDisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroyContext(_pvDisplay, _pvContext);
    _pvDisplay = nullptr;
    _pvContext = nullptr;
    _uFbo = _uRbColour = _uRbDepth = 0;
    _iPxDX = _iPxDY = 0;
}

bool bRenderOffscreenToBmp(const char* szFile, Long iPxDX, Long iPxDY,
                           const std::function<void()>& draw) {
    OffscreenGl offscreengl;
    if (!offscreengl.bOpen(iPxDX, iPxDY)) return false;
    draw();
    glFinish();
    checkGlErrorSzLocation("glFinish()");
    captureOpenGLRectToBmp(szFile, 0, 0, iPxDX, iPxDY);
    return true;
}

#else  // no OpenGL in this build

#include "core/logerror.h"

OffscreenGl::~OffscreenGl() = default;
bool OffscreenGl::bOpen(Long, Long) {
    logLineSzFmtU("ERROR: Windows error %u", 0);
    logLineSz("       offscreen OpenGL: built without OpenGL");
    return false;
}
void OffscreenGl::makeCurrent() {}
void OffscreenGl::close() {}
bool bRenderOffscreenToBmp(const char*, Long, Long, const std::function<void()>&) {
    OffscreenGl offscreengl;
    return offscreengl.bOpen(1, 1);
}

#endif
