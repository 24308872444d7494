#!/usr/bin/env python3
"""The same planted faults, on an older tree and on today's: does today's suite catch them?

The mutation tool draws its sites from the tree it runs on, so once the program
changes, the same draw number picks other faults and the scores of two trees
are not comparable. This script draws the faults the tool draws on an older revision,
finds each mutated line in today's code, applies the same operator change at the
same place in it, and runs today's suite against it, built and run the way the
tool does. A line is found in the same file by its text, indentation aside (the
one nearest the old number when several match); failing that, by its likeness
(at least 0.75 by difflib, with as many places for the operator, the fault at
the same place among them), so that a name qualified or renamed on the line does
not lose the fault.

    python3 scripts/same_faults.py TOOL REV [--draw 1] [-n 40] [--work DIR]
                                            [--ctest-args "-j2 --timeout 120 -E valgrind"]

TOOL is the mutation tool's path (its site and mutation functions are used as
they are); REV the older revision; --draw the number the tool's random draw
starts from, as given to the tool. Prints one line per fault ("gone" when no
line is found) and, last, the score on the faults found.
"""
import argparse, difflib, os, re, random, runpy, shutil, subprocess, sys, time, types


def load(path):
    """The tool's functions and tables, by name (its main() is not run)."""
    return types.SimpleNamespace(**runpy.run_path(path, run_name="mutants_tool"))


def export(repo, rev, dest):
    shutil.rmtree(dest, ignore_errors=True)
    os.makedirs(dest)
    subprocess.run(f"git -C '{repo}' archive {rev} | tar -x -C '{dest}'", shell=True, check=True)


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("tool")
    ap.add_argument("rev")
    ap.add_argument("-n", type=int, default=40)
    ap.add_argument("--draw", type=int, default=1)
    ap.add_argument("--work", default="/tmp/same_faults")
    ap.add_argument("--ctest-args", default="-j2 --timeout 120 -E valgrind")
    ap.add_argument("--list", action="store_true", help="match the faults and stop")
    a = ap.parse_args()
    tool = load(a.tool)
    paths = ["core", "geom", "numerics", "sim", "plan", "display", "app", "mc"]

    repo = subprocess.run(["git", "rev-parse", "--show-toplevel"], capture_output=True, text=True).stdout.strip()
    old, src, build = (os.path.join(a.work, d) for d in ("old", "src", "build"))
    export(repo, a.rev, old)
    export(repo, "HEAD", src)
    drawn = sorted(random.Random(a.draw).sample(tool.sites(old, paths), a.n))

    faults = []  # (old site, today's line number or None)
    for rel, no, s, e, k in drawn:
        text = open(os.path.join(old, rel)).read().splitlines()[no - 1]
        path = os.path.join(src, rel)
        lines = open(path).read().splitlines() if os.path.exists(path) else []
        # The same text, indented alike or not: the operator keeps its place
        # relative to the line's first character.
        hits = [i + 1 for i, line in enumerate(lines) if line.strip() == text.strip()]
        now = min(hits, key=lambda i: abs(i - no)) if hits else None
        if now is not None:
            shift = (len(lines[now - 1]) - len(lines[now - 1].lstrip())) - (len(text) - len(text.lstrip()))
            s, e = s + shift, e + shift
        else:
            # A line rewritten around the fault (a name qualified, a member
            # renamed): the most similar line, if it is similar enough and has
            # as many places for this operator, and the same place among them.
            pat = tool.OPS[k][0]
            places = lambda line: [(m.start(), m.end()) for m in re.finditer(pat, tool.strip_code(line, False)[0])]
            was = places(text)
            score = lambda i: difflib.SequenceMatcher(None, text.strip(), lines[i - 1].strip()).ratio()
            best = max(range(1, len(lines) + 1), key=lambda i: (score(i), -abs(i - no)), default=None)
            if best is not None and score(best) >= 0.75 and len(places(lines[best - 1])) == len(was):
                now = best
                s, e = places(lines[now - 1])[was.index((s, e))]
        faults.append(((rel, no, s, e, k), now))
    if a.list:
        for (rel, no, s, e, k), now in faults:
            line = open(os.path.join(src, rel)).read().splitlines()[now - 1] if now else ""
            print(f"{rel}:{no} -> {now}: [{tool.OPS[k][2]} '{line[s:e]}'] {line.strip()[:90]}")
        return

    env = dict(os.environ, OPENBLAS_NUM_THREADS="1")
    t0 = time.time()
    for cmd in (["cmake", "-S", src, "-B", build, "-DCMAKE_BUILD_TYPE=RelWithDebInfo",
                 "-DCMAKE_INTERPROCEDURAL_OPTIMIZATION=OFF", "-DVT_BUILD_BENCH=OFF"],
                ["cmake", "--build", build, "-j2"],
                ["ctest", "--test-dir", build] + a.ctest_args.split()):
        p = subprocess.run(cmd, cwd=src, env=env, capture_output=True, text=True)
        if p.returncode != 0:
            sys.exit(f"same_faults: {' '.join(cmd[:2])} failed on today's tree\n" + p.stdout[-2000:])
    base = time.time() - t0

    killed = survived = stillborn = gone = 0
    for i, ((rel, no, s, e, k), now) in enumerate(faults, 1):
        if now is None:
            gone += 1
            print(f"[{i}/{len(faults)}] gone      {rel}:{no}", flush=True)
            continue
        path = os.path.join(src, rel)
        orig = open(path).read()
        lines = orig.splitlines(keepends=True)
        lines[now - 1], was, new = tool.mutate(lines[now - 1], s, e, k)
        open(path, "w").write("".join(lines))
        try:
            b = subprocess.run(["cmake", "--build", build, "-j2"], cwd=src, env=env, capture_output=True)
            if b.returncode != 0:
                verdict = "stillborn"; stillborn += 1
            else:
                try:
                    t = subprocess.run(["ctest", "--test-dir", build] + a.ctest_args.split(), cwd=src, env=env,
                                       capture_output=True, timeout=max(120, 4 * base))
                    code = t.returncode
                except subprocess.TimeoutExpired:
                    code = "timeout"
                if code == 0:
                    verdict = "SURVIVED"; survived += 1
                else:
                    verdict = "killed"; killed += 1
        finally:
            open(path, "w").write(orig)
            os.utime(path, None)
        print(f"[{i}/{len(faults)}] {verdict:9} {rel}:{no} (today {now}): '{was}' -> '{new}'   "
              f"{lines[now - 1].strip()[:90]}", flush=True)
    n = killed + survived
    print(f"same faults: {gone} gone, {stillborn} did not compile; {time.time() - t0:.0f} s in all")
    print(f"score on today's code: {killed} killed of {n} ({100.0 * killed / max(n, 1):.1f} %)")


if __name__ == "__main__":
    main()
