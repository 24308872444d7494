// The scene of the program window as the display flags choose it, shared by
// the window's paint and the batch mode's offscreen capture.
#pragma once

#include "display/camera.h"

// Draws one frame into the current OpenGL context: the current state while
// bDisplayState or bDisplayRunPath is set, otherwise the whole stored run
// when bDisplayPath is set.
void drawCurrentScene(Pane* ppane);

// Renders the scene with no display server into an offscreen buffer of the
// given size and writes it to szFile as a 24-bit bitmap. The camera is the
// one saved in "view.in", or the default camera. Returns false, having logged
// why, when no OpenGL rendering can be had.
bool bCaptureSceneOffscreen(const char* szFile, int iPxDX, int iPxDY);
