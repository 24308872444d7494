#!/usr/bin/env python3
"""The least propellant of a hop for the rigid vehicle with the design's limits.

The vehicle's own equations (sim/fltsim.cpp) without drag or terrain: position,
pitch, velocities, pitch rate and mass, thrust T along the body axis
(-sin p, cos p), pitch moment M, mass flow T / 549.36, inertia between 13.83
and 13.06 kg m^2 with the mass, gravity 3.7 m/s^2. The three thrusters carry
T/3 - M/1.6 (two of them) and T/3 + M/0.8, each between 0 and 0.85 of its
share of 1480 N (the default margin of hop.txt), and |M| <= 0.4 T. From rest,
upright, at (0, 0) to rest, upright, at (X, 0), the flight time free: a
relaxation of the hop design (no clearance, no reserve, any thrust history
rather than a B-spline path's).

Trapezoidal collocation over N intervals, states and controls at the nodes,
SLSQP (scipy). Usage: hop_bound_vehicle.py X N T0 [start.npy [iterations]]
(start.npy: an earlier answer, to continue from). Prints the flight time, the
propellant, the largest defect and the largest breach of a limit.
"""
import sys
import numpy as np
from scipy.optimize import minimize

G, VE, M0, C = 3.7, 549.36, 100.0, 0.85 * 1480.0 / 3
I0, IE, ME = 13.83, 13.06, 95.0
X, N = float(sys.argv[1]), int(sys.argv[2])
T0 = float(sys.argv[3]) if len(sys.argv) > 3 else 4.6


def unpack(p):
    return p[0], p[1:1 + 7 * (N + 1)].reshape(N + 1, 7), p[1 + 7 * (N + 1):].reshape(N + 1, 2)


def deriv(s, u):
    _, _, th, vx, vz, w, m = s.T
    fc, mm = u.T
    inertia = I0 + (m - M0) * (IE - I0) / (ME - M0)
    return np.stack([vx, vz, w, -fc * np.sin(th) / m, fc * np.cos(th) / m - G, mm / inertia,
                     -fc / VE], 1)


def defects(p):
    t, s, u = unpack(p)
    d = deriv(s, u)
    inner = s[1:] - s[:-1] - t / N / 2 * (d[1:] + d[:-1])
    return np.concatenate([inner.ravel(), s[0] - [0, 0, 0, 0, 0, 0, M0], s[-1, :6] - [X, 0, 0, 0, 0, 0]])


def limits(p):
    fc, mm = unpack(p)[2].T
    pair, third = fc / 3 - mm / 1.6, fc / 3 + mm / 0.8
    return np.concatenate([pair, C - pair, third, C - third, 0.4 * fc - mm, 0.4 * fc + mm])


def propellant(p):
    return M0 - unpack(p)[1][-1, 6]


if len(sys.argv) > 4:
    p0 = np.load(sys.argv[4])
else:  # a smooth lob at a hover's thrust
    t = np.linspace(0, 1, N + 1)
    s0 = np.zeros((N + 1, 7))
    s0[:, 0], s0[:, 1], s0[:, 6] = X * (3 * t**2 - 2 * t**3), X * t * (1 - t), M0 - 4 * t
    s0[:, 3], s0[:, 4] = X * 6 * t * (1 - t) / T0, X / T0 * (1 - 2 * t)
    u0 = np.zeros((N + 1, 2))
    u0[:, 0] = 400.0
    p0 = np.concatenate([[T0], s0.ravel(), u0.ravel()])
bounds = [(1.0, 15.0)] + [(None, None)] * (7 * (N + 1)) + [(0, 3 * C), (-300, 300)] * (N + 1)
r = minimize(propellant, p0, method='SLSQP', bounds=bounds,
             constraints=[{'type': 'eq', 'fun': defects}, {'type': 'ineq', 'fun': limits}],
             options={'maxiter': int(sys.argv[5]) if len(sys.argv) > 5 else 600, 'ftol': 1e-10})
print(f"X {X:g}  N {N}  {r.message}  T {unpack(r.x)[0]:.3f} s  propellant {propellant(r.x):.4f} kg  "
      f"largest defect {np.abs(defects(r.x)).max():.1e}  largest breach {max(0.0, -limits(r.x).min()):.1e}")
np.save(f"hop_bound_vehicle_{X:g}_{N}.npy", r.x)
