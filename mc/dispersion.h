// The dispersion file of a landing-dispersion campaign, and the random draws.
//
// A dispersion file says how the vehicle and its start may differ from the
// model: one parameter a line, '#' starts a comment (anywhere on a line),
// blank lines are ignored, SI units. A perturbation line is
//
//     NAME  DEVIATION  [LOWER  UPPER]
//
// and means "add a normal deviate of mean 0 and standard deviation DEVIATION,
// kept within [LOWER, UPPER] when bounds are given". Two more lines give the
// size of the campaign and its random seed (rng_seed below):
//
//     runs      N          1 .. 100000000 flights (default 1000)
//     rng_seed  S          0 .. 18446744073709551615 (default 1)
//
// Perturbations (all optional; a parameter not named is not perturbed):
//
//     thrust_scale          relative thrust error e: every thrust command of
//                           the plan is multiplied by (1 + e)
//     moment_bias           N*m added to every pitch-moment command
//     exhaust_speed         m/s added to the vehicle's exhaust speed (fIsp)
//     initial_mass          kg added to the mass at the start; it is all
//                           propellant (the vehicle's take-off mass fMsGTO and
//                           the mass-inertia line stay as they are)
//     drag_scale            relative drag-area error e: fCdAX and fCdAZ are
//                           multiplied by (1 + e)
//     initial_pitch         rad, pitch at the start
//     initial_pitch_rate    rad/s, pitch rate at the start
//     initial_vx            m/s, horizontal velocity at the start
//     command_delay         s added to every time of the command schedule
//                           (a positive delay means the commands come late)
//
// In a guided campaign (vantorell-mc --guided) the law makes the commands, so
// the three command errors act on what the law commands: the thrust the
// vehicle gives is (1 + thrust_scale) times the command, the moment the
// command plus moment_bias, and each command takes effect command_delay
// after its update (a negative delay counts as 0). Four more lines, read by
// every campaign and used only by a guided one, add noise to the state the
// law sees, drawn afresh at every control update:
//
//     sensor_position       m, on x and on z (each its own draw)
//     sensor_velocity       m/s, on vx and on vz
//     sensor_pitch          rad
//     sensor_pitch_rate     rad/s
//
// A bad line is an error naming the file, the line and the problem, e.g.
// "dispersion.txt:7: unknown name 'thrust_scal'". Problems: unknown name,
// bad number, negative deviation, bounds reversed, bounds that do not contain
// 0, one bound only, a missing or extra field, a name given twice, runs or
// rng_seed out of range.
//
// Random draws: every run k (1..N) and every parameter j has a stream of its
// own, a splitmix64 sequence started from a hash of (random seed, k, j). A
// run's draws therefore depend neither on which thread or process flies it
// nor on the other parameters' settings. Normal deviates come from our own
// Box-Muller transform, so the numbers are the same with every compiler's
// standard library. A bounded deviate outside its bounds is drawn again from
// the same stream, up to 100 times; if all fall outside (only when the bounds
// are a tiny fraction of a deviation), the last draw is clamped to the nearer
// bound.
#pragma once

#include <cstdint>
#include <string>

#include "core/types.h"

// The perturbed parameters, in the order of the columns of mc_runs.csv.
enum McParam : int {
    mcParamThrustScale = 0,
    mcParamMomentBias,
    mcParamExhaustSpeed,
    mcParamInitialMass,
    mcParamDragScale,
    mcParamInitialPitch,
    mcParamInitialPitchRate,
    mcParamInitialVx,
    mcParamCommandDelay,
    nMcParam
};

// The sensor noises of a guided campaign.
enum McSensor : int {
    mcSensorPosition = 0,
    mcSensorVelocity,
    mcSensorPitch,
    mcSensorPitchRate,
    nMcSensor
};
const char* szMcSensorName(int iSensor);  // "sensor_position", ...

// Name of a parameter in the dispersion file ("thrust_scale", ...).
const char* szMcParamName(int iParam);

// One perturbation: normal, mean 0, standard deviation fSd >= 0; when
// bBounded, kept within [fLo, fHi] (fLo <= 0 <= fHi).
struct McPerturbation {
    double fSd = 0.0;
    bool bBounded = false;
    double fLo = 0.0;
    double fHi = 0.0;
    Long iLine = 0;  // line of the file that set it; 0 when not given
};

// A parsed dispersion file.
struct McDispersion {
    Long nRun = 1000;
    std::uint64_t uRngSeed = 1;  // random seed of the whole campaign
    McPerturbation arPert[nMcParam];
    McPerturbation arPertSensor[nMcSensor];
    Long iLineRuns = 0;     // lines that set runs and the random seed, 0 when not given
    Long iLineRngSeed = 0;
};

constexpr Long nMcRunMax = 100000000;

// Parses the text of a dispersion file. On success fills *pdisp and returns
// true; on the first bad line returns false with *pszErr = "NAME:LINE:
// problem" (szFileName is only used in the message).
bool bParseDispersionText(McDispersion* pdisp, const std::string& szText,
                          const char* szFileName, std::string* pszErr);

// Reads and parses a dispersion file; a file that cannot be read gives
// "can't read dispersion file NAME".
bool bReadDispersionFile(McDispersion* pdisp, const char* szFile, std::string* pszErr);

// ---- random draws ---------------------------------------------------------------

// A splitmix64 stream: every call of uNext() gives the next 64 random bits.
struct McRng {
    std::uint64_t uState;
    std::uint64_t uNext();
    // Uniform in [0, 1) with 53 random bits.
    double fUniform();
    // Standard normal by Box-Muller (two uniforms per deviate; the sine half
    // of the pair is not used, so one deviate is always two draws).
    double fNormal();
};

// The stream of parameter iParam of run iRun in a campaign with the given
// random seed.
McRng mcRngForRun(std::uint64_t uRngSeed, Long iRun, int iParam);

// The stream of the sensor noise of control update iUpdate (0, 1, ...) of run
// iRun: one per (run, update), apart from every parameter's stream.
McRng mcRngForSensor(std::uint64_t uRngSeed, Long iRun, Long iUpdate);

// A deviate of pert from the stream *prng (the rules of fDrawPerturbation,
// from a stream already started).
double fDrawFromRng(McPerturbation const& pert, McRng* prng);

// The deviation of parameter iParam in run iRun: 0.0 exactly when the
// deviation is 0 (no draw), else a normal deviate scaled by fSd and kept
// within the bounds as described at the top of this file.
double fDrawPerturbation(McPerturbation const& pert, std::uint64_t uRngSeed, Long iRun,
                         int iParam);
