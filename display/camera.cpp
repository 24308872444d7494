// Camera (world to normalised view) and pane transforms.
#include "display/camera.h"

#include "core/logerror.h"

XfmCFmW3c::XfmCFmW3c()
    : ptEye(),
      drLook(),
      drUp(),
      fL(0.0),
      fR(0.0),
      fB(0.0),
      fT(0.0),
      fN(0.0),
      fF(0.0),
      bOrtho(false),
      x4hCFmW() {}

XfmCFmW3c xfmCFmW3cFm(Pt3c ptEye, Dr3c drLook, Dr3c drUp, double fL, double fR, double fB,
                      double fT, double fN, double fF, unsigned char bOrtho) {
    // Written as negations so that NaN bounds are refused too.
    if (!(fR - fL > 0.0) || !(fT - fB > 0.0) || !(fN >= 0.0) || !(fF >= fN))
        cantHappen("invalid parameter in xfmCFmW3cFm()");

    X4h x4hT = x4hTrans(ptEye.fX, ptEye.fY, ptEye.fZ);
    X4h x4hR = x4hRotDrZYNew(-drLook, drUp);

    double arP[4][4] = {};
    if (!bOrtho) {
        arP[0][0] = 2.0 * fN / (fR - fL);
        arP[0][2] = (fR + fL) / (fR - fL);
        arP[1][1] = 2.0 * fN / (fT - fB);
        arP[1][2] = (fT + fB) / (fT - fB);
        arP[2][2] = -(fF + fN) / (fF - fN);
        arP[2][3] = -2.0 * fF * fN / (fF - fN);
        arP[3][2] = -1.0;
    } else {
        arP[0][0] = 2.0 / (fR - fL);
        arP[0][3] = -(fR + fL) / (fR - fL);
        arP[1][1] = 2.0 / (fT - fB);
        arP[1][3] = -(fT + fB) / (fT - fB);
        arP[2][2] = -2.0 / (fF - fN);
        arP[2][3] = -(fF + fN) / (fF - fN);
        arP[3][3] = 1.0;
    }
    X4h x4hP(arP);

    XfmCFmW3c xfm;
    xfm.ptEye = ptEye;
    xfm.drLook = drLook;
    xfm.drUp = drUp;
    xfm.fL = fL;
    xfm.fR = fR;
    xfm.fB = fB;
    xfm.fT = fT;
    xfm.fN = fN;
    xfm.fF = fF;
    xfm.bOrtho = bOrtho != 0;
    xfm.x4hCFmW = x4hP * x4hR * x4hT;
    return xfm;
}

XfmPFmC3c xfmPFmC3cFm(double fXMin, double fYMin, double fDX, double fDY) {
    XfmPFmC3c xfm;
    xfm.fXMin = static_cast<float>(fXMin);
    xfm.fYMin = static_cast<float>(fYMin);
    xfm.fDX = static_cast<float>(fDX);
    xfm.fDY = static_cast<float>(fDY);
    return xfm;
}

XfmPFmC3c xfmPFmC3cFm(Pane const& pane) {
    return xfmPFmC3cFm(pane.iPxXL, pane.iPxYT, pane.iPxDX, pane.iPxDY);
}

XfmCFmW3c xfmCFmW3cMatchArFDX(XfmPFmC3c const& xfmPFmC, Pt3c ptEye, Dr3c drLook, Dr3c drUp,
                              double fDX, double fN, double fF, unsigned char bOrtho) {
    double fDY = fDX * (static_cast<double>(xfmPFmC.fDY) / static_cast<double>(xfmPFmC.fDX));
    return xfmCFmW3cFm(ptEye, drLook, drUp, -fDX / 2.0, fDX / 2.0, -fDY / 2.0, fDY / 2.0, fN, fF,
                       bOrtho);
}

XfmCFmW3c xfmCFmW3cMatchArFDY(XfmPFmC3c const& xfmPFmC, Pt3c ptEye, Dr3c drLook, Dr3c drUp,
                              double fDY, double fN, double fF, unsigned char bOrtho) {
    double fDX = fDY * (static_cast<double>(xfmPFmC.fDX) / static_cast<double>(xfmPFmC.fDY));
    return xfmCFmW3cFm(ptEye, drLook, drUp, -fDX / 2.0, fDX / 2.0, -fDY / 2.0, fDY / 2.0, fN, fF,
                       bOrtho);
}

namespace {

// The same camera with a window of the given size about the old centre.
XfmCFmW3c xfmCFmW3cResized(XfmCFmW3c const& xfm, double fDX, double fDY) {
    double fXC = 0.5 * (xfm.fL + xfm.fR);
    double fYC = 0.5 * (xfm.fB + xfm.fT);
    return xfmCFmW3cFm(xfm.ptEye, xfm.drLook, xfm.drUp, fXC - 0.5 * fDX, fXC + 0.5 * fDX,
                       fYC - 0.5 * fDY, fYC + 0.5 * fDY, xfm.fN, xfm.fF, xfm.bOrtho);
}

}  // namespace

XfmCFmW3c xfmCFmW3cMatchArAtLeast(XfmCFmW3c const& xfmCFmW, XfmPFmC3c const& xfmPFmC) {
    double fAr = static_cast<double>(xfmPFmC.fDY) / static_cast<double>(xfmPFmC.fDX);
    double fDX = xfmCFmW.fR - xfmCFmW.fL;
    double fDY = xfmCFmW.fT - xfmCFmW.fB;
    if (fDY < fDX * fAr)
        fDY = fDX * fAr;  // taller
    else
        fDX = fDY / fAr;  // wider
    return xfmCFmW3cResized(xfmCFmW, fDX, fDY);
}

XfmCFmW3c xfmCFmW3cMatchArAtMost(XfmCFmW3c const& xfmCFmW, XfmPFmC3c const& xfmPFmC) {
    double fAr = static_cast<double>(xfmPFmC.fDY) / static_cast<double>(xfmPFmC.fDX);
    double fDX = xfmCFmW.fR - xfmCFmW.fL;
    double fDY = xfmCFmW.fT - xfmCFmW.fB;
    if (fDY > fDX * fAr)
        fDY = fDX * fAr;  // lower
    else
        fDX = fDY / fAr;  // narrower
    return xfmCFmW3cResized(xfmCFmW, fDX, fDY);
}
