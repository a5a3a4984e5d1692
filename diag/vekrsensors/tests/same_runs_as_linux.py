#!/usr/bin/python3
"""Runs the Windows module (under Wine, through the build's emulator) and the Linux module with
the same arguments and compares the runs of their JSON reports: each run's test, device,
parameters, verdict, exit code, events and notes, and the report's result. Times, the host and
the measured details (readings per second) are left out: they differ from run to run.

Usage: same_runs_as_linux.py WINDOWS_MODULE LINUX_MODULE EMULATOR... -- [MODULE ARGS...]
Exits 0 when the runs are the same, 1 when not (printing both), 77 (skipped) when the Linux
module has not been built.
"""
import json
import os
import subprocess
import sys

KEPT = ("test", "device", "parameters", "result", "code", "events", "notes")


def report_of(command):
    done = subprocess.run(command + ["--report", "-"], capture_output=True, text=True,
                          timeout=90, check=False)
    try:
        report = json.loads(done.stdout)
    except json.JSONDecodeError:
        sys.exit(f"{command[0]}: no JSON report (exit {done.returncode}):\n"
                 f"{done.stdout}\n{done.stderr}")
    return done.returncode, report


def runs_of(report):
    return {"result": report["result"], "code": report["code"], "backend": report["backend"],
            "runs": [{k: run[k] for k in KEPT if k in run} for run in report["runs"]]}


def main():
    windows_module, linux_module, *rest = sys.argv[1:]
    emulator, args = rest[:rest.index("--")], rest[rest.index("--") + 1:]
    if not os.access(linux_module, os.X_OK):
        print(f"skipped: the Linux module {linux_module} is not built "
              "(cmake --build --preset debug)")
        return 77
    windows_exit, windows = report_of(emulator + [windows_module] + args)
    linux_exit, linux = report_of([linux_module] + args)
    ours, theirs = runs_of(windows), runs_of(linux)
    if not ours["runs"]:
        print("the Windows module reported no runs")
        return 1
    if windows_exit != linux_exit or ours != theirs:
        print(f"exit codes: Windows {windows_exit}, Linux {linux_exit}")
        print("Windows:", json.dumps(ours, indent=2, sort_keys=True))
        print("Linux:", json.dumps(theirs, indent=2, sort_keys=True))
        return 1
    runs = ", ".join(f"{r['test']} {r['result']}" for r in ours["runs"])
    print(f"same {len(ours['runs'])} runs ({runs}), result {ours['result']}, exit {windows_exit}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
