// The plan reports: the flight plan "fltplan.txt" (read back by the
// simulation as its command schedule), the path listing "traj1l.txt" and the
// SUMMARY block.
//
// The writers take the analysis arrays of analyzePathBSpline (all indexed
// like the sample times, any range) and write one row per sample from the
// first index to the last. They read only; nothing is released. Every array
// access is bounds-checked by the containers.
#pragma once

#include <cstdio>

#include "core/mxtypes.h"

// "fltplan.txt": line numbers of the first and last data row (3 and the
// sample count + 2; they are line numbers, not counts), a header, one row
// of time, thrust magnitude and pitch moment per sample, and an empty last
// line.
void writeFltplan(std::FILE* pfile, Vd<double>* pvdfT, A<unsigned char*>* paPVdfF,
                  A<unsigned char*>* paPVdfM);

// The SUMMARY block. fFcThrustMax is shared equally by three thrusters; the
// percentages are of one thruster's share. With bStdout the two thruster
// lines are indented by five blanks instead of four, as the copy on standard
// output has always been; nothing else differs.
void printSummary(std::FILE* pfile, bool bStdout, double fHorzRange, double fMsProp,
                  double fFThrusterMin, double fFThrusterMax, double fFcThrustMax);

// "traj1l.txt": one line per sample, an empty line, the SUMMARY block (four
// blank indentation) and a final newline. Angles are in radians.
void writeTraj1Listing(std::FILE* pfile, Vd<double>* pvdfT, A<unsigned char*>* paPVdfX,
                       Vd<double>* pvdfPitch, A<unsigned char*>* paPVdfXDot,
                       Vd<double>* pvdfPitchDot, A<unsigned char*>* paPVdfXDot2,
                       Vd<double>* pvdfPitchDot2, Vd<double>* pvdfMs, A<unsigned char*>* paPVdfF,
                       A<unsigned char*>* paPVdfM, double fHorzRange, double fMsProp,
                       double fFThrusterMin, double fFThrusterMax, double fFcThrustMax);
