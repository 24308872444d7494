"""Plan and fly the bundled hop, then see where it comes to rest when the vehicle
is not exactly as modelled.

    PYTHONPATH=build/release/python /usr/bin/python3 examples/analysis.py [OUT.png]

Plans examples/traj1r.txt, flies it, runs a 1000-run landing dispersion with
examples/dispersion.txt open loop (and guided, when this build flies guided
hops) and saves one figure (default docs/analysis.png): the plan against the
flight, and the rest points of the campaigns over the terrain profile.
"""
import sys
from pathlib import Path

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt
import numpy as np

import vantorell

HERE = Path(__file__).resolve().parent
out = Path(sys.argv[1]) if len(sys.argv) > 1 else HERE.parent / "docs" / "analysis.png"

plan = vantorell.plan(HERE / "traj1r.txt")
run = vantorell.fly(plan)
print(plan.summary["text"], end="")
for check in plan.checks:
    print("warning:", check["text"])
print("flight:", run.outcome["stop"], "at t = %.2f s, x = %.4f m" % (run.t[-1], run.x[-1]))
try:
    guided = vantorell.fly(plan, guided=True)
    print("guided flight:", guided.outcome["stop"], "at t = %.2f s, x = %.4f m" % (guided.t[-1], guided.x[-1]))
except vantorell.Error as err:
    guided = None
    print("guided flight skipped:", err)

campaigns = {"open loop": vantorell.dispersion(plan, HERE / "dispersion.txt", runs=1000)}
try:
    campaigns["guided"] = vantorell.dispersion(plan, HERE / "dispersion.txt", runs=1000, guided=True)
except vantorell.Error as err:
    print("guided campaign skipped:", err)
for name, result in campaigns.items():
    s = result["summary"]
    print("%-9s R50 %.3f m, R95 %.3f m, upright %d of %d" % (name, s["r50"], s["r95"], s["upright"], s["runs"]))

fig = plt.figure(figsize=(12, 8), layout="constrained")
grid = fig.add_gridspec(2, 3)

# The plan against the flight.
ax = fig.add_subplot(grid[0, :2])
ax.plot(plan.x, plan.z, "--", color="tab:blue", label="plan")
ax.plot(run.x, run.z, color="tab:orange", label="flight, open loop")
if guided is not None:
    ax.plot(guided.x, guided.z, ":", color="tab:green", label="flight, guided")
ax.set_xlabel("x (m)")
ax.set_ylabel("z (m)")
ax.set_title("The bundled hop: plan and flights")
ax.legend()
ax2 = fig.add_subplot(grid[0, 2])
ax2.plot(plan.t, np.degrees(plan.pitch), "--", color="tab:blue", label="plan")
ax2.plot(run.t, np.degrees(run.pitch), color="tab:orange", label="open loop")
if guided is not None:
    ax2.plot(guided.t, np.degrees(guided.pitch), ":", color="tab:green", label="guided")
ax2.set_xlabel("t (s)")
ax2.set_ylabel("pitch (deg)")
ax2.legend()

# The rest points over the terrain.
tx, tz = vantorell.terrain()
colours = {"open loop": "tab:red", "guided": "tab:green"}
for cells, xlo, xhi, title in [(slice(0, 2), -2.0, 40.0, "rest points over the terrain"),
                                (slice(2, 3), None, None, "close-up around the planned end")]:
    ax = fig.add_subplot(grid[1, cells])
    ax.fill_between(tx, tz, tz.min() - 10.0, color="0.85", label="terrain")
    ax.plot(tx, tz, color="0.4", lw=1)
    for name, result in campaigns.items():
        ax.scatter(result["rest_x"], result["rest_z"], s=6, alpha=0.5, color=colours[name], zorder=3,
                   label="%s (R95 %.3f m)" % (name, result["summary"]["r95"]))
    xt, zt = plan.x[-1], plan.z[-1]
    ax.plot([xt], [zt], "+", color="tab:blue", ms=14, mew=1, zorder=2, label="planned end")
    if xlo is None:
        r = 1.5 * campaigns["open loop"]["summary"]["r95"]
        ax.set_xlim(xt - r, xt + r)
        ax.set_ylim(zt - 0.3 * r, zt + 0.3 * r)
    else:
        ax.set_xlim(xlo, xhi)
        ax.set_ylim(-6.0, 8.0)
        ax.set_aspect("equal")
    ax.set_xlabel("x (m)")
    ax.set_ylabel("z (m)")
    ax.set_title(title)
    ax.legend(loc="upper left", fontsize=8)

out.parent.mkdir(parents=True, exist_ok=True)
fig.savefig(out, dpi=100)
print("figure:", out)
