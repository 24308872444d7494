// Reports pending OpenGL errors to the run log.
//
// After an OpenGL call (or a short run of them) the drawing code calls
// checkGlErrorSzLocation("glEnd()") with a text naming the call. Every error
// that OpenGL has queued is written to "fe.log" as two time-stamped lines:
//   location = <the text>
//   <the error's text>
// where the error's text is one of
//   "ERROR: OpenGL error -- invalid value", "... invalid enum",
//   "... out of memory", "... stack overflow", "... stack underflow",
//   "... invalid operation", or "warning -- unknown OpenGL error".
// The program goes on after a report; drawing errors never stop it.
//
// Needs a current OpenGL context; without one, nothing is reported.
#pragma once

#include "core/types.h"

// The log text for one OpenGL error code (never null).
const char* szGlErrorText(unsigned int uErr);

// Drains the OpenGL error queue, logging each error as above. Returns the
// number of errors reported (at most 32 per call, so a context that keeps
// reporting cannot hang the caller).
Long nCheckGlErrorSzLocation(const char* szLocation);

inline void checkGlErrorSzLocation(const char* szLocation) {
    (void)nCheckGlErrorSzLocation(szLocation);
}
