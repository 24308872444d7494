// The OpenGL and EGL functions the drawing code calls, taken from the
// system's libraries when the first of them is called.
//
// Only the capture and the window draw. Loading the OpenGL libraries with
// the program cost a batch run that draws nothing about a fifth of its
// process time, so such a run never loads them. Each name below stands for
// the library's own function, called with the same arguments. A library
// that cannot be loaded, or lacks one of the functions, is a fatal error
// naming it. Safe to call from several threads (the loading is done once).
//
// Include this header instead of the OpenGL and EGL headers, and after any
// other header that includes them.
#pragma once

// No display server: keep the X11 headers (and their macros) out.
#define EGL_NO_X11
#define MESA_EGL_NO_X11_HEADERS
#include <EGL/egl.h>
#include <EGL/eglext.h>

#define GL_GLEXT_PROTOTYPES
#include <GL/gl.h>
#include <GL/glext.h>

struct GlApi {
    decltype(&::glBegin) glBegin_;
    decltype(&::glBindBuffer) glBindBuffer_;
    decltype(&::glBindFramebuffer) glBindFramebuffer_;
    decltype(&::glBindRenderbuffer) glBindRenderbuffer_;
    decltype(&::glBitmap) glBitmap_;
    decltype(&::glCheckFramebufferStatus) glCheckFramebufferStatus_;
    decltype(&::glClear) glClear_;
    decltype(&::glClearColor) glClearColor_;
    decltype(&::glClearDepth) glClearDepth_;
    decltype(&::glColor3fv) glColor3fv_;
    decltype(&::glColorMask) glColorMask_;
    decltype(&::glColorPointer) glColorPointer_;
    decltype(&::glDeleteFramebuffers) glDeleteFramebuffers_;
    decltype(&::glDeleteRenderbuffers) glDeleteRenderbuffers_;
    decltype(&::glDepthFunc) glDepthFunc_;
    decltype(&::glDepthMask) glDepthMask_;
    decltype(&::glDisable) glDisable_;
    decltype(&::glDisableClientState) glDisableClientState_;
    decltype(&::glDrawArrays) glDrawArrays_;
    decltype(&::glDrawBuffer) glDrawBuffer_;
    decltype(&::glEnable) glEnable_;
    decltype(&::glEnableClientState) glEnableClientState_;
    decltype(&::glEnd) glEnd_;
    decltype(&::glFinish) glFinish_;
    decltype(&::glFlush) glFlush_;
    decltype(&::glFramebufferRenderbuffer) glFramebufferRenderbuffer_;
    decltype(&::glGenFramebuffers) glGenFramebuffers_;
    decltype(&::glGenRenderbuffers) glGenRenderbuffers_;
    decltype(&::glGetError) glGetError_;
    decltype(&::glLightModelfv) glLightModelfv_;
    decltype(&::glLightf) glLightf_;
    decltype(&::glLightfv) glLightfv_;
    decltype(&::glLineStipple) glLineStipple_;
    decltype(&::glLineWidth) glLineWidth_;
    decltype(&::glLoadIdentity) glLoadIdentity_;
    decltype(&::glLoadMatrixd) glLoadMatrixd_;
    decltype(&::glMaterialf) glMaterialf_;
    decltype(&::glMaterialfv) glMaterialfv_;
    decltype(&::glMatrixMode) glMatrixMode_;
    decltype(&::glNormal3d) glNormal3d_;
    decltype(&::glNormalPointer) glNormalPointer_;
    decltype(&::glPixelStorei) glPixelStorei_;
    decltype(&::glPolygonMode) glPolygonMode_;
    decltype(&::glPolygonOffset) glPolygonOffset_;
    decltype(&::glPopClientAttrib) glPopClientAttrib_;
    decltype(&::glPopMatrix) glPopMatrix_;
    decltype(&::glPushClientAttrib) glPushClientAttrib_;
    decltype(&::glPushMatrix) glPushMatrix_;
    decltype(&::glRasterPos3d) glRasterPos3d_;
    decltype(&::glReadBuffer) glReadBuffer_;
    decltype(&::glReadPixels) glReadPixels_;
    decltype(&::glRenderbufferStorage) glRenderbufferStorage_;
    decltype(&::glShadeModel) glShadeModel_;
    decltype(&::glVertex3d) glVertex3d_;
    decltype(&::glVertexPointer) glVertexPointer_;
    decltype(&::glViewport) glViewport_;
    decltype(&::eglBindAPI) eglBindAPI_;
    decltype(&::eglChooseConfig) eglChooseConfig_;
    decltype(&::eglCreateContext) eglCreateContext_;
    decltype(&::eglDestroyContext) eglDestroyContext_;
    decltype(&::eglGetConfigAttrib) eglGetConfigAttrib_;
    decltype(&::eglGetError) eglGetError_;
    decltype(&::eglGetProcAddress) eglGetProcAddress_;
    decltype(&::eglInitialize) eglInitialize_;
    decltype(&::eglMakeCurrent) eglMakeCurrent_;
    decltype(&::eglQueryString) eglQueryString_;
};

// Fills an interface from the libraries (the loading behind glApi).
GlApi glApiLoaded();

inline GlApi const& glApi() {
    static const GlApi api = glApiLoaded();
    return api;
}

#define glBegin glApi().glBegin_
#define glBindBuffer glApi().glBindBuffer_
#define glBindFramebuffer glApi().glBindFramebuffer_
#define glBindRenderbuffer glApi().glBindRenderbuffer_
#define glBitmap glApi().glBitmap_
#define glCheckFramebufferStatus glApi().glCheckFramebufferStatus_
#define glClear glApi().glClear_
#define glClearColor glApi().glClearColor_
#define glClearDepth glApi().glClearDepth_
#define glColor3fv glApi().glColor3fv_
#define glColorMask glApi().glColorMask_
#define glColorPointer glApi().glColorPointer_
#define glDeleteFramebuffers glApi().glDeleteFramebuffers_
#define glDeleteRenderbuffers glApi().glDeleteRenderbuffers_
#define glDepthFunc glApi().glDepthFunc_
#define glDepthMask glApi().glDepthMask_
#define glDisable glApi().glDisable_
#define glDisableClientState glApi().glDisableClientState_
#define glDrawArrays glApi().glDrawArrays_
#define glDrawBuffer glApi().glDrawBuffer_
#define glEnable glApi().glEnable_
#define glEnableClientState glApi().glEnableClientState_
#define glEnd glApi().glEnd_
#define glFinish glApi().glFinish_
#define glFlush glApi().glFlush_
#define glFramebufferRenderbuffer glApi().glFramebufferRenderbuffer_
#define glGenFramebuffers glApi().glGenFramebuffers_
#define glGenRenderbuffers glApi().glGenRenderbuffers_
#define glGetError glApi().glGetError_
#define glLightModelfv glApi().glLightModelfv_
#define glLightf glApi().glLightf_
#define glLightfv glApi().glLightfv_
#define glLineStipple glApi().glLineStipple_
#define glLineWidth glApi().glLineWidth_
#define glLoadIdentity glApi().glLoadIdentity_
#define glLoadMatrixd glApi().glLoadMatrixd_
#define glMaterialf glApi().glMaterialf_
#define glMaterialfv glApi().glMaterialfv_
#define glMatrixMode glApi().glMatrixMode_
#define glNormal3d glApi().glNormal3d_
#define glNormalPointer glApi().glNormalPointer_
#define glPixelStorei glApi().glPixelStorei_
#define glPolygonMode glApi().glPolygonMode_
#define glPolygonOffset glApi().glPolygonOffset_
#define glPopClientAttrib glApi().glPopClientAttrib_
#define glPopMatrix glApi().glPopMatrix_
#define glPushClientAttrib glApi().glPushClientAttrib_
#define glPushMatrix glApi().glPushMatrix_
#define glRasterPos3d glApi().glRasterPos3d_
#define glReadBuffer glApi().glReadBuffer_
#define glReadPixels glApi().glReadPixels_
#define glRenderbufferStorage glApi().glRenderbufferStorage_
#define glShadeModel glApi().glShadeModel_
#define glVertex3d glApi().glVertex3d_
#define glVertexPointer glApi().glVertexPointer_
#define glViewport glApi().glViewport_
#define eglBindAPI glApi().eglBindAPI_
#define eglChooseConfig glApi().eglChooseConfig_
#define eglCreateContext glApi().eglCreateContext_
#define eglDestroyContext glApi().eglDestroyContext_
#define eglGetConfigAttrib glApi().eglGetConfigAttrib_
#define eglGetError glApi().eglGetError_
#define eglGetProcAddress glApi().eglGetProcAddress_
#define eglInitialize glApi().eglInitialize_
#define eglMakeCurrent glApi().eglMakeCurrent_
#define eglQueryString glApi().eglQueryString_
