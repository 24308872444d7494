// Flying a flight plan file, and the run report "results.txt".
//
// flyScheduleFile() is the whole simulate chain of the `s` command short of
// the display: read the command schedule, build the dynamics model over a
// scenario's planet, vehicle and ground, start from its stvehicle3dof0 at
// t = 0 and fly for up to 30 s, storing a record every 0.05 s.
// writeResultsTxt() writes a stored run as the fixed-width table
// "results.txt".
#pragma once

#include "core/array.h"
#include "sim/fltsim.h"

// The settings of every flight the program flies: the simulate command, the
// dispersion runs, the benchmarks and the tests all take them from here.
struct FlightSettings {
    double fTiIC = 0.0;         // start time, s
    double fTiMax = 30.0;       // final time, s
    double fDTiData = 0.05;     // output interval (and first trial step), s
    double fDTiStepMin = 1e-6;  // smallest useful step, s
    Long iNStepMax = 20000;     // most integration steps
    double fTolIntg = 0.001;    // every state's absolute error allowance (and rest thresholds)
};

// sim() with the given settings from the state record st0.
void flyModel(A1Val<double>* parFTiData, A1Val<void*>* parPStvehicle, ArFFnFArFModel* pmodel,
              Stvehicle3dof const& st0, FlightSettings const& fs = FlightSettings(),
              SimReport* preport = nullptr);

// Reads the schedule in szFltplan into the three arrays (re-sized to
// 1..nCmd) and closes the file again. A file that cannot be opened is a fatal
// error naming it ("can't open flight plan NAME"); a malformed schedule ends
// as readCmdsFromPFILE describes.
void readScheduleFile(const char* szFltplan, A1Val<double>* parFTiCmd,
                      A1Val<double>* parFFcThrustCmd, A1Val<double>* parFMmPitchCmd);

// Reads the schedule from szFltplan (closed again before the flight starts)
// and flies it with the default FlightSettings in the scenario sc, from its
// stvehicle3dof0. The saved times and records go to *parFTiData and
// *parPStvehicle (1..nData); the caller owns the records and should release
// any previous ones first (deleteStoredRun), as they are overwritten.
//
// A file that cannot be opened is a fatal error naming it ("can't open flight
// plan NAME"); a malformed schedule ends as readCmdsFromPFILE describes.
void flyScheduleFile(Scenario& sc, const char* szFltplan, A1Val<double>* parFTiData,
                     A1Val<void*>* parPStvehicle, SimReport* preport = nullptr);

// Frees the records of a stored run and leaves both arrays empty (1..0).
void deleteStoredRun(A1Val<double>* parFTiData, A1Val<void*>* parPStvehicle);

// Writes a stored run to szFile: a header line, then one line per record
// with time, x, z, pitch (deg), vx, vz, pitch rate (deg/s) and mass as
// "%8.2lf" and thrust command, thrust, moment command and moment as "%8.1lf".
// Only pitch and pitch rate are converted. A file that cannot be opened for
// writing is skipped silently (the report is not written, the run stays).
void writeResultsTxt(const char* szFile, A1Val<double>& arFTiData, A1Val<void*>& arPStvehicle);
