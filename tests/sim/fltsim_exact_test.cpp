// The vehicle model's shortcuts (drag through 4 x 4 frame changes, schedule
// by bisection, slope from the ground query's normal, attitude error through
// fmod) against the computation they replace: every bit of the derivative,
// the flags and the touchdown record, at and next to each shortcut's edges.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <numbers>
#include <vector>

#include "geom/geom4h.h"
#include "sim/flight.h"
#include "sim/fltsim.h"
#include "sim/ground.h"

#include "support/scenario.h"

namespace {
A1Val<void*>& arPArPPtVtxPgnGnd = scenario.arPArPPtVtxPgnGnd;

bool bSame(double f1, double f2) { return std::memcmp(&f1, &f2, sizeof f1) == 0; }

struct Flags {
    bool bClearedGnd, bEngineOff, bLanded;
    double fTiTouchdown, fVeXfTouchdown, fVeZfTouchdown;
    double fPitchGndAtLandingSite = 0.0;
};

// The derivative as the model documents it, with the history in *pflags.
void derivDocumented(double* afD, Flags* pflags, A1Val<double>& arFTi, A1Val<double>& arFFc,
                     A1Val<double>& arFMm, double fTi, const double* afS) {
    const double x = afS[0], z = afS[1], fPitch = afS[2], vx = afS[3], vz = afS[4];
    const double fPitchDot = afS[5], fMs = afS[6];
    const double fIPitch = vehicle.fIPitchAtFMs(fMs);
    if (!pflags->bClearedGnd && z > 1.0) pflags->bClearedGnd = true;
    // Commands: bisection of the whole table.
    double fFc = 0.0, fMm = 0.0;
    const Long n = arFTi.iLast();
    if (!(fTi < arFTi[1] || fTi > arFTi[n])) {
        Long iLo = 1, iHi = n;
        while (iHi - iLo > 1) {
            const Long i = (iLo + iHi) / 2;
            (arFTi[i] > fTi ? iHi : iLo) = i;
        }
        const double fH = arFTi[iHi] - arFTi[iLo];
        const double fA = (arFTi[iHi] - fTi) / fH, fB = (fTi - arFTi[iLo]) / fH;
        if (!pflags->bEngineOff) {
            fFc = fA * arFFc[iLo] + fB * arFFc[iHi];
            fMm = fA * arFMm[iLo] + fB * arFMm[iHi];
        }
    }
    double fFcAct, fMmAct;
    vehicle.fFcThrustMmPitchActFmCmd(&fFcAct, &fMmAct, fFc, fMm, fMs);
    if (pflags->bEngineOff) fFcAct = fMmAct = 0.0;
    double fFcXf = -std::sin(fPitch) * fFcAct;
    double fFcZf = fFcAct * std::cos(fPitch) - fMs * planet.fAcG;
    // Drag in the body axes.
    const X4h xcbBFmF = x4hRotY(fPitch) * x4hRotZ(std::numbers::pi);
    const Vc3c vcWindB = vcXcb3c(xcbBFmF, Vc3c(-vx, 0.0, -vz));
    double fFcXb = 0.5 * planet.fDnAtm * vehicle.fCdAX * (vcWindB.fX * vcWindB.fX);
    if (vcWindB.fX < 0.0) fFcXb = -fFcXb;
    double fFcZb = 0.5 * planet.fDnAtm * vehicle.fCdAZ * (vcWindB.fZ * vcWindB.fZ);
    if (!(vcWindB.fZ > 0.0)) fFcZb = -fFcZb;
    const Vc3c vcFcF = vcXcb3c(x4hInv(xcbBFmF), Vc3c(fFcXb, 0.0, fFcZb));
    fFcXf += vcFcF.fX;
    fFcZf += vcFcF.fZ;
    // Ground contact.
    double xG, yG, zG, dxN, dyN, dzN;
    if (pflags->bClearedGnd &&
        bPtAtOrBelowPArPArPPtVtxPgnGnd(&xG, &yG, &zG, &dxN, &dyN, &dzN, x, 0.0, z,
                                       &arPArPPtVtxPgnGnd)) {
        const double fPitchGnd = std::atan2(-dxN, dzN);
        const double fCos = std::cos(fPitchGnd), fSin = std::sin(fPitchGnd);
        if (!pflags->bLanded) pflags->fPitchGndAtLandingSite = fPitchGnd;
        const double fAttErr = std::fmod(fPitch, 2.0 * std::numbers::pi) - fPitchGnd;
        const double fRdn50 = 0.8726646259971648;
        const double fMu = (std::fabs(fAttErr) <= fRdn50) ? 0.6 : 0.0;
        const double fFcN = -10000.0 * (z - zG) * fCos;
        double fFcF = std::fabs(fMu * fFcN);
        if (vx >= 0.0) fFcF = -fFcF;
        const double fFcZG = fFcN * fCos + fFcF * fSin;
        double fFcXG = fFcF * fCos - fFcN * fSin;
        if (std::fabs(vx) < 0.025) fFcXG = 0.0;
        fFcZf += fFcZG - 500.0 * vz;
        fFcXf += fFcXG - 500.0 * vx;
        if (std::fabs(pflags->fPitchGndAtLandingSite) - std::fabs(fPitchGnd) < 0.001 &&
            std::fabs(fAttErr) < fRdn50)
            fMmAct += -400.0 * fAttErr;
        fMmAct += (std::fabs(fAttErr) < fRdn50 ? -100.0 : -10.0) * fPitchDot;
        if (!pflags->bLanded) {
            pflags->fTiTouchdown = fTi;
            pflags->fVeXfTouchdown = vx;
            pflags->fVeZfTouchdown = vz;
        }
        pflags->bEngineOff = pflags->bLanded = true;
    }
    const double afOut[7] = {vx,          vz,          fPitchDot, fFcXf / fMs, fFcZf / fMs,
                             fMmAct / fIPitch, -fFcAct / vehicle.fIsp};
    for (int i = 0; i < 7; i++) afD[i] = afOut[i];
}

TEST(SimExact, DerivativeShortcutsGiveEveryBitOfTheDocumentedComputation) {
    initParams(&scenario);
    A1Val<double> arFTi(1, 6), arFFc(1, 6), arFMm(1, 6);
    const double afRows[6][3] = {{0.0, 0.0, 0.0},   {0.5, 450.0, 30.0}, {1.25, 600.0, -80.0},
                                 {2.0, 2000.0, 700.0}, {2.5, 300.0, 5.0},  {4.0, 0.0, 0.0}};
    for (Long i = 1; i <= 6; i++) {
        arFTi[i] = afRows[i - 1][0];
        arFFc[i] = afRows[i - 1][1];
        arFMm[i] = afRows[i - 1][2];
    }
    // Times at, just beside and between the rows, forwards and then back
    // and forth (the look-up starts from its last bracket).
    std::vector<double> vecTi;
    for (int i = 0; i < 6; i++)
        for (double fTi : {std::nextafter(afRows[i][0], -1.0), afRows[i][0],
                           std::nextafter(afRows[i][0], 9.0), afRows[i][0] + 0.2})
            vecTi.push_back(fTi);
    for (int i = 23; i >= 0; i -= 5) vecTi.push_back(vecTi[static_cast<size_t>(i)]);
    // Pitches at and beside the ends of the fmod shortcut (|p| < 2 pi) and
    // signed zeros, velocities with signed zeros.
    const double f2Pi = 2.0 * std::numbers::pi;
    const std::vector<double> vecPitch = {0.0,  -0.0, 1e-310, -1e-300, 0.3, -1.2, 1.5707963267948966,
                                          std::nextafter(f2Pi, 0.0), f2Pi, std::nextafter(f2Pi, 9.0),
                                          -f2Pi, std::nextafter(-f2Pi, 0.0), 7.0, -20.0};
    const std::vector<double> vecVe = {0.0, -0.0, 1e-3, -2.0, 0.02, -0.03};
    // Across the ground's polygons, at and beside their vertices' x.
    std::vector<double> vecX = {-30.0, 0.0, 2.5, 14.0, 45.0};
    for (Long iPgn = 1; iPgn <= arPArPPtVtxPgnGnd.iLast(); iPgn++) {
        auto* parPPt = static_cast<A1Val<void*>*>(arPArPPtVtxPgnGnd[iPgn]);
        for (Long i = parPPt->iFirst(); i <= parPPt->iLast(); i++) {
            const double x = static_cast<Pt3c*>((*parPPt)[i])->fX;
            for (double fDx : {-1e-7, 0.0, 1e-7}) vecX.push_back(x + fDx);
        }
    }
    ArFFnFArFModel model(&planet, &vehicle, &scenario.arPArPPtVtxPgnGnd, 0.05, arFTi, arFFc, arFMm);
    Flags flags{};
    long nEval = 0, nContact = 0;
    for (double x : vecX) {
        for (double z : {-6.0, -1.5, -0.3, -1e-9, 0.0, 1e-9, 0.7, 3.0}) {
            for (size_t iP = 0; iP < vecPitch.size(); iP++) {
                // Each state twice: the second time the pitch is unchanged.
                for (int iRep = 0; iRep < 2; iRep++, nEval++) {
                    const size_t k = static_cast<size_t>(nEval);
                    const double afS[7] = {x, z, vecPitch[iP], vecVe[k % vecVe.size()],
                                           vecVe[k / 5 % vecVe.size()],
                                           0.1 * static_cast<double>(k % 7) - 0.3,
                                           k % 11 == 0 ? vehicle.fMsEmpty : 98.5};
                    const double fTi = vecTi[static_cast<size_t>(nEval / 2) % vecTi.size()];
                    if (iRep == 0) {
                        flags.bClearedGnd = nEval % 4 != 0;
                        flags.bLanded = nEval % 3 == 0;
                        flags.bEngineOff = flags.bLanded || nEval % 5 == 0;
                        model.bClearedGnd = flags.bClearedGnd, model.bLanded = flags.bLanded;
                        model.bEngineOff = flags.bEngineOff;
                    }
                    model.fPitchGndAtLandingSite = flags.fPitchGndAtLandingSite;
                    double afD[7], afDRef[7];
                    model.derivAt(afD, fTi, afS);
                    const double fPitchGndModel = model.fPitchGndAtLandingSite;
                    derivDocumented(afDRef, &flags, arFTi, arFFc, arFMm, fTi, afS);
                    nContact += flags.bLanded && !(nEval % 3 == 0);
                    for (int i = 0; i < 7; i++)
                        ASSERT_TRUE(bSame(afD[i], afDRef[i]))
                            << "component " << i << ": " << afD[i] << " vs " << afDRef[i]
                            << " at x " << x << " z " << z << " pitch " << vecPitch[iP]
                            << " t " << fTi;
                    ASSERT_TRUE(bSame(fPitchGndModel, flags.fPitchGndAtLandingSite));
                    ASSERT_EQ(model.bClearedGnd, flags.bClearedGnd);
                    ASSERT_EQ(model.bEngineOff, flags.bEngineOff);
                    ASSERT_EQ(model.bLanded, flags.bLanded);
                    if (flags.bLanded) {
                        ASSERT_TRUE(bSame(model.fTiTouchdown, flags.fTiTouchdown));
                        ASSERT_TRUE(bSame(model.fVeXfTouchdown, flags.fVeXfTouchdown));
                        ASSERT_TRUE(bSame(model.fVeZfTouchdown, flags.fVeZfTouchdown));
                    }
                }
            }
        }
    }
    EXPECT_GT(nContact, 1000);  // the contact ran, on several polygons
    // No gravity and the engine off: the vertical force is a zero whose sign
    // only the drag's zero terms decide (velocities whose squares vanish).
    const double fAcG = planet.fAcG;
    planet.fAcG = 0.0;
    flags = Flags{true, true, false, 0.0, 0.0, 0.0};
    model.bClearedGnd = model.bEngineOff = true, model.bLanded = false;
    const double afS[7] = {0.0, 50.0, 2.0, 1e-300, 1e-300, 0.0, 98.0};
    double afD[7], afDRef[7];
    model.derivAt(afD, 1.0, afS);
    derivDocumented(afDRef, &flags, arFTi, arFFc, arFMm, 1.0, afS);
    planet.fAcG = fAcG;
    for (int i = 0; i < 7; i++) EXPECT_TRUE(bSame(afD[i], afDRef[i])) << i << ": " << afD[i];
}

// A schedule whose thrust and moment do not start at row 1 as its times do
// reads them out of range: the checked reads stop the program there.
TEST(SimExactDeathTest, ScheduleNotFromRowOneIsAnArrayBoundsError) {
    A1Val<double> arFTi(1, 2), arFFc(2, 3), arFMm(2, 3);
    arFTi[1] = 0.0, arFTi[2] = 1.0;
    arFFc[2] = arFFc[3] = arFMm[2] = arFMm[3] = 0.0;
    ArFFnFArFModel model(&planet, &vehicle, &scenario.arPArPPtVtxPgnGnd, 0.05, arFTi, arFFc, arFMm);
    const double afS[7] = {0, 3, 0, 0, 0, 0, 99};
    double afD[7];
    EXPECT_DEATH(model.derivAt(afD, 0.5, afS), "array bounds");
}

// The actuator limits skip the lever-arm divisions for a moment well inside
// the limit: at and beside the margin, with zero, tiny, huge and NaN thrust
// and bounds, the actuals must be those of the documented comparisons.
TEST(SimExact, LeverArmLimitShortcutGivesTheDividedComparisons) {
    initParams(&scenario);
    const double fInf = std::numeric_limits<double>::infinity();
    const double fNaN = std::numeric_limits<double>::quiet_NaN();
    long nChecked = 0;
    for (double c : {0.8, 0.0, -1.0, fNaN, 1e-300, 3e300, 2.5}) {
        Vehicle veh = vehicle;
        veh.fMmOvFcMax = c;
        veh.fMmPitchMax = fInf;
        veh.fFcThrustMax = fInf;
        for (double fT : {0.0, 1e-310, 1e-295, 1e-3, 1.0, 437.25, 1e200, fInf, fNaN, -5.0}) {
            std::vector<double> vecM = {0.0, -0.0, 1.0, -7.5, fInf, -fInf, fNaN};
            for (double fRatio : {c, c * (1.0 - 1e-7), c * (1.0 - 9e-8)})
                for (int iUlp = -3; iUlp <= 3; iUlp++) {
                    double fM = fRatio * fT;
                    for (int k = 0; k < std::abs(iUlp); k++)
                        fM = std::nextafter(fM, iUlp < 0 ? -fInf : fInf);
                    vecM.insert(vecM.end(), {fM, -fM});
                }
            for (double fM : vecM) {
                double fFcAct, fMmAct;
                veh.fFcThrustMmPitchActFmCmd(&fFcAct, &fMmAct, fT, fM, veh.fMsGTO);
                // The documented limits, with both divisions.
                double fThrust = fT, fMoment = fM;
                if (fThrust < 0.0) fThrust = 0.0;
                if (fThrust > veh.fFcThrustMax) fThrust = veh.fFcThrustMax;
                if (fMoment < -veh.fMmPitchMax) fMoment = -veh.fMmPitchMax;
                if (fMoment > veh.fMmPitchMax) fMoment = veh.fMmPitchMax;
                if (fMoment / fThrust < -c) fMoment = -fThrust * c;
                if (fMoment / fThrust > c) fMoment = fThrust * c;
                ASSERT_TRUE(bSame(fFcAct, fThrust));
                ASSERT_TRUE(bSame(fMmAct, fMoment))
                    << c << " " << fT << " " << fM << ": " << fMmAct << " " << fMoment;
                nChecked++;
            }
        }
    }
    EXPECT_GT(nChecked, 2000);
}

}  // namespace
