// The OpenGL and EGL functions loaded on first use (see glapi.h).
#include "display/glapi.h"

#ifdef VT_HAVE_GL

#include "core/lapackld.h"

namespace {

// OpenGL's dispatch state is shared with any context the program already
// made (the window's), so its libraries take the usual symbol order.
template <class Fn>
void take(Fn* pfn, const char* szLib, const char* szFn) {
    *pfn = fnOfSharedLib<Fn>(szLib, szFn, false);
}

}  // namespace

GlApi glApiLoaded() {
    GlApi api;
    take(&api.glBegin_, VT_OPENGL_SONAME, "glBegin");
    take(&api.glBindBuffer_, VT_OPENGL_SONAME, "glBindBuffer");
    take(&api.glBindFramebuffer_, VT_OPENGL_SONAME, "glBindFramebuffer");
    take(&api.glBindRenderbuffer_, VT_OPENGL_SONAME, "glBindRenderbuffer");
    take(&api.glBitmap_, VT_OPENGL_SONAME, "glBitmap");
    take(&api.glCheckFramebufferStatus_, VT_OPENGL_SONAME, "glCheckFramebufferStatus");
    take(&api.glClear_, VT_OPENGL_SONAME, "glClear");
    take(&api.glClearColor_, VT_OPENGL_SONAME, "glClearColor");
    take(&api.glClearDepth_, VT_OPENGL_SONAME, "glClearDepth");
    take(&api.glColor3fv_, VT_OPENGL_SONAME, "glColor3fv");
    take(&api.glColorMask_, VT_OPENGL_SONAME, "glColorMask");
    take(&api.glColorPointer_, VT_OPENGL_SONAME, "glColorPointer");
    take(&api.glDeleteFramebuffers_, VT_OPENGL_SONAME, "glDeleteFramebuffers");
    take(&api.glDeleteRenderbuffers_, VT_OPENGL_SONAME, "glDeleteRenderbuffers");
    take(&api.glDepthFunc_, VT_OPENGL_SONAME, "glDepthFunc");
    take(&api.glDepthMask_, VT_OPENGL_SONAME, "glDepthMask");
    take(&api.glDisable_, VT_OPENGL_SONAME, "glDisable");
    take(&api.glDisableClientState_, VT_OPENGL_SONAME, "glDisableClientState");
    take(&api.glDrawArrays_, VT_OPENGL_SONAME, "glDrawArrays");
    take(&api.glDrawBuffer_, VT_OPENGL_SONAME, "glDrawBuffer");
    take(&api.glEnable_, VT_OPENGL_SONAME, "glEnable");
    take(&api.glEnableClientState_, VT_OPENGL_SONAME, "glEnableClientState");
    take(&api.glEnd_, VT_OPENGL_SONAME, "glEnd");
    take(&api.glFinish_, VT_OPENGL_SONAME, "glFinish");
    take(&api.glFlush_, VT_OPENGL_SONAME, "glFlush");
    take(&api.glFramebufferRenderbuffer_, VT_OPENGL_SONAME, "glFramebufferRenderbuffer");
    take(&api.glGenFramebuffers_, VT_OPENGL_SONAME, "glGenFramebuffers");
    take(&api.glGenRenderbuffers_, VT_OPENGL_SONAME, "glGenRenderbuffers");
    take(&api.glGetError_, VT_OPENGL_SONAME, "glGetError");
    take(&api.glLightModelfv_, VT_OPENGL_SONAME, "glLightModelfv");
    take(&api.glLightf_, VT_OPENGL_SONAME, "glLightf");
    take(&api.glLightfv_, VT_OPENGL_SONAME, "glLightfv");
    take(&api.glLineStipple_, VT_OPENGL_SONAME, "glLineStipple");
    take(&api.glLineWidth_, VT_OPENGL_SONAME, "glLineWidth");
    take(&api.glLoadIdentity_, VT_OPENGL_SONAME, "glLoadIdentity");
    take(&api.glLoadMatrixd_, VT_OPENGL_SONAME, "glLoadMatrixd");
    take(&api.glMaterialf_, VT_OPENGL_SONAME, "glMaterialf");
    take(&api.glMaterialfv_, VT_OPENGL_SONAME, "glMaterialfv");
    take(&api.glMatrixMode_, VT_OPENGL_SONAME, "glMatrixMode");
    take(&api.glNormal3d_, VT_OPENGL_SONAME, "glNormal3d");
    take(&api.glNormalPointer_, VT_OPENGL_SONAME, "glNormalPointer");
    take(&api.glPixelStorei_, VT_OPENGL_SONAME, "glPixelStorei");
    take(&api.glPolygonMode_, VT_OPENGL_SONAME, "glPolygonMode");
    take(&api.glPolygonOffset_, VT_OPENGL_SONAME, "glPolygonOffset");
    take(&api.glPopClientAttrib_, VT_OPENGL_SONAME, "glPopClientAttrib");
    take(&api.glPopMatrix_, VT_OPENGL_SONAME, "glPopMatrix");
    take(&api.glPushClientAttrib_, VT_OPENGL_SONAME, "glPushClientAttrib");
    take(&api.glPushMatrix_, VT_OPENGL_SONAME, "glPushMatrix");
    take(&api.glRasterPos3d_, VT_OPENGL_SONAME, "glRasterPos3d");
    take(&api.glReadBuffer_, VT_OPENGL_SONAME, "glReadBuffer");
    take(&api.glReadPixels_, VT_OPENGL_SONAME, "glReadPixels");
    take(&api.glRenderbufferStorage_, VT_OPENGL_SONAME, "glRenderbufferStorage");
    take(&api.glShadeModel_, VT_OPENGL_SONAME, "glShadeModel");
    take(&api.glVertex3d_, VT_OPENGL_SONAME, "glVertex3d");
    take(&api.glVertexPointer_, VT_OPENGL_SONAME, "glVertexPointer");
    take(&api.glViewport_, VT_OPENGL_SONAME, "glViewport");
    take(&api.eglBindAPI_, VT_EGL_SONAME, "eglBindAPI");
    take(&api.eglChooseConfig_, VT_EGL_SONAME, "eglChooseConfig");
    take(&api.eglCreateContext_, VT_EGL_SONAME, "eglCreateContext");
    take(&api.eglDestroyContext_, VT_EGL_SONAME, "eglDestroyContext");
    take(&api.eglGetConfigAttrib_, VT_EGL_SONAME, "eglGetConfigAttrib");
    take(&api.eglGetError_, VT_EGL_SONAME, "eglGetError");
    take(&api.eglGetProcAddress_, VT_EGL_SONAME, "eglGetProcAddress");
    take(&api.eglInitialize_, VT_EGL_SONAME, "eglInitialize");
    take(&api.eglMakeCurrent_, VT_EGL_SONAME, "eglMakeCurrent");
    take(&api.eglQueryString_, VT_EGL_SONAME, "eglQueryString");
    return api;
}

#endif
