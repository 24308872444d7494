// Plot series, plan checks, landing miss and CSV export (see plotdata.h).
#include "app/plotdata.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <numbers>
#include <cstdarg>
#include <cstring>
#include <iterator>

#include "app/workbench.h"
#include "core/format.h"
#include "plan/planstate.h"
#include "plan/wptfpln.h"
#include "sim/fltsim.h"
#include "sim/ground.h"
#include "sim/params.h"

namespace {

Stvehicle3dof& stStored(A1Val<void*>& arPStvehicle, Long i) {
    return *static_cast<Stvehicle3dof*>(arPStvehicle[i]);
}

PlotCurve curveNew(PlotQty qty, PlotSource source, const char* szLegend, Long nPt) {
    PlotCurve curve{qty, source, szLegend, {}, {}};
    curve.vecFTi.reserve(static_cast<std::size_t>(nPt));
    curve.vecF.reserve(static_cast<std::size_t>(nPt));
    return curve;
}

void addPoint(PlotCurve* pcurve, double fTi, double f) {
    pcurve->vecFTi.push_back(fTi);
    pcurve->vecF.push_back(f);
}

// The stretch of one check being gathered while the samples are walked.
struct Stretch {
    bool bOpen = false;
    PlanViolation violation{};
};

// Adds the sample (fTi, amount ...) to the open stretch of its check, or
// opens one.
void extendStretch(Stretch* pstretch, PlanCheck check, Long iThruster, double fTi, double fX,
                   double fValue, double fLimit, double fAmount) {
    PlanViolation& v = pstretch->violation;
    if (!pstretch->bOpen) {
        pstretch->bOpen = true;
        v = PlanViolation{check, iThruster, fTi, fTi, fTi, fX, fValue, fLimit, fAmount};
        return;
    }
    v.fTiLast = fTi;
    if (fAmount > v.fAmount) {
        v.iThruster = iThruster;
        v.fTiWorst = fTi;
        v.fX = fX;
        v.fValue = fValue;
        v.fLimit = fLimit;
        v.fAmount = fAmount;
    }
}

void closeStretch(Stretch* pstretch, std::vector<PlanViolation>* pvec) {
    if (!pstretch->bOpen) return;
    pvec->push_back(pstretch->violation);
    pstretch->bOpen = false;
}

// Shortest text that reads back as the same double; "nan"/"inf" as such.
void appendNumber(std::string* psz, double f) {
    char szBuf[40];
    const auto result = std::to_chars(szBuf, szBuf + sizeof szBuf, f);
    psz->append(szBuf, result.ptr);
}

// Writes the rows (each without its newline) after the header; the file is
// closed on every way out.
template <class FnRow>
bool bWriteCsv(const char* szFile, const char* szHeader, Long iLo, Long iHi, FnRow fnRow) {
    std::FILE* pfile = std::fopen(szFile, "w");
    if (pfile == nullptr) return false;
    std::fputs(szHeader, pfile);
    std::fputc('\n', pfile);
    std::string szRow;
    for (Long i = iLo; i <= iHi; i++) {
        szRow.clear();
        fnRow(&szRow, i);
        szRow.push_back('\n');
        std::fwrite(szRow.data(), 1, szRow.size(), pfile);
    }
    const bool bWriteError = std::ferror(pfile) != 0;
    const int iErrno = errno;
    if (std::fclose(pfile) != 0 || bWriteError) {
        if (bWriteError) errno = iErrno != 0 ? iErrno : EIO;
        return false;
    }
    return true;
}

const char* szThrusterNeed(Long iThruster) {
    return iThruster == 3 ? "thruster 3 needs" : "thrusters 1 and 2 need";
}

}  // namespace

// ---- time histories ------------------------------------------------------------

const char* szPlotQtyName(PlotQty qty) {
    switch (qty) {
        case PlotQty::X:
            return "x";
        case PlotQty::Z:
            return "z";
        case PlotQty::Pitch:
            return "pitch";
        case PlotQty::Thrust:
            return "thrust";
        case PlotQty::Moment:
            return "moment";
        case PlotQty::Mass:
            return "mass";
    }
    return "?";
}

const char* szPlotQtyAxis(PlotQty qty) {
    switch (qty) {
        case PlotQty::X:
            return "x (m)";
        case PlotQty::Z:
            return "z (m)";
        case PlotQty::Pitch:
            return "pitch (rad)";
        case PlotQty::Thrust:
            return "thrust (N)";
        case PlotQty::Moment:
            return "moment (N\u00b7m)";
        case PlotQty::Mass:
            return "mass (kg)";
    }
    return "?";
}

std::vector<PlotCurve> vecCurvePlanFm(Vd<double>* pvdfT, A<unsigned char*>* paPVdfX,
                                      Vd<double>* pvdfPitch, Vd<double>* pvdfMs,
                                      A<unsigned char*>* paPVdfF, A<unsigned char*>* paPVdfM) {
    std::vector<PlotCurve> vec;
    if (pvdfT == nullptr || paPVdfX == nullptr || pvdfPitch == nullptr || pvdfMs == nullptr ||
        paPVdfF == nullptr || paPVdfM == nullptr)
        return vec;
    const Long nPt = pvdfT->n();
    for (PlotQty qty : arPlotQty) vec.push_back(curveNew(qty, PlotSource::Plan, "plan", nPt));
    for (Long i = pvdfT->lo; i <= pvdfT->hi; i++) {
        const double fTi = (*pvdfT)[i];
        const Vd<double>& vdfX = *pvdfAt(paPVdfX, i);
        const Vd<double>& vdfF = *pvdfAt(paPVdfF, i);
        addPoint(&vec[0], fTi, vdfX[1]);
        addPoint(&vec[1], fTi, vdfX[3]);
        addPoint(&vec[2], fTi, (*pvdfPitch)[i]);
        // The magnitude the flight plan hands to the simulation.
        addPoint(&vec[3], fTi, std::sqrt(vdfF[1] * vdfF[1] + vdfF[3] * vdfF[3]));
        addPoint(&vec[4], fTi, (*pvdfAt(paPVdfM, i))[2]);
        addPoint(&vec[5], fTi, (*pvdfMs)[i]);
    }
    return vec;
}

std::vector<PlotCurve> vecCurveRunFm(A1Val<double>& arFTiData, A1Val<void*>& arPStvehicle) {
    std::vector<PlotCurve> vec;
    const Long nPt = arFTiData.n();
    if (nPt < 1) return vec;
    vec.push_back(curveNew(PlotQty::X, PlotSource::Run, "run", nPt));
    vec.push_back(curveNew(PlotQty::Z, PlotSource::Run, "run", nPt));
    vec.push_back(curveNew(PlotQty::Pitch, PlotSource::Run, "run", nPt));
    vec.push_back(curveNew(PlotQty::Thrust, PlotSource::Run, "run commanded", nPt));
    vec.push_back(curveNew(PlotQty::Thrust, PlotSource::Run, "run actual", nPt));
    vec.push_back(curveNew(PlotQty::Moment, PlotSource::Run, "run commanded", nPt));
    vec.push_back(curveNew(PlotQty::Moment, PlotSource::Run, "run actual", nPt));
    vec.push_back(curveNew(PlotQty::Mass, PlotSource::Run, "run", nPt));
    for (Long i = arFTiData.iFirst(); i <= arFTiData.iLast(); i++) {
        const double fTi = arFTiData[i];
        const Stvehicle3dof& st = stStored(arPStvehicle, i);
        addPoint(&vec[0], fTi, st.fXf);
        addPoint(&vec[1], fTi, st.fZf);
        addPoint(&vec[2], fTi, st.fPitch);
        addPoint(&vec[3], fTi, st.fFcThrustCmd);
        addPoint(&vec[4], fTi, st.fFcThrustAct);
        addPoint(&vec[5], fTi, st.fMmPitchCmd);
        addPoint(&vec[6], fTi, st.fMmPitchAct);
        addPoint(&vec[7], fTi, st.fMs);
    }
    return vec;
}

// ---- plan checks ---------------------------------------------------------------

std::vector<PlanViolation> vecPlanViolationFm(Vd<double>* pvdfT, A<unsigned char*>* paPVdfX,
                                              Vd<double>* pvdfMs, A<unsigned char*>* paPVdfF,
                                              A<unsigned char*>* paPVdfM, double fFcThrustMaxIn,
                                              double fMsEmptyIn, A1Val<void*>* parPArPPtVtxPgnGnd) {
    std::vector<PlanViolation> vecOut;
    if (pvdfT == nullptr || paPVdfX == nullptr || pvdfMs == nullptr || paPVdfF == nullptr ||
        paPVdfM == nullptr)
        return vecOut;
    // One list per check, joined in the order of PlanCheck at the end.
    constexpr int nCheck = 4;
    std::vector<PlanViolation> avec[nCheck];
    Stretch arStretch[nCheck];
    const double fFThrusterShare = fFcThrustMaxIn / 3.0;
    for (Long i = pvdfT->lo; i <= pvdfT->hi; i++) {
        const double fTi = (*pvdfT)[i];
        const Vd<double>& vdfX = *pvdfAt(paPVdfX, i);
        const double fX = vdfX[1];
        const double fZ = vdfX[3];
        bool abBroken[nCheck] = {false, false, false, false};

        double afF[3];
        fFThrustersFm(afF, *pvdfAt(paPVdfF, i), *pvdfAt(paPVdfM, i));
        // Thrusters 1 and 2 carry the same force (they differ only in the
        // rounding of the cosine), so they are judged as one pair.
        const double fFPairHigh = std::max(afF[0], afF[1]);
        const double fFPairLow = std::min(afF[0], afF[1]);
        const bool bPairHigh = fFPairHigh >= afF[2];
        const double fFHigh = bPairHigh ? fFPairHigh : afF[2];
        const bool bPairLow = fFPairLow <= afF[2];
        const double fFLow = bPairLow ? fFPairLow : afF[2];
        if (fFHigh > fFThrusterShare) {
            abBroken[0] = true;
            extendStretch(&arStretch[0], PlanCheck::ThrusterAboveShare, bPairHigh ? 1 : 3, fTi, fX,
                          fFHigh, fFThrusterShare, fFHigh - fFThrusterShare);
        }
        if (fFLow < 0.0) {
            abBroken[1] = true;
            extendStretch(&arStretch[1], PlanCheck::ThrusterBelowZero, bPairLow ? 1 : 3, fTi, fX,
                          fFLow, 0.0, -fFLow);
        }
        const double fMs = (*pvdfMs)[i];
        if (fMs <= fMsEmptyIn) {
            abBroken[2] = true;
            extendStretch(&arStretch[2], PlanCheck::MassAtOrBelowEmpty, 0, fTi, fX, fMs, fMsEmptyIn,
                          fMsEmptyIn - fMs);
        }
        double fXGnd = 0.0, fYGnd = 0.0, fZGnd = 0.0;
        if (parPArPPtVtxPgnGnd != nullptr &&
            bPtOnGndAtXY(&fXGnd, &fYGnd, &fZGnd, fX, 0.0, parPArPPtVtxPgnGnd) &&
            fZ < fZGnd - fDZBelowGndTol) {
            abBroken[3] = true;
            // + 0.0: a level plane through 0 may give -0, which would print
            // as "-0.0000".
            extendStretch(&arStretch[3], PlanCheck::BelowTerrain, 0, fTi, fX, fZ, fZGnd + 0.0,
                          fZGnd - fZ);
        }
        for (int iCheck = 0; iCheck < nCheck; iCheck++)
            if (!abBroken[iCheck]) closeStretch(&arStretch[iCheck], &avec[iCheck]);
    }
    for (int iCheck = 0; iCheck < nCheck; iCheck++) {
        closeStretch(&arStretch[iCheck], &avec[iCheck]);
        vecOut.insert(vecOut.end(), avec[iCheck].begin(), avec[iCheck].end());
    }
    return vecOut;
}

std::string szPlanViolation(const PlanViolation& v) {
    std::string sz;
    switch (v.check) {
        case PlanCheck::ThrusterAboveShare:
            sz = szFmt(
                "plan: %s %.4f N at t = %.4f s, %.4f N above %s share of the maximum "
                "thrust (%.4f N)",
                szThrusterNeed(v.iThruster), v.fValue, v.fTiWorst, v.fAmount,
                v.iThruster == 3 ? "its" : "their", v.fLimit);
            break;
        case PlanCheck::ThrusterBelowZero:
            sz = szFmt(
                "plan: %s %.4f N at t = %.4f s, %.4f N below zero (a thruster can only "
                "push)",
                szThrusterNeed(v.iThruster), v.fValue, v.fTiWorst, v.fAmount);
            break;
        case PlanCheck::MassAtOrBelowEmpty:
            sz = szFmt(
                "plan: mass %.4f kg at t = %.4f s, at or below the empty mass (%.4f kg) by "
                "%.4f kg: no thrust is left",
                v.fValue, v.fTiWorst, v.fLimit, v.fAmount);
            break;
        case PlanCheck::BelowTerrain:
            sz = szFmt(
                "plan: path at z = %.4f m at t = %.4f s (x = %.4f m), %.4f m below the "
                "terrain (z = %.4f m)",
                v.fValue, v.fTiWorst, v.fX, v.fAmount, v.fLimit);
            break;
    }
    if (v.fTiFirst != v.fTiLast) sz += szFmt(", from t = %.4f to %.4f s", v.fTiFirst, v.fTiLast);
    return sz;
}

// ---- landing miss --------------------------------------------------------------

bool bLandingMissFm(LandingMiss* plandingMiss, A<unsigned char*>* paPVdfX, A1Val<double>& arFTiData,
                    A1Val<void*>& arPStvehicle) {
    if (arFTiData.n() < 1) return false;
    const Long iLast = arFTiData.iLast();
    const Stvehicle3dof& st = stStored(arPStvehicle, iLast);
    LandingMiss lm{};
    lm.fXRest = st.fXf;
    lm.fZRest = st.fZf;
    lm.fTiRest = arFTiData[iLast];
    lm.fPitchRest = st.fPitch;
    if (paPVdfX != nullptr && paPVdfX->n() > 0) {
        const Vd<double>& vdfXEnd = *pvdfAt(paPVdfX, paPVdfX->hi());
        lm.bPlan = true;
        lm.fXPlan = vdfXEnd[1];
        lm.fZPlan = vdfXEnd[3];
        const double fDX = lm.fXRest - lm.fXPlan;
        const double fDZ = lm.fZRest - lm.fZPlan;
        lm.fDist = std::sqrt(fDX * fDX + fDZ * fDZ);
    }
    *plandingMiss = lm;
    return true;
}

std::string szLandingMiss(const LandingMiss& lm) {
    const double fPitchDeg = lm.fPitchRest / std::numbers::pi * 180.0;
    if (!lm.bPlan)
        return szFmt(
            "run ends at (%.4f, %.4f) m at t = %.2f s; pitch at rest %.4f rad (%.2f deg); "
            "no plan to compare with",
            lm.fXRest, lm.fZRest, lm.fTiRest, lm.fPitchRest, fPitchDeg);
    return szFmt(
        "landing miss %.4f m: planned end (%.4f, %.4f) m, run ends at (%.4f, %.4f) m "
        "at t = %.2f s; pitch at rest %.4f rad (%.2f deg)",
        lm.fDist, lm.fXPlan, lm.fZPlan, lm.fXRest, lm.fZRest, lm.fTiRest, lm.fPitchRest, fPitchDeg);
}

// ---- the workbench's plan and run ----------------------------------------------

std::vector<PlotCurve> vecCurvePlanFmWorkbench(Workbench& wb) {
    PlanState const& ps = wb.plan;
    if (!ps.bPlanExists()) return {};
    return vecCurvePlanFm(ps.pvdfT, ps.paPVdfX, ps.pvdfPitch, ps.pvdfMs, ps.paPVdfF, ps.paPVdfM);
}

std::vector<PlotCurve> vecCurveRunFmWorkbench(Workbench& wb) {
    return vecCurveRunFm(wb.run.arFTiData, wb.run.arPStvehicle);
}

std::vector<PlanViolation> vecPlanViolationFmWorkbench(Workbench& wb) {
    PlanState const& ps = wb.plan;
    if (!ps.bPlanExists()) return {};
    return vecPlanViolationFm(ps.pvdfT, ps.paPVdfX, ps.pvdfMs, ps.paPVdfF, ps.paPVdfM,
                              wb.scenario.fFcThrustMax, wb.scenario.fMsEmpty,
                              &wb.scenario.arPArPPtVtxPgnGnd);
}

bool bLandingMissFmWorkbench(Workbench& wb, LandingMiss* plandingMiss) {
    return bLandingMissFm(plandingMiss, wb.plan.bPlanExists() ? wb.plan.paPVdfX : nullptr,
                          wb.run.arFTiData, wb.run.arPStvehicle);
}

PlotData plotDataFmWorkbench(Workbench& wb) {
    PlotData data;
    data.vecCurvePlan = vecCurvePlanFmWorkbench(wb);
    data.vecCurveRun = vecCurveRunFmWorkbench(wb);
    data.vecViolation = vecPlanViolationFmWorkbench(wb);
    data.bLanding = bLandingMissFmWorkbench(wb, &data.landingMiss);
    return data;
}

// ---- CSV export ----------------------------------------------------------------

const char szRunCsvHeader[] =
    "t_s,x_m,z_m,vx_m_s,vz_m_s,pitch_rad,pitch_rate_rad_s,mass_kg,pitch_inertia_kg_m2,"
    "thrust_cmd_N,thrust_act_N,moment_cmd_N_m,moment_act_N_m";

const char szPlanCsvHeader[] =
    "t_s,x_m,z_m,vx_m_s,vz_m_s,ax_m_s2,az_m_s2,pitch_rad,pitch_rate_rad_s,pitch_accel_rad_s2,"
    "mass_kg,force_x_N,force_z_N,thrust_N,moment_N_m,thruster1_N,thruster2_N,thruster3_N";

bool bWriteRunCsv(const char* szFile, A1Val<double>& arFTiDataIn, A1Val<void*>& arPStvehicleIn) {
    return bWriteCsv(szFile, szRunCsvHeader, arFTiDataIn.iFirst(), arFTiDataIn.iLast(),
                     [&](std::string* psz, Long i) {
                         const Stvehicle3dof& st = stStored(arPStvehicleIn, i);
                         const double af[] = {arFTiDataIn[i],  st.fXf,          st.fZf,
                                              st.fVeXf,        st.fVeZf,        st.fPitch,
                                              st.fPitchDot,    st.fMs,          st.fIPitch,
                                              st.fFcThrustCmd, st.fFcThrustAct, st.fMmPitchCmd,
                                              st.fMmPitchAct};
                         for (std::size_t k = 0; k < std::size(af); k++) {
                             if (k > 0) psz->push_back(',');
                             appendNumber(psz, af[k]);
                         }
                     });
}

bool bWritePlanCsv(const char* szFile, Vd<double>* pvdfTIn, A<unsigned char*>* paPVdfXIn,
                   Vd<double>* pvdfPitchIn, A<unsigned char*>* paPVdfXDotIn,
                   Vd<double>* pvdfPitchDotIn, A<unsigned char*>* paPVdfXDot2In,
                   Vd<double>* pvdfPitchDot2In, Vd<double>* pvdfMsIn, A<unsigned char*>* paPVdfFIn,
                   A<unsigned char*>* paPVdfMIn) {
    return bWriteCsv(szFile, szPlanCsvHeader, pvdfTIn->lo, pvdfTIn->hi,
                     [&](std::string* psz, Long i) {
                         const Vd<double>& vdfX = *pvdfAt(paPVdfXIn, i);
                         const Vd<double>& vdfXDot = *pvdfAt(paPVdfXDotIn, i);
                         const Vd<double>& vdfXDot2 = *pvdfAt(paPVdfXDot2In, i);
                         const Vd<double>& vdfF = *pvdfAt(paPVdfFIn, i);
                         const Vd<double>& vdfM = *pvdfAt(paPVdfMIn, i);
                         double afThruster[3];
                         fFThrustersFm(afThruster, vdfF, vdfM);
                         const double af[] = {(*pvdfTIn)[i],
                                              vdfX[1],
                                              vdfX[3],
                                              vdfXDot[1],
                                              vdfXDot[3],
                                              vdfXDot2[1],
                                              vdfXDot2[3],
                                              (*pvdfPitchIn)[i],
                                              (*pvdfPitchDotIn)[i],
                                              (*pvdfPitchDot2In)[i],
                                              (*pvdfMsIn)[i],
                                              vdfF[1],
                                              vdfF[3],
                                              std::sqrt(vdfF[1] * vdfF[1] + vdfF[3] * vdfF[3]),
                                              vdfM[2],
                                              afThruster[0],
                                              afThruster[1],
                                              afThruster[2]};
                         for (std::size_t k = 0; k < std::size(af); k++) {
                             if (k > 0) psz->push_back(',');
                             appendNumber(psz, af[k]);
                         }
                     });
}

bool bWriteRunCsvFmWorkbench(Workbench& wb, const char* szFile) {
    if (wb.run.arFTiData.n() < 1) {
        errno = 0;
        return false;
    }
    return bWriteRunCsv(szFile, wb.run.arFTiData, wb.run.arPStvehicle);
}

bool bWritePlanCsvFmWorkbench(Workbench& wb, const char* szFile) {
    PlanState const& ps = wb.plan;
    if (!ps.bPlanExists()) {
        errno = 0;
        return false;
    }
    return bWritePlanCsv(szFile, ps.pvdfT, ps.paPVdfX, ps.pvdfPitch, ps.paPVdfXDot,
                         ps.pvdfPitchDot, ps.paPVdfXDot2, ps.pvdfPitchDot2, ps.pvdfMs, ps.paPVdfF,
                         ps.paPVdfM);
}
