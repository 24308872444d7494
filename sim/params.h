// Planet, vehicle and scenario parameters, and the ground.
//
// initParams() gives every program-wide parameter its built-in value: the
// planet (gravity, air density), the vehicle (masses, pitch inertias, thrust
// and moment limits, exhaust speed, drag areas), the initial state of every
// flight, and six flat ground polygons. Before it runs, planet, vehicle and
// stvehicle3dof0 are all zero and the ground array is empty (length 0).
//
// The ground: arPArPPtVtxPgnGnd[iPgn], iPgn 1..6, points to a heap
// A1Val<void*> over 1..4 whose elements point to heap Pt3c vertices. Each
// polygon is a strip across the flight plane, y from -1000 to +1000, with
// vertices in the order (x1,-1000,z1), (x2,-1000,z2), (x2,+1000,z2),
// (x1,+1000,z1), so all six share one winding and an upward normal. The
// strips, in x: level pad (-1000..1), 20 deg downslope (1..9), 45 deg
// downslope (9..12), level valley floor (12..17), 30 deg upslope back to
// height 0 (17..27.239...), level plain (27.239...+1000). The polygons live
// for the whole run; nobody frees them.
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

// ---- program-wide parameters (values set by initParams) ----------------------
extern double fAcG;    // 3.7 m/s^2
extern double fDnAtm;  // 0.01 kg/m^3
extern Planet planet;

extern double fMsGTO;        // 100.0 kg
extern double fMsEmpty;      // 95.0 kg
extern double fIPitchGTO;    // 13.83 kg*m^2
extern double fIPitchEmpty;  // 13.06 kg*m^2
extern double fFcThrustMax;  // 400 * fAcG = 1480 N (four times the take-off weight)
extern double fMmPitchMax;   // 0.4 * fFcThrustMax = 592 N*m
extern double fMmOvFcMax;    // 0.4 m
extern double fIsp;          // 549.36 m/s
extern double fCdAX;         // 0.09 m^2
extern double fCdAY;         // 0.09 m^2 (unused)
extern double fCdAZ;         // pi/4 m^2
extern Vehicle vehicle;

// Start time of a simulation, s (0.0).
extern double fSTiSim0;
// Initial state of every flight.
extern double fXf0, fZf0, fPitch0;
extern double fVeXf0, fVeZf0, fPitchDot0;
extern double fMs0;      // vehicle.fMsGTO
extern double fIPitch0;  // vehicle.fIPitchGTO
extern double fFcThrustCmd, fFcThrustAct, fMmPitchCmd, fMmPitchAct;
extern Stvehicle3dof stvehicle3dof0;

// The ground polygons (see the top of this file).
extern Long nPgnGnd;  // 6
extern A1Val<void*> arPArPPtVtxPgnGnd;

// Sets every parameter above, in the order listed, and builds the ground.
// The program calls it once. A further call writes the built-in values again
// and reuses the polygons of the first call (so nothing leaks and pointers
// already handed out stay valid).
void initParams();
