// Hop design: the waypoints of the hop from the vehicle's start to a target
// that burns the least propellant within the thrusters, clear of the ground
// and with propellant left in reserve.
//
// The design works on the interior waypoints (their horizontal position and
// height; their times are spread evenly over the flight) and on the flight
// time when the hop file leaves it free. Each trial is the planning chain of
// `p` itself (B-spline fit, sample times, path analysis; plan/wptfpln.h) on
// a local waypoint vector, so the propellant of a design is what `p` prints
// for the written "traj1r.txt", to the last digit. The optimiser is NLopt's
// SLSQP with forward-difference gradients of that chain.
//
// Limits, at every sample of the analysis (the samples `p` checks):
//   - each thruster between 0 and its share of the maximum thrust less the
//     margin: 0 <= F <= (1 - thruster_margin) * fFcThrustMax / 3;
//   - the pitch moment at most fMmOvFcMax (0.4 m) times the thrust: what
//     the vehicle turns with in flight (the thrusters' split alone would
//     allow 0.53 m one way), so that `s` flies the plan as planned;
//   - the thrust never below the horizon (|pitch| <= 90 degrees): the
//     thrusters alone would allow a somersault where it saves propellant
//     (checked on each point the search tries, not a constraint of it);
//   - clearance: the height over the terrain at least min(clearance, the
//     horizontal distance from the take-off, the horizontal distance from
//     the target). The requirement ramps up at 45 degrees from both ends,
//     so the vehicle must leave and arrive at least that steeply and keeps
//     the full clearance everywhere in between;
//   - the reserve: the propellant burnt at most (1 - propellant_reserve)
//     times what the vehicle carries (fMsGTO - fMsEmpty). The propellant is
//     what is minimised, so this limit holds for some hop exactly when it
//     holds for the least-propellant hop: it is checked on the best hop
//     found (a local optimum: the search starts from a guess, twice when the
//     time is free, and is not global).
// The start is the vehicle's initial state (stvehicle3dof0, at fSTiSim0);
// the target sits on the ground under target_x, reached at rest.
//
// Nothing of the workbench's plan (plan/planstate.h) is read or changed.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "core/types.h"
#include "design/hopfile.h"
#include "sim/params.h"

struct DesignResult {
    bool bOk = false;
    std::string szError;  // when !bOk: one line, naming the limit that binds and by how much

    // The waypoints, three numbers each (t, x, z): the start, the interior
    // ones, the target. The line "traj1r.txt" holds.
    std::vector<double> vecFParam;

    double fXTarget = 0.0;   // m
    double fZTarget = 0.0;   // m, the ground under fXTarget
    double fTiFlight = 0.0;  // s
    bool bTimeFree = true;
    // Propellant the plan burns, kg (the SUMMARY's figure); when only the
    // reserve is broken, that of the least-propellant hop (and fTiFlight its
    // time).
    double fMsProp = 0.0;
    double fMsPropCarried = 0.0;  // fMsGTO - fMsEmpty, kg
    double fMsReserveLeft = 0.0;  // propellant left at touchdown, kg
    double fClearanceMin = 0.0;   // least height over the terrain beyond the ramps, m
    double fFThrusterMin = 0.0;   // smallest and largest thruster force, N
    double fFThrusterMax = 0.0;
    double fFThrusterShare = 0.0;  // fFcThrustMax / 3, N
    double fFThrusterLimit = 0.0;  // the share less the margin, N
    Long nIter = 0;                // points the optimiser asked for
    Long nEval = 0;                // planning chains run (those and the finite differences)
    double fSecTaken = 0.0;
};

// Designs the hop that hopspec asks for in the scenario sc (its vehicle,
// start and ground). Never ends the program and never writes a file; a request the hop file would refuse is
// refused with a message too.
DesignResult designHop(Scenario& sc, const HopSpec& hopspec);

// The DESIGN block, preceded and followed by "\n", in the style of the
// SUMMARY.
void printDesignSummary(std::FILE* pfile, const DesignResult& result);

// Writes the waypoint line (every number with 17 significant digits, so it
// reads back bit for bit) and two lines of description to szFile, through a
// temporary file in the same directory: szFile is replaced whole or not at
// all. False with *pszError when it cannot be written.
bool bWriteDesignedTraj1r(const char* szFile, const DesignResult& result, std::string* pszError);

// The `d` command: reads "hop.txt", designs, writes "traj1r.txt", prints
// the DESIGN block on pfileOut. False with *pszError, having written and
// printed nothing, when the hop file is bad, there is no hop within the
// limits, or the file cannot be written.
bool bRunDesignCommand(Scenario& sc, std::FILE* pfileOut, std::string* pszError);
