// The dispersion file and the random draws (see dispersion.h).
#include "mc/dispersion.h"

#include "core/logerror.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <numbers>
#include <sstream>
#include <vector>

namespace {

const char* const aszParamName[nMcParam] = {
    "thrust_scale",  "moment_bias",        "exhaust_speed", "initial_mass", "drag_scale",
    "initial_pitch", "initial_pitch_rate", "initial_vx",    "command_delay"};

const char* const aszSensorName[nMcSensor] = {"sensor_position", "sensor_velocity",
                                              "sensor_pitch", "sensor_pitch_rate"};

constexpr int nDrawBoundedMax = 100;

// A token as it may be shown in a message: at most 40 characters, anything
// unprintable as '?'.
std::string szShown(const std::string& sz) {
    std::string szOut;
    for (std::size_t i = 0; i < sz.size() && i < 40; i++) {
        const unsigned char ch = static_cast<unsigned char>(sz[i]);
        szOut += (ch >= 0x20 && ch < 0x7f) ? static_cast<char>(ch) : '?';
    }
    if (sz.size() > 40) szOut += "...";
    return szOut;
}

// A finite number filling the whole token.
bool bParseDouble(const std::string& szTok, double* pf) {
    if (szTok.empty()) return false;
    errno = 0;
    char* pchEnd = nullptr;
    const double f = std::strtod(szTok.c_str(), &pchEnd);
    if (pchEnd != szTok.c_str() + szTok.size()) return false;
    if (!std::isfinite(f)) return false;
    *pf = f;
    return true;
}

// A whole number of digits only (no sign), within uMax.
bool bParseUnsigned(const std::string& szTok, std::uint64_t uMax, std::uint64_t* pu) {
    if (szTok.empty() || szTok.size() > 20) return false;
    std::uint64_t u = 0;
    for (char ch : szTok) {
        if (ch < '0' || ch > '9') return false;
        const std::uint64_t uDigit = static_cast<std::uint64_t>(ch - '0');
        if (u > (uMax - uDigit) / 10) return false;
        u = u * 10 + uDigit;
    }
    *pu = u;
    return true;
}

std::string szNum(double f) {
    char sz[64];
    std::snprintf(sz, sizeof sz, "%g", f);
    return sz;
}

std::uint64_t uMix64(std::uint64_t z) {
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
}

}  // namespace

const char* szMcSensorName(int iSensor) {
    VT_ASSERT(iSensor >= 0 && iSensor < nMcSensor);
    return aszSensorName[iSensor];
}

const char* szMcParamName(int iParam) {
    VT_ASSERT(iParam >= 0 && iParam < nMcParam);
    return aszParamName[iParam];
}

bool bParseDispersionText(McDispersion* pdisp, const std::string& szText,
                          const char* szFileName, std::string* pszErr) {
    McDispersion disp;
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
        std::vector<std::string> aszTok;
        {
            std::istringstream inLine(szLine);
            std::string szTok;
            while (inLine >> szTok) aszTok.push_back(szTok);
        }
        if (aszTok.empty()) continue;
        const std::string& szName = aszTok[0];

        if (szName == "runs" || szName == "rng_seed") {
            const bool bRuns = szName == "runs";
            Long* piLineSet = bRuns ? &disp.iLineRuns : &disp.iLineRngSeed;
            if (*piLineSet != 0)
                return fail(szName + " given twice (first on line " + std::to_string(*piLineSet) +
                            ")");
            if (aszTok.size() < 2) return fail("missing value for " + szName);
            if (aszTok.size() > 2) return fail("too many fields for " + szName);
            std::uint64_t u = 0;
            if (bRuns) {
                if (!bParseUnsigned(aszTok[1], static_cast<std::uint64_t>(nMcRunMax), &u) ||
                    u < 1)
                    return fail("bad number '" + szShown(aszTok[1]) +
                                "': runs must be a whole number from 1 to 100000000");
                disp.nRun = static_cast<Long>(u);
            } else {
                if (!bParseUnsigned(aszTok[1], UINT64_MAX, &u))
                    return fail("bad number '" + szShown(aszTok[1]) +
                                "': rng_seed must be a whole number from 0 to "
                                "18446744073709551615");
                disp.uRngSeed = u;
            }
            *piLineSet = iLine;
            continue;
        }

        int iParam = -1;
        for (int j = 0; j < nMcParam; j++)
            if (szName == aszParamName[j]) iParam = j;
        int iSensor = -1;
        for (int j = 0; j < nMcSensor; j++)
            if (szName == aszSensorName[j]) iSensor = j;
        if (iParam < 0 && iSensor < 0) return fail("unknown name '" + szShown(szName) + "'");
        McPerturbation& pert = iParam >= 0 ? disp.arPert[iParam] : disp.arPertSensor[iSensor];
        if (pert.iLine != 0)
            return fail(szName + " given twice (first on line " + std::to_string(pert.iLine) +
                        ")");
        if (aszTok.size() < 2) return fail("missing deviation for " + szName);
        if (aszTok.size() == 3) return fail("give both bounds or none for " + szName);
        if (aszTok.size() > 4) return fail("too many fields for " + szName);
        double af[3] = {0.0, 0.0, 0.0};
        for (std::size_t i = 1; i < aszTok.size(); i++)
            if (!bParseDouble(aszTok[i], &af[i - 1]))
                return fail("bad number '" + szShown(aszTok[i]) + "'");
        if (af[0] < 0.0) return fail("negative deviation " + szNum(af[0]) + " for " + szName);
        pert.fSd = af[0];
        if (aszTok.size() == 4) {
            if (af[1] > af[2])
                return fail("bounds reversed (lower " + szNum(af[1]) + " > upper " +
                            szNum(af[2]) + ") for " + szName);
            if (af[1] > 0.0 || af[2] < 0.0)
                return fail("bounds [" + szNum(af[1]) + ", " + szNum(af[2]) +
                            "] do not contain 0 for " + szName);
            pert.bBounded = true;
            pert.fLo = af[1];
            pert.fHi = af[2];
        }
        pert.iLine = iLine;
    }
    *pdisp = disp;
    return true;
}

bool bReadDispersionFile(McDispersion* pdisp, const char* szFile, std::string* pszErr) {
    std::ifstream in(szFile, std::ios::binary);
    if (!in) {
        *pszErr = std::string("can't read dispersion file ") + szFile;
        return false;
    }
    std::ostringstream ss;
    ss << in.rdbuf();
    return bParseDispersionText(pdisp, ss.str(), szFile, pszErr);
}

// ---- random draws ---------------------------------------------------------------------

std::uint64_t McRng::uNext() {
    uState += 0x9E3779B97F4A7C15ULL;
    return uMix64(uState);
}

double McRng::fUniform() { return static_cast<double>(uNext() >> 11) * 0x1.0p-53; }

double McRng::fNormal() {
    // u1 in (0, 1] keeps the logarithm finite.
    const double fU1 = 1.0 - fUniform();
    const double fU2 = fUniform();
    return std::sqrt(-2.0 * std::log(fU1)) * std::cos(2.0 * std::numbers::pi * fU2);
}

McRng mcRngForRun(std::uint64_t uRngSeed, Long iRun, int iParam) {
    // Three rounds of mixing, so that neighbouring runs and parameters start
    // far apart in the sequence.
    const std::uint64_t uRun = uMix64(static_cast<std::uint64_t>(iRun) + 0x632BE59BD9B4E019ULL);
    const std::uint64_t uParam =
        uMix64(static_cast<std::uint64_t>(iParam) * 0xD1B54A32D192ED03ULL + 0x8CB92BA72F3D8DD7ULL);
    return McRng{uMix64(uRngSeed ^ uRun) ^ uParam};
}

McRng mcRngForSensor(std::uint64_t uRngSeed, Long iRun, Long iUpdate) {
    // The run's stream of a "parameter" numbered from a separate range,
    // under a stream key of its own, so no update shares a parameter's stream.
    const std::uint64_t uSeedSensor = uMix64(uRngSeed ^ 0x5E2503A1C3B7D9F1ULL);
    McRng rng = mcRngForRun(uSeedSensor, iRun, 0);
    rng.uState ^= uMix64(static_cast<std::uint64_t>(iUpdate) * 0xD1B54A32D192ED03ULL +
                         0xA0761D6478BD642FULL);
    return rng;
}

double fDrawPerturbation(McPerturbation const& pert, std::uint64_t uRngSeed, Long iRun,
                         int iParam) {
    if (pert.fSd == 0.0) return 0.0;
    McRng rng = mcRngForRun(uRngSeed, iRun, iParam);
    return fDrawFromRng(pert, &rng);
}

double fDrawFromRng(McPerturbation const& pert, McRng* prng) {
    if (pert.fSd == 0.0) return 0.0;
    McRng& rng = *prng;
    double f = pert.fSd * rng.fNormal();
    if (!pert.bBounded) return f;
    for (int iTry = 1; iTry < nDrawBoundedMax && (f < pert.fLo || f > pert.fHi); iTry++)
        f = pert.fSd * rng.fNormal();
    if (f < pert.fLo) f = pert.fLo;
    if (f > pert.fHi) f = pert.fHi;
    return f;
}
