// Thruster split (see thrusters.h).
#include "plan/thrusters.h"

#include <cmath>
#include <numbers>

void fFThrustersFm(double afF[3], const Vd<double>& vdfF, const Vd<double>& vdfM) {
    // Thruster k (1..3) sits at the angle (k/3 + 1/2) turns; the moment's
    // share of thruster k is -cos of that angle times M / 0.8 (+1 for
    // thruster 3, -1/2 for thrusters 1 and 2). The analysis takes its
    // extremes from here, so the SUMMARY's figures are these bit for bit.
    const double fTwoPi = 2.0 * std::numbers::pi;
    const double fFc = std::sqrt(vdfF[1] * vdfF[1] + vdfF[2] * vdfF[2] + vdfF[3] * vdfF[3]);
    const double fFThrusterAvg = fFc / 3;
    const double fFThrusterM = vdfM[2] / 0.8;
    for (Long iThruster = 1; iThruster <= 3; iThruster++)
        afF[iThruster - 1] =
            fFThrusterAvg -
            std::cos((static_cast<double>(iThruster) / 3 + 0.5) * fTwoPi) * fFThrusterM;
}
