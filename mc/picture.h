// The picture of a landing-dispersion campaign: the rest points over the
// terrain profile, as a PNG image (1200 x 900 pixels).
//
// Upper panel: the whole hop, the ground's profile in the x-z plane (the
// scenario's ground polygons cut at y = 0), every rest point (green: upright,
// red: not upright), the planned end point as a blue cross; one metre is as
// long across as up. Rest points more than 200 m from the planned end point
// are left out of that panel (the caption says how many). Lower panel: a
// close-up around the planned end point, same colours, with the R50 and R95
// circles.
//
// Drawn with Qt's raster painter on the "offscreen" platform: no display is
// needed. The first call creates the program's Qt application object, which
// lives until the process ends. Builds without Qt write no picture: the call
// returns false with a message saying so.
#pragma once

#include <string>

#include "mc/campaign.h"

// Whether this build can draw the picture.
bool bMcPictureAvailable();

bool bWriteMcPicture(const char* szFile, A1Val<void*>* parPArPPtVtxPgnGnd,
                     const McRunResult* arResult, Long n, double fXfRef,
                     double fZfRef, double fR50, double fR95, std::string* pszErr);
