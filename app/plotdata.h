// What the plots panel shows and the CSV export writes: time histories of the
// plan and of the stored run, the checks of a plan against the vehicle, and
// the landing miss of a flown plan. No toolkit here: the window, the batch
// mode and the PNG export all build on these.
//
// The numbers are read from the same arrays as the reports, so a plotted or
// exported value at a time is the value "traj1l.txt" (plan) or "results.txt"
// (run) prints at that time, before rounding:
//   plan  the path analysis (plan/planstate.h), one point per sample 0..N;
//   run   the stored run arFTiData / arPStvehicle (sim/fltsim.h), one point
//         per record 1..nData.
//
// Everything returned is a plain value that owns its storage; nothing here
// keeps a pointer into the program's arrays.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "core/array.h"
#include "core/mxtypes.h"
#include "core/types.h"
#include "plan/thrusters.h"

// ---- time histories ------------------------------------------------------------

// The quantities of the panel, in panel order.
enum class PlotQty { X, Z, Pitch, Thrust, Moment, Mass };
constexpr int nPlotQty = 6;
constexpr PlotQty arPlotQty[nPlotQty] = {PlotQty::X,      PlotQty::Z,      PlotQty::Pitch,
                                         PlotQty::Thrust, PlotQty::Moment, PlotQty::Mass};

// Short name ("x", "z", "pitch", "thrust", "moment", "mass"), also the stem
// of the PNG file name; and the axis title with its SI unit ("x (m)" ...).
const char* szPlotQtyName(PlotQty qty);
const char* szPlotQtyAxis(PlotQty qty);

enum class PlotSource { Plan, Run };

// One line of one chart: a quantity against time, as equal-length vectors.
struct PlotCurve {
    PlotQty qty;
    PlotSource source;
    std::string szLegend;        // "plan", "run", "run commanded", "run actual"
    std::vector<double> vecFTi;  // s, ascending
    std::vector<double> vecF;    // in the unit of szPlotQtyAxis(qty)
};

// Plan curves, one per quantity in panel order: x and z of the path, pitch,
// thrust magnitude as "fltplan.txt" writes it (sqrt(Fx^2 + Fz^2)), pitch
// moment, mass. Empty when any array is null.
std::vector<PlotCurve> vecCurvePlanFm(Vd<double>* pvdfT, A<unsigned char*>* paPVdfX,
                                      Vd<double>* pvdfPitch, Vd<double>* pvdfMs,
                                      A<unsigned char*>* paPVdfF, A<unsigned char*>* paPVdfM);

// Run curves in panel order: x, z, pitch, thrust commanded and actual, moment
// commanded and actual, mass. Empty for an empty run.
std::vector<PlotCurve> vecCurveRunFm(A1Val<double>& arFTiData, A1Val<void*>& arPStvehicle);

// ---- plan checks ---------------------------------------------------------------

enum class PlanCheck {
    ThrusterAboveShare,  // a thruster above fFcThrustMax / 3
    ThrusterBelowZero,   // a thruster asked to pull
    MassAtOrBelowEmpty,  // no thrust is left at or below the empty mass
    BelowTerrain,        // the path under the ground
};

// One stretch of consecutive samples that break the same limit, reported by
// its worst sample.
struct PlanViolation {
    PlanCheck check;
    Long iThruster;   // thruster checks: 3, or 1 for the pair 1 and 2 (the split
                      // always loads them alike); 0 for the others
    double fTiFirst;  // time of the first and last sample of the stretch, s
    double fTiLast;
    double fTiWorst;  // time of the worst sample, s
    double fX;        // x of the path at the worst sample, m
    double fValue;    // the value there: N, kg or height in m
    double fLimit;    // the limit it breaks there: N, kg or ground height in m
    double fAmount;   // by how much (positive), in the value's unit
};

// The three thruster forces of one sample: fFThrustersFm (plan/thrusters.h).

// Checks every sample of a plan: each thruster within 0 and fFcThrustMax / 3,
// the mass above fMsEmpty, the path not below the ground. The ground height
// comes from bPtOnGndAtXY at (x, 0); where no polygon lies under the path
// there is nothing to check. A point counts as below the ground only when it
// is more than fDZBelowGndTol under it: the fit meets its end points on the
// ground only to rounding. Stretches are listed in time order per check, the
// checks in the order of PlanCheck. Empty when any array is null.
constexpr double fDZBelowGndTol = 1e-6;  // m
std::vector<PlanViolation> vecPlanViolationFm(Vd<double>* pvdfT, A<unsigned char*>* paPVdfX,
                                              Vd<double>* pvdfMs, A<unsigned char*>* paPVdfF,
                                              A<unsigned char*>* paPVdfM, double fFcThrustMax,
                                              double fMsEmpty, A1Val<void*>* parPArPPtVtxPgnGnd);

// One line for a user, no prefix and no newline, e.g. "plan: thruster 3
// needs 520.1000 N at t = 2.3100 s, 26.7667 N above its share of the maximum
// thrust (493.3333 N), from t = 2.1000 to 2.5200 s" (the stretch is left out
// when it is one sample). Numbers as "%.4f", like the listing.
std::string szPlanViolation(const PlanViolation& violation);

// ---- landing miss --------------------------------------------------------------

struct LandingMiss {
    bool bPlan;     // a plan to compare with exists (else the first three are 0)
    double fXPlan;  // planned end point: the last analysis sample, m
    double fZPlan;
    double fDist;   // distance between the two points in the x-z plane, m
    double fXRest;  // the last stored record, m
    double fZRest;
    double fTiRest;     // its time, s
    double fPitchRest;  // its pitch, rad
};

// False (and *plandingMiss untouched) for an empty run. paPVdfX may be null
// (no plan); otherwise its last sample is the planned end point.
bool bLandingMissFm(LandingMiss* plandingMiss, A<unsigned char*>* paPVdfX, A1Val<double>& arFTiData,
                    A1Val<void*>& arPStvehicle);

// "landing miss 0.2335 m: planned end (28.5000, 0.0000) m, run ends at
// (28.7300, -0.0400) m at t = 7.75 s; pitch at rest -0.0001 rad (-0.01 deg)";
// without a plan, the end of the run and the pitch only.
std::string szLandingMiss(const LandingMiss& landingMiss);

// ---- the workbench's plan and run ----------------------------------------------

// All of the above for a workbench's plan (plan/planstate.h), stored run
// (sim/fltsim.h), vehicle and ground (sim/params.h).
struct PlotData {
    std::vector<PlotCurve> vecCurvePlan;      // empty without a plan
    std::vector<PlotCurve> vecCurveRun;       // empty without a stored run
    std::vector<PlanViolation> vecViolation;  // of the plan
    bool bLanding = false;                    // a run exists: landingMiss is set
    LandingMiss landingMiss{};
};

struct Workbench;
std::vector<PlotCurve> vecCurvePlanFmWorkbench(Workbench& wb);
std::vector<PlotCurve> vecCurveRunFmWorkbench(Workbench& wb);
std::vector<PlanViolation> vecPlanViolationFmWorkbench(Workbench& wb);
bool bLandingMissFmWorkbench(Workbench& wb, LandingMiss* plandingMiss);
PlotData plotDataFmWorkbench(Workbench& wb);

// ---- CSV export ----------------------------------------------------------------
// A header row of column names with their SI units, then one row per record
// or sample; numbers in the shortest form that reads back to the same double,
// with a decimal point whatever the locale. Return false, with errno set,
// when the file cannot be written (a file that fails half-way is left as it
// is).

// "t_s,x_m,z_m,vx_m_s,vz_m_s,pitch_rad,pitch_rate_rad_s,mass_kg,
//  pitch_inertia_kg_m2,thrust_cmd_N,thrust_act_N,moment_cmd_N_m,moment_act_N_m"
extern const char szRunCsvHeader[];
bool bWriteRunCsv(const char* szFile, A1Val<double>& arFTiData, A1Val<void*>& arPStvehicle);

// "t_s,x_m,z_m,vx_m_s,vz_m_s,ax_m_s2,az_m_s2,pitch_rad,pitch_rate_rad_s,
//  pitch_accel_rad_s2,mass_kg,force_x_N,force_z_N,thrust_N,moment_N_m,
//  thruster1_N,thruster2_N,thruster3_N"
extern const char szPlanCsvHeader[];
bool bWritePlanCsv(const char* szFile, Vd<double>* pvdfT, A<unsigned char*>* paPVdfX,
                   Vd<double>* pvdfPitch, A<unsigned char*>* paPVdfXDot, Vd<double>* pvdfPitchDot,
                   A<unsigned char*>* paPVdfXDot2, Vd<double>* pvdfPitchDot2, Vd<double>* pvdfMs,
                   A<unsigned char*>* paPVdfF, A<unsigned char*>* paPVdfM);

// The workbench's: false with errno 0 when there is nothing to write.
bool bWriteRunCsvFmWorkbench(Workbench& wb, const char* szFile);
bool bWritePlanCsvFmWorkbench(Workbench& wb, const char* szFile);
