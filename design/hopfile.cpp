// The hop file (see hopfile.h).
#include "design/hopfile.h"

#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/format.h"
#include "sim/ground.h"
#include "sim/params.h"

namespace {

// A token quoted for a message: at most 40 characters, anything that is not
// printable shown as '?', so that a damaged file cannot break the line.
std::string szQuoted(const std::string& szTok) {
    std::string sz = "'";
    for (std::size_t i = 0; i < szTok.size() && i < 40; i++) {
        const unsigned char ch = static_cast<unsigned char>(szTok[i]);
        sz.push_back(ch >= 0x20 && ch < 0x7f ? static_cast<char>(ch) : '?');
    }
    if (szTok.size() > 40) sz += "...";
    return sz + "'";
}

std::vector<std::string> vecSzToken(const std::string& szLine) {
    std::vector<std::string> vec;
    std::size_t i = 0;
    while (i < szLine.size()) {
        while (i < szLine.size() && (szLine[i] == ' ' || szLine[i] == '\t' || szLine[i] == '\r'))
            i++;
        if (i >= szLine.size()) break;
        const std::size_t iFirst = i;
        while (i < szLine.size() && szLine[i] != ' ' && szLine[i] != '\t' && szLine[i] != '\r') i++;
        vec.push_back(szLine.substr(iFirst, i - iFirst));
    }
    return vec;
}

// The whole token as one finite number.
bool bNumberFm(const std::string& szTok, double* pf) {
    if (szTok.empty() || std::strlen(szTok.c_str()) != szTok.size()) return false;
    char* pchEnd = nullptr;
    errno = 0;
    const double f = std::strtod(szTok.c_str(), &pchEnd);
    if (pchEnd != szTok.c_str() + szTok.size() || !std::isfinite(f)) return false;
    *pf = f;
    return true;
}

enum Name { TargetX, Time, ThrusterMargin, PropReserve, Clearance, Waypoints, nName };
const char* const aszName[nName] = {"target_x",           "time",      "thruster_margin",
                                    "propellant_reserve", "clearance", "waypoints"};

}  // namespace

bool bHopSpecFmText(Scenario& sc, const char* szName, const std::string& szText,
                    HopSpec* pspec, std::string* pszError) {
    HopSpec hopspec;
    Long aiLine[nName] = {0, 0, 0, 0, 0, 0};
    std::size_t iPos = 0;
    Long iLine = 0;
    while (iPos < szText.size()) {
        std::size_t iEnd = szText.find('\n', iPos);
        if (iEnd == std::string::npos) iEnd = szText.size();
        std::string szLine = szText.substr(iPos, iEnd - iPos);
        iPos = iEnd + 1;
        iLine++;
        const std::size_t iHash = szLine.find('#');
        if (iHash != std::string::npos) szLine.resize(iHash);
        const std::vector<std::string> vecTok = vecSzToken(szLine);
        if (vecTok.empty()) continue;
        auto fail = [&](const std::string& szWhat) {
            *pszError = szFmt("%s:%ld: %s", szName, static_cast<long>(iLine), szWhat.c_str());
            return false;
        };
        int iName = 0;
        while (iName < nName && vecTok[0] != aszName[iName]) iName++;
        if (iName == nName) return fail("unknown name " + szQuoted(vecTok[0]));
        if (vecTok.size() != 2)
            return fail(szFmt("expected '%s VALUE', found %zu word%s", aszName[iName],
                                   vecTok.size(), vecTok.size() == 1 ? "" : "s"));
        if (aiLine[iName] != 0)
            return fail(szFmt("%s given again (first on line %ld)", aszName[iName],
                                   static_cast<long>(aiLine[iName])));
        aiLine[iName] = iLine;
        double f = 0.0;
        if (!bNumberFm(vecTok[1], &f))
            return fail("bad number " + szQuoted(vecTok[1]) + " for " + aszName[iName]);
        switch (iName) {
            case TargetX: {
                double fXGnd = 0.0, fYGnd = 0.0, fZGnd = 0.0;
                if (!bPtOnGndAtXY(&fXGnd, &fYGnd, &fZGnd, f, 0.0, &sc.arPArPPtVtxPgnGnd))
                    return fail(szFmt("target_x %g m is off the terrain", f));
                hopspec.fXTarget = f;
                break;
            }
            case Time:
                if (!(f > 0.0)) return fail(szFmt("time %g s is not positive", f));
                hopspec.bTimeGiven = true;
                hopspec.fTiFlight = f;
                break;
            case ThrusterMargin:
                if (f < 0.0) return fail(szFmt("thruster_margin %g is negative", f));
                if (!(f < 1.0)) return fail(szFmt("thruster_margin %g leaves no thrust", f));
                hopspec.fThrusterMargin = f;
                break;
            case PropReserve:
                if (f < 0.0) return fail(szFmt("propellant_reserve %g is negative", f));
                if (!(f < 1.0))
                    return fail(szFmt("propellant_reserve %g leaves no propellant", f));
                hopspec.fPropReserve = f;
                break;
            case Clearance:
                if (f < 0.0) return fail(szFmt("clearance %g m is negative", f));
                if (f > 100.0) return fail(szFmt("clearance %g m is above 100 m", f));
                hopspec.fClearance = f;
                break;
            case Waypoints:
                if (f != std::floor(f) || f < nWptInteriorMin || f > nWptInteriorMax)
                    return fail(szFmt("waypoints %g is not a whole number from %ld to %ld", f,
                                           static_cast<long>(nWptInteriorMin),
                                           static_cast<long>(nWptInteriorMax)));
                hopspec.nWptInterior = static_cast<Long>(f);
                break;
            default:
                break;
        }
    }
    if (aiLine[TargetX] == 0) {
        *pszError = szFmt("%s: target_x is missing", szName);
        return false;
    }
    // Take-off and touchdown each need a clearance's worth of room (the
    // clearance ramps up from both ends; see design/design.h).
    if (std::fabs(hopspec.fXTarget - sc.fXf0) <= 2.0 * hopspec.fClearance) {
        *pszError = szFmt(
            "%s:%ld: target_x %g m is within twice the clearance (%g m) of the start (x = %g m)",
            szName, static_cast<long>(aiLine[TargetX]), hopspec.fXTarget, 2.0 * hopspec.fClearance, sc.fXf0);
        return false;
    }
    *pspec = hopspec;
    return true;
}

bool bHopSpecFmFile(Scenario& sc, const char* szFile, HopSpec* pspec,
                    std::string* pszError) {
    std::FILE* pfile = std::fopen(szFile, "rb");
    if (pfile == nullptr) {
        *pszError = szFmt("%s: can't open: %s", szFile, std::strerror(errno));
        return false;
    }
    // A hop file is a few lines; anything past 64 KiB is not one.
    constexpr std::size_t nChMax = 65536;
    std::string szText;
    char achBuf[4096];
    std::size_t nCh = 0;
    while ((nCh = std::fread(achBuf, 1, sizeof achBuf, pfile)) > 0) {
        szText.append(achBuf, nCh);
        if (szText.size() > nChMax) break;
    }
    const bool bReadError = std::ferror(pfile) != 0;
    std::fclose(pfile);
    if (bReadError) {
        *pszError = szFmt("%s: read error", szFile);
        return false;
    }
    if (szText.size() > nChMax) {
        *pszError = szFmt("%s: longer than %zu bytes", szFile, nChMax);
        return false;
    }
    return bHopSpecFmText(sc, szFile, szText, pspec, pszError);
}
