// Plan reports (see report.h).
#include "plan/report.h"

#include <cmath>

#include "core/format.h"
#include "plan/wptfpln.h"

void writeFltplan(std::FILE* pfile, Vd<double>* pvdfT, A<unsigned char*>* paPVdfF,
                  A<unsigned char*>* paPVdfM) {
    const Long iLo = pvdfT->lo;
    const Long iHi = pvdfT->hi;
    // Line numbers of the first and the last data row, counted from 1: the
    // schedule reader skips to the first and stops after the second.
    std::fprintf(pfile, "%4i %4i\n", 3, pvdfT->n() + 2);
    std::fputs("    time         thrust      moment   \n", pfile);
    // Each row is "%12.6lf %12.6lf %12.6lf" and a line feed, formatted by
    // pchPutFixed (printf's own text, faster).
    char szLine[3 * 360 + 4];
    for (Long i = iLo; i <= iHi; i++) {
        const Vd<double>& vdfF = *pvdfAt(paPVdfF, i);
        const double fFcThrust = std::sqrt(vdfF[1] * vdfF[1] + vdfF[3] * vdfF[3]);
        char* pch = pchPutFixed(szLine, (*pvdfT)[i], 12, 6);
        *pch++ = ' ';
        pch = pchPutFixed(pch, fFcThrust, 12, 6);
        *pch++ = ' ';
        pch = pchPutFixed(pch, (*pvdfAt(paPVdfM, i))[2], 12, 6);
        *pch++ = '\n';
        std::fwrite(szLine, 1, static_cast<std::size_t>(pch - szLine), pfile);
    }
    std::fputs("\n", pfile);
}

void printSummary(std::FILE* pfile, bool bStdout, double fHorzRange, double fMsProp,
                  double fFThrusterMin, double fFThrusterMax, double fFcThrustMax) {
    std::fputs("SUMMARY\n", pfile);
    std::fprintf(pfile, "    horizontal range   = %10.4lf\n", fHorzRange);
    std::fprintf(pfile, "    propellant mass    = %10.4lf\n", fMsProp);
    const double fPctMax = fFThrusterMax * 100 / (fFcThrustMax / 3.0);
    const double fPctMin = fFThrusterMin * 100 / (fFcThrustMax / 3.0);
    if (bStdout) {
        std::fprintf(pfile, "     max thruster force = %10.4lf (%5.1lf %%)\n", fFThrusterMax,
                     fPctMax);
        std::fprintf(pfile, "     min thruster force = %10.4lf (%5.1lf %%)\n", fFThrusterMin,
                     fPctMin);
    } else {
        std::fprintf(pfile, "    max thruster force = %10.4lf (%5.1lf %%)\n", fFThrusterMax,
                     fPctMax);
        std::fprintf(pfile, "    min thruster force = %10.4lf (%5.1lf %%)\n", fFThrusterMin,
                     fPctMin);
    }
    std::fprintf(pfile, "    throttle range     = %10.1lf %%\n",
                 (1 - fFThrusterMin / fFThrusterMax) * 100);
}

void writeTraj1Listing(std::FILE* pfile, Vd<double>* pvdfT, A<unsigned char*>* paPVdfX,
                       Vd<double>* pvdfPitch, A<unsigned char*>* paPVdfXDot,
                       Vd<double>* pvdfPitchDot, A<unsigned char*>* paPVdfXDot2,
                       Vd<double>* pvdfPitchDot2, Vd<double>* pvdfMs, A<unsigned char*>* paPVdfF,
                       A<unsigned char*>* paPVdfM, double fHorzRange, double fMsProp,
                       double fFThrusterMin, double fFThrusterMax, double fFcThrustMax) {
    for (Long i = pvdfT->lo; i <= pvdfT->hi; i++) {
        const Vd<double>& vdfX = *pvdfAt(paPVdfX, i);
        const Vd<double>& vdfXDot = *pvdfAt(paPVdfXDot, i);
        const Vd<double>& vdfXDot2 = *pvdfAt(paPVdfXDot2, i);
        const Vd<double>& vdfF = *pvdfAt(paPVdfF, i);
        std::fprintf(pfile, "%4i", i);
        std::fprintf(pfile, "  t = %10.4lf", (*pvdfT)[i]);
        std::fprintf(pfile, "  mass = %10.4lf", (*pvdfMs)[i]);
        std::fprintf(pfile, "  Xxz = (%10.4lf %10.4lf)", vdfX[1], vdfX[3]);
        std::fprintf(pfile, "  XxzDot = (%10.4lf %10.4lf)", vdfXDot[1], vdfXDot[3]);
        std::fprintf(pfile, "  XxzDot2 = (%10.4lf %10.4lf)", vdfXDot2[1], vdfXDot2[3]);
        std::fprintf(pfile, "  pitch = %10.4lf", (*pvdfPitch)[i]);
        std::fprintf(pfile, "  pitchDot = %10.4lf", (*pvdfPitchDot)[i]);
        std::fprintf(pfile, "  pitchDot2 = %10.4lf", (*pvdfPitchDot2)[i]);
        std::fprintf(pfile, "  Fxz = (%10.4lf %10.4lf)", vdfF[1], vdfF[3]);
        std::fprintf(pfile, "  pitch moment = %12.6lf", (*pvdfAt(paPVdfM, i))[2]);
        std::fputs("\n", pfile);
    }
    std::fputs("\n", pfile);
    printSummary(pfile, false, fHorzRange, fMsProp, fFThrusterMin, fFThrusterMax, fFcThrustMax);
    std::fputs("\n", pfile);
}
