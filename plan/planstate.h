// A plan: the waypoint vector, the two B-spline fits, the sample times and
// the path analysis, and the planning chain of the `p` command that fills
// them.
//
// All of it is owned by the PlanState and released only by the delete
// functions below (each frees its own members and sets them to null) and by
// its destructor. The window and the batch mode each hold one in their
// workbench and reach it through the key commands.
//
// A plan exists when its analysis exists. After a failed fit ("couldn't
// solve") the waypoint vector that was read is kept, but there is no plan:
// the listing and the flight plan commands then do nothing.
#pragma once

#include <cstdio>

#include "core/mxtypes.h"
#include "sim/params.h"

struct PlanState {
    // ---- waypoints (deleteTraj1Params) --------------------------------------------
    Vd<double>* pvdfParamTraj1 = nullptr;            // the numbers of "traj1r.txt", 1..nParam
    Vd<double>* pvdfTParamTraj1 = nullptr;           // waypoint times, 0..nPt-1
    A<unsigned char*>* paPVdfXParamTraj1 = nullptr;  // waypoints (x, 0, z), 0..nPt-1

    // ---- the fits (deleteTraj1Path) -----------------------------------------------
    double fTiTraj1 = 0.0;  // first waypoint time
    double fTfTraj1 = 0.0;  // last waypoint time
    Long nTraj1X = 0, pTraj1X = 0, mTraj1X = 0;
    Vd<double>* pvdfUKnotTraj1X = nullptr;         // 0..mTraj1X
    A<unsigned char*>* paPVdfXCpTraj1X = nullptr;  // 0..nTraj1X, each over 1..1
    Long nTraj1Z = 0, pTraj1Z = 0, mTraj1Z = 0;
    Vd<double>* pvdfUKnotTraj1Z = nullptr;
    A<unsigned char*>* paPVdfXCpTraj1Z = nullptr;

    // ---- sample times and analysis (deletePathAnalysis) --------------------------
    // All indexed 0..N with N = 5 * (nTraj1X + nTraj1Z).
    Vd<double>* pvdfT = nullptr;
    A<unsigned char*>* paPVdfX = nullptr;
    Vd<double>* pvdfPitch = nullptr;
    A<unsigned char*>* paPVdfXDot = nullptr;
    Vd<double>* pvdfPitchDot = nullptr;
    A<unsigned char*>* paPVdfXDot2 = nullptr;
    Vd<double>* pvdfPitchDot2 = nullptr;
    Vd<double>* pvdfMs = nullptr;
    A<unsigned char*>* paPVdfF = nullptr;
    A<unsigned char*>* paPVdfM = nullptr;
    double fHorzRange = 0.0;
    double fMsProp = 0.0;
    double fFThrusterMin = 0.0;
    double fFThrusterMax = 0.0;

    PlanState() = default;
    ~PlanState();
    PlanState(PlanState const&) = delete;
    PlanState& operator=(PlanState const&) = delete;

    void deleteTraj1Params();
    void deleteTraj1Path();
    void deletePathAnalysis();

    // Planning steps 1-5 in the scenario sc: releases the old plan, reads
    // szFile, fits, builds the N+1 sample times (the first exactly fTiTraj1,
    // the last exactly fTfTraj1) and analyses the path. Returns false when the
    // fit fails ("couldn't solve"): no plan exists then. A plan whose
    // analysis holds a number that is not finite (a path in free fall leaves
    // the pitch rates undefined) is treated the same way and released. Fatal
    // errors of the reader and the fit end the program as described in
    // plan/wptfpln.h.
    bool bPlanTraj1FromFile(Scenario const& sc, const char* szFile);

    // Steps 1 and 3-5 on waypoint numbers already read (t x z ...,
    // 1..nParam, as the reader returns them); the plan takes the vector over.
    // The caller has checked what the reader checks (finite numbers).
    bool bPlanTraj1FromParams(Scenario const& sc, Vd<double>* pvdfParam);

    // True when an analysed plan exists.
    bool bPlanExists() const;

    // Planning steps 6-7 after a successful fit: the SUMMARY on pfileOut,
    // preceded and followed by one "\n", with the standard-output
    // indentation; then "fltplan.txt".
    void printPlanSummary(Scenario const& sc, std::FILE* pfileOut) const;

    // The whole `p` command on "traj1r.txt": steps 1-7. Returns false, having
    // printed and written nothing, when the fit fails.
    bool bRunPlanCommand(Scenario const& sc, std::FILE* pfileOut);

    // The report files of the current plan; with no plan they do nothing. A
    // file that cannot be created is skipped with one line on standard error.
    void writeFltplanTxt() const;                     // "fltplan.txt"
    void writeTraj1lTxt(Scenario const& sc) const;  // "traj1l.txt"
};
