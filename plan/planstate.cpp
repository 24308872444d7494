// The plan and the planning chain (see planstate.h).
#include "plan/planstate.h"

#include <cmath>

#include "plan/report.h"
#include "plan/wptfpln.h"
#include "sim/params.h"

namespace {

template <class T>
void deleteAndClear(T*& p) {
    delete p;
    p = nullptr;
}

void deletePaPVdfAndClear(A<unsigned char*>*& pa) {
    deletePaPVdf(pa);
    pa = nullptr;
}

bool bVdfFinite(const Vd<double>* pvdf) {
    for (Long i = pvdf->lo; i <= pvdf->hi; i++)
        if (!std::isfinite((*pvdf)[i])) return false;
    return true;
}

bool bPaPVdfFinite(A<unsigned char*>* pa) {
    for (Long i = pa->lo(); i <= pa->hi(); i++)
        if (!bVdfFinite(pvdfAt(pa, i))) return false;
    return true;
}

bool bAnalysisFinite(PlanState const& ps) {
    return bPaPVdfFinite(ps.paPVdfX) && bVdfFinite(ps.pvdfPitch) && bPaPVdfFinite(ps.paPVdfXDot) &&
           bVdfFinite(ps.pvdfPitchDot) && bPaPVdfFinite(ps.paPVdfXDot2) &&
           bVdfFinite(ps.pvdfPitchDot2) && bVdfFinite(ps.pvdfMs) && bPaPVdfFinite(ps.paPVdfF) &&
           bPaPVdfFinite(ps.paPVdfM) && std::isfinite(ps.fHorzRange) &&
           std::isfinite(ps.fMsProp) && std::isfinite(ps.fFThrusterMin) &&
           std::isfinite(ps.fFThrusterMax);
}

// Report files are not checked by design; an unwritable directory costs the
// report, and says so, but never the run.
std::FILE* pfileReport(const char* szFile) {
    std::FILE* pfile = std::fopen(szFile, "w");
    if (pfile == nullptr) std::fprintf(stderr, "can't write %s\n", szFile);
    return pfile;
}

}  // namespace

PlanState::~PlanState() {
    deleteTraj1Params();
    deleteTraj1Path();
    deletePathAnalysis();
}

void PlanState::deleteTraj1Params() {
    deleteAndClear(pvdfParamTraj1);
    deleteAndClear(pvdfTParamTraj1);
    deletePaPVdfAndClear(paPVdfXParamTraj1);
}

void PlanState::deleteTraj1Path() {
    fTiTraj1 = fTfTraj1 = 0.0;
    nTraj1X = pTraj1X = mTraj1X = 0;
    deleteAndClear(pvdfUKnotTraj1X);
    deletePaPVdfAndClear(paPVdfXCpTraj1X);
    nTraj1Z = pTraj1Z = mTraj1Z = 0;
    deleteAndClear(pvdfUKnotTraj1Z);
    deletePaPVdfAndClear(paPVdfXCpTraj1Z);
}

void PlanState::deletePathAnalysis() {
    deleteAndClear(pvdfT);
    deletePaPVdfAndClear(paPVdfX);
    deleteAndClear(pvdfPitch);
    deletePaPVdfAndClear(paPVdfXDot);
    deleteAndClear(pvdfPitchDot);
    deletePaPVdfAndClear(paPVdfXDot2);
    deleteAndClear(pvdfPitchDot2);
    deleteAndClear(pvdfMs);
    deletePaPVdfAndClear(paPVdfF);
    deletePaPVdfAndClear(paPVdfM);
    fHorzRange = fMsProp = fFThrusterMin = fFThrusterMax = 0.0;
}

bool PlanState::bPlanExists() const { return paPVdfF != nullptr; }

bool PlanState::bPlanTraj1FromFile(Scenario const& sc, const char* szFile) {
    // 1. The old plan goes first, so a failed fit leaves no plan behind.
    deleteTraj1Params();
    deleteTraj1Path();
    deletePathAnalysis();

    // 2. Waypoints.
    return bPlanTraj1FromParams(sc, pvdfParamTraj1FromFile(szFile));
}

bool PlanState::bPlanTraj1FromParams(Scenario const& sc, Vd<double>* pvdfParam) {
    deleteTraj1Params();
    deleteTraj1Path();
    deletePathAnalysis();
    pvdfParamTraj1 = pvdfParam;

    // 3. Fit.
    unsigned char bOk = false;
    paramsToBSpline(pvdfParamTraj1, &bOk, &pvdfTParamTraj1, &paPVdfXParamTraj1, &fTiTraj1,
                    &fTfTraj1, &nTraj1X, &pTraj1X, &mTraj1X, &pvdfUKnotTraj1X, &paPVdfXCpTraj1X,
                    &nTraj1Z, &pTraj1Z, &mTraj1Z, &pvdfUKnotTraj1Z, &paPVdfXCpTraj1Z);
    if (!bOk) return false;

    // 4. Sample times over 0..N. The last one is set to the last waypoint
    // time itself: the formula may round past it, outside the knots.
    const Long nSample = 5 * (nTraj1X + nTraj1Z);
    pvdfT = new Vd<double>(0, nSample);
    for (Long i = 0; i <= nSample; i++)
        (*pvdfT)[i] = fTiTraj1 + (static_cast<double>(i) / nSample) * (fTfTraj1 - fTiTraj1);
    (*pvdfT)[nSample] = fTfTraj1;

    // 5. Analysis.
    analyzePathBSpline(sc.planet, sc.vehicle, nTraj1X, pTraj1X, mTraj1X, pvdfUKnotTraj1X, paPVdfXCpTraj1X, nTraj1Z,
                       pTraj1Z, mTraj1Z, pvdfUKnotTraj1Z, paPVdfXCpTraj1Z, pvdfT, &paPVdfX,
                       &pvdfPitch, &paPVdfXDot, &pvdfPitchDot, &paPVdfXDot2, &pvdfPitchDot2,
                       &pvdfMs, &paPVdfF, &paPVdfM, &fHorzRange, &fMsProp, &fFThrusterMin,
                       &fFThrusterMax);
    // A path that is in free fall somewhere leaves the pitch rates undefined
    // there; a plan with such numbers cannot be flown or reported.
    if (!bAnalysisFinite(*this)) {
        deleteTraj1Path();
        deletePathAnalysis();
        return false;
    }
    return true;
}

void PlanState::printPlanSummary(Scenario const& sc, std::FILE* pfileOut) const {
    if (!bPlanExists()) return;
    std::fputs("\n", pfileOut);
    printSummary(pfileOut, true, fHorzRange, fMsProp, fFThrusterMin, fFThrusterMax,
                 sc.fFcThrustMax);
    std::fputs("\n", pfileOut);
}

bool PlanState::bRunPlanCommand(Scenario const& sc, std::FILE* pfileOut) {
    if (!bPlanTraj1FromFile(sc, "traj1r.txt")) return false;
    printPlanSummary(sc, pfileOut);
    writeFltplanTxt();
    return true;
}

void PlanState::writeFltplanTxt() const {
    if (!bPlanExists()) return;
    std::FILE* pfile = pfileReport("fltplan.txt");
    if (pfile == nullptr) return;
    writeFltplan(pfile, pvdfT, paPVdfF, paPVdfM);
    std::fclose(pfile);
}

void PlanState::writeTraj1lTxt(Scenario const& sc) const {
    if (!bPlanExists()) return;
    std::FILE* pfile = pfileReport("traj1l.txt");
    if (pfile == nullptr) return;
    writeTraj1Listing(pfile, pvdfT, paPVdfX, pvdfPitch, paPVdfXDot, pvdfPitchDot, paPVdfXDot2,
                      pvdfPitchDot2, pvdfMs, paPVdfF, paPVdfM, fHorzRange, fMsProp, fFThrusterMin,
                      fFThrusterMax, sc.fFcThrustMax);
    std::fclose(pfile);
}
