#!/usr/bin/python3
"""The entry --orientation proposes is one systemd's own tool takes and answers with.

For each machine below, the simulated tablet sits in its case as the machine's own entry in
systemd's 60-sensor.hwdb corrects; then:
  1. --orientation --hwdb h.hwdb fails and proposes the entry, with its excerpt in the report;
  2. systemd-hwdb compiles the entry on a temporary root without a word;
  3. `systemd-hwdb query` answers the key udev's 60-sensor.rules composes for that sensor on
     that machine ("sensor:[label:]modalias:<parent modalias>:<DMI modalias>") with the
     proposed matrix;
  4. --orientation again, with that answer in force as udev's, passes and names udev.

Usage: hwdb_proposal.py VEKRSENSORS SYSTEMD_HWDB
"""
import json
import pathlib
import subprocess
import sys
import tempfile

POSES = [{"at": 0, "hold": "upright"}, {"at": 0, "hold": "left-up"}, {"at": 0, "hold": "face-up"}]

MACHINES = [
    {   # 60-sensor.hwdb "Chuwi HiBook": no product name, so its entry matches the BIOS
        # vendor, version and date; the DMI modalias is the one that entry spells out.
        "name": "Chuwi HiBook",
        "dmi": "dmi:bvnAmericanMegatrendsInc.:bvr5.11:bd05/07/2016:br5.11:svnDefaultstring:"
               "pnDefaultstring:pvrDefaultstring:rvnHampoo:rnCherryTrailCR:rvrDefaultstring:"
               "cvnDefaultstring:ct3:cvrDefaultstring:",
        "modalias": "acpi:BOSC0200:BOSC0200:",
        "matrix": "1, 0, 0; 0, -1, 0; 0, 0, 1",
        "match": "sensor:modalias:acpi:BOSC0200:BOSC0200:*:dmi:bvnAmericanMegatrendsInc.:bvr5.11:"
                 "bd05/07/2016:*svnDefaultstring:pnDefaultstring:*",
        "comment": "# Chuwi HiBook (BIOS 5.11 of 05/07/2016)",
    },
    {   # 60-sensor.hwdb "Asus T100TA": vendor and product say who it is (the DMI fields its
        # entry matches on, the others left out).
        "name": "ASUS T100TA",
        "dmi": "dmi:bvnAmericanMegatrendsInc.:svnASUSTeKCOMPUTERINC.:pnT100TA:",
        "modalias": "acpi:INVN6500:INVN6500:",
        "matrix": "1, 0, 0; 0, -1, 0; 0, 0, 1",
        "match": "sensor:modalias:acpi:INVN6500:INVN6500:*:dmi:*:svnASUSTeKCOMPUTERINC.:pnT100TA:*",
        "comment": "# ASUS T100TA",
    },
    {   # 60-sensor.hwdb "Google Chromebooks": the lid's cros-ec accelerometer, labelled by
        # the kernel, so udev's key begins with the label (60-sensor.rules); the DMI of a
        # coreboot Chromebook, its board's name as the product (the fields matched on).
        "name": "GOOGLE Kefka",
        "dmi": "dmi:bvncoreboot:svnGOOGLE:pnKefka:",
        "modalias": "platform:cros-ec-accel",
        "label": "accel-display",
        "matrix": "-1, 0, 0; 0, -1, 0; 0, 0, -1",
        "match": "sensor:accel-display:modalias:platform:cros-ec-accel*:dmi:*:svnGOOGLE:pnKefka:*",
        "comment": "# GOOGLE Kefka",
    },
]


def scenario(machine, matrix=None):
    sensor = {"kind": "accelerometer", "locator": "A", "modalias": machine["modalias"],
              "mounting": machine["matrix"], "poses": POSES}
    if machine.get("label"):
        sensor["label"] = machine["label"]
    if matrix:
        sensor.update({"matrix": matrix, "matrixFrom": "udev"})
    return {"dmi": {"modalias": machine["dmi"], "name": machine["name"]}, "sensors": [sensor]}


def run_check(module, folder, machine, matrix=None):
    (folder / "s.json").write_text(json.dumps(scenario(machine, matrix)))
    for stale in ("h.hwdb", "r.json"):
        (folder / stale).unlink(missing_ok=True)
    done = subprocess.run([module, "--orientation", "--fast", "--scenario", "s.json", "--hwdb", "h.hwdb",
                           "--report", "r.json"], cwd=folder, capture_output=True, text=True,
                          timeout=120)
    return done.returncode, json.loads((folder / "r.json").read_text())["runs"][0]


def check(module, hwdb_tool, machine):
    problems = []
    with tempfile.TemporaryDirectory() as d:
        folder = pathlib.Path(d)
        code, run = run_check(module, folder, machine)
        stanza = (folder / "h.hwdb").read_text() if (folder / "h.hwdb").exists() else ""
        lines = stanza.splitlines()
        want = [machine["comment"], machine["match"], " ACCEL_MOUNT_MATRIX=" + machine["matrix"]]
        if code != 1 or lines != want:
            return [f"proposal: exit {code}, entry {lines}, not {want}"]
        excerpt = run["details"].get("hwdbExcerpt", "")
        if machine["dmi"] not in excerpt or machine["modalias"] not in excerpt:
            problems.append(f"the excerpt lacks the DMI or the modalias: {excerpt!r}")

        root = folder / "root"
        (root / "etc/udev/hwdb.d").mkdir(parents=True)
        (root / "etc/udev/hwdb.d/61-sensor-local.hwdb").write_text(stanza)
        built = subprocess.run([hwdb_tool, "update", "--root", str(root)], capture_output=True,
                               text=True, timeout=60)
        if built.returncode != 0 or built.stderr.strip():
            problems.append(f"systemd-hwdb update: {built.returncode} {built.stderr.strip()}")
        label = machine.get("label")
        key = "sensor:" + (label + ":" if label else "") + "modalias:" + machine["modalias"] + \
            ":" + machine["dmi"]
        asked = subprocess.run([hwdb_tool, "query", "--root", str(root), key],
                               capture_output=True, text=True, timeout=60)
        answer = asked.stdout.strip()
        if answer != "ACCEL_MOUNT_MATRIX=" + machine["matrix"]:
            return problems + [f"systemd-hwdb query {key}: {answer!r}"]

        code, run = run_check(module, folder, machine, answer.split("=", 1)[1])
        notes = " ".join(run.get("notes", []))
        if code != 0 or run["result"] != "PASS" or "matrix in force: udev ACCEL_MOUNT_MATRIX" \
                not in notes:
            problems.append(f"again with the entry in force: exit {code}, {run['result']}, "
                            f"notes {notes!r}")
    return problems


def main():
    module, hwdb_tool = sys.argv[1], sys.argv[2]
    failed = False
    for machine in MACHINES:
        problems = check(module, hwdb_tool, machine)
        for p in problems:
            print(f"{machine['name']}: {p}")
        failed |= bool(problems)
        print(f"{machine['name']}: {'FAILED' if problems else 'ok'}")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
