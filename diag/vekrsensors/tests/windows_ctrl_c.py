#!/usr/bin/python3
"""Ctrl-C asks the Windows module to stop as SIGINT does on Linux: the test that runs ends,
the tests not started are USERABORTED "not started: stop requested by Ctrl-C", and the report
is written whole. Wine turns the SIGINT sent to its process into the console's Ctrl-C event.

The request is sent when the module says the first test has started (its progress line), so
the second has not.

Usage: windows_ctrl_c.py SCENARIO REPORT EMULATOR... -- MODULE
"""
import json
import os
import signal
import subprocess
import sys


def main():
    scenario, report, *rest = sys.argv[1:]
    emulator, module = rest[:rest.index("--")], rest[rest.index("--") + 1]
    if os.path.exists(report):
        os.remove(report)
    process = subprocess.Popen(
        emulator + [module, "--scenario", scenario, "--test", "AccelerometerTest",
                    "--test", "AmbientLightSensorTest", "--report", report],
        stdout=subprocess.PIPE, text=True)
    seen = []
    for line in process.stdout:
        seen.append(line)
        if line.startswith("[1/2] AccelerometerTest on "):
            process.send_signal(signal.SIGINT)
            break
    seen.extend(process.stdout)
    code = process.wait(timeout=60)
    runs = json.load(open(report, encoding="utf-8"))["runs"]
    second = runs[1] if len(runs) == 2 else {}
    if second.get("result") != "USERABORTED" or second.get("notes") != [
            "not started: stop requested by Ctrl-C"]:
        print("".join(seen))
        print(json.dumps(runs, indent=2))
        return 1
    print(f"stopped by Ctrl-C: {runs[0]['result']}, then {second['result']} (exit {code})")
    return 0


if __name__ == "__main__":
    sys.exit(main())
