// The view: current camera, camera history, camera files, drag maths.
#include "display/viewstack.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>

#include "core/logerror.h"

namespace {

constexpr Long iSlotLast = nXfmCFmWStack - 1;
Long iSlotDown(Long i) { return (i == 0) ? iSlotLast : i - 1; }
Long iSlotUp(Long i) { return (i == iSlotLast) ? 0 : i + 1; }

}  // namespace

// ---- the history ----------------------------------------------------------------------

void ViewStack::initXfmCFmWStack() {
    iXfmCFmWStackTop = 0;
    iXfmCFmWStackFirst = iSlotLast;
    iXfmCFmWStackHwm = 0;
}

bool ViewStack::bEmptyXfmCFmWOnStack() const { return iXfmCFmWStackTop == iXfmCFmWStackFirst; }

void ViewStack::pushXfmCFmWToStack(XfmCFmW3c& xfm) {
    arXfmCFmWStack[iXfmCFmWStackTop] = xfm;
    iXfmCFmWStackTop = iSlotDown(iXfmCFmWStackTop);
    iXfmCFmWStackHwm = iXfmCFmWStackTop;
    if (iXfmCFmWStackTop == iXfmCFmWStackFirst) iXfmCFmWStackFirst = iSlotDown(iXfmCFmWStackFirst);
}

// In the three functions below, the statement after cantHappen is never
// reached (cantHappen ends the program); it is kept deliberately, as the
// record of what the stack would hand out if the report ever let the
// program go on: the entry at the bottom slot, with nothing changed.

XfmCFmW3c ViewStack::xfmCFmWPopFromStack() {
    if (bEmptyXfmCFmWOnStack()) {
        cantHappen("stack empty in xfmCFmWPopFromStack()");
        return arXfmCFmWStack[iXfmCFmWStackFirst];
    }
    iXfmCFmWStackTop = iSlotUp(iXfmCFmWStackTop);
    return arXfmCFmWStack[iXfmCFmWStackTop];
}

XfmCFmW3c ViewStack::xfmCFmWTopOfStack() const {
    if (bEmptyXfmCFmWOnStack()) {
        cantHappen("stack empty in xfmCFmWTopOfStack()");
        return arXfmCFmWStack[iXfmCFmWStackFirst];
    }
    return arXfmCFmWStack[iSlotUp(iXfmCFmWStackTop)];
}

bool ViewStack::bXfmCFmWStackRePushPossible() const { return iXfmCFmWStackHwm != iXfmCFmWStackTop; }

XfmCFmW3c ViewStack::xfmCFmWRePushToStack() {
    if (iXfmCFmWStackHwm != iXfmCFmWStackTop) {
        XfmCFmW3c xfm = arXfmCFmWStack[iXfmCFmWStackTop];
        iXfmCFmWStackTop = iSlotDown(iXfmCFmWStackTop);
        return xfm;
    }
    if (!bEmptyXfmCFmWOnStack()) return arXfmCFmWStack[iSlotUp(iXfmCFmWStackTop)];
    cantHappen("nothing available in xfmCFmWRePushToStack()");
    return arXfmCFmWStack[iXfmCFmWStackFirst];
}

// ---- camera files ------------------------------------------------------------------

const Pt3c ptAimDefaultView(15.0, 0.0, 1.0);
const double fDistDefaultView = 180.0;
const Vc3c vcLookDefaultView(-20.0, 150.0, -8.0);
const Vc3c vcUpDefaultView(0.0, 0.0, 1.0);
const double fDXDefaultView = 0.25;
const double fNDefaultView = 1.0;
const double fFDefaultView = 10000.0;

XfmCFmW3c xfmCFmW3cDefaultFm(XfmPFmC3c const& xfmPFmCGiven) {
    Dr3c drLook(vcLookDefaultView);
    Dr3c drUp(vcUpDefaultView);
    Pt3c ptEye = ptAimDefaultView - fDistDefaultView * drLook;
    return xfmCFmW3cMatchArFDX(xfmPFmCGiven, ptEye, drLook, drUp, fDXDefaultView, fNDefaultView,
                               fFDefaultView, 0);
}

void ViewStack::writeViewOut(const char* szFile) const {
    std::FILE* pfile = std::fopen(szFile, "w");
    if (pfile == nullptr) {
        std::fprintf(stderr, "%s: cannot write the camera (%s)\n", szFile, std::strerror(errno));
        return;
    }
    const XfmCFmW3c& x = xfmCFmW;
    std::fprintf(pfile, "%12.5lf %12.5lf %12.5lf\n", x.ptEye.fX, x.ptEye.fY, x.ptEye.fZ);
    std::fprintf(pfile, "%12.5lf %12.5lf %12.5lf\n", x.drLook.fX, x.drLook.fY, x.drLook.fZ);
    std::fprintf(pfile, "%12.5lf %12.5lf %12.5lf\n", x.drUp.fX, x.drUp.fY, x.drUp.fZ);
    std::fprintf(pfile, "%12.5lf %12.5lf %12.5lf\n", x.fR - x.fL, x.fN, x.fF);
    if (std::fclose(pfile) != 0)
        std::fprintf(stderr, "%s: cannot write the camera (%s)\n", szFile, std::strerror(errno));
}

namespace {

// A projection usable for aspect ratios even when the pane has collapsed.
XfmPFmC3c xfmPFmCAtLeastOnePixel(XfmPFmC3c xfm) {
    xfm.fDX = std::max(xfm.fDX, 1.0f);
    xfm.fDY = std::max(xfm.fDY, 1.0f);
    return xfm;
}

bool bAllFinite(X4h const& x4h) {
    for (int r = 1; r <= 4; ++r)
        for (int c = 1; c <= 4; ++c)
            if (!std::isfinite(x4h.mxF[r][c])) return false;
    return true;
}

// Reads and checks the camera file. True with *pxfm filled when the file is
// usable; false otherwise, with *pszProblem saying what was wrong (left
// null when the file does not open, which is normal).
bool bReadViewFile(const char* szFile, XfmPFmC3c const& xfmPFmCPane, XfmCFmW3c* pxfm,
                   const char** pszProblem) {
    *pszProblem = nullptr;
    std::FILE* pfile = std::fopen(szFile, "r");
    if (pfile == nullptr) return false;
    double ar[12];
    bool bRead = true;
    for (int iLine = 0; iLine < 4 && bRead; ++iLine)
        bRead = std::fscanf(pfile, "%lf %lf %lf", &ar[3 * iLine], &ar[3 * iLine + 1],
                            &ar[3 * iLine + 2]) == 3;
    std::fclose(pfile);
    if (!bRead) {
        *pszProblem = "not four lines of three numbers";
        return false;
    }
    for (double f : ar) {
        if (!std::isfinite(f) || std::fabs(f) > 1e9) {
            *pszProblem = "a number that is not finite or is out of range";
            return false;
        }
    }
    const double fLenMin = 1e-9;
    double fLenLook = std::sqrt(ar[3] * ar[3] + ar[4] * ar[4] + ar[5] * ar[5]);
    double fLenUp = std::sqrt(ar[6] * ar[6] + ar[7] * ar[7] + ar[8] * ar[8]);
    if (!(fLenLook >= fLenMin) || !(fLenUp >= fLenMin)) {
        *pszProblem = "a look or up vector of zero length";
        return false;
    }
    Dr3c drLook(ar[3], ar[4], ar[5]);
    Dr3c drUp(ar[6], ar[7], ar[8]);
    if (!(fLenVc(vcCrossDrDr(drLook, drUp)) >= 2e-6)) {
        *pszProblem = "look and up in the same line";
        return false;
    }
    double fDX = ar[9], fN = ar[10], fF = ar[11];
    if (!(fDX >= fLenMin) || !(fN >= 0.0) || !(fF - fN >= fLenMin)) {
        *pszProblem = "a width, near or far distance out of range";
        return false;
    }
    XfmCFmW3c xfm = xfmCFmW3cMatchArFDX(xfmPFmCPane, Pt3c(ar[0], ar[1], ar[2]), drLook, drUp, fDX,
                                        fN, fF, 0);
    if (!bAllFinite(xfm.x4hCFmW)) {
        *pszProblem = "a camera that cannot be computed";
        return false;
    }
    *pxfm = xfm;
    return true;
}

}  // namespace

void ViewStack::readViewInOrDefault(const char* szFile, Pane const& pane) {
    xfmPFmC = xfmPFmC3cFm(pane);
    XfmPFmC3c xfmPFmCUsable = xfmPFmCAtLeastOnePixel(xfmPFmC);
    const char* szProblem = nullptr;
    if (!bReadViewFile(szFile, xfmPFmCUsable, &xfmCFmW, &szProblem)) {
        if (szProblem != nullptr)
            std::fprintf(stderr, "%s: %s; using the default camera\n", szFile, szProblem);
        xfmCFmW = xfmCFmW3cDefaultFm(xfmPFmCUsable);
    }
    pushXfmCFmWToStack(xfmCFmW);
}

void ViewStack::resizeViewForPane(Pane const& pane) {
    if (pane.iPxDX <= 0 || pane.iPxDY <= 0) return;
    xfmPFmC = xfmPFmC3cFm(pane);
    if (xfmCFmW.fR - xfmCFmW.fL > 0.0 && xfmCFmW.fT - xfmCFmW.fB > 0.0)
        xfmCFmW = xfmCFmW3cMatchArAtLeast(xfmCFmW, xfmPFmC);
    else
        xfmCFmW = xfmCFmW3cDefaultFm(xfmPFmC);
    while (!bEmptyXfmCFmWOnStack()) xfmCFmWPopFromStack();
    pushXfmCFmWToStack(xfmCFmW);
}

// ---- mouse navigation ---------------------------------------------------------------

namespace {

constexpr double fPi = std::numbers::pi;
constexpr double fDistLookAtFallback = 180.0;
constexpr double fRdnTiltMargin = fPi / 180.0;
constexpr double fDistZoomMin = 0.01;

XfmCFmW3c xfmRebuilt(XfmCFmW3c const& xfm0, Pt3c ptEye, Dr3c drLook, Dr3c drUp, Pane const& pane) {
    XfmPFmC3c xfmPane = xfmPFmCAtLeastOnePixel(xfmPFmC3cFm(pane));
    return xfmCFmW3cMatchArFDX(xfmPane, ptEye, drLook, drUp, xfm0.fR - xfm0.fL, xfm0.fN, xfm0.fF,
                               xfm0.bOrtho);
}

}  // namespace

Pt3c ptLookAtFmXfmCFmW3c(XfmCFmW3c const& xfm) {
    if (xfm.drLook.fZ != 0.0) {
        double fT = -xfm.ptEye.fZ / xfm.drLook.fZ;
        if (fT > xfm.fN && fT > 0.0 && fT <= xfm.fF) return xfm.ptEye + fT * xfm.drLook;
    }
    return xfm.ptEye + fDistLookAtFallback * xfm.drLook;
}

XfmCFmW3c xfmCFmWTurnedByDrag(XfmCFmW3c const& xfm0, Long iPxDX, Long iPxDY, Pane const& pane) {
    double fPxW = std::max(pane.iPxDX, Long(1));
    Pt3c ptC = ptLookAtFmXfmCFmW3c(xfm0);
    double fDist = fDistPtPt(xfm0.ptEye, ptC);

    // Sideways: the camera swings about the vertical through the look-at
    // point. The frame rotations turn coordinates the other way round, so a
    // motion by fRdnTurn is the frame turn by -fRdnTurn.
    double fRdnTurn = -fPi * iPxDX / fPxW;
    Rcb3c rcbTurn = rcb3cDrAxisFRdn(Dr3c(0.0, 0.0, 1.0), -fRdnTurn);
    Dr3c drLook1 = drRcb(rcbTurn, xfm0.drLook);
    Dr3c drUp1 = drRcb(rcbTurn, xfm0.drUp);

    // Up and down: tilt the look about the camera's horizontal axis, keeping
    // the angle between look and up within [margin, pi - margin].
    Dr3c drRight = drCrossDrDr(drLook1, drUp1);
    double fRdnLookUp = fRdnBetweenDr12(drLook1, drUp1);
    double fRdnLookUpNew = std::clamp(fRdnLookUp + fPi * iPxDY / fPxW, fRdnTiltMargin,
                                      fPi - fRdnTiltMargin);
    double fRdnTilt = fRdnLookUp - fRdnLookUpNew;  // motion about drRight
    Dr3c drLook2 = drRcb(rcb3cDrAxisFRdn(drRight, -fRdnTilt), drLook1);

    Pt3c ptEye = ptC - fDist * drLook2;
    return xfmRebuilt(xfm0, ptEye, drLook2, drUp1, pane);
}

XfmCFmW3c xfmCFmWZoomedByDrag(XfmCFmW3c const& xfm0, Long iPxDY, Pane const& pane) {
    double fPxH = std::max(pane.iPxDY, Long(1));
    Pt3c ptC = ptLookAtFmXfmCFmW3c(xfm0);
    double fDist = fDistPtPt(xfm0.ptEye, ptC);
    double fDistNew = fDist * std::exp(3.0 * iPxDY / fPxH);
    double fDistMin = std::max(2.0 * xfm0.fN, fDistZoomMin);
    double fDistMax = 0.5 * xfm0.fF;
    fDistNew = std::max(fDistNew, std::min(fDist, fDistMin));
    fDistNew = std::min(fDistNew, std::max(fDist, fDistMax));
    Pt3c ptEye = ptC - fDistNew * xfm0.drLook;
    return xfmRebuilt(xfm0, ptEye, xfm0.drLook, xfm0.drUp, pane);
}
