// Thruster split (see thrusters.h).
#include "plan/thrusters.h"

#include <cmath>

void fFThrustersFm(double afF[3], const Vd<double>& vdfF, const Vd<double>& vdfM) {
    // Written as the analysis writes it, term for term, so that the extremes
    // agree with the SUMMARY to the last bit.
    const double fTwoPi = 6.283185307179586;
    const double fFc = std::sqrt(vdfF[1] * vdfF[1] + vdfF[2] * vdfF[2] + vdfF[3] * vdfF[3]);
    const double fFThrusterAvg = fFc / 3;
    const double fFThrusterM = vdfM[2] / 0.8;
    for (Long iThruster = 1; iThruster <= 3; iThruster++)
        afF[iThruster - 1] =
            fFThrusterAvg -
            std::cos((static_cast<double>(iThruster) / 3 + 0.5) * fTwoPi) * fFThrusterM;
}
