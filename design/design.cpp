// Hop design (see design.h).
#include "design/design.h"

#include <nlopt.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "core/format.h"
#include "core/lapackld.h"
#include "plan/thrusters.h"
#include "plan/wptfpln.h"
#include "sim/ground.h"
#include "sim/params.h"

namespace {

struct PaPVdfDeleter {
    void operator()(A<unsigned char*>* pa) const { deletePaPVdf(pa); }
};
using UPaPVdf = std::unique_ptr<A<unsigned char*>, PaPVdfDeleter>;
using UPVdf = std::unique_ptr<Vd<double>>;

// ---- one trial: the planning chain of `p` on a waypoint vector ------------------

// What the limits need of one analysed plan, per sample 0..N.
struct Trial {
    bool bOk = false;  // the fit solved and every number is finite
    double fMsProp = 0.0;
    double fFThrusterMin = 0.0;
    double fFThrusterMax = 0.0;
    std::vector<double> vecT, vecX, vecZ;
    std::vector<double> vecF12Hi, vecF12Lo, vecF3;  // thrusters 1 and 2 (a pair), 3
    // The pitch moment less what the vehicle can turn with the thrust
    // (fMmOvFcMax times the thrust magnitude the flight plan carries), N m.
    std::vector<double> vecMmOver;
    // The vertical force m (g + zdd), N: below zero the thrust points below
    // the horizon (|pitch| > 90 degrees), a vehicle on its way to a
    // somersault.
    std::vector<double> vecFz;
};

bool bVdfFinite(const Vd<double>& vdf) {
    for (Long i = vdf.lo; i <= vdf.hi; i++)
        if (!std::isfinite(vdf[i])) return false;
    return true;
}

// Steps 3 to 5 of the planning chain (plan/planstate.cpp), on a local
// vector: the fit, the N + 1 sample times with the last one set to the last
// waypoint time, the analysis. The same calls with the same numbers give
// the same plan bit for bit.
void runTrial(Scenario& sc, const std::vector<double>& vecFParam, Trial* ptrial) {
    ptrial->bOk = false;
    const Long nParam = static_cast<Long>(vecFParam.size());
    Vd<double> vdfParam(1, nParam);
    for (Long i = 1; i <= nParam; i++) vdfParam[i] = vecFParam[static_cast<std::size_t>(i - 1)];

    unsigned char bOk = false;
    Vd<double>* pvdfTParam = nullptr;
    A<unsigned char*>* paPVdfXParam = nullptr;
    double fTi = 0.0, fTf = 0.0;
    Long nX = 0, pX = 0, mX = 0, nZ = 0, pZ = 0, mZ = 0;
    Vd<double>* pvdfUKnotX = nullptr;
    A<unsigned char*>* paPVdfXCpX = nullptr;
    Vd<double>* pvdfUKnotZ = nullptr;
    A<unsigned char*>* paPVdfXCpZ = nullptr;
    paramsToBSpline(&vdfParam, &bOk, &pvdfTParam, &paPVdfXParam, &fTi, &fTf, &nX, &pX, &mX,
                    &pvdfUKnotX, &paPVdfXCpX, &nZ, &pZ, &mZ, &pvdfUKnotZ, &paPVdfXCpZ);
    if (!bOk) return;
    UPVdf upTParam(pvdfTParam), upUKnotX(pvdfUKnotX), upUKnotZ(pvdfUKnotZ);
    UPaPVdf upXParam(paPVdfXParam), upCpX(paPVdfXCpX), upCpZ(paPVdfXCpZ);

    const Long nSample = 5 * (nX + nZ);
    Vd<double> vdfT(0, nSample);
    for (Long i = 0; i <= nSample; i++)
        vdfT[i] = fTi + (static_cast<double>(i) / nSample) * (fTf - fTi);
    vdfT[nSample] = fTf;

    A<unsigned char*>* paPVdfX = nullptr;
    A<unsigned char*>* paPVdfF = nullptr;
    A<unsigned char*>* paPVdfM = nullptr;
    Vd<double>* pvdfPitchDot = nullptr;
    double fMsProp = 0.0, fFMin = 0.0, fFMax = 0.0;
    analyzePathBSpline(sc.planet, sc.vehicle, nX, pX, mX, pvdfUKnotX, paPVdfXCpX, nZ, pZ, mZ, pvdfUKnotZ, paPVdfXCpZ,
                       &vdfT, &paPVdfX, nullptr, nullptr, &pvdfPitchDot, nullptr, nullptr, nullptr,
                       &paPVdfF, &paPVdfM, nullptr, &fMsProp, &fFMin, &fFMax);
    UPaPVdf upX(paPVdfX), upF(paPVdfF), upM(paPVdfM);
    UPVdf upPitchDot(pvdfPitchDot);

    // `p` refuses a plan with a number that is not finite; so does a trial.
    // The pitch rate and the moment (from the pitch acceleration) are the
    // numbers a path in free fall leaves undefined.
    if (!std::isfinite(fMsProp) || !std::isfinite(fFMin) || !std::isfinite(fFMax) ||
        !bVdfFinite(*pvdfPitchDot))
        return;
    const std::size_t nPt = static_cast<std::size_t>(nSample + 1);
    for (auto* pvec : {&ptrial->vecT, &ptrial->vecX, &ptrial->vecZ, &ptrial->vecF12Hi,
                       &ptrial->vecF12Lo, &ptrial->vecF3, &ptrial->vecMmOver,
                       &ptrial->vecFz})
        pvec->resize(nPt);
    for (Long i = 0; i <= nSample; i++) {
        const std::size_t k = static_cast<std::size_t>(i);
        const Vd<double>& vdfX = *pvdfAt(paPVdfX, i);
        const Vd<double>& vdfM = *pvdfAt(paPVdfM, i);
        if (!bVdfFinite(vdfX) || !bVdfFinite(*pvdfAt(paPVdfF, i)) || !bVdfFinite(vdfM)) return;
        double afF[3];
        fFThrustersFm(afF, *pvdfAt(paPVdfF, i), vdfM);
        ptrial->vecT[k] = vdfT[i];
        ptrial->vecX[k] = vdfX[1];
        ptrial->vecZ[k] = vdfX[3];
        ptrial->vecF12Hi[k] = std::max(afF[0], afF[1]);
        ptrial->vecF12Lo[k] = std::min(afF[0], afF[1]);
        ptrial->vecF3[k] = afF[2];
        const Vd<double>& vdfF = *pvdfAt(paPVdfF, i);
        ptrial->vecFz[k] = vdfF[3];
        ptrial->vecMmOver[k] =
            vdfM[2] - sc.fMmOvFcMax * std::sqrt(vdfF[1] * vdfF[1] + vdfF[3] * vdfF[3]);
    }
    ptrial->fMsProp = fMsProp;
    ptrial->fFThrusterMin = fFMin;
    ptrial->fFThrusterMax = fFMax;
    ptrial->bOk = true;
}

// ---- the problem --------------------------------------------------------------

// The terrain height under x; false where no ground lies under it (there is
// nothing to clear there, as for the plan check).
bool bZGndAt(Scenario& sc, double x, double* pzGnd) {
    double fXGnd = 0.0, fYGnd = 0.0;
    return bPtOnGndAtXY(&fXGnd, &fYGnd, pzGnd, x, 0.0, &sc.arPArPPtVtxPgnGnd) && std::isfinite(*pzGnd);
}

// Limits per sample: thruster pair and thruster 3 under the ceiling, both
// over the floor, the moment within what the thrust can give, the thrust
// not below the horizon.
constexpr std::size_t nConsPerSample = 6;

// The optimiser's variables are scaled to order one: interior waypoint k
// (1..K) at x0 + dx * v[2k-2], z0 + fLZ * v[2k-1]; the flight time, when
// free, fTi0 * v[2K].
struct Problem {
    Scenario* psc = nullptr;
    HopSpec hopspec;
    double fTiStart = 0.0, fX0 = 0.0, fZ0 = 0.0;
    double fXT = 0.0, fZT = 0.0;
    double fDX = 0.0, fLZ = 1.0;
    double fTiFlightScale = 1.0;  // the time of v = 1
    Long nVar = 0;
    double fFShare = 0.0, fFLimit = 0.0;
    // Lower thruster bound held by the optimiser: a hair above zero, so that
    // a design that meets it to the optimiser's tolerance still passes the
    // plan check (F >= 0 exactly).
    double fFFloor = 0.0;
    double fMsCarried = 0.0;

    Long nSampleExpected = 0;  // N of the analysis for this waypoint count
    unsigned nCons = 0;

    // Counters and the points kept while the optimiser runs.
    Long nIter = 0, nEval = 0;
    std::vector<double> vecVLast;
    Trial trialLast;
    std::vector<double> vecConsLast;
    std::vector<double> vecGradObjLast;
    std::vector<double> vecJacLast;  // nCons x nVar, row major
    bool bGradLast = false;

    double fTiFlight(const double* pv) const {
        return hopspec.bTimeGiven ? hopspec.fTiFlight : fTiFlightScale * pv[2 * hopspec.nWptInterior];
    }

    std::vector<double> vecFParamFm(const double* pv) const {
        const Long nK = hopspec.nWptInterior;
        const double fT = fTiFlight(pv);
        std::vector<double> vec;
        vec.reserve(static_cast<std::size_t>(3 * (nK + 2)));
        vec.insert(vec.end(), {fTiStart, fX0, fZ0});
        for (Long k = 1; k <= nK; k++) {
            vec.push_back(fTiStart + fT * (static_cast<double>(k) / static_cast<double>(nK + 1)));
            vec.push_back(fX0 + fDX * pv[2 * k - 2]);
            vec.push_back(fZ0 + fLZ * pv[2 * k - 1]);
        }
        vec.insert(vec.end(), {fTiStart + fT, fXT, fZT});
        return vec;
    }

    // The clearance the path owes at x: the full clearance, ramped down at
    // 45 degrees to nothing at the take-off and the target.
    double fClearanceReq(double x) const {
        return std::min({hopspec.fClearance, std::fabs(x - fX0), std::fabs(x - fXT)});
    }

    // Constraints c <= 0, each scaled to order one (forces and moments by
    // the share, heights by 1 m): per sample the pair high, 3 high, pair
    // low, 3 low, the moment, the vertical force; then the clearance of samples 1..N-1 (the
    // end samples are the fixed end points themselves).
    void constraintsFm(const Trial& trial, double* pc) const {
        const std::size_t nPt = trial.vecT.size();
        std::size_t j = 0;
        for (std::size_t i = 0; i < nPt; i++) {
            pc[j++] = (trial.vecF12Hi[i] - fFLimit) / fFShare;
            pc[j++] = (trial.vecF3[i] - fFLimit) / fFShare;
            pc[j++] = (fFFloor - trial.vecF12Lo[i]) / fFShare;
            pc[j++] = (fFFloor - trial.vecF3[i]) / fFShare;
            pc[j++] = trial.vecMmOver[i] / fFShare;
            pc[j++] = -trial.vecFz[i] / fFShare;
        }
        for (std::size_t i = 1; i + 1 < nPt; i++) {
            double fZGnd = 0.0;
            const double x = trial.vecX[i];
            pc[j++] = bZGndAt(*psc, x, &fZGnd) ? fClearanceReq(x) - (trial.vecZ[i] - fZGnd) : -1.0;
        }
    }

    // A failed trial: every limit broken by a lot, the propellant all gone,
    // so the optimiser backs off.
    void failedValues(double* pfObj, double* pc) const {
        *pfObj = fMsCarried * 10.0;
        for (unsigned i = 0; i < nCons; i++) pc[i] = 10.0;
    }

    void valuesAt(const double* pv, double* pfObj, double* pc, Trial* ptrial) {
        runTrial(*psc, vecFParamFm(pv), ptrial);
        nEval++;
        if (!ptrial->bOk || static_cast<Long>(ptrial->vecT.size()) != nSampleExpected + 1) {
            ptrial->bOk = false;
            failedValues(pfObj, pc);
            return;
        }
        *pfObj = ptrial->fMsProp;
        constraintsFm(*ptrial, pc);
    }

    // Values (and with bGrad the forward-difference gradients) at v, kept
    // for the next call at the same point: the optimiser asks for the
    // objective and the constraints separately.
    void update(const double* pv, bool bGrad) {
        const std::size_t n = static_cast<std::size_t>(nVar);
        const bool bSame = vecVLast.size() == n && std::equal(pv, pv + n, vecVLast.begin());
        if (bSame && (bGradLast || !bGrad)) return;
        if (!bSame) {
            nIter++;
            vecVLast.assign(pv, pv + n);
            vecConsLast.assign(nCons, 0.0);
            double fObj = 0.0;
            valuesAt(pv, &fObj, vecConsLast.data(), &trialLast);
            objLast = fObj;
            bGradLast = false;
            keepIfBest();
        }
        if (!bGrad) return;
        // Forward differences. The chain is deterministic and smooth in the
        // waypoints away from rounding; its relative rounding noise is near
        // 1e-15, so a step of 1e-7 on order-one variables leaves about 1e-8
        // of noise and 1e-7 of truncation in each derivative.
        vecGradObjLast.assign(n, 0.0);
        vecJacLast.assign(static_cast<std::size_t>(nCons) * n, 0.0);
        std::vector<double> vecV(vecVLast);
        std::vector<double> vecC(nCons);
        Trial trial;
        for (std::size_t j = 0; j < n; j++) {
            const double fH = 1e-7 * std::max(1.0, std::fabs(vecV[j]));
            const double fVj = vecV[j];
            vecV[j] = fVj + fH;
            const double fHExact = vecV[j] - fVj;
            double fObj = 0.0;
            valuesAt(vecV.data(), &fObj, vecC.data(), &trial);
            vecV[j] = fVj;
            vecGradObjLast[j] = (fObj - objLast) / fHExact;
            for (unsigned i = 0; i < nCons; i++)
                vecJacLast[i * n + j] = (vecC[i] - vecConsLast[i]) / fHExact;
        }
        bGradLast = true;
    }
    double objLast = 0.0;

    // The least-propellant point seen that meets every limit but the
    // reserve (which is judged on it afterwards): floors at zero, the
    // ceiling and the clearance to the tolerances below.
    bool bBest = false;
    double fObjBest = 0.0;
    std::vector<double> vecVBest;
    double fBreachLeast = 0.0;
    std::vector<double> vecVLeast;
    void keepIfBest() {
        if (!trialLast.bOk) return;
        const std::size_t nPt = trialLast.vecT.size();
        // The largest breach, each limit scaled as in the constraints.
        double fBreach = 0.0;
        for (std::size_t i = 0; i < nPt; i++)
            fBreach =
                std::max({fBreach, vecConsLast[nConsPerSample * i],
                          vecConsLast[nConsPerSample * i + 1], -trialLast.vecF12Lo[i] / fFShare,
                          -trialLast.vecF3[i] / fFShare, vecConsLast[nConsPerSample * i + 4]});
        for (std::size_t i = nConsPerSample * nPt; i < nCons; i++)
            fBreach = std::max(fBreach, vecConsLast[i]);
        if (vecVLeast.empty() || fBreach < fBreachLeast) {
            fBreachLeast = fBreach;
            vecVLeast = vecVLast;
        }
        if (bBest && objLast >= fObjBest) return;
        const double fFCeiling = fFLimit + 1e-6 * fFShare;
        for (std::size_t i = 0; i < nPt; i++)
            if (trialLast.vecF12Hi[i] > fFCeiling || trialLast.vecF3[i] > fFCeiling ||
                trialLast.vecF12Lo[i] < 0.0 || trialLast.vecF3[i] < 0.0 ||
                trialLast.vecMmOver[i] > 1e-6 * fFShare || trialLast.vecFz[i] < 0.0)
                return;
        for (std::size_t i = nConsPerSample * nPt; i < nCons; i++)
            if (vecConsLast[i] > 1e-6) return;
        bBest = true;
        fObjBest = objLast;
        vecVBest = vecVLast;
    }
};

double fObjective(unsigned n, const double* pv, double* pfGrad, void* pvData) {
    auto* pprob = static_cast<Problem*>(pvData);
    pprob->update(pv, pfGrad != nullptr);
    if (pfGrad != nullptr)
        std::copy(pprob->vecGradObjLast.begin(), pprob->vecGradObjLast.end(), pfGrad);
    (void)n;
    return pprob->objLast;
}

void constraints(unsigned m, double* pc, unsigned n, const double* pv, double* pfGrad,
                 void* pvData) {
    auto* pprob = static_cast<Problem*>(pvData);
    pprob->update(pv, pfGrad != nullptr);
    std::copy(pprob->vecConsLast.begin(), pprob->vecConsLast.end(), pc);
    if (pfGrad != nullptr) std::copy(pprob->vecJacLast.begin(), pprob->vecJacLast.end(), pfGrad);
    (void)m;
    (void)n;
}

// NLopt's functions, loaded when the first design starts: a run that does
// not design never loads the library.
struct Nlopt {
    decltype(&nlopt_create) create;
    decltype(&nlopt_destroy) destroy;
    decltype(&nlopt_set_lower_bounds) set_lower_bounds;
    decltype(&nlopt_set_upper_bounds) set_upper_bounds;
    decltype(&nlopt_set_min_objective) set_min_objective;
    decltype(&nlopt_add_inequality_mconstraint) add_inequality_mconstraint;
    decltype(&nlopt_set_ftol_rel) set_ftol_rel;
    decltype(&nlopt_set_xtol_rel) set_xtol_rel;
    decltype(&nlopt_set_maxeval) set_maxeval;
    decltype(&nlopt_optimize) optimize;
};

Nlopt const& nlopt() {
    static const Nlopt api = {
        fnOfSharedLib<decltype(&nlopt_create)>(VT_NLOPT_SONAME, "nlopt_create", true),
        fnOfSharedLib<decltype(&nlopt_destroy)>(VT_NLOPT_SONAME, "nlopt_destroy", true),
        fnOfSharedLib<decltype(&nlopt_set_lower_bounds)>(VT_NLOPT_SONAME, "nlopt_set_lower_bounds", true),
        fnOfSharedLib<decltype(&nlopt_set_upper_bounds)>(VT_NLOPT_SONAME, "nlopt_set_upper_bounds", true),
        fnOfSharedLib<decltype(&nlopt_set_min_objective)>(VT_NLOPT_SONAME, "nlopt_set_min_objective", true),
        fnOfSharedLib<decltype(&nlopt_add_inequality_mconstraint)>(VT_NLOPT_SONAME, "nlopt_add_inequality_mconstraint", true),
        fnOfSharedLib<decltype(&nlopt_set_ftol_rel)>(VT_NLOPT_SONAME, "nlopt_set_ftol_rel", true),
        fnOfSharedLib<decltype(&nlopt_set_xtol_rel)>(VT_NLOPT_SONAME, "nlopt_set_xtol_rel", true),
        fnOfSharedLib<decltype(&nlopt_set_maxeval)>(VT_NLOPT_SONAME, "nlopt_set_maxeval", true),
        fnOfSharedLib<decltype(&nlopt_optimize)>(VT_NLOPT_SONAME, "nlopt_optimize", true)};
    return api;
}

struct NloptDeleter {
    void operator()(nlopt_opt opt) const { nlopt().destroy(opt); }
};

// ---- how a hop stands against the limits ---------------------------------------

// The worst breach of each limit of one trial, in the limit's own unit.
struct Breaches {
    double fFAbove = 0.0;  // N above the share less the margin
    Long iThrusterAbove = 0;
    double fFAboveValue = 0.0, fTiAbove = 0.0;
    double fFBelow = 0.0;  // N below zero
    Long iThrusterBelow = 0;
    double fFBelowValue = 0.0, fTiBelow = 0.0;
    double fMmOver = 0.0;  // N m above what the thrust can turn with
    double fMmValue = 0.0, fTiMm = 0.0, fFcMm = 0.0;
    double fFzBelow = 0.0;  // N of downward thrust
    double fTiFz = 0.0;
    double fZShort = 0.0;  // m short of the clearance owed
    double fHeight = 0.0, fXShort = 0.0, fTiShort = 0.0, fReq = 0.0;
    double fClearanceMin = 1e300;  // least height over the terrain beyond the ramps
    double fHeightMin = 1e300;     // the same over every sample between the ends
};

Breaches breachesFm(const Problem& prob, const Trial& trial) {
    Breaches br;
    const std::size_t nPt = trial.vecT.size();
    for (std::size_t i = 0; i < nPt; i++) {
        const double fT = trial.vecT[i];
        const bool bPairHigh = trial.vecF12Hi[i] >= trial.vecF3[i];
        const double fFHigh = bPairHigh ? trial.vecF12Hi[i] : trial.vecF3[i];
        if (fFHigh - prob.fFLimit > br.fFAbove) {
            br.fFAbove = fFHigh - prob.fFLimit;
            br.iThrusterAbove = bPairHigh ? 1 : 3;
            br.fFAboveValue = fFHigh;
            br.fTiAbove = fT;
        }
        const bool bPairLow = trial.vecF12Lo[i] <= trial.vecF3[i];
        const double fFLow = bPairLow ? trial.vecF12Lo[i] : trial.vecF3[i];
        if (-fFLow > br.fFBelow) {
            br.fFBelow = -fFLow;
            br.iThrusterBelow = bPairLow ? 1 : 3;
            br.fFBelowValue = fFLow;
            br.fTiBelow = fT;
        }
        if (trial.vecMmOver[i] > br.fMmOver) {
            br.fMmOver = trial.vecMmOver[i];
            br.fTiMm = fT;
            // The moment and the thrust it is measured against, recovered
            // from the thrusters: F3 - F1 = 1.5 M / 0.8, F1 + F2 + F3 = |F|.
            br.fFcMm = trial.vecF12Hi[i] + trial.vecF12Lo[i] + trial.vecF3[i];
            br.fMmValue = trial.vecMmOver[i] + prob.psc->fMmOvFcMax * br.fFcMm;
        }
        if (-trial.vecFz[i] > br.fFzBelow) {
            br.fFzBelow = -trial.vecFz[i];
            br.fTiFz = fT;
        }
        if (i == 0 || i + 1 == nPt) continue;
        double fZGnd = 0.0;
        const double x = trial.vecX[i];
        if (!bZGndAt(*prob.psc, x, &fZGnd)) continue;
        const double fH = trial.vecZ[i] - fZGnd;
        const double fReq = prob.fClearanceReq(x);
        if (fReq >= prob.hopspec.fClearance) br.fClearanceMin = std::min(br.fClearanceMin, fH);
        br.fHeightMin = std::min(br.fHeightMin, fH);
        if (fReq - fH > br.fZShort) {
            br.fZShort = fReq - fH;
            br.fHeight = fH;
            br.fXShort = x;
            br.fTiShort = fT;
            br.fReq = fReq;
        }
    }
    return br;
}

// Tolerances a design must meet: the optimiser's own on the thruster
// ceiling and the clearance (far below anything a report shows), none on the
// thrusters' floor, which the plan check holds exactly.
constexpr double fFAboveTol = 1e-6;  // of a share
constexpr double fZShortTol = 1e-6;  // m

bool bWithinLimits(const Problem& prob, const Breaches& br) {
    return br.fFAbove <= fFAboveTol * prob.fFShare && br.fFBelow == 0.0 &&
           br.fMmOver <= fFAboveTol * prob.fFShare && br.fFzBelow == 0.0 &&
           br.fZShort <= fZShortTol;
}

const char* szThrusters(Long iThruster) {
    return iThruster == 3 ? "thruster 3 needs" : "thrusters 1 and 2 need";
}

std::string szNoHop(const Problem& prob) {
    if (prob.hopspec.bTimeGiven)
        return szFmt("no hop to x = %.4f m in %.4f s within the limits: ", prob.fXT,
                     prob.hopspec.fTiFlight);
    return szFmt("no hop to x = %.4f m within the limits: ", prob.fXT);
}

// The limit that binds at the least-broken hop found, with its amount.
std::string szBindingLimit(const Problem& prob, const Breaches& br) {
    const double fAbove = br.fFAbove / prob.fFShare;
    const double fBelow = br.fFBelow / prob.fFShare;
    const double fMm = br.fMmOver / prob.fFShare;
    const double fFz = br.fFzBelow / prob.fFShare;
    if (fFz > fAbove && fFz > fBelow && fFz > fMm && fFz > br.fZShort)
        return szNoHop(prob) +
               szFmt("the thrust points below the horizon at t = %.4f s, %.4f N downwards",
                     br.fTiFz, br.fFzBelow);
    if (fMm > fAbove && fMm > fBelow && fMm > br.fZShort)
        return szNoHop(prob) +
               szFmt(
                   "the pitch moment needs %.4f N m at t = %.4f s, %.4f N m more than the "
                   "thrust can give (%.4f N over a lever of %.4f m)",
                   br.fMmValue, br.fTiMm, br.fMmOver, br.fFcMm, prob.psc->fMmOvFcMax);
    if (fAbove >= fBelow && fAbove >= br.fZShort)
        return szNoHop(prob) +
               szFmt("%s %.4f N at t = %.4f s, %.4f N above the share less the margin (%.4f N)",
                     szThrusters(br.iThrusterAbove), br.fFAboveValue, br.fTiAbove, br.fFAbove,
                     prob.fFLimit);
    if (fBelow >= br.fZShort)
        return szNoHop(prob) + szFmt("%s %.4f N at t = %.4f s, %.4f N below zero",
                                     szThrusters(br.iThrusterBelow), br.fFBelowValue, br.fTiBelow,
                                     br.fFBelow);
    return szNoHop(prob) +
           szFmt(
               "the path passes %.4f m over the terrain at x = %.4f m (t = %.4f s), %.4f m "
               "short of the clearance owed there (%.4f m)",
               br.fHeight, br.fXShort, br.fTiShort, br.fZShort, br.fReq);
}

// ---- the first guess -----------------------------------------------------------

// Rest-to-rest shapes on 0..1: s7 with zero first three derivatives at both
// ends (as the fit holds x), s5 with zero first two (z), and a bump with
// zero slope at both ends and 1 in the middle.
double fS7(double u) { return u * u * u * u * (35.0 - 84.0 * u + 70.0 * u * u - 20.0 * u * u * u); }
double fS5(double u) { return u * u * u * (10.0 - 15.0 * u + 6.0 * u * u); }
double fBump(double u) { return 16.0 * u * u * (1.0 - u) * (1.0 - u); }

}  // namespace

DesignResult designHop(Scenario& sc, const HopSpec& hopspec) {
    const auto clockStart = std::chrono::steady_clock::now();
    DesignResult result;
    Problem prob;
    prob.psc = &sc;
    prob.hopspec = hopspec;
    prob.fTiStart = sc.fSTiSim0;
    prob.fX0 = sc.stvehicle3dof0.fXf;
    prob.fZ0 = sc.stvehicle3dof0.fZf;
    prob.fXT = hopspec.fXTarget;
    result.fXTarget = hopspec.fXTarget;
    result.bTimeFree = !hopspec.bTimeGiven;
    // The hop file's reader holds these; a caller that fills a HopSpec
    // itself gets the same refusals as text instead of a broken design.
    const bool bSpecOk =
        std::isfinite(hopspec.fXTarget) && hopspec.fThrusterMargin >= 0.0 && hopspec.fThrusterMargin < 1.0 &&
        hopspec.fPropReserve >= 0.0 && hopspec.fPropReserve < 1.0 && hopspec.fClearance >= 0.0 &&
        hopspec.fClearance <= 100.0 && hopspec.nWptInterior >= nWptInteriorMin &&
        hopspec.nWptInterior <= nWptInteriorMax &&
        (!hopspec.bTimeGiven || (hopspec.fTiFlight > 0.0 && std::isfinite(hopspec.fTiFlight))) &&
        std::fabs(hopspec.fXTarget - prob.fX0) > 2.0 * hopspec.fClearance;
    if (!bSpecOk) {
        result.szError = "hop: a number is out of its range (see design/hopfile.h)";
        return result;
    }
    if (!bZGndAt(sc, hopspec.fXTarget, &prob.fZT)) {
        result.szError = szFmt("target x = %.4f m is off the terrain", hopspec.fXTarget);
        return result;
    }
    result.fZTarget = prob.fZT;
    prob.fDX = prob.fXT - prob.fX0;
    const double fDist = std::fabs(prob.fDX);
    prob.fLZ = 1.0 + 0.25 * fDist;
    prob.fFShare = sc.fFcThrustMax / 3.0;
    prob.fFLimit = (1.0 - hopspec.fThrusterMargin) * prob.fFShare;
    prob.fFFloor = 1e-4 * prob.fFShare;
    prob.fMsCarried = sc.fMsGTO - sc.fMsEmpty;
    const Long nK = hopspec.nWptInterior;
    prob.nVar = 2 * nK + (hopspec.bTimeGiven ? 0 : 1);
    // N = 5 (nX + nZ) with nX = nPt + 5 and nZ = nPt + 1 (plan/wptfpln.h).
    const Long nPt = nK + 2;
    prob.nSampleExpected = 5 * ((nPt + 5) + (nPt + 1));
    prob.nCons = static_cast<unsigned>(nConsPerSample * (prob.nSampleExpected + 1) +
                                       (prob.nSampleExpected - 1));

    // A given time can be too short for any hop. To cover d from rest to
    // rest in T with |x''| <= a needs a >= 4 d / T^2 (accelerate for T/2,
    // brake for T/2: d = 2 * a (T/2)^2 / 2). The thrust gives at most
    // 3 * limit / mass along x, the most at the empty mass.
    if (hopspec.bTimeGiven) {
        const double fAcNeeded = 4.0 * fDist / (hopspec.fTiFlight * hopspec.fTiFlight);
        const double fAcMax = 3.0 * prob.fFLimit / sc.fMsEmpty;
        if (fAcNeeded > fAcMax) {
            result.szError =
                szNoHop(prob) +
                szFmt(
                    "the thrusters bind: a hop from rest to rest over %.4f m in %.4f s needs "
                    "at least %.4f m/s^2 along x (4 d / T^2), %.4f m/s^2 more than the three "
                    "thrusters less the margin can give (3 x %.4f N on %.4f kg)",
                    fDist, hopspec.fTiFlight, fAcNeeded, fAcNeeded - fAcMax, prob.fFLimit, sc.fMsEmpty);
            return result;
        }
    }

    // First guesses. A ballistic hop at 45 degrees over the distance d takes
    // sqrt(2 d / g); a finite-thrust hop that starts and ends at rest needs
    // longer. The designs found take 1.3 to 1.6 times as long, from either
    // side of which the search starts when the time is free: the landscape
    // has more than one valley, and each start finds the one nearest to it.
    // The arc rises above the mean of the ends by the clearance and so much
    // that its middle falls at 0.8 g (the longer start) or 0.4 g (the
    // shorter one), with thrust left over to turn the vehicle.
    const double fTiBallistic = std::sqrt(2.0 * fDist / sc.fAcG);
    prob.fTiFlightScale = hopspec.bTimeGiven ? hopspec.fTiFlight : 1.5 * fTiBallistic;
    struct Start {
        double fTi;
        double fAcMid;  // downward acceleration in the middle, of g
    };
    std::vector<Start> vecStart = {{prob.fTiFlightScale, 0.8}};
    if (!hopspec.bTimeGiven) vecStart.push_back({1.2 * fTiBallistic, 0.4});
    // Tried only while no hop within the limits has been found: longer
    // flights, where the thrust has more room.
    std::vector<Start> vecStartMore = {{2.0 * fTiBallistic, 0.5}, {1.5 * fTiBallistic, 0.4}};
    if (!hopspec.bTimeGiven) vecStart.insert(vecStart.end(), vecStartMore.begin(), vecStartMore.end());
    const std::size_t nVar = static_cast<std::size_t>(prob.nVar);
    std::vector<double> vecV(nVar), vecLo(nVar), vecHi(nVar);
    const double fZLo = std::min(prob.fZ0, prob.fZT) - 20.0;
    const double fZHi = std::max(prob.fZ0, prob.fZT) + fDist + 20.0;
    for (Long k = 1; k <= nK; k++) {
        const std::size_t j = static_cast<std::size_t>(2 * k - 2);
        vecLo[j] = -0.5;
        vecHi[j] = 1.5;
        vecLo[j + 1] = (fZLo - prob.fZ0) / prob.fLZ;
        vecHi[j + 1] = (fZHi - prob.fZ0) / prob.fLZ;
    }
    if (!hopspec.bTimeGiven) {
        vecLo[nVar - 1] = 0.2;
        vecHi[nVar - 1] = 5.0;
    }

    for (std::size_t iStart = 0; iStart < vecStart.size(); iStart++) {
        if (iStart >= 2 && prob.bBest) break;
        const Start& start = vecStart[iStart];
        // z'' of the bump in the middle is -16 rise / T^2 (16 u^2 (1-u)^2 has
        // second derivative -16 at u = 1/2); at -a g that is a rise of
        // a g T^2 / 16.
        const double fTiGuess = start.fTi;
        const double fRise = 0.5 * std::fabs(prob.fZT - prob.fZ0) +
                             start.fAcMid * sc.fAcG * fTiGuess * fTiGuess / 16.0 + hopspec.fClearance;
        for (Long k = 1; k <= nK; k++) {
            const double u = static_cast<double>(k) / static_cast<double>(nK + 1);
            const std::size_t j = static_cast<std::size_t>(2 * k - 2);
            vecV[j] = fS7(u);
            vecV[j + 1] = ((prob.fZT - prob.fZ0) * fS5(u) + fRise * fBump(u)) / prob.fLZ;
        }
        if (!hopspec.bTimeGiven) vecV[nVar - 1] = fTiGuess / prob.fTiFlightScale;

        // Continuation on the thrusters' floor. Where the thrust falls
        // towards zero the pitch needed to point it swings fast and the
        // moment, which only thrust can give, with it: the limits turn stiff
        // there and a linearisation far from the answer says little. So the
        // floor starts well above zero, where every limit is smooth, and
        // comes down in steps, each solve starting from the last answer.
        const double afFloor[] = {0.25, 0.08, 0.02, 1e-4};
        for (double fFloor : afFloor) {
            prob.fFFloor = fFloor * prob.fFShare;
            prob.vecVLast.clear();  // the constraints changed: no cached values
            std::unique_ptr<nlopt_opt_s, NloptDeleter> opt(
                nlopt().create(NLOPT_LD_SLSQP, static_cast<unsigned>(prob.nVar)));
            std::vector<double> vecTol(prob.nCons, 1e-9);
            nlopt().set_lower_bounds(opt.get(), vecLo.data());
            nlopt().set_upper_bounds(opt.get(), vecHi.data());
            nlopt().set_min_objective(opt.get(), fObjective, &prob);
            nlopt().add_inequality_mconstraint(opt.get(), prob.nCons, constraints, &prob,
                                             vecTol.data());
            nlopt().set_ftol_rel(opt.get(), 1e-10);
            nlopt().set_xtol_rel(opt.get(), 1e-8);
            nlopt().set_maxeval(opt.get(), 120);
            // Whatever the optimiser says of its end (converged, stopped at
            // the count, stuck in rounding), the points it tried are what
            // counts: the best of them is kept as they come.
            double fObjStage = 0.0;
            (void)nlopt().optimize(opt.get(), vecV.data(), &fObjStage);
        }
    }

    // The answer: the least-propellant hop within the limits, or else the
    // hop that broke them least, to name the limit that binds.
    double fObj = 0.0;
    if (prob.bBest)
        vecV = prob.vecVBest;
    else if (!prob.vecVLeast.empty())
        vecV = prob.vecVLeast;
    Trial trial;
    std::vector<double> vecC(prob.nCons);
    prob.valuesAt(vecV.data(), &fObj, vecC.data(), &trial);
    result.nIter = prob.nIter;
    result.nEval = prob.nEval;
    result.fSecTaken =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - clockStart).count();
    if (!trial.bOk) {
        result.szError = szNoHop(prob) + "the planning chain found no plan at the last trial";
        return result;
    }
    const Breaches br = breachesFm(prob, trial);
    if (!bWithinLimits(prob, br)) {
        result.szError = szBindingLimit(prob, br);
        return result;
    }
    const double fMsAllowed = (1.0 - hopspec.fPropReserve) * prob.fMsCarried;
    result.fTiFlight = prob.fTiFlight(vecV.data());
    result.fMsProp = trial.fMsProp;
    // With no reserve asked for, the mass must still stay above the empty
    // mass, as the plan check wants.
    if (trial.fMsProp > fMsAllowed || trial.fMsProp >= prob.fMsCarried) {
        const std::string szWhy = szFmt(
            "the propellant reserve binds: the least-propellant hop found burns %.4f kg, "
            "%.4f kg more than the %.4f kg that keep %.1f %% in reserve",
            trial.fMsProp, trial.fMsProp - fMsAllowed, fMsAllowed, 100.0 * hopspec.fPropReserve);
        result.szError = szNoHop(prob) + szWhy;
        return result;
    }
    result.bOk = true;
    result.vecFParam = prob.vecFParamFm(vecV.data());
    result.fMsPropCarried = prob.fMsCarried;
    result.fMsReserveLeft = prob.fMsCarried - trial.fMsProp;
    // A hop so short that no sample lies beyond the ramps has only the
    // ramps: its least height between the ends is what it keeps.
    result.fClearanceMin = br.fClearanceMin < 1e300 ? br.fClearanceMin : br.fHeightMin;
    result.fFThrusterMin = trial.fFThrusterMin;
    result.fFThrusterMax = trial.fFThrusterMax;
    result.fFThrusterShare = prob.fFShare;
    result.fFThrusterLimit = prob.fFLimit;
    return result;
}

void printDesignSummary(std::FILE* pfile, const DesignResult& r) {
    std::fputs("\nDESIGN\n", pfile);
    // + 0.0: the far plain is at height 0 only to rounding, and -0 would
    // print as "-0.0000".
    std::fprintf(pfile, "    target x, z        = %10.4lf %10.4lf\n", r.fXTarget + 0.0,
                 std::fabs(r.fZTarget) < 5e-5 ? 0.0 : r.fZTarget);
    std::fprintf(pfile, "    flight time        = %10.4lf (%s)\n", r.fTiFlight,
                 r.bTimeFree ? "free" : "given");
    std::fprintf(pfile, "    propellant mass    = %10.4lf\n", r.fMsProp);
    std::fprintf(pfile, "    reserve left       = %10.4lf (%5.1lf %%)\n", r.fMsReserveLeft,
                 100.0 * r.fMsReserveLeft / r.fMsPropCarried);
    std::fprintf(pfile, "    least clearance    = %10.4lf\n", r.fClearanceMin);
    std::fprintf(pfile, "    thruster range     = %10.4lf to %10.4lf (%5.1lf %% to %5.1lf %%)\n",
                 r.fFThrusterMin, r.fFThrusterMax, 100.0 * r.fFThrusterMin / r.fFThrusterShare,
                 100.0 * r.fFThrusterMax / r.fFThrusterShare);
    std::fprintf(pfile, "    iterations         = %10ld (%ld evaluations)\n",
                 static_cast<long>(r.nIter), static_cast<long>(r.nEval));
    std::fprintf(pfile, "    seconds taken      = %10.3lf\n", r.fSecTaken);
    std::fputs("\n", pfile);
}

bool bWriteDesignedTraj1r(const char* szFile, const DesignResult& r, std::string* pszError) {
    std::string szLine;
    for (std::size_t i = 0; i < r.vecFParam.size(); i++) {
        szLine += szFmt("%.17g", r.vecFParam[i]);
        szLine += i + 1 == r.vecFParam.size() ? "\n" : (i % 3 == 2 ? "  " : " ");
    }
    szLine += szFmt(
        "Waypoints designed from hop.txt, target x = %g m: time (s), horizontal position x (m),\n"
        "height z (m), three numbers per waypoint. Only the first line is read.\n",
        r.fXTarget);
    const std::string szTmp = std::string(szFile) + ".tmp";
    std::FILE* pfile = std::fopen(szTmp.c_str(), "w");
    if (pfile == nullptr) {
        *pszError = szFmt("%s: can't write: %s", szFile, std::strerror(errno));
        return false;
    }
    const bool bWritten = std::fwrite(szLine.data(), 1, szLine.size(), pfile) == szLine.size();
    const int iErrno = errno;
    if (std::fclose(pfile) != 0 || !bWritten) {
        *pszError = szFmt("%s: can't write: %s", szFile, std::strerror(bWritten ? errno : iErrno));
        std::remove(szTmp.c_str());
        return false;
    }
    if (std::rename(szTmp.c_str(), szFile) != 0) {
        *pszError = szFmt("%s: can't write: %s", szFile, std::strerror(errno));
        std::remove(szTmp.c_str());
        return false;
    }
    return true;
}

bool bRunDesignCommand(Scenario& sc, std::FILE* pfileOut, std::string* pszError) {
    HopSpec hopspec;
    if (!bHopSpecFmFile(sc, "hop.txt", &hopspec, pszError)) return false;
    const DesignResult result = designHop(sc, hopspec);
    if (!result.bOk) {
        *pszError = result.szError;
        return false;
    }
    if (!bWriteDesignedTraj1r("traj1r.txt", result, pszError)) return false;
    printDesignSummary(pfileOut, result);
    return true;
}
