// Reports pending OpenGL errors to the run log.
#include "display/glcheck.h"

#include "core/logerror.h"
#include "display/glapi.h"

const char* szGlErrorText(unsigned int uErr) {
    switch (uErr) {
        case GL_INVALID_VALUE: return "ERROR: OpenGL error -- invalid value";
        case GL_INVALID_ENUM: return "ERROR: OpenGL error -- invalid enum";
        case GL_OUT_OF_MEMORY: return "ERROR: OpenGL error -- out of memory";
        case GL_STACK_OVERFLOW: return "ERROR: OpenGL error -- stack overflow";
        case GL_STACK_UNDERFLOW: return "ERROR: OpenGL error -- stack underflow";
        case GL_INVALID_OPERATION: return "ERROR: OpenGL error -- invalid operation";
        default: return "warning -- unknown OpenGL error";
    }
}

Long nCheckGlErrorSzLocation(const char* szLocation) {
    // OpenGL keeps one flag per kind of error, so a handful of reads drains
    // the queue; the bound only guards against a context that never clears.
    const Long nErrMax = 32;
    Long nErr = 0;
    for (GLenum err = glGetError(); err != GL_NO_ERROR && nErr < nErrMax; err = glGetError()) {
        logLineSzFmtSz("location = %s", szLocation);
        logLineSz(szGlErrorText(err));
        ++nErr;
    }
    return nErr;
}
