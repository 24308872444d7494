// Flying a flight plan file, and the run report "results.txt".
//
// flyScheduleFile() is the whole simulate chain of the `s` command short of
// the display: read the command schedule, build the dynamics model over the
// program's planet and vehicle, start from stvehicle3dof0 at t = 0 and fly
// for up to 30 s, storing a record every 0.05 s. writeResultsTxt() writes a
// stored run as the fixed-width table "results.txt". initParams() must have
// run first.
#pragma once

#include "core/array.h"
#include "sim/fltsim.h"

// Reads the schedule from szFltplan (closed again before the flight starts)
// and flies it with the program's fixed settings: fTiIC 0 s, fTiMax 30 s,
// output interval 0.05 s, smallest step 1e-6 s, at most 20000 steps, all
// five tolerances 0.001. The saved times and records go to *parFTiData and
// *parPStvehicle (1..nData); the caller owns the records and should release
// any previous ones first (deleteStoredRun), as they are overwritten.
//
// A file that cannot be opened is a fatal error naming it ("can't open flight
// plan NAME"); a malformed schedule ends as readCmdsFromPFILE describes.
void flyScheduleFile(const char* szFltplan, A1Val<double>* parFTiData, A1Val<void*>* parPStvehicle);

// Frees the records of a stored run and leaves both arrays empty (1..0).
void deleteStoredRun(A1Val<double>* parFTiData, A1Val<void*>* parPStvehicle);

// Writes a stored run to szFile: a header line, then one line per record
// with time, x, z, pitch (deg), vx, vz, pitch rate (deg/s) and mass as
// "%8.2lf" and thrust command, thrust, moment command and moment as "%8.1lf".
// Only pitch and pitch rate are converted. A file that cannot be opened for
// writing is skipped silently (the report is not written, the run stays).
void writeResultsTxt(const char* szFile, A1Val<double>& arFTiData, A1Val<void*>& arPStvehicle);
