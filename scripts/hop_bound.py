#!/usr/bin/env python3
"""The least propellant of a hop for a point mass with the thrusters' limit.

A point of 100 kg at take-off, thrust of any direction up to 0.85 x 1480 N
(the thrusters' share less the default margin of hop.txt), exhaust speed
549.36 m/s, gravity 3.7 m/s^2, from rest at (0, 0) to rest at (X, 0); no
attitude, no drag, no terrain. Direct transcription: N intervals of constant
thrust (magnitude and angle), four RK4 steps each, the flight time free;
SLSQP (scipy) minimises the propellant. A feasible answer, so an upper bound
of this relaxed problem's least value; 40 and 80 intervals agree to about
2 g. Usage: hop_bound.py X [X ...]
"""
import sys
import numpy as np
from scipy.optimize import minimize

G, VE, M0, FMAX = 3.7, 549.36, 100.0, 0.85 * 1480.0


def fly(p, n):
    t, s, ph = p[0], p[1:n + 1], p[n + 1:]
    h = t / n / 2
    y = np.array([0, 0, 0, 0, M0], float)

    def f(y, fc, a):
        return np.array([y[2], y[3], fc * np.sin(a) / y[4], fc * np.cos(a) / y[4] - G, -fc / VE])

    for k in range(n):
        for _ in range(2):
            k1 = f(y, s[k], ph[k]); k2 = f(y + h / 2 * k1, s[k], ph[k])
            k3 = f(y + h / 2 * k2, s[k], ph[k]); k4 = f(y + h * k3, s[k], ph[k])
            y = y + h / 6 * (k1 + 2 * k2 + 2 * k3 + k4)
    return y


def solve(x, n):
    s0, ph0 = np.zeros(n), np.zeros(n)
    nb = max(1, n // 5)
    s0[:nb] = s0[-nb:] = FMAX
    ph0[:nb], ph0[-nb:] = 0.7, -0.7
    p0 = np.concatenate([[5.0], s0, ph0])
    cons = {'type': 'eq', 'fun': lambda p: fly(p, n)[:4] - np.array([x, 0, 0, 0])}
    bnds = [(0.5, 20)] + [(0, FMAX)] * n + [(-3, 3)] * n
    return minimize(lambda p: M0 - fly(p, n)[4], p0, method='SLSQP', bounds=bnds,
                    constraints=[cons], options={'maxiter': 1000, 'ftol': 1e-12})


for x in map(float, sys.argv[1:]):
    for n in (40, 80):
        r = solve(x, n)
        y = fly(r.x, n)
        print(f"X {x:g}  N {n}  T {r.x[0]:.3f} s  propellant {M0 - y[4]:.4f} kg  "
              f"end error {np.abs(y[:4] - [x, 0, 0, 0]).max():.1e}")
