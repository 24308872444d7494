// The guided flight (see guidance.h).
#include "guide/guidance.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <memory>
#include <sstream>

#include "core/logerror.h"

namespace {

// The arm of the three thrusters of the plan's thruster split (the plan
// analysis and its checks use the same 0.8 m).
constexpr double fArmThrusters = 0.8;

// ---- guidance.txt ----------------------------------------------------------------

struct SettingDef {
    const char* szName;
    double GuidanceSettings::*pf;
    double fLo, fHi;
    bool bLoOpen;  // the lower bound itself is not allowed
};

const SettingDef asettingdef[] = {
    {"control_rate", &GuidanceSettings::fHzControl, 1.0, 1000.0, false},
    {"attitude_bandwidth", &GuidanceSettings::fOmegaPitch, 0.0, 100.0, true},
    {"position_bandwidth", &GuidanceSettings::fOmegaX, 0.0, 100.0, true},
    {"vertical_bandwidth", &GuidanceSettings::fOmegaZ, 0.0, 100.0, true},
    {"damping", &GuidanceSettings::fZeta, 0.1, 2.0, false},
    {"landing_height", &GuidanceSettings::fZfLanding, 0.0, 10.0, false},
    {"landing_speed", &GuidanceSettings::fVeLanding, 0.05, 3.0, false},
    {"landing_time", &GuidanceSettings::fDTiLanding, 0.1, 10.0, false},
};
constexpr int nSettingDef = sizeof asettingdef / sizeof asettingdef[0];

// A token fit for a message: at most 40 printable characters.
std::string szShown(const std::string& sz) {
    std::string szOut;
    for (std::size_t i = 0; i < sz.size() && i < 40; i++) {
        const unsigned char ch = static_cast<unsigned char>(sz[i]);
        szOut += (ch >= 0x20 && ch < 0x7f) ? static_cast<char>(ch) : '?';
    }
    if (sz.size() > 40) szOut += "...";
    return szOut;
}

std::string szNum(double f) {
    char sz[64];
    std::snprintf(sz, sizeof sz, "%g", f);
    return sz;
}

// ---- the schedule as smooth functions of time --------------------------------------

// Values y_i at times t_i (i = 1..n), interpolated by the cubic through the
// four rows around t (three, two or one row near the ends of short tables).
// Where those rows' times are not strictly increasing it falls back to the
// straight line between the bracketing rows, or to the row itself. Zero
// outside [t_1, t_n], as for the schedule look-up of `s`.
//
// Each interval's cubic is kept in Newton form over its four nodes x0..x3,
//   p(t) = c0 + (t - x0) (c1 + (t - x1) (c2 + (t - x2) c3)),
// with the divided differences c computed once; the interval of the last
// look-up is tried first (the reference asks for times in order).
class SmoothTable {
public:
    SmoothTable(std::vector<double> const& arTi, std::vector<double> const& arY) : arT(arTi) {
        const std::size_t n = arT.size();
        if (n == 1) fY1 = arY[0];
        arPiece.resize(n > 1 ? n - 1 : 0);
        for (std::size_t i = 0; i + 1 < n; i++) {
            Piece& pc = arPiece[i];
            const double tLo = arT[i], tHi = arT[i + 1];
            if (!(tHi > tLo)) {
                pc = Piece{{tLo, tLo, tLo}, {arY[i + 1], 0.0, 0.0, 0.0}};
                continue;
            }
            std::size_t j0 = i > 0 ? i - 1 : 0;
            std::size_t j3 = std::min(j0 + 3, n - 1);
            j0 = j3 >= 3 ? j3 - 3 : 0;
            bool bIncreasing = j3 - j0 >= 2;
            for (std::size_t j = j0; j < j3; j++)
                if (!(arT[j + 1] > arT[j])) bIncreasing = false;
            if (!bIncreasing) {
                // The straight line: c0 + (t - tLo) c1.
                pc = Piece{{tLo, tHi, tHi}, {arY[i], (arY[i + 1] - arY[i]) / (tHi - tLo), 0.0, 0.0}};
                continue;
            }
            // Divided differences over the (up to four) nodes.
            const std::size_t m = j3 - j0 + 1;
            double ax[4] = {}, ac[4] = {};
            for (std::size_t k = 0; k < m; k++) {
                ax[k] = arT[j0 + k];
                ac[k] = arY[j0 + k];
            }
            for (std::size_t l = 1; l < m; l++)
                for (std::size_t k = m - 1; k >= l; k--) ac[k] = (ac[k] - ac[k - 1]) / (ax[k] - ax[k - l]);
            pc = Piece{{ax[0], ax[1], ax[2]}, {ac[0], ac[1], m > 2 ? ac[2] : 0.0, m > 3 ? ac[3] : 0.0}};
        }
    }

    double fAt(double t) const {
        const std::size_t n = arT.size();
        if (n == 0 || t < arT[0] || t > arT[n - 1]) return 0.0;
        if (n == 1) return fY1;
        std::size_t i = iHint;
        if (!(i + 1 < n && arT[i] <= t && t < arT[i + 1])) {
            if (i + 2 < n && arT[i + 1] <= t && t < arT[i + 2]) {
                i += 1;
            } else {
                std::size_t iLo = 0, iHi = n - 1;
                while (iHi - iLo > 1) {
                    const std::size_t iMid = (iLo + iHi) / 2;
                    if (arT[iMid] > t)
                        iHi = iMid;
                    else
                        iLo = iMid;
                }
                i = iLo;
            }
            iHint = i;
        }
        Piece const& pc = arPiece[i];
        return pc.ac[0] + (t - pc.ax[0]) * (pc.ac[1] + (t - pc.ax[1]) * (pc.ac[2] + (t - pc.ax[2]) * pc.ac[3]));
    }

private:
    struct Piece {
        double ax[3];
        double ac[4];
    };
    std::vector<double> arT;
    std::vector<Piece> arPiece;
    double fY1 = 0.0;
    mutable std::size_t iHint = 0;
};

// The plan's dynamics (the inverse dynamics of the plan analysis, run
// forward): state x, z, vx, vz, pitch, pitch rate; thrust T(t) along the
// body axis (-sin p, cos p), moment M(t), mass m(t) and inertia I(m(t)),
// gravity g; no drag and no ground.
struct PlanDynamics {
    SmoothTable const& tabT;
    SmoothTable const& tabM;
    SmoothTable const& tabMs;
    Vehicle const& vehicle;
    double fMsBefore;  // mass before the first row
    double fAcG;

    double fMsAt(double t, double fTiFirst) const {
        return t < fTiFirst ? fMsBefore : tabMs.fAt(t);
    }
    void deriv(double ad[6], double t, const double as[6], double fTiFirst) const {
        const double fT = tabT.fAt(t);
        const double fM = tabM.fAt(t);
        double fMs = fMsAt(t, fTiFirst);
        if (!(fMs > 0.0)) fMs = fMsBefore;
        const double fI = vehicle.fIPitchAtFMs(fMs);
        ad[0] = as[2];
        ad[1] = as[3];
        ad[2] = -std::sin(as[4]) * fT / fMs;
        ad[3] = std::cos(as[4]) * fT / fMs - fAcG;
        ad[4] = as[5];
        ad[5] = fM / fI;
    }
    // One classical fourth-order Runge-Kutta step of length h.
    void step(double as[6], double t, double h, double fTiFirst) const {
        double k1[6], k2[6], k3[6], k4[6], s[6];
        deriv(k1, t, as, fTiFirst);
        for (int i = 0; i < 6; i++) s[i] = as[i] + 0.5 * h * k1[i];
        deriv(k2, t + 0.5 * h, s, fTiFirst);
        for (int i = 0; i < 6; i++) s[i] = as[i] + 0.5 * h * k2[i];
        deriv(k3, t + 0.5 * h, s, fTiFirst);
        for (int i = 0; i < 6; i++) s[i] = as[i] + h * k3[i];
        deriv(k4, t + h, s, fTiFirst);
        for (int i = 0; i < 6; i++) as[i] += h / 6.0 * (k1[i] + 2.0 * k2[i] + 2.0 * k3[i] + k4[i]);
    }
};

// The vertical offset of the landing phase over the blend, s = (t - ts) / tau
// in [0, 1]: the quintic p with p(0) = p'(0) = p''(0) = 0, p(1) = H,
// p'(1) = V, p''(1) = 0. On the basis s^3, s^4, s^5 the three end conditions
// are the linear system
//     a3 +   a4 +   a5 = H
//   3 a3 + 4 a4 + 5 a5 = V
//   6 a3 + 12 a4 + 20 a5 = 0,
// whose solution is a = H (10, -15, 6) + V (-4, 7, -3) (substituting either
// column back gives (H, 0, 0) and (0, V, 0)). H is the landing height and V
// the descent velocity -landing_speed in units of s: -v tau. Writes p, dp/ds
// and d2p/ds2.
void liftAt(double* pf, double* pfD, double* pfDD, double s, double fH, double fV) {
    const double a3 = 10.0 * fH - 4.0 * fV;
    const double a4 = -15.0 * fH + 7.0 * fV;
    const double a5 = 6.0 * fH - 3.0 * fV;
    const double s2 = s * s;
    *pf = s2 * s * (a3 + s * (a4 + s * a5));
    *pfD = s2 * (3.0 * a3 + s * (4.0 * a4 + s * 5.0 * a5));
    *pfDD = s * (6.0 * a3 + s * (12.0 * a4 + s * 20.0 * a5));
}

double fClamp(double f, double fLo, double fHi) { return f < fLo ? fLo : (f > fHi ? fHi : f); }

}  // namespace

// ---- settings ---------------------------------------------------------------------

bool bParseGuidanceText(GuidanceSettings* pgs, const std::string& szText, const char* szFileName,
                        std::string* pszErr) {
    GuidanceSettings gs;
    Long aiLineSet[nSettingDef] = {};
    std::istringstream in(szText);
    std::string szLine;
    Long iLine = 0;
    auto fail = [&](const std::string& szProblem) {
        *pszErr = std::string(szFileName) + ":" + std::to_string(iLine) + ": " + szProblem;
        return false;
    };
    while (std::getline(in, szLine)) {
        iLine += 1;
        const std::size_t iHash = szLine.find('#');
        if (iHash != std::string::npos) szLine.erase(iHash);
        std::istringstream inLine(szLine);
        std::vector<std::string> aszTok;
        std::string szTok;
        while (inLine >> szTok) aszTok.push_back(szTok);
        if (aszTok.empty()) continue;
        int iDef = -1;
        for (int i = 0; i < nSettingDef; i++)
            if (aszTok[0] == asettingdef[i].szName) iDef = i;
        if (iDef < 0) return fail("unknown name '" + szShown(aszTok[0]) + "'");
        const SettingDef& def = asettingdef[iDef];
        if (aiLineSet[iDef] != 0)
            return fail(aszTok[0] + " given twice (first on line " +
                        std::to_string(aiLineSet[iDef]) + ")");
        if (aszTok.size() < 2) return fail("missing value for " + aszTok[0]);
        if (aszTok.size() > 2) return fail("too many fields for " + aszTok[0]);
        char* pchEnd = nullptr;
        errno = 0;
        const double f = std::strtod(aszTok[1].c_str(), &pchEnd);
        if (pchEnd != aszTok[1].c_str() + aszTok[1].size() || !std::isfinite(f))
            return fail("bad number '" + szShown(aszTok[1]) + "'");
        const bool bLoOk = def.bLoOpen ? f > def.fLo : f >= def.fLo;
        if (!bLoOk || f > def.fHi)
            return fail(aszTok[0] + " " + szNum(f) + " out of range (" +
                        (def.bLoOpen ? "above " : "") + szNum(def.fLo) + " to " + szNum(def.fHi) +
                        ")");
        gs.*(def.pf) = f;
        aiLineSet[iDef] = iLine;
    }
    *pgs = gs;
    return true;
}

bool bReadGuidanceFile(GuidanceSettings* pgs, const char* szFile, std::string* pszErr) {
    std::ifstream in(szFile, std::ios::binary);
    if (!in) {
        if (errno == ENOENT) {
            *pgs = GuidanceSettings();
            return true;
        }
        *pszErr = std::string("can't read guidance file ") + szFile;
        return false;
    }
    std::ostringstream ss;
    ss << in.rdbuf();
    if (in.bad()) {
        *pszErr = std::string("can't read guidance file ") + szFile;
        return false;
    }
    return bParseGuidanceText(pgs, ss.str(), szFile, pszErr);
}

// ---- the gains ---------------------------------------------------------------------
//
// Linearise the vehicle about hover (thrust T = m g, pitch 0) and write e for
// a deviation from the reference. With the thrust along (-sin p, cos p):
//   x'' = -(T/m) sin p         =>  ex'' = -g ep
//   z'' =  (T/m) cos p - g     =>  ez'' = dT / m
//   p'' =  M / I               =>  ep'' = dM / I.
// The law (guidanceCmds) asks for the acceleration correction
//   dax = -kpx ex - kdx ex',   daz = -kpz ez - kdz ez',
// turns the force F = m (a_ref + da + g z) into thrust F . b(p) (to first
// order T_ref + m daz) and pitch p_des = atan2(-Fx, Fz) (to first order
// p_ref - dax / g), and sets the moment
//   M = M_ref + I (kp (p_des - p) + kw (w_ref - w)),
// so that ep'' = kp (-dax/g - ep) - kw ep'.
//
// Vertical channel: ez'' + kdz ez' + kpz ez = 0, the poles of
// s^2 + 2 zeta wz s + wz^2 for kpz = wz^2, kdz = 2 zeta wz.
//
// Horizontal channel: with ep = -ex''/g in the pitch equation,
//   ex'''' + kw ex''' + kp ex'' + kp kdx ex' + kp kpx ex = 0.
// Asking for the poles of (s^2 + 2 zp wp s + wp^2)(s^2 + 2 zx wx s + wx^2)
// (an attitude pair and a position pair) and matching coefficients:
//   kw      = 2 zp wp + 2 zx wx
//   kp      = wp^2 + wx^2 + 4 zp zx wp wx
//   kp kdx  = 2 zp wp wx^2 + 2 zx wx wp^2
//   kp kpx  = wp^2 wx^2.
// Every gain is positive, and all six poles of the linearised loop lie where
// asked (the tests check this against the eigenvalues of the closed loop
// built from the law itself by finite differences).
//
// The bandwidths, when guidance.txt does not give them, come from the limits
// of the vehicle:
//   - pitch: the command is held for one control period, a lag of half a
//     period, so wp <= 0.1 * 2 pi f_control keeps it under 18 degrees at wp;
//     and a pitch error of 0.1 rad must not ask more moment (about I wp^2
//     0.1) than the vehicle has at hover thrust (the smaller end of
//     mmPitchRangeAtFFc(m g)): wp <= sqrt(M_hover / (0.1 I)).
//   - horizontal position: four times slower than pitch (the pitch the
//     position loop asks for must be one the pitch loop can follow).
//   - height: the thrust can add or take away min(g, T_max/m - g) of
//     acceleration; a height error of 1 m must not ask more: wz <=
//     sqrt(that / 1 m); and no faster than the position loop.
// Masses and inertia are those at take-off.
GuidanceGains guidanceGainsFm(GuidanceSettings const& gs, Vehicle const& vehicle,
                              Planet const& planet) {
    GuidanceGains gains{};
    const double fMs = vehicle.fMsGTO;
    const double fI = vehicle.fIPitchGTO;
    const double fG = planet.fAcG;
    double fLo = 0.0, fHi = 0.0;
    mmPitchRangeAtFFc(&fLo, &fHi, fMs * fG, vehicle);
    const double fMmHover = std::fmin(-fLo, fHi);
    const double fOmegaRate = 0.1 * 2.0 * 3.141592653589793 * gs.fHzControl;
    const double fOmegaMoment = std::sqrt(fMmHover / (0.1 * fI));
    gains.fOmegaPitch = gs.fOmegaPitch > 0.0 ? gs.fOmegaPitch : std::fmin(fOmegaRate, fOmegaMoment);
    gains.fOmegaX = gs.fOmegaX > 0.0 ? gs.fOmegaX : gains.fOmegaPitch / 4.0;
    const double fAcMargin = std::fmin(fG, vehicle.fFcThrustMax / fMs - fG);
    gains.fOmegaZ =
        gs.fOmegaZ > 0.0 ? gs.fOmegaZ : std::fmin(gains.fOmegaX, std::sqrt(fAcMargin / 1.0));
    gains.fZeta = gs.fZeta;

    const double wp = gains.fOmegaPitch, wx = gains.fOmegaX, wz = gains.fOmegaZ, z = gs.fZeta;
    gains.fKPitchDot = 2.0 * z * wp + 2.0 * z * wx;
    gains.fKPitch = wp * wp + wx * wx + 4.0 * z * z * wp * wx;
    gains.fKDX = (2.0 * z * wp * wx * wx + 2.0 * z * wx * wp * wp) / gains.fKPitch;
    gains.fKPX = wp * wp * wx * wx / gains.fKPitch;
    gains.fKPZ = wz * wz;
    gains.fKDZ = 2.0 * z * wz;
    return gains;
}

void mmPitchRangeAtFFc(double* pfLo, double* pfHi, double fFcThrust, Vehicle const& vehicle) {
    const double fT = fClamp(fFcThrust, 0.0, vehicle.fFcThrustMax);
    const double fTLeft = vehicle.fFcThrustMax - fT;
    // Thruster 3 in [0, Tmax/3]: -0.8 T/3 <= M <= 0.8 (Tmax - T)/3.
    // Thrusters 1, 2 in [0, Tmax/3]: -1.6 (Tmax - T)/3 <= M <= 1.6 T/3.
    double fHi = std::fmin(vehicle.fMmPitchMax, vehicle.fMmOvFcMax * fT);
    fHi = std::fmin(fHi, fArmThrusters * fTLeft / 3.0);
    fHi = std::fmin(fHi, 2.0 * fArmThrusters * fT / 3.0);
    double fLo = -std::fmin(vehicle.fMmPitchMax, vehicle.fMmOvFcMax * fT);
    fLo = std::fmax(fLo, -fArmThrusters * fT / 3.0);
    fLo = std::fmax(fLo, -2.0 * fArmThrusters * fTLeft / 3.0);
    *pfLo = fLo < 0.0 ? fLo : 0.0;
    *pfHi = fHi > 0.0 ? fHi : 0.0;
}

// ---- the law -----------------------------------------------------------------------

double fPitchErrWrapped(double fDPitch) {
    // remainder(d, y) is d - n y exactly, n the integer nearest d / y (ties
    // to even). y = 2 * 3.141592653589793 is that double doubled, exactly,
    // so for |d| <= 3.141592653589793 = y / 2 the real d / y lies in
    // [-1/2, 1/2], n = 0 (at +-1/2 the tie goes to the even 0), and the
    // result is d itself, the sign of a zero included. A NaN fails the test
    // and goes to remainder.
    constexpr double fPi = 3.141592653589793;
    return std::fabs(fDPitch) <= fPi ? fDPitch : std::remainder(fDPitch, 2.0 * fPi);
}

void guidanceCmds(double* pfFcThrustCmd, double* pfMmPitchCmd, GuidanceGains const& gains,
                  GuidanceRefPoint const& ref, GuidanceMeas const& meas, Vehicle const& vehicle,
                  double fAcG) {
    guidanceCmds(pfFcThrustCmd, pfMmPitchCmd, gains, ref, meas, vehicle, fAcG,
                 std::sin(meas.fPitch), std::cos(meas.fPitch));
}

void guidanceCmds(double* pfFcThrustCmd, double* pfMmPitchCmd, GuidanceGains const& gains,
                  GuidanceRefPoint const& ref, GuidanceMeas const& meas, Vehicle const& vehicle,
                  double fAcG, double fSinPitch, double fCosPitch) {
    // 1. The acceleration correction from the position and velocity errors,
    // at most g in size (the linear design holds well inside that).
    double fDAcX = -gains.fKPX * (meas.fXf - ref.fXf) - gains.fKDX * (meas.fVeXf - ref.fVeXf);
    double fDAcZ = -gains.fKPZ * (meas.fZf - ref.fZf) - gains.fKDZ * (meas.fVeZf - ref.fVeZf);
    const double fDAc = std::hypot(fDAcX, fDAcZ);
    if (fDAc > fAcG) {
        fDAcX *= fAcG / fDAc;
        fDAcZ *= fAcG / fDAc;
    }
    // 2. The force wanted, its direction the pitch to hold, its component
    // along the body axis the thrust. With no correction the force is the
    // plan's own, F = m (a_ref + g z) = T_ref b(p_ref), so p_des = p_ref.
    const double fFcX = ref.fMs * (ref.fAcXf + fDAcX);
    const double fFcZ = ref.fMs * (ref.fAcZf + fAcG + fDAcZ);
    const double fPitchDes = std::atan2(-fFcX, fFcZ);
    double fT = -fFcX * fSinPitch + fFcZ * fCosPitch;
    // 3. The moment: the plan's, plus the pitch loop on the wrapped error.
    const double fEPitch = fPitchErrWrapped(fPitchDes - meas.fPitch);
    double fM = ref.fMmPitch + ref.fIPitch * (gains.fKPitch * fEPitch +
                                              gains.fKPitchDot * (ref.fPitchDot - meas.fPitchDot));
    if (!std::isfinite(fT) || !std::isfinite(fM)) {
        fT = std::isfinite(ref.fFcThrust) ? ref.fFcThrust : 0.0;
        fM = 0.0;
    }
    // 4. Within the vehicle. The thrust is clamped to [0, max]. Attitude
    // comes first: near full thrust the thrusters leave little room for a
    // moment (thruster 3 reaches its share when M = 0.8 (Tmax - T)/3, the
    // pair theirs when -M = 1.6 (Tmax - T)/3: a limit falling with the
    // thrust), so when the moment asked for is beyond that falling limit,
    // the thrust gives way just enough to make room for it:
    //   T = Tmax - 3 |M| / arm_s   (arm_s = 0.8 m up, 1.6 m down),
    // but never below the thrust where the falling limit meets the rising
    // one (a T, with a = min(lever arm, 2 * 0.8 / 3) up, min(lever arm,
    // 0.8 / 3) down, or the largest moment), which leaves the most room:
    //   a T = arm_s (Tmax - T) / 3  =>  T = arm_s Tmax / (3 a + arm_s).
    // Then the moment is clamped to what that thrust leaves.
    fT = fClamp(fT, 0.0, vehicle.fFcThrustMax);
    double fLo = 0.0, fHi = 0.0;
    mmPitchRangeAtFFc(&fLo, &fHi, fT, vehicle);
    if (fM > fHi || fM < fLo) {
        const bool bUp = fM > fHi;
        const double fArmFall = bUp ? fArmThrusters : 2.0 * fArmThrusters;
        const double fARise =
            std::fmin(vehicle.fMmOvFcMax, (bUp ? 2.0 : 1.0) * fArmThrusters / 3.0);
        const double fTMax = vehicle.fFcThrustMax;
        double fTPeak = fArmFall * fTMax / (3.0 * fARise + fArmFall);
        if (fARise * fTPeak > vehicle.fMmPitchMax)
            fTPeak = fTMax - 3.0 * vehicle.fMmPitchMax / fArmFall;
        if (fT > fTPeak) {
            const double fTNeed = fTMax - 3.0 * std::fabs(fM) / fArmFall;
            fT = std::fmax(fTPeak, std::fmin(fT, fTNeed));
            mmPitchRangeAtFFc(&fLo, &fHi, fT, vehicle);
        }
    }
    *pfFcThrustCmd = fT;
    *pfMmPitchCmd = fClamp(fM, fLo, fHi);
}

// ---- the reference -------------------------------------------------------------------

GuidanceRef::GuidanceRef(A1Val<double> const& arFTiCmd, A1Val<double> const& arFFcThrustCmd,
                         A1Val<double> const& arFMmPitchCmd, Vehicle const& vehicle,
                         Planet const& planet, Stvehicle3dof const& st0, double fTiIC,
                         GuidanceSettings const& gs)
    : fTi0(fTiIC),
      fDTiCtl(1.0 / gs.fHzControl),
      fTiEnd(fTiIC),
      fXfEnd(st0.fXf),
      fZfEnd(st0.fZf),
      fMsEnd(st0.fMs),
      fAcG(planet.fAcG),
      fIsp(vehicle.fIsp),
      fZfLift(gs.fZfLanding),
      fVeDescent(gs.fVeLanding),
      vehicleRef(vehicle) {
    // 1. The schedule's rows and the plan's masses: the plan burns the
    // thrust of a row through the whole interval after it (explicit Euler).
    std::vector<double> arT, arFc, arMm, arMs;
    double fMs = st0.fMs;
    for (Long i = arFTiCmd.iFirst(); i <= arFTiCmd.iLast(); i++) {
        const Long j = i - arFTiCmd.iFirst();
        arT.push_back(arFTiCmd[i]);
        arFc.push_back(arFFcThrustCmd[arFFcThrustCmd.iFirst() + j]);
        arMm.push_back(arFMmPitchCmd[arFMmPitchCmd.iFirst() + j]);
        if (j > 0) fMs -= (arT[static_cast<std::size_t>(j)] - arT[static_cast<std::size_t>(j - 1)]) *
                          arFc[static_cast<std::size_t>(j - 1)] / vehicle.fIsp;
        arMs.push_back(fMs);
    }
    const SmoothTable tabT(arT, arFc), tabM(arT, arMm), tabMs(arT, arMs);
    const double fTiFirst = arT.empty() ? fTiIC : arT.front();
    const PlanDynamics dyn{tabT, tabM, tabMs, vehicle, st0.fMs, planet.fAcG};
    if (!arT.empty() && arT.back() > fTiIC) fTiEnd = arT.back();
    // A plan of more than an hour is not flown here (the driver stops at
    // 30 s anyway); so the table stays small.
    if (fTiEnd - fTiIC > 3600.0) fTiEnd = fTiIC + 3600.0;

    // 2. Integrate from the start to the plan's end, keeping every update
    // time; steps of at most 10 ms that divide the control period.
    double as[6] = {st0.fXf, st0.fZf, st0.fVeXf, st0.fVeZf, st0.fPitch, st0.fPitchDot};
    const Long nSub = static_cast<Long>(std::ceil(fDTiCtl / 0.01 - 1e-9));
    const Long kLast = static_cast<Long>(std::floor((fTiEnd - fTiIC) / fDTiCtl + 1e-9));
    const double fTiBlend = fTiEnd - std::fmin(gs.fDTiLanding, fTiEnd - fTiIC);
    const double fTauBlend = fTiEnd - fTiBlend;
    arRef.reserve(static_cast<std::size_t>(kLast + 1));
    for (Long k = 0; k <= kLast; k++) {
        const double t = fTiUpdate(k);
        if (k > 0) {
            const double tPrev = fTiUpdate(k - 1);
            const double h = (t - tPrev) / static_cast<double>(nSub);
            for (Long i = 0; i < nSub; i++) dyn.step(as, tPrev + static_cast<double>(i) * h, h, fTiFirst);
        }
        GuidanceRefPoint pt{};
        pt.fXf = as[0];
        pt.fZf = as[1];
        pt.fVeXf = as[2];
        pt.fVeZf = as[3];
        pt.fPitch = as[4];
        pt.fPitchDot = as[5];
        pt.fFcThrust = tabT.fAt(t);
        pt.fMmPitch = tabM.fAt(t);
        pt.fMs = dyn.fMsAt(t, fTiFirst);
        if (!(pt.fMs > 0.0)) pt.fMs = st0.fMs;
        pt.fIPitch = vehicle.fIPitchAtFMs(pt.fMs);
        pt.fAcXf = -std::sin(pt.fPitch) * pt.fFcThrust / pt.fMs;
        pt.fAcZf = std::cos(pt.fPitch) * pt.fFcThrust / pt.fMs - fAcG;
        arRef.push_back(pt);
    }
    // The end of the plan itself.
    {
        const double tK = fTiUpdate(kLast);
        const double h = fTiEnd - tK;
        if (h > 0.0) {
            const Long n = static_cast<Long>(std::ceil(h / 0.01));
            for (Long i = 0; i < n; i++)
                dyn.step(as, tK + static_cast<double>(i) * h / static_cast<double>(n),
                         h / static_cast<double>(n), fTiFirst);
        }
        fXfEnd = as[0];
        fZfEnd = as[1];
        fMsEnd = dyn.fMsAt(fTiEnd, fTiFirst);
        if (!(fMsEnd > 0.0)) fMsEnd = st0.fMs;
    }

    // 3. The landing blend over [fTiBlend, fTiEnd]: the plan lifted by the
    // quintic of liftAt, which leaves the plan's end landing_height up and
    // descending at landing_speed.
    if (fTauBlend > 0.0) {
        for (GuidanceRefPoint& pt : arRef) {
            const double t = fTiUpdate(&pt - arRef.data());
            if (t < fTiBlend) continue;
            const double s = fClamp((t - fTiBlend) / fTauBlend, 0.0, 1.0);
            double fP, fPD, fPDD;
            liftAt(&fP, &fPD, &fPDD, s, fZfLift, -fVeDescent * fTauBlend);
            pt.fZf += fP;
            pt.fVeZf += fPD / fTauBlend;
            pt.fAcZf += fPDD / (fTauBlend * fTauBlend);
        }
    }
}

GuidanceRefPoint GuidanceRef::refAt(Long k) const {
    if (k >= 0 && k < static_cast<Long>(arRef.size())) return arRef[static_cast<std::size_t>(k)];
    // After the plan: straight down over the end point, upright, thrust
    // equal to the weight (the mass burning at that rate).
    const double fDTi = fTiUpdate(k) - fTiEnd;
    GuidanceRefPoint pt{};
    pt.fXf = fXfEnd;
    pt.fZf = fZfEnd + fZfLift - fVeDescent * fDTi;
    pt.fVeZf = -fVeDescent;
    pt.fMs = fMsEnd * std::exp(-fAcG * fDTi / fIsp);
    pt.fIPitch = vehicleRef.fIPitchAtFMs(pt.fMs);
    pt.fFcThrust = pt.fMs * fAcG;
    return pt;
}

// ---- the command source -----------------------------------------------------------------

GuidedCmds::GuidedCmds(GuidanceRef const& refIn, GuidanceGains const& gainsIn,
                       Vehicle const& vehicleLawIn, double fAcGIn)
    : ref(refIn), gains(gainsIn), vehicleLaw(vehicleLawIn), fAcG(fAcGIn), arPending() {}

void GuidedCmds::startRun(double) {
    kNext = 0;
    bUpdatesDone = false;
    iPendingFirst = 0;
    nPending = 0;
}

double GuidedCmds::fTiNextEvent() const {
    double fTi = bUpdatesDone ? std::numeric_limits<double>::infinity() : ref.fTiUpdate(kNext);
    if (nPending > 0 && arPending[iPendingFirst].fTi < fTi) fTi = arPending[iPendingFirst].fTi;
    return fTi;
}

void GuidedCmds::atEvent(double, A1Val<double> const& arFState, ArFFnFArFModel* pmodel) {
    // A delayed command due now comes first (it was computed earlier).
    if (nPending > 0 && (bUpdatesDone || arPending[iPendingFirst].fTi <= ref.fTiUpdate(kNext))) {
        Pending const& pend = arPending[iPendingFirst];
        pmodel->fFcThrustHeld = pend.fFcThrust;
        pmodel->fMmPitchHeld = pend.fMmPitch;
        iPendingFirst = (iPendingFirst + 1) % nPendingMax;
        nPending -= 1;
        return;
    }
    if (bUpdatesDone) return;
    if (pmodel->bEngineOff) {
        // Touched down: the engine is off for good.
        bUpdatesDone = true;
        return;
    }
    const Long k = kNext;
    kNext += 1;
    const Long i0 = arFState.iFirst();
    GuidanceMeas meas{arFState[i0], arFState[i0 + 1], arFState[i0 + 3], arFState[i0 + 4],
                      arFState[i0 + 2], arFState[i0 + 5]};
    if (pnoise != nullptr) pnoise->addNoise(k, &meas);
    // The pitch's sine and cosine from the model, which keeps them for the
    // evaluation at this state that starts the next step.
    double fSinPitch, fCosPitch;
    pmodel->sinCosPitch(&fSinPitch, &fCosPitch, meas.fPitch);
    double fT, fM;
    guidanceCmds(&fT, &fM, gains, ref.refAt(k), meas, vehicleLaw, fAcG, fSinPitch, fCosPitch);
    // The vehicle as it is, not as the law knows it.
    if (fFcThrustScale != 1.0) fT = fT * fFcThrustScale;
    if (fMmPitchBias != 0.0) fM = fM + fMmPitchBias;
    const double fDelay = fDTiDelay > 0.0 ? std::fmin(fDTiDelay, 63.0 * ref.fDTiControl()) : 0.0;
    if (fDelay == 0.0 || nPending >= nPendingMax) {
        pmodel->fFcThrustHeld = fT;
        pmodel->fMmPitchHeld = fM;
        return;
    }
    const int iSlot = (iPendingFirst + nPending) % nPendingMax;
    arPending[iSlot] = Pending{ref.fTiUpdate(k) + fDelay, fT, fM};
    nPending += 1;
}

// ---- the `g` chain -------------------------------------------------------------------------

bool bFlyGuidedScheduleFile(Scenario& sc, const char* szFltplan, const char* szGuidance,
                            A1Val<double>* parFTiData, A1Val<void*>* parPStvehicle,
                            std::string* pszErr, SimReport* preport) {
    GuidanceSettings gs;
    if (!bReadGuidanceFile(&gs, szGuidance, pszErr)) return false;
    A1Val<double> arFTiCmd(0);
    A1Val<double> arFFcThrustCmd(0);
    A1Val<double> arFMmPitchCmd(0);
    readScheduleFile(szFltplan, &arFTiCmd, &arFFcThrustCmd, &arFMmPitchCmd);

    const FlightSettings fs;
    const GuidanceRef ref(arFTiCmd, arFFcThrustCmd, arFMmPitchCmd, sc.vehicle, sc.planet,
                          sc.stvehicle3dof0, fs.fTiIC, gs);
    GuidedCmds cmds(ref, guidanceGainsFm(gs, sc.vehicle, sc.planet), sc.vehicle, sc.planet.fAcG);
    ArFFnFArFModel model(&sc.planet, &sc.vehicle, &sc.arPArPPtVtxPgnGnd, fs.fDTiData, arFTiCmd,
                         arFFcThrustCmd, arFMmPitchCmd);
    model.pcmdsource = &cmds;
    flyModel(parFTiData, parPStvehicle, &model, sc.stvehicle3dof0, fs, preport);
    return true;
}
