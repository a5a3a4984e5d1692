#!/usr/bin/python3
"""The module's reports as a fleet collects them: every JSON report validates against
docs/report.schema.json (python3-jsonschema), and the JUnit XML of the same runs parses with a
real XML parser and tells the same verdicts. The recording of each run validates against
docs/scenario.schema.json.

Usage: report_formats.py MODULE SCHEMA SCENARIO_SCHEMA
"""
import json
import os
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ET

import jsonschema

MODULE, SCHEMA, SCENARIO_SCHEMA = sys.argv[1], sys.argv[2], sys.argv[3]

ACCEL_OUT_OF_BAND = {"sensors": [{"kind": "accelerometer", "locator": "A\u00e9<&>\"'",
                                  "name": "bell\u0007 & <tab>\t", "updates": [{"z": 1.5}]}]}
LIGHT = {"sensors": [{"kind": "light", "locator": "L", "updates": [{"lux": 120}]}]}

# (label, scenario or None for the embedded demo, extra arguments, expected JUnit element of
# each run: None for a plain pass)
CASES = [
    ("failing accelerometer with markup and a control character in its name", ACCEL_OUT_OF_BAND,
     ["--test", "AccelerometerTest", "--param", "AccelerometerWaitTime=0.2"], ["failure"]),
    ("no device for the asked locator, invalid UTF-8 in the argument", LIGHT,
     ["--test", "AmbientLightSensorTest", "--device", b"\xff\xfe".decode("utf-8", "surrogateescape")],
     ["skipped"]),
    ("a parameter that is not a number", LIGHT,
     ["--test", "AmbientLightSensorTest", "--param", "LuxValueThreshold=lots"], ["error"]),
    ("two tests, one pass and one without a device", LIGHT,
     ["--test", "AmbientLightSensorTest", "--test", "AccelerometerTest"], [None, "skipped"]),
    # The doctor's structured details (its links, the first broken one, the remedy): a machine
    # whose firmware declares an accelerometer and disables it, and declares nothing else.
    ("the doctor on a machine whose firmware disables its accelerometer",
     {"sysfs": {"bus/acpi/devices/SMO8840:00/hid": "SMO8840",
                "bus/acpi/devices/SMO8840:00/status": "0"}},
     ["--doctor"], ["failure", "skipped", "skipped", "skipped", "skipped"]),
]

validator = jsonschema.Draft202012Validator(json.load(open(SCHEMA)))
scenarios = jsonschema.Draft202012Validator(json.load(open(SCENARIO_SCHEMA)))
failures = []
with tempfile.TemporaryDirectory(prefix="vekr-report-formats-") as scratch:
    for label, scenario, extra, expected in CASES:
        args = [MODULE, "--quiet", "--report", "r.json", "--junit", "r.xml", "--record", "rec.json"]
        env = dict(os.environ, QT_QPA_PLATFORM="offscreen")
        if scenario is not None and "sysfs" in scenario:
            for name, text in scenario["sysfs"].items():
                os.makedirs(os.path.dirname(os.path.join(scratch, "sys", name)), exist_ok=True)
                with open(os.path.join(scratch, "sys", name), "w") as f:
                    f.write(text + "\n")
            env["VEKR_SYSFS_ROOT"] = os.path.join(scratch, "sys")
        else:
            args += ["--backend", "sim"]
        if scenario is not None and "sysfs" not in scenario:
            with open(os.path.join(scratch, "s.json"), "w") as f:
                json.dump(scenario, f)
            args += ["--scenario", "s.json"]
        args += extra
        done = subprocess.run([os.fsencode(a) for a in args], cwd=scratch, env=env,
                              capture_output=True, timeout=60)
        report = json.load(open(os.path.join(scratch, "r.json"), encoding="utf-8"))
        errors = sorted(validator.iter_errors(report), key=str)
        if errors:
            failures.append(f"{label}: report does not validate: {errors[0].message} at "
                            f"{list(errors[0].absolute_path)}")
        recording = json.load(open(os.path.join(scratch, "rec.json"), encoding="utf-8"))
        errors = sorted(scenarios.iter_errors(recording), key=str)
        if errors:
            failures.append(f"{label}: recording does not validate: {errors[0].message} at "
                            f"{list(errors[0].absolute_path)}")
        if report["code"] != done.returncode:
            failures.append(f"{label}: exit code {done.returncode}, report says {report['code']}")
        suite = ET.parse(os.path.join(scratch, "r.xml")).getroot().find("testsuite")
        cases = suite.findall("testcase")
        if len(cases) != len(report["runs"]) or int(suite.get("tests")) != len(cases):
            failures.append(f"{label}: {len(cases)} testcases for {len(report['runs'])} runs")
            continue
        for case, run, element in zip(cases, report["runs"], expected):
            found = [c.tag for c in case if c.tag in ("failure", "error", "skipped")]
            if found != ([element] if element else []):
                failures.append(f"{label}: {run['result']} became {found}, wanted {element}")
                continue
            if case.get("classname") != "vekrsensors." + run["test"]:
                failures.append(f"{label}: classname {case.get('classname')}")
            locator = run["device"]["locator"] if run["device"] else "(no device)"
            if case.get("name") != locator.replace("\u0007", "\ufffd"):
                failures.append(f"{label}: testcase name {case.get('name')!r}, locator {locator!r}")
            if element:
                verdict = case.find(element)
                if not verdict.get("message", "").startswith(run["result"]):
                    failures.append(f"{label}: message {verdict.get('message')!r}")
                for event in run["events"]:
                    if event["name"] not in (verdict.text or ""):
                        failures.append(f"{label}: event {event['name']} not in the {element}")
        # A failure names what was measured beside the rule it was held to.
        if label.startswith("failing"):
            message = cases[0].find("failure").get("message")
            if "1.50 g, wanted 1 +/- 0.1" not in message or "Sensor_Timeout" not in (
                    cases[0].find("failure").text or ""):
                failures.append(f"{label}: failure message {message!r}")

for f in failures:
    print(f)
sys.exit(1 if failures else 0)
