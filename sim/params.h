// Planet, vehicle and scenario parameters, and the ground.
//
// initParams() gives a Scenario its built-in values: the planet (gravity, air
// density), the vehicle (masses, pitch inertias, thrust and moment limits,
// exhaust speed, drag areas), the initial state of every flight, and six flat
// ground polygons.
//
// The ground: arPArPPtVtxPgnGnd[iPgn], iPgn 1..6, points to a heap
// A1Val<void*> over 1..4 whose elements point to heap Pt3c vertices. Each
// polygon is a strip across the flight plane, y from -1000 to +1000, with
// vertices in the order (x1,-1000,z1), (x2,-1000,z2), (x2,+1000,z2),
// (x1,+1000,z1), so all six share one winding and an upward normal. The
// strips, in x: level pad (-1000..1), 20 deg downslope (1..9), 45 deg
// downslope (9..12), level valley floor (12..17), 30 deg upslope back to
// height 0 (17..27.239...), level plain (27.239...+1000). The polygons live
// as long as their scenario.
//
// Units are SI throughout: m, kg, s, N, N*m, rad.
#pragma once

#include "core/array.h"
#include "core/types.h"

// The planet: gravity acts along -z.
struct Planet {
    double fAcG;    // acceleration of gravity, m/s^2 (positive)
    double fDnAtm;  // atmosphere density, kg/m^3

    Planet() : fAcG(0.0), fDnAtm(0.0) {}
    Planet(double fAcGIn, double fDnAtmIn) : fAcG(fAcGIn), fDnAtm(fDnAtmIn) {}
};

// The vehicle: masses, inertias, actuator limits, exhaust speed, drag areas.
// Its two methods (actuator limits and inertia at a mass) belong to the
// dynamics and are defined in sim/fltsim.cpp.
struct Vehicle {
    double fMsGTO;        // gross take-off mass, kg
    double fMsEmpty;      // mass with no propellant, kg; no thrust at or below it
    double fIPitchGTO;    // pitch inertia at fMsGTO, kg*m^2
    double fIPitchEmpty;  // pitch inertia at fMsEmpty, kg*m^2
    double fFcThrustMax;  // largest thrust, N
    double fMmPitchMax;   // largest pitch moment, N*m
    double fMmOvFcMax;    // largest moment / thrust ratio (a lever arm), m
    double fIsp;          // exhaust speed, m/s: mass flow = thrust / fIsp
    double fCdAX;         // drag coefficient * area along body x, m^2
    double fCdAY;         // along body y, m^2 (kept, never used: the motion is planar)
    double fCdAZ;         // along body z, m^2

    Vehicle()
        : fMsGTO(0.0),
          fMsEmpty(0.0),
          fIPitchGTO(0.0),
          fIPitchEmpty(0.0),
          fFcThrustMax(0.0),
          fMmPitchMax(0.0),
          fMmOvFcMax(0.0),
          fIsp(0.0),
          fCdAX(0.0),
          fCdAY(0.0),
          fCdAZ(0.0) {}
    Vehicle(double fMsGTOIn, double fMsEmptyIn, double fIPitchGTOIn, double fIPitchEmptyIn,
            double fFcThrustMaxIn, double fMmPitchMaxIn, double fMmOvFcMaxIn, double fIspIn,
            double fCdAXIn, double fCdAYIn, double fCdAZIn)
        : fMsGTO(fMsGTOIn),
          fMsEmpty(fMsEmptyIn),
          fIPitchGTO(fIPitchGTOIn),
          fIPitchEmpty(fIPitchEmptyIn),
          fFcThrustMax(fFcThrustMaxIn),
          fMmPitchMax(fMmPitchMaxIn),
          fMmOvFcMax(fMmOvFcMaxIn),
          fIsp(fIspIn),
          fCdAX(fCdAXIn),
          fCdAY(fCdAYIn),
          fCdAZ(fCdAZIn) {}

    // Actuator limits. Thrust: the command clamped to [0, fFcThrustMax]
    // while fMs > fMsEmpty, else 0. Moment: 0 at or below fMsEmpty, else the
    // command clamped to [-fMmPitchMax, +fMmPitchMax] and then to at most
    // fMmOvFcMax times the actual thrust in magnitude (so zero thrust gives
    // zero moment).
    void fFcThrustMmPitchActFmCmd(double* pfFcThrustAct, double* pfMmPitchAct, double fFcThrustCmd,
                                  double fMmPitchCmd, double fMs) const;

    // Pitch inertia at a mass, linear between (fMsEmpty, fIPitchEmpty) and
    // (fMsGTO, fIPitchGTO); extrapolates outside that range.
    double fIPitchAtFMs(double fMs) const;
};

// The vehicle state record: twelve doubles, in this order. The integrator's
// state vector uses a different order (see sim/fltsim.h).
struct Stvehicle3dof {
    double fXf;           // horizontal position, m
    double fZf;           // height, m (up)
    double fVeXf;         // horizontal velocity, m/s
    double fVeZf;         // vertical velocity, m/s
    double fPitch;        // pitch, rad; 0 = thrust axis vertical, + tilts thrust to -x
    double fPitchDot;     // pitch rate, rad/s
    double fMs;           // mass, kg
    double fIPitch;       // pitch inertia, kg*m^2
    double fFcThrustCmd;  // commanded thrust, N
    double fFcThrustAct;  // thrust after limits, N
    double fMmPitchCmd;   // commanded pitch moment, N*m
    double fMmPitchAct;   // pitch moment after limits, N*m

    Stvehicle3dof()
        : fXf(0.0),
          fZf(0.0),
          fVeXf(0.0),
          fVeZf(0.0),
          fPitch(0.0),
          fPitchDot(0.0),
          fMs(0.0),
          fIPitch(0.0),
          fFcThrustCmd(0.0),
          fFcThrustAct(0.0),
          fMmPitchCmd(0.0),
          fMmPitchAct(0.0) {}
    Stvehicle3dof(Stvehicle3dof const&) = default;
    Stvehicle3dof& operator=(Stvehicle3dof const&) = default;
    Stvehicle3dof(double fXfIn, double fZfIn, double fVeXfIn, double fVeZfIn, double fPitchIn,
                  double fPitchDotIn, double fMsIn, double fIPitchIn, double fFcThrustCmdIn,
                  double fFcThrustActIn, double fMmPitchCmdIn, double fMmPitchActIn)
        : fXf(fXfIn),
          fZf(fZfIn),
          fVeXf(fVeXfIn),
          fVeZf(fVeZfIn),
          fPitch(fPitchIn),
          fPitchDot(fPitchDotIn),
          fMs(fMsIn),
          fIPitch(fIPitchIn),
          fFcThrustCmd(fFcThrustCmdIn),
          fFcThrustAct(fFcThrustActIn),
          fMmPitchCmd(fMmPitchCmdIn),
          fMmPitchAct(fMmPitchActIn) {}
};

// ---- the scenario: planet, vehicle, initial state and ground -------------------
// One value holds every parameter of a scenario; initParams() gives it the
// built-in values. Before that, every number is zero and the ground array is
// empty (length 0). The scalars are kept beside the records built from them
// (planet, vehicle, stvehicle3dof0), as initParams() writes both. A scenario
// owns its ground polygons and frees them with itself; it is not copied.
struct Scenario {
    double fAcG = 0.0;    // 3.7 m/s^2
    double fDnAtm = 0.0;  // 0.01 kg/m^3
    Planet planet;

    double fMsGTO = 0.0;        // 100.0 kg
    double fMsEmpty = 0.0;      // 95.0 kg
    double fIPitchGTO = 0.0;    // 13.83 kg*m^2
    double fIPitchEmpty = 0.0;  // 13.06 kg*m^2
    double fFcThrustMax = 0.0;  // 400 * fAcG = 1480 N (four times the take-off weight)
    double fMmPitchMax = 0.0;   // 0.4 * fFcThrustMax = 592 N*m
    double fMmOvFcMax = 0.0;    // 0.4 m
    double fIsp = 0.0;          // 549.36 m/s
    double fCdAX = 0.0;         // 0.09 m^2
    double fCdAY = 0.0;         // 0.09 m^2 (unused)
    double fCdAZ = 0.0;         // pi/4 m^2
    Vehicle vehicle;

    // Start time of a simulation, s (0.0).
    double fSTiSim0 = 0.0;
    // Initial state of every flight.
    double fXf0 = 0.0, fZf0 = 0.0, fPitch0 = 0.0;
    double fVeXf0 = 0.0, fVeZf0 = 0.0, fPitchDot0 = 0.0;
    double fMs0 = 0.0;      // vehicle.fMsGTO
    double fIPitch0 = 0.0;  // vehicle.fIPitchGTO
    double fFcThrustCmd = 0.0, fFcThrustAct = 0.0, fMmPitchCmd = 0.0, fMmPitchAct = 0.0;
    Stvehicle3dof stvehicle3dof0;

    // The ground polygons (see the top of this file).
    Long nPgnGnd = 0;  // 6
    A1Val<void*> arPArPPtVtxPgnGnd{0};

    Scenario() = default;
    ~Scenario();
    Scenario(Scenario const&) = delete;
    Scenario& operator=(Scenario const&) = delete;

private:
    friend void initParams(Scenario* psc);
    // The polygons built by the first initParams(); a later call rewrites
    // their vertices instead of allocating new ones.
    A1Val<void*>* apPgnBuilt[6] = {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};
    // The start of the ground array's block and of each polygon's block of
    // vertex pointers. An array reaches its block only through a pointer
    // biased by its first index, which leak checkers do not follow; held
    // here, the blocks stay reachable while the scenario lives, also when a
    // fatal error ends the program with the scenario still on the stack
    // (volatile, so that the otherwise unread stores are kept).
    void* volatile apvBlockHeld[7] = {};
};

// Sets every parameter of *psc, in the order listed, and builds the ground.
// A further call on the same scenario writes the built-in values again and
// reuses the polygons of the first call (so pointers already handed out stay
// valid).
void initParams(Scenario* psc);

// A scenario with the built-in values.
struct BuiltInScenario : Scenario {
    BuiltInScenario() { initParams(this); }
};
