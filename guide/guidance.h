// The guided flight: a feedback law that tracks the flight plan.
//
// The open-loop flight (`s`) plays the schedule of "fltplan.txt" and lands
// where planned only when the vehicle is exactly as modelled. The guided
// flight flies the same model with the same driver and stepper; only the
// commands differ. At a fixed control rate (50 Hz by default) the law reads
// the state (position, velocity, pitch, pitch rate, possibly with sensor
// noise), compares it with the reference at that time, and sets thrust and
// pitch-moment commands that the vehicle then holds until the next update:
// the plan's own thrust and moment plus corrections from the errors, clamped
// to what the vehicle can give.
//
// The reference. The law must work from the flight plan file alone, which
// holds thrust and moment against time but not the path. The plan derived
// those from its path by inverse dynamics (no drag, thrust along the body
// axis, the moment giving the pitch acceleration, the mass burnt by explicit
// Euler steps between its samples). Integrating the same equations forward
// from the vehicle's start, with the schedule interpolated by cubics through
// its rows (error O(h^4) against O(h^2) for the linear look-up of `s`),
// gives the plan's path back to within millimetres: that is the reference
// (GuidanceRef). It is built once per plan and shared, read only, by every
// flight of it.
//
// The landing phase. The plan ends on the ground at rest, still moving
// sideways until its last instant. The reference instead arrives
// landing_height above the end point, its vertical offset ramped in by a
// quintic over the last landing_time seconds of the plan so that position,
// velocity and acceleration stay continuous and it leaves the plan's end
// descending at landing_speed; then it comes straight down at landing_speed,
// upright, over the end point (thrust = weight, no moment) until the model
// registers ground contact, which cuts the engine. A flight that never
// touches down (a plan that ends in the air, or cannot be tracked) descends
// until the time limit, or until it runs dry: sim() reports it as it does
// for `s`.
//
// The law (guidanceCmds) is a cascade: position and velocity errors give a
// correction of the force vector; its direction is the pitch to hold and its
// component along the body axis the thrust; the pitch and pitch-rate errors
// give the moment. Its gains come from pole placement on the model
// linearised about hover (guidanceGainsFm); the derivation is beside the
// arithmetic in guidance.cpp.
#pragma once

#include <string>
#include <vector>

#include "core/types.h"
#include "sim/fltsim.h"
#include "sim/flight.h"
#include "sim/params.h"

// The settings of "guidance.txt": one "name value" per line, '#' starts a
// comment, blank lines are ignored. A bandwidth of 0 (the default) means
// "derived from the vehicle" (guidanceGainsFm).
//
//   control_rate        Hz     law updates per second            (50; 1..1000)
//   attitude_bandwidth  rad/s  pitch loop                        (derived; > 0)
//   position_bandwidth  rad/s  horizontal position loop          (derived; > 0)
//   vertical_bandwidth  rad/s  height loop                       (derived; > 0)
//   damping             -      damping ratio of every loop       (0.8; 0.1..2)
//   landing_height      m      height of the vertical descent    (0.3; 0..10)
//   landing_speed       m/s    speed of the vertical descent     (0.4; 0.05..3)
//   landing_time        s      the end of the plan over which the
//                              descent is blended in             (1.2; 0.1..10)
struct GuidanceSettings {
    double fHzControl = 50.0;
    double fOmegaPitch = 0.0;
    double fOmegaX = 0.0;
    double fOmegaZ = 0.0;
    double fZeta = 0.8;
    double fZfLanding = 0.3;
    double fVeLanding = 0.4;
    double fDTiLanding = 1.2;
};

// Parses the text of a guidance file. False with *pszErr = "NAME:LINE:
// problem" at the first bad line (unknown name, missing value, bad number,
// extra field, value out of range, name given twice).
bool bParseGuidanceText(GuidanceSettings* pgs, const std::string& szText, const char* szFileName,
                        std::string* pszErr);

// Reads szFile; a file that does not exist gives the defaults (true), one
// that exists but cannot be read "can't read guidance file NAME".
bool bReadGuidanceFile(GuidanceSettings* pgs, const char* szFile, std::string* pszErr);

// The gains of the law (guidance.cpp derives them).
struct GuidanceGains {
    double fOmegaPitch, fOmegaX, fOmegaZ, fZeta;  // the bandwidths used, rad/s
    double fKPX, fKDX;          // horizontal: 1/s^2, 1/s
    double fKPZ, fKDZ;          // vertical: 1/s^2, 1/s
    double fKPitch, fKPitchDot; // pitch: 1/s^2, 1/s
};
GuidanceGains guidanceGainsFm(GuidanceSettings const& gs, Vehicle const& vehicle,
                              Planet const& planet);

// The range of pitch moment [*pfLo, *pfHi] the vehicle can give at a thrust:
// the vehicle's own limits (|M| <= fMmPitchMax and <= fMmOvFcMax * thrust)
// and those of its three thrusters (each between 0 and a third of the
// maximum thrust, 120 degrees apart on an arm of 0.8 m: thrusters 1 and 2
// carry T/3 - M/1.6, thruster 3 carries T/3 + M/0.8). Empty thrust: [0, 0].
void mmPitchRangeAtFFc(double* pfLo, double* pfHi, double fFcThrust, Vehicle const& vehicle);

// One point of the reference, at a control update time.
struct GuidanceRefPoint {
    double fXf, fZf, fVeXf, fVeZf;  // m, m/s
    double fAcXf, fAcZf;            // acceleration, m/s^2
    double fPitch, fPitchDot;       // rad, rad/s
    double fFcThrust, fMmPitch;     // the plan's commands, N, N*m
    double fMs, fIPitch;            // kg, kg*m^2
};

// What the law sees of the vehicle.
struct GuidanceMeas {
    double fXf, fZf, fVeXf, fVeZf, fPitch, fPitchDot;
};

// The law: commands from the reference point and the measured state. The
// result always lies within the vehicle's limits: thrust in [0,
// fFcThrustMax] (lowered near full thrust when the moment needs the room:
// attitude first), then the moment in mmPitchRangeAtFFc of that thrust.
// With a non-finite input it is the plan's thrust (clamped) and no moment.
void guidanceCmds(double* pfFcThrustCmd, double* pfMmPitchCmd, GuidanceGains const& gains,
                  GuidanceRefPoint const& ref, GuidanceMeas const& meas, Vehicle const& vehicle,
                  double fAcG);
// The same with sin and cos of meas.fPitch given.
void guidanceCmds(double* pfFcThrustCmd, double* pfMmPitchCmd, GuidanceGains const& gains,
                  GuidanceRefPoint const& ref, GuidanceMeas const& meas, Vehicle const& vehicle,
                  double fAcG, double fSinPitch, double fCosPitch);

// The law's pitch error wrapped into [-pi, pi]: remainder(d, 2 pi), with
// 2 pi the double 2 * 3.141592653589793.
double fPitchErrWrapped(double fDPitch);

// The reference of one plan (see the top of this file).
class GuidanceRef {
public:
    // Built from the schedule (1..n, as readCmdsFromPFILE gives it), the
    // vehicle, gravity and the start of the flight.
    GuidanceRef(A1Val<double> const& arFTiCmd, A1Val<double> const& arFFcThrustCmd,
                A1Val<double> const& arFMmPitchCmd, Vehicle const& vehicle, Planet const& planet,
                Stvehicle3dof const& st0, double fTiIC, GuidanceSettings const& gs);

    double fTiIC() const { return fTi0; }
    double fDTiControl() const { return fDTiCtl; }
    // Update k's time: fTiIC + k * fDTiControl, computed so.
    double fTiUpdate(Long k) const { return fTi0 + static_cast<double>(k) * fDTiCtl; }
    // The reference at update k >= 0.
    GuidanceRefPoint refAt(Long k) const;
    // End of the plan and the point the landing comes down on.
    double fTiPlanEnd() const { return fTiEnd; }
    double fXfLanding() const { return fXfEnd; }
    double fZfLanding() const { return fZfEnd; }

private:
    double fTi0, fDTiCtl, fTiEnd;
    double fXfEnd, fZfEnd, fMsEnd;
    double fAcG, fIsp;
    double fZfLift, fVeDescent;
    Vehicle vehicleRef;
    std::vector<GuidanceRefPoint> arRef;  // updates 0..K, up to the plan's end
};

// Noise on what the law sees, one draw per update (the dispersion runs).
class GuidanceNoise {
public:
    virtual ~GuidanceNoise() = default;
    // Adds noise to the measurement of update iUpdate (0, 1, ...).
    virtual void addNoise(Long iUpdate, GuidanceMeas* pmeas) = 0;
};

// The command source of a guided flight: the law at every update time,
// its commands held until the next. A vehicle that is not as modelled is
// given by the three error fields (defaults: none): the thrust it delivers is
// the command times fFcThrustScale, its moment the command plus fMmPitchBias,
// and a command takes effect fDTiDelay after its update (a delay below 0
// counts as 0: a command cannot act before it is computed; at most 63
// control periods). After touchdown (the engine is off) no more updates.
class GuidedCmds final : public CmdSource {
public:
    GuidedCmds(GuidanceRef const& ref, GuidanceGains const& gains, Vehicle const& vehicleLaw,
               double fAcG);

    double fFcThrustScale = 1.0;
    double fMmPitchBias = 0.0;
    double fDTiDelay = 0.0;
    GuidanceNoise* pnoise = nullptr;

    void startRun(double fTiIC) override;
    double fTiNextEvent() const override;
    void atEvent(double fTi, A1Val<double> const& arFState, ArFFnFArFModel* pmodel) override;

    Long nUpdate() const { return kNext; }

private:
    static constexpr int nPendingMax = 64;
    struct Pending {
        double fTi, fFcThrust, fMmPitch;
    };
    GuidanceRef const& ref;
    GuidanceGains gains;
    Vehicle vehicleLaw;
    double fAcG;
    Long kNext = 0;
    bool bUpdatesDone = false;
    Pending arPending[nPendingMax];
    int iPendingFirst = 0;
    int nPending = 0;
};

// The `g` chain: the settings of szGuidance (when it exists), the schedule
// of szFltplan (its errors as for flyScheduleFile: fatal), the reference,
// and the guided flight in the scenario sc from its stvehicle3dof0 with the
// default FlightSettings. A bad guidance file flies nothing and returns
// false with the message.
bool bFlyGuidedScheduleFile(Scenario& sc, const char* szFltplan, const char* szGuidance,
                            A1Val<double>* parFTiData, A1Val<void*>* parPStvehicle,
                            std::string* pszErr, SimReport* preport = nullptr);
