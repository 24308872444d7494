// Vehicle dynamics, the simulation driver, the command schedule and the
// look-up of a stored run.
//
// The vehicle moves in the vertical x-z plane and pitches about y: three
// degrees of freedom plus the mass. The integrator's state vector is an
// A1Val<double> over 1..7 in this order, which is NOT the field order of the
// state record Stvehicle3dof (sim/params.h):
//
//   index  1    2    3      4     5     6          7
//   state  fXf  fZf  fPitch fVeXf fVeZf fPitchDot  fMs
//
// ArFFnFArFModel turns a time table of thrust and pitch-moment commands,
// gravity, drag and a penalty-spring ground contact into the derivative of
// that vector; sim() integrates it with rk5StepQC and stores a record at
// every output time; readCmdsFromPFILE() reads the command table;
// stvehicle3dofAtFTi() interpolates a stored run.
//
// Ownership: records handed out by pstFmArFState() and by sim() belong to
// the caller (free them with delete, or deleteStoredRun() in sim/flight.h).
#pragma once

#include <bit>
#include <cstdio>

#include "core/array.h"
#include "core/types.h"
#include "geom/geom4h.h"
#include "numerics/odeint.h"
#include "sim/ground.h"
#include "sim/params.h"

// Number of integrator states: x, z, pitch, vx, vz, pitch rate, mass.
constexpr Long iNStateVehicle = 7;

// One node of a singly linked list of saved states.
struct ListStvehicle3dof {
    double fTi;                    // time of the state, s
    Stvehicle3dof* pst;            // heap record (may be null)
    ListStvehicle3dof* plistTail;  // next node or null
};

// Frees every node of a list and the record each node points to.
void deleteListStvehicle3dof(ListStvehicle3dof* plist);

// A new heap record from a state vector (order above, indices 1..7) and the
// five values the vector does not hold. The caller owns it.
Stvehicle3dof* pstFmArFState(A1Val<double>& arFState, double fIPitch, double fFcThrustCmd,
                             double fFcThrustAct, double fMmPitchCmd, double fMmPitchAct);

// Placement of a state for drawing: mxF maps body coordinates to the flight
// frame (ptXgm3c(x4h, ptBody) is the point in the flight frame), mxFInv the
// reverse. The body axes are those of the drag computation: body z along the
// thrust, so with pitch p the body z axis points along (-sin p, 0, cos p).
X4h xgmFFmB_Fm_PStvehicle3dof(Stvehicle3dof* pstvehicle3dof);

class ArFFnFArFModel;

// Commands computed during the flight instead of read from the schedule (the
// guided flight, guide/guidance.h). Attached to a model (pcmdsource), it owns
// the model's held commands: sim() lands a step start exactly on every event
// time the source names (no step straddles one) and, at the start of that
// step, calls atEvent() with the accepted state, which may write new held
// commands into the model. Between events the commands do not change.
class CmdSource {
public:
    virtual ~CmdSource() = default;
    // A run starts at fTiIC: forget everything of the previous run.
    virtual void startRun(double fTiIC) = 0;
    // The next time at which the commands may change; +inf when none is left.
    virtual double fTiNextEvent() const = 0;
    // The event at fTiNextEvent(), reached at fTi (equal to it within the
    // driver's smallest step) with the accepted state (1..7, the order
    // above). Advances fTiNextEvent().
    virtual void atEvent(double fTi, A1Val<double> const& arFState, ArFFnFArFModel* pmodel) = 0;
};

// The derivative of the vehicle state: arFAtFArF(parFDeriv, t, state).
//
// The command schedule (arFTiCmd ascending, thrust, moment; 1..nCmd) is held
// by reference: the arrays must outlive the model. Between the schedule
// times the commands are interpolated linearly; before the first and after
// the last time they are zero.
//
// Three flags record the flight's history; sim() clears them at the start of
// a run and only arFAtFArF() sets them:
//   bClearedGnd  the vehicle has once been higher than 1.0 m (there is no
//                ground reaction before that: a vehicle that never rises
//                above 1 m passes through the ground);
//   bEngineOff   thrust and moment are forced to zero for the rest of the run;
//   bLanded      the vehicle has touched down after clearing the ground.
// The flags are set inside every evaluation, including the stepper's trial
// evaluations that it later rejects (see arFAtFArF).
//
// The ground is the polygon array handed in (a scenario's arPArPPtVtxPgnGnd). The model computes its
// polygons' planes once per run, at the first contact query after sim()
// starts (or after construction), and uses them until the next run: the
// ground must not change during a run, nor must the vehicle (its inertia
// and mass flow are kept within a run).
class ArFFnFArFModel : public ArF64FnF64ArF64 {
public:
    ArFFnFArFModel(Planet* pplanetIn, Vehicle* pvehicleIn, A1Val<void*>* parPArPPtVtxPgnGndIn,
                   double fDTiIn, A1Val<double>& arFTiCmdIn, A1Val<double>& arFFcThrustCmdIn,
                   A1Val<double>& arFMmPitchCmdIn);

    // Writes the derivative of arFState (1..7) at fTi into *parFDeriv
    // (re-sized to the state's range). Allocates nothing once *parFDeriv has
    // seven elements.
    void arFAtFArF(A1Val<double>* parFDeriv, double fTi, const A1Val<double>& arFState) override;

    // The same derivative on plain arrays: pfState[0..6] is the state in the
    // order above (x, z, pitch, vx, vz, pitch rate, mass), pfDeriv[0..6]
    // receives its derivative. arFAtFArF() calls this; sim() calls it
    // directly from an inlined stepper when the model is exactly this class.
    void derivAt(double* pfDeriv, double fTi, const double* pfState);

    // Commands at a time: zero outside [first, last schedule time], zero
    // while the engine is off, otherwise linear between the two bracketing
    // rows (at the last time exactly, the last row). Two equal neighbouring
    // times at the interval used fail the assertion "fH != 0.0".
    //
    // The bracketing rows are those a bisection of the whole table finds.
    // In a table whose times never decrease (checked once per run, at the
    // first look-up after sim() starts) they are found from the last
    // bracket instead, as the flight's times mostly increase: the same rows
    // (see cmdFromTable in fltsim.cpp). The commands of the last time looked
    // up are kept for the next look-up of the same time. The schedule must
    // not change during a run.
    //
    // With a command source attached: the held commands (zero while the
    // engine is off), whatever the time; the schedule is not read.
    void cmdAtFTi(double* pfFcThrustCmd, double* pfMmPitchCmd, double fTi);

    Planet* pplanet;
    Vehicle* pvehicle;
    // The ground polygons (a scenario's arPArPPtVtxPgnGnd, sim/params.h).
    A1Val<void*>* parPArPPtVtxPgnGnd;
    double fDTi;  // kept as handed in; the model itself does not use it
    A1Val<double>& arFTiCmd;
    A1Val<double>& arFFcThrustCmd;
    A1Val<double>& arFMmPitchCmd;
    bool bClearedGnd;
    bool bEngineOff;
    bool bLanded;

    // The first touchdown of the run: the evaluation in which bLanded is
    // first set (which may be a trial evaluation the stepper later rejects:
    // that is the moment the engine went off). Valid while bLanded.
    double fTiTouchdown;
    double fVeXfTouchdown;
    double fVeZfTouchdown;
    // Ground slope angle (rad) at the point of the first touchdown: written
    // at the first ground contact of a run, before it is read.
    double fPitchGndAtLandingSite = 0.0;

    // The ground's planes for this run (see above); sim() clears
    // bPlnsGndTaken at the start of every run.
    bool bPlnsGndTaken;
    bool bPlnsGndUsable;
    PlnsGnd plnsGnd;

    // The guided flight: when pcmdsource is set, the commands are the held
    // pair below, written only by the source (sim() zeroes them at the start
    // of a run). Null for the open-loop flight.
    CmdSource* pcmdsource = nullptr;
    double fFcThrustHeld = 0.0;
    double fMmPitchHeld = 0.0;

    // sin and cos of fPitch, kept for the next call or evaluation at the
    // same double (the same argument gives the same result). A command
    // source that needs them at the state its run's next evaluation starts
    // from asks here, and that evaluation finds them kept.
    void sinCosPitch(double* pfSin, double* pfCos, double fPitch);

    // Forgets what the model keeps between evaluations for speed: the
    // schedule's check, last bracket and last commands, the last pitch's
    // sine and cosine, the inertia and mass flow kept within a run.
    // sim() calls it at the start of every run.
    void forgetKept();

private:
    void takePlnsGnd();
    // derivAt's body, inlined into the driver's stepper (fltsim.cpp only).
    // bInRun: called by sim() stepping this model itself (see
    // bCmdTableAsChecked).
    inline void derivInline(double* pfDeriv, double fTi, const double* pfState, bool bInRun);
    // cmdAtFTi with the repeated time answered in line (the stepper's stages
    // share times); cmdAtFTiLookUp checks a table other than the one checked
    // last, or reads one not read directly.
    inline void cmdInline(double* pfFcThrustCmd, double* pfMmPitchCmd, double fTi, bool bInRun);
    void cmdAtFTiLookUp(double* pfFcThrustCmd, double* pfMmPitchCmd, double fTi);
    // The look-up in the table checked last (pfTiCmdChecked, nCmdChecked),
    // its commands kept.
    void cmdFromCheckedTable(double* pfFcThrustCmd, double* pfMmPitchCmd, double fTi);
    // Whether the schedule is the table last checked, read directly. In a
    // run of sim() that steps this model itself (bInRun), nothing between
    // two of its evaluations touches the schedule arrays, and forgetKept()
    // at the run's start dropped any earlier check: a table checked in the
    // run stays as checked.
    inline bool bCmdTableAsChecked(bool bInRun) const;
    inline void sinCosPitchInline(double* pfSin, double* pfCos, double fPitch);
    friend struct ModelDerivInline;

    // The schedule table last looked up, whether its times never decrease,
    // the last bracket (its upper row), and the commands of the last time
    // looked up (bits iBitsTiCmdKept, with the engine state then).
    const double* pfTiCmdChecked = nullptr;
    Long nCmdChecked = 0;
    bool bCmdAscending = false;
    // ... whether they strictly increase (a look-up then never fails).
    bool bCmdStrict = false;
    Long iCmdHiLast = 2;
    bool bCmdKept = false;
    bool bEngineOffCmdKept = false;
    unsigned long long iBitsTiCmdKept = 0;
    double fFcThrustCmdKept = 0.0;
    double fMmPitchCmdKept = 0.0;

    // Sine and cosine of the pitch last asked for, whose bits are
    // iBitsPitchTrig (while bTrigKept).
    bool bTrigKept = false;
    unsigned long long iBitsPitchTrig = 0;
    double fSinPitchKept = 0.0;
    double fCosPitchKept = 0.0;

    // A value of one double, kept for the bits of the double it was taken
    // at: at(f, fn) is fn(f), computed only when f is not the last argument.
    struct KeptByBits {
        bool bKept = false;
        unsigned long long iBits = 0;
        double fValue = 0.0;
        template <class Fn>
        [[gnu::always_inline]] double at(double f, Fn fn) {
            const unsigned long long iBitsF = std::bit_cast<unsigned long long>(f);
            if (!bKept || iBitsF != iBits) {
                fValue = fn(f);
                iBits = iBitsF;
                bKept = true;
            }
            return fValue;
        }
        void forget() { bKept = false; }
    };
    // Within a run: the inertia at a mass, the mass flow at an actual thrust.
    KeptByBits inertiaKept, flowKept;

    // The slope of each ground polygon with a normal (plnsGnd.abNrm): the
    // angle atan2(-nx, nz), its cosine and its sine, taken with the planes.
    double aafSlopeGnd[PlnsGnd::nPgnMax][3] = {};
};

// Why a flight ended.
enum class SimStop {
    Rest,          // |vx|, |vz| and |pitch rate| below their thresholds
    TimeLimit,     // reached fTiMax
    StepTooSmall,  // the proposed step fell to fDTiStepMin or below
    TooManySteps   // iNStepMax steps were used (the run then fails an assertion)
};
// "rest", "time limit", "step too small", "too many steps".
const char* szSimStop(SimStop stop);

// What sim() tells about a flight besides its records.
struct SimReport {
    SimStop stop = SimStop::TimeLimit;
    Long nStep = 0;             // integration steps taken (accepted steps)
    double fDTiStepMin = 0.0;   // smallest and largest step taken, s
    double fDTiStepMax = 0.0;
    bool bTouchdown = false;    // the model registered a touchdown (engine cut)
    double fTiTouchdown = 0.0;  // its time, s, and the velocity then, m/s
    double fVeXfTouchdown = 0.0;
    double fVeZfTouchdown = 0.0;
    bool bRanDry = false;       // a step started at or below the empty mass before touchdown
    double fMsPropLeft = 0.0;   // final mass less the empty mass, kg
};

// Packs a state record into the integrator's order (x, z, pitch, vx, vz,
// pitch rate, mass), re-sizing *parFState to 1..7.
void stateFmStvehicle3dof(A1Val<double>* parFState, Stvehicle3dof const& st);

// Integrates the model from (fTiIC, arFStateIC) to fTiMax with rk5StepQC (a
// guided flight, with a command source: ck5StepQC) and
// stores a record at fTiIC and then every fDTiData.
//
// Inputs:
//   parFFnFArFModel  the model; its three flags are cleared here
//   arFStateIC       seven elements (order above), any index range
//   fTiMax           final time; must lie after fTiIC (integration runs
//                    forward only: otherwise "fTiMax = ..., fTiIC = ...,
//                    fDTi = ..." is printed and an assertion fails)
//   fDTiData         output interval, also the first trial step
//   fDTiStepMin      smallest useful step and time tolerance
//   iNStepMax        most integration steps; using them all prints "Too many
//                    steps" and fails an assertion
//   fTolIntg...      absolute error allowance per state (x and z share
//                    fTolIntgX, vx and vz fTolIntgXDot) and rest thresholds
// Outputs:
//   *parFTiData      the saved times, 1..nData
//   *parPStvehicle   the saved records, 1..nData, heap, owned by the caller
//                    (whatever the arrays held before is overwritten, not
//                    freed)
// Stops at fTiMax (whose record is the last), when the vehicle is at rest
// (|vx|, |vz| < fTolIntgXDot and |pitch rate| < fTolIntgThetaDot, wherever
// it is, with no record for the resting moment unless it falls on an output
// time), or when the proposed step is at most fDTiStepMin ("Step size too
// small" on standard output; the records so far are returned).
// When preport is given, the outcome is written there (see SimReport); for
// too many steps it is written before the assertion fails.
// With SimRecords::LastOnly the same steps are taken and the same records
// made, but only the last is handed out (1..1): a caller that wants the
// outcome alone, such as a dispersion campaign, is spared the others.
enum class SimRecords { All, LastOnly };
void sim(A1Val<double>* parFTiData, A1Val<void*>* parPStvehicle, ArFFnFArFModel* parFFnFArFModel,
         double fTiIC, A1Val<double>& arFStateIC, double fTiMax, double fDTiData,
         double fDTiStepMin, Long iNStepMax, double fTolIntgX, double fTolIntgXDot,
         double fTolIntgTheta, double fTolIntgThetaDot, double fTolIntgMs,
         SimReport* preport = nullptr, SimRecords records = SimRecords::All);

// Reads a command schedule from the open file's current position into the
// three arrays (re-sized to 1..nCmd); the caller opens and closes the file.
//
// Line 1 gives, as "%i %i", the line numbers (line 1 being this one) of the
// first and last data rows; the lines between are skipped unread. Each data
// row is "%lf %lf %lf": time (s, strictly ascending), thrust (N), moment
// (N*m). nCmd = last - first + 1. Read in 1024-byte pieces: a longer line is
// cut and its remainder read as the next line.
//
// Two rules keep the reader simple and are relied upon:
//   - a row that scans short keeps the previous row's values for the
//     numbers it lacks (0.0 before the first row);
//   - when the file ends before the last data line, the last line read is
//     repeated for the remaining rows.
// Bad input ends the program with a fatal error naming szFile (exit 1, the
// record in the run log): a first line without two integers, a first data
// line before line 2, a row count below 1 or above 1,000,000, a number
// that is not finite (with its line number), or a read error.
void readCmdsFromPFILE(A1Val<double>* parFTiCmd, A1Val<double>* parFFcThrustCmd,
                       A1Val<double>* parFMmPitchCmd, std::FILE* pfileIn,
                       const char* szFile = "command schedule");

// A stored run: the saved times and records of a simulation, 1..nData
// (empty until the first one). It owns the records and frees them with
// itself (deleteStoredRun, sim/flight.h, frees them earlier).
struct StoredRun {
    A1Val<double> arFTiData{0};
    A1Val<void*> arPStvehicle{0};

    StoredRun() = default;
    ~StoredRun();
    StoredRun(StoredRun const&) = delete;
    StoredRun& operator=(StoredRun const&) = delete;
};

// The state of the stored run at fTi, written into *pstvehicle3dof (the
// inertia from the vehicle's fIPitchAtFMs):
//   - no stored run: *pstvehicle3dof is left unchanged;
//   - fTi at or before the first time: the first record, unchanged;
//   - fTi after the last time: the last record, unchanged;
//   - otherwise every field linear between the two bracketing records, except
//     fIPitch, which is recomputed from the interpolated mass (so at exactly
//     the last time the result is the last record with fIPitch recomputed).
// Two equal neighbouring times at the interval used fail "fH != 0.0".
void stvehicle3dofAtFTi(Stvehicle3dof* pstvehicle3dof, double fTi, StoredRun& run,
                        Vehicle const& vehicle);
