"""The Python module against the programs: the same files, numbers and messages."""
import concurrent.futures
import os
import shutil
import subprocess
from pathlib import Path

import numpy as np
import pytest

import vantorell

DATA = Path(os.environ["VT_TEST_DATA"])
EXAMPLES = Path(os.environ["VT_EXAMPLES"])
WAYPOINT_FILES = [EXAMPLES / "traj1r.txt", EXAMPLES / "guided_hop/traj1r.txt"] + sorted(DATA.glob("**/traj1r.txt"))
SCHEDULE_FILES = sorted(DATA.glob("sim/*.txt")) + sorted(DATA.glob("reference/flight/*/fltplan.txt"))
RUN_ARRAYS = ["t", "x", "z", "vx", "vz", "pitch", "pitch_rate", "mass",
              "thrust_cmd", "thrust_act", "moment_cmd", "moment_act"]


def run_program(keys, cwd):
    return subprocess.run([os.environ["VT_BIN"], "-k", keys], cwd=cwd, capture_output=True, text=True)


def fatal_text(stderr):
    """The message of the program's fatal error report on standard error."""
    return stderr.split("FATAL ERROR --\n    ", 1)[1].rstrip("\n")


def ident(path):
    return "/".join(path.parts[-3:])


@pytest.mark.parametrize("traj", WAYPOINT_FILES, ids=ident)
def test_plan_and_flight_files_equal_the_program(traj, tmp_path, monkeypatch):
    ref = tmp_path / "ref"
    ref.mkdir()
    shutil.copy(traj, ref / "traj1r.txt")
    proc = run_program("ps", ref)
    monkeypatch.chdir(tmp_path)
    if not (ref / "fltplan.txt").exists():
        with pytest.raises(vantorell.Error) as err:
            vantorell.plan(traj)
        expected = "couldn't solve" if "Vantorell: couldn't solve" in proc.stderr else fatal_text(proc.stderr)
        assert str(err.value) == expected
        assert not (tmp_path / "fe.log").exists()
        return
    plan = vantorell.plan(traj)
    warnings = [line for line in proc.stderr.splitlines() if line.startswith("Vantorell: warning: ")]
    assert ["Vantorell: warning: " + check["text"] for check in plan.checks] == warnings
    plan.write_fltplan(tmp_path / "fltplan.txt")
    assert (tmp_path / "fltplan.txt").read_bytes() == (ref / "fltplan.txt").read_bytes()
    # Waypoints given as tuples plan the same hop.
    assert vantorell.plan(plan.waypoints).fltplan == plan.fltplan
    vantorell.fly(plan).write_results(tmp_path / "results.txt")
    assert (tmp_path / "results.txt").read_bytes() == (ref / "results.txt").read_bytes()
    run_program("g", ref)
    vantorell.fly(plan, guided=True).write_results(tmp_path / "results.txt")
    assert (tmp_path / "results.txt").read_bytes() == (ref / "results.txt").read_bytes()
    assert not (tmp_path / "fe.log").exists()


@pytest.mark.parametrize("schedule", SCHEDULE_FILES, ids=ident)
def test_flight_of_a_schedule_file_equals_the_program(schedule, tmp_path):
    shutil.copy(schedule, tmp_path / "fltplan.txt")
    run_program("s", tmp_path)
    run = vantorell.fly(schedule)
    run.write_results(tmp_path / "py_results.txt")
    assert (tmp_path / "py_results.txt").read_bytes() == (tmp_path / "results.txt").read_bytes()
    assert len(run.t) == len(run.x) == len((tmp_path / "results.txt").read_text().splitlines()) - 1


def test_flights_on_two_threads_equal_flights_one_after_the_other():
    plans = [vantorell.plan(EXAMPLES / "traj1r.txt"), vantorell.plan(DATA / "plan/fast_hop/traj1r.txt")]
    alone = [vantorell.fly(p) for p in plans]
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        together = list(pool.map(lambda p: [vantorell.fly(p) for _ in range(20)], plans))
    for i in range(2):
        for run in together[i]:
            for name in RUN_ARRAYS:
                assert np.array_equal(getattr(run, name), getattr(alone[i], name)), name


def csv_rows(result, guided=False):
    """mc_runs.csv's rows, formatted as the program formats them."""
    dev = [k for k in result if k.endswith("_dev")]
    rows = []
    for i in range(len(result["run"])):
        f = lambda k: "" if np.isnan(result[k][i]) else "%.10g" % result[k][i]
        cells = [str(result["run"][i])] + [f(k) for k in dev + ["rest_time", "rest_x", "rest_z", "rest_pitch",
                 "touchdown_time", "touchdown_vx", "touchdown_vz", "touchdown_speed", "propellant_left"]]
        cells += [str(int(result["upright"][i])), str(int(result["ran_dry"][i])), str(result["stop"][i]),
                  str(result["steps"][i]), f("miss")] + (["guided"] if guided else [])
        rows.append(",".join(cells))
    return rows


@pytest.mark.parametrize("guided", [False, True], ids=["open_loop", "guided"])
def test_dispersion_equals_the_dispersion_program(guided, tmp_path, monkeypatch):
    shutil.copy(DATA / "reference/plan/hop_short/expected/fltplan.txt", tmp_path / "fltplan.txt")
    (tmp_path / "dispersion.txt").write_text((EXAMPLES / "dispersion.txt").read_text()
                                             + "sensor_position 0.02\nsensor_pitch_rate 0.005\n")
    subprocess.run([os.environ["VT_MC_BIN"], "--runs", "300", "-j", "2", "--no-picture"]
                   + (["--guided"] if guided else []), cwd=tmp_path, check=True, capture_output=True)
    monkeypatch.chdir(tmp_path)
    result = vantorell.dispersion("fltplan.txt", "dispersion.txt", runs=300, threads=2, guided=guided)
    assert result["summary"]["text"] == (tmp_path / "mc_summary.txt").read_text()
    assert csv_rows(result, guided) == (tmp_path / "mc_runs.csv").read_text().splitlines()[1:]
    if guided:
        return
    # One run flown alone with its drawn deviations comes to rest at the same point.
    k = int(np.argmax(result["miss"]))
    names = [name[:-4] for name in result if name.endswith("_dev")]
    run = vantorell.fly("fltplan.txt", perturb={n: result[n + "_dev"][k] for n in names})
    assert (run.x[-1], run.z[-1]) == (result["rest_x"][k], result["rest_z"][k])
    # A dict of deviations is parsed as the file is; one thread gives the same numbers.
    deviations = {"thrust_scale": (0.005, -0.015, 0.015), "moment_bias": 0.1, "rng_seed": 20240601}
    one = vantorell.dispersion("fltplan.txt", deviations, runs=40, threads=1)
    two = vantorell.dispersion("fltplan.txt", deviations, runs=40, threads=2)
    assert csv_rows(one) == csv_rows(two)


def test_errors_are_exceptions_and_the_log_only_when_asked(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    (tmp_path / "bad.txt").write_text("1 x 2\n")
    with pytest.raises(vantorell.Error, match=r"^pvdfParamTraj1FromFile\(\) bad number in bad.txt$"):
        vantorell.plan("bad.txt")
    with pytest.raises(vantorell.Error, match="^unknown name 'thrust'$"):
        vantorell.fly(DATA / "reference/plan/hop_short/expected/fltplan.txt", perturb={"thrust": 0.1})
    with pytest.raises(vantorell.Error, match=r"^\(dict\):1: unknown name 'rate'$"):
        vantorell.fly(DATA / "reference/plan/hop_short/expected/fltplan.txt", guided=True, guidance={"rate": 5})
    assert list(tmp_path.iterdir()) == [tmp_path / "bad.txt"]
    vantorell.set_log("run.log")
    with pytest.raises(vantorell.Error, match="^can't open flight plan nope.txt$"):
        vantorell.fly("nope.txt")
    vantorell.set_log(None)
    log = (tmp_path / "run.log").read_text()
    assert "LOG FILE OPENED" in log and "FATAL ERROR --\n    can't open flight plan nope.txt\n" in log
    assert sorted(p.name for p in tmp_path.iterdir()) == ["bad.txt", "run.log"]


@pytest.mark.parametrize("options", [{"waypoints": 4, "propellant_reserve": 0.02}, {"waypoints": 4}],
                         ids=["designed", "reserve_binds"])
def test_design_equals_the_design_command(options, tmp_path):
    (tmp_path / "hop.txt").write_text("target_x 28.5\n" + "".join("%s %r\n" % kv for kv in options.items()))
    proc = run_program("d", tmp_path)
    if not (tmp_path / "traj1r.txt").exists():
        with pytest.raises(vantorell.Error) as err:
            vantorell.design(28.5, **options)
        assert "Vantorell: %s\n" % err.value == proc.stderr
        return
    waypoints = vantorell.design(28.5, **options)
    numbers = [float(f) for f in (tmp_path / "traj1r.txt").read_text().splitlines()[0].split()]
    assert [f for point in waypoints for f in point] == numbers
