// The hop a design is asked for: "hop.txt".
//
// Plain text, one "name value" pair per line, SI units; '#' starts a comment
// that runs to the end of the line, blank lines are skipped. Names:
//   target_x            required: the horizontal position of the target, m;
//                       its height is the ground under it
//   time                the flight time, s; free when absent
//   thruster_margin     the fraction of each thruster's share of the maximum
//                       thrust held back for guidance (default 0.15)
//   propellant_reserve  the fraction of the propellant that must be left at
//                       touchdown (default 0.10)
//   clearance           the least height over the terrain between take-off
//                       and touchdown, m (default 0.5)
//   waypoints           the number of interior waypoints (default 10)
#pragma once

#include <string>

#include "core/types.h"
#include "sim/params.h"

struct HopSpec {
    double fXTarget = 0.0;    // target_x, m
    bool bTimeGiven = false;  // a time was given; else the time is free
    double fTiFlight = 0.0;   // time, s (when given)
    double fThrusterMargin = 0.15;
    double fPropReserve = 0.10;
    double fClearance = 0.5;  // m
    Long nWptInterior = 10;
};

// Limits on the numbers of a hop file.
constexpr Long nWptInteriorMin = 2;
constexpr Long nWptInteriorMax = 20;

// Reads a hop file for the scenario sc (its ground and initial state).
// False on any problem, with *pszError one line (no newline) naming the
// file, the line when there is one, and the problem, e.g.
// "hop.txt:3: unknown name 'clearence'"; *pspec is then unchanged.
// A target must lie on the terrain and more than twice the clearance away
// from the start, horizontally.
bool bHopSpecFmFile(Scenario& sc, const char* szFile, HopSpec* pspec,
                    std::string* pszError);

// The same on a text already in memory; szName names it in the messages.
bool bHopSpecFmText(Scenario& sc, const char* szName, const std::string& szText,
                    HopSpec* pspec, std::string* pszError);
