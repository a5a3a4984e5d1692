#!/usr/bin/python3
"""Makes each deliberate fault of tools/faults.json in the product, builds, and runs the tests
named to catch it: a fault is caught when one of them fails. Run it before and after removing
or merging tests; a fault that is no longer caught names the test that must stay (or the one
that now guards it, to be written into the catalogue). The source is always put back, also on
Ctrl-C, and the build is brought back to it at the end.

Usage: tools/faults.py [BUILD_DIR (default build/debug)] [--only TEXT] [--timeout SECONDS]
                      [--without REGEX]

--without REGEX is the check before a test goes: the whole suite runs with the tests that match
REGEX left out (ctest -E), and a fault is caught only when one of the tests that stay fails. The
named catchers prove that a test catches a fault, this proves that it is not the only one.

Each fault: {"file": path from the top, "old": text found exactly once, "new": its replacement,
"catches": ctest -R regex of the tests that fail on it, "why": what the fault breaks}.
"""
import argparse
import json
import pathlib
import re
import subprocess
import sys

TOP = pathlib.Path(__file__).resolve().parent.parent


def run(cmd, **kw):
    return subprocess.run(cmd, capture_output=True, text=True, **kw)


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("build", nargs="?", default=str(TOP / "build/debug"))
    ap.add_argument("--only", default="", help="faults whose file or why contain this text")
    ap.add_argument("--timeout", default="120", help="per test, in seconds")
    ap.add_argument("--without", help="run the whole suite but the tests this regex matches")
    a = ap.parse_args()
    faults = json.loads((TOP / "tools/faults.json").read_text())
    chosen = [f for f in faults if a.only in f["file"] or a.only in f["why"]]
    missed = 0
    try:
        for n, f in enumerate(chosen, 1):
            path = TOP / f["file"]
            text = path.read_text()
            if text.count(f["old"]) != 1:
                print(f"{n:3} STALE   {f['file']}: the text to change is not there exactly once")
                missed += 1
                continue
            try:
                path.write_text(text.replace(f["old"], f["new"]))
                built = run(["cmake", "--build", a.build])
                if built.returncode != 0:
                    print(f"{n:3} NOBUILD {f['file']}: {f['why']}")
                    missed += 1
                    continue
                chooser = ["-E", a.without] if a.without else ["-R", f["catches"]]
                tests = run(["ctest", "--test-dir", a.build, *chooser, "-j2",
                             "--timeout", a.timeout])
                # Only the FAILED list: ctest lists skipped tests the same way.
                listed = tests.stdout.partition("The following tests FAILED:")[2]
                failed = re.findall(r"^\s*\d+ - (\S+)", listed, re.M)
                ran = re.search(r"out of (\d+)", tests.stdout)
                if failed:
                    print(f"{n:3} caught  {f['why']}: {', '.join(failed[:3])}")
                else:
                    print(f"{n:3} MISSED  {f['why']} ({ran.group(1) if ran else 0} tests ran)")
                    missed += 1
            finally:
                path.write_text(text)
    finally:
        run(["cmake", "--build", a.build])
    print(f"{len(chosen) - missed} of {len(chosen)} faults caught")
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
