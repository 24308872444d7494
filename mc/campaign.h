// Flying a landing-dispersion campaign: many flights of one command schedule,
// each with the vehicle and its start perturbed.
//
// Every run is a complete flight exactly as the simulate command flies it:
// the same dynamics model (ArFFnFArFModel), the same driver (sim) and stepper
// (rk5StepQC) with the same settings (0 to 30 s, a record every 0.05 s,
// smallest step 1e-6 s, at most 20000 steps, all tolerances 0.001). What
// differs is that each run has its own copies of everything the flight
// writes or the deviations change: the vehicle and planet records, the
// schedule arrays, the model (whose flags are members) and the initial state.
// The slope at the landing site is per thread in the model. A run with every
// deviation 0 is therefore the very flight of the simulate command: its rest
// point is the last record of "results.txt".
//
// The schedule is read once (McSchedule) and copied into each run's arrays;
// the scenario (sim/params.h) is only read, so one serves every thread.
//
// Run numbers are 1..nRun; a result array is indexed like the list of run
// numbers it was flown for. Results are plain fixed-size records, so they can
// be sent between processes as bytes.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "core/array.h"
#include "core/types.h"
#include "mc/dispersion.h"
#include "sim/flight.h"
#include "guide/guidance.h"
#include "sim/params.h"

// Settings of every flight (those of the simulate command).
constexpr double fTiMaxMc = FlightSettings{}.fTiMax;
constexpr double fDTiDataMc = FlightSettings{}.fDTiData;
constexpr double fDTiStepMinMc = FlightSettings{}.fDTiStepMin;
constexpr Long iNStepMaxMc = FlightSettings{}.iNStepMax;
constexpr double fTolIntgMc = FlightSettings{}.fTolIntg;

// |pitch| below this at rest counts as upright: 10 degrees.
constexpr double fRdnUprightMc = 0.17453292519943295;

// The command schedule, read once.
struct McSchedule {
    A1Val<double> arFTiCmd{0};
    A1Val<double> arFFcThrustCmd{0};
    A1Val<double> arFMmPitchCmd{0};
};

// Reads a schedule from an open file (the rules and fatal errors of
// readCmdsFromPFILE; szFile names it in messages).
void readMcSchedule(McSchedule* psched, std::FILE* pfile, const char* szFile);

// Why a flight ended.
enum McStop : Long {
    mcStopEnd = 0,     // reached 30 s
    mcStopRest = 1,    // came to rest before 30 s
    mcStopStep = 2,    // the step size collapsed ("Step size too small")
    mcStopUnphysical = 3  // not flown: the drawn vehicle was not physical
};
const char* szMcStop(Long iStop);  // "end", "rest", "step", "unphysical"

// The drawn deviations of one run, indexed by McParam.
struct McInputs {
    double arFDev[nMcParam] = {};
};

// A guided campaign: every run flies the plan with the law of guide/guidance.h,
// tracking one reference built once from the undispersed plan, vehicle and
// start (read only, shared by every thread). The law knows the vehicle only
// as modelled (the program's vehicle and planet); the run's errors act on
// what it commands (see mc/dispersion.h), and the sensor noises of the
// dispersion file on what it sees.
struct McGuided {
    GuidanceRef const* pref = nullptr;
    GuidanceGains gains{};
    std::uint64_t uRngSeed = 0;          // the campaign's seed (sensor streams)
    McPerturbation arPertSensor[nMcSensor];
};

// The deviations of run iRun (1..nRun) of a campaign.
McInputs mcInputsForRun(McDispersion const& disp, Long iRun);

// One run's inputs and outcome. The rest point is the last record the
// driver stored (as in "results.txt"); pitch at rest is that record's pitch.
struct McRunResult {
    Long iRun;          // run number (1..nRun; 0 for the undispersed flight)
    Long iStop;         // McStop
    Long bTouchdown;    // the model registered a touchdown (and cut the engine)
    Long bUpright;      // touched down and |pitch at rest| < 10 deg (pitch taken
                        // modulo one turn, into -180..180 deg)
    Long bRanDry;       // the mass reached fMsEmpty before touchdown
    Long nStep;         // integration steps taken
    double arFDev[nMcParam];  // the drawn deviations
    double fTiRest;     // time of the last record, s
    double fXfRest;     // rest point, m
    double fZfRest;
    double fPitchRest;  // rad, as integrated (not wrapped)
    double fTiTouchdown;   // s; 0 without a touchdown
    double fVeXfTouchdown; // m/s, velocity at touchdown
    double fVeZfTouchdown;
    double fMsPropLeft;    // kg of propellant left: mass at rest - fMsEmpty
};

// No padding: results are compared and sent between processes as bytes.
static_assert(sizeof(McRunResult) == 6 * sizeof(Long) + (nMcParam + 8) * sizeof(double),
              "McRunResult must have no padding");

// Flies one run: the schedule and the scenario's vehicle, planet, ground and
// initial state with the deviations applied (a deviation of exactly 0 leaves its
// value untouched, bit for bit). A drawn vehicle with a mass, exhaust speed
// or drag area that is not physical (mass <= 0, exhaust speed <= 0, a
// negative drag area) is not flown: iStop = mcStopUnphysical and the rest
// point is the start point.
//
// The work arrays are the caller's (one set per thread) so that a run
// allocates nothing of its own beyond the driver's records.
struct McWork {
    McSchedule sched;  // this run's schedule, overwritten by every run
    A1Val<double> arFStateIC{0};
    A1Val<double> arFTiData{0};
    A1Val<void*> arPStvehicle{0};
};
// With pguided, the run is flown guided (run 0, the undispersed flight,
// without sensor noise). With bKeepRecords the run's records stay in
// pwork->arFTiData and pwork->arPStvehicle for the caller, who then owns them
// (deleteStoredRun); otherwise they are released here. preport, when given,
// receives the driver's report of the flight (untouched for a run that is
// not flown).
McRunResult mcRunFly(Scenario& sc, McSchedule const& sched, McInputs const& inputs, Long iRun,
                     McWork* pwork, McGuided const* pguided = nullptr,
                     bool bKeepRecords = false, SimReport* preport = nullptr);

// The run numbers that process iRank of nRank flies: iRank + 1, iRank + 1 +
// nRank, ... (cyclic, so long and short flights mix on every process).
std::vector<Long> aiMcRunsOfRank(Long nRun, Long iRank, Long nRank);

// Flies the runs aiRun[0..n-1] on nThread threads (nThread >= 1; the calling
// thread waits, or reports progress through fnProgress every 200 ms when it
// is given, with the number of runs done so far). arResult[i] receives run
// aiRun[i], whatever thread flew it.
void mcFlyRuns(Scenario& sc, McRunResult* arResult, std::vector<Long> const& aiRun,
               McSchedule const& sched, McDispersion const& disp, Long nThread,
               void (*fnProgress)(Long nDone, Long nTotal, void* pv) = nullptr,
               void* pvProgress = nullptr, McGuided const* pguided = nullptr,
               std::atomic<Long>* aiRunInFlight = nullptr);

// Most threads of one mcFlyRuns. With aiRunInFlight (nMcThreadSlot slots),
// mcFlyRuns keeps there the run each thread is flying right now (0 when
// idle): the program's abort report names the runs in flight when a flight
// breaks one of the driver's assertions.
constexpr int nMcThreadSlot = 256;
