// The program-wide plan: the waypoint vector, the two B-spline fits, the
// sample times and the path analysis, and the planning chain of the `p`
// command that fills them.
//
// All of it is owned here and released only by the delete functions below
// (each frees its own globals and sets them to null). The window and the
// batch mode share it through the key commands.
//
// A plan exists when its analysis exists. After a failed fit ("couldn't
// solve") the waypoint vector that was read is kept, but there is no plan:
// the listing and the flight plan commands then do nothing.
#pragma once

#include <cstdio>

#include "core/mxtypes.h"

// ---- waypoints (deleteTraj1Params) ------------------------------------------------
extern Vd<double>* pvdfParamTraj1;            // the numbers of "traj1r.txt", 1..nParam
extern Vd<double>* pvdfTParamTraj1;           // waypoint times, 0..nPt-1
extern A<unsigned char*>* paPVdfXParamTraj1;  // waypoints (x, 0, z), 0..nPt-1

// ---- the fits (deleteTraj1Path) ---------------------------------------------------
extern double fTiTraj1;  // first waypoint time
extern double fTfTraj1;  // last waypoint time
extern Long nTraj1X, pTraj1X, mTraj1X;
extern Vd<double>* pvdfUKnotTraj1X;         // 0..mTraj1X
extern A<unsigned char*>* paPVdfXCpTraj1X;  // 0..nTraj1X, each over 1..1
extern Long nTraj1Z, pTraj1Z, mTraj1Z;
extern Vd<double>* pvdfUKnotTraj1Z;
extern A<unsigned char*>* paPVdfXCpTraj1Z;

// ---- sample times and analysis (deletePathAnalysis) ----------------------------------
// All indexed 0..N with N = 5 * (nTraj1X + nTraj1Z).
extern Vd<double>* pvdfT;
extern A<unsigned char*>* paPVdfX;
extern Vd<double>* pvdfPitch;
extern A<unsigned char*>* paPVdfXDot;
extern Vd<double>* pvdfPitchDot;
extern A<unsigned char*>* paPVdfXDot2;
extern Vd<double>* pvdfPitchDot2;
extern Vd<double>* pvdfMs;
extern A<unsigned char*>* paPVdfF;
extern A<unsigned char*>* paPVdfM;
extern double fHorzRange;
extern double fMsProp;
extern double fFThrusterMin;
extern double fFThrusterMax;

void deleteTraj1Params();
void deleteTraj1Path();
void deletePathAnalysis();

// Planning steps 1-5: releases the old plan, reads szFile, fits, builds the
// N+1 sample times (the first exactly fTiTraj1, the last exactly fTfTraj1)
// and analyses the path. Returns false when the fit fails ("couldn't solve"):
// no plan exists then. A plan whose analysis holds a number that is not
// finite (a path in free fall leaves the pitch rates undefined) is treated
// the same way and released. Fatal errors of the reader and the fit end the
// program as described in plan/wptfpln.h.
bool bPlanTraj1FromFile(const char* szFile);

// Steps 1 and 3-5 on waypoint numbers already read (t x z ..., 1..nParam, as
// the reader returns them); the plan takes the vector over. The caller has
// checked what the reader checks (finite numbers).
bool bPlanTraj1FromParams(Vd<double>* pvdfParam);

// True when an analysed plan exists.
bool bPlanExists();

// Planning steps 6-7 after a successful fit: the SUMMARY on pfileOut,
// preceded and followed by one "\n", with the standard-output indentation;
// then "fltplan.txt".
void printPlanSummary(std::FILE* pfileOut);

// The whole `p` command on "traj1r.txt": steps 1-7. Returns false, having
// printed and written nothing, when the fit fails.
bool bRunPlanCommand(std::FILE* pfileOut);

// The report files of the current plan; with no plan they do nothing. A file
// that cannot be created is skipped with one line on standard error.
void writeFltplanTxt();  // "fltplan.txt"
void writeTraj1lTxt();   // "traj1l.txt"
