#!/usr/bin/python3
"""The Windows zip as a person gets it: builds it (`--target package`), checks what it holds,
unpacks it into a temporary folder and runs the module from there under Wine: it must find its
resources (the test list comes from them) and write a report.

Usage: windows_zip_test.py BUILD_DIR PACKAGE_NAME VERSION EMULATOR...
"""
import json
import pathlib
import subprocess
import sys
import tempfile
import zipfile


def main():
    build, name, version, *emulator = sys.argv[1:]
    subprocess.run(["cmake", "--build", build, "--target", "package"], check=True,
                   stdout=subprocess.DEVNULL)
    archive = pathlib.Path(build) / f"{name}.zip"
    with zipfile.ZipFile(archive) as z:
        names = set(z.namelist())
        for wanted in ("vekrsensors.vkm", "vekrsensors.cmd", "doc/README.md", "doc/LICENSE",
                       "resources/vekrsensors/profile.json"):
            if f"{name}/{wanted}" not in names:
                sys.exit(f"{archive.name} lacks {wanted}")
        if any(n.endswith(".png") for n in names):
            sys.exit(f"{archive.name} holds pictures, but this build has no dialogs")
        with tempfile.TemporaryDirectory() as tmp:
            z.extractall(tmp)
            module = pathlib.Path(tmp) / name / "vekrsensors.vkm"
            version_text = subprocess.run(emulator + [str(module), "--version"],
                                          capture_output=True, text=True, timeout=60).stdout
            if version not in version_text:
                sys.exit(f"--version said {version_text!r}, not {version}")
            done = subprocess.run(
                emulator + [str(module), "--backend", "sim", "--quiet",
                                       "--test", "AccelerometerTest", "--report", "-"],
                capture_output=True, text=True, timeout=60)
            report = json.loads(done.stdout)
            profiles = report["profiles"]
            if done.returncode != 0 or report["result"] != "PASS":
                sys.exit(f"the unpacked module answered {report['result']} "
                         f"(exit {done.returncode}): {done.stderr}")
            if not any(name in p for p in profiles):
                sys.exit(f"the unpacked module read its profile elsewhere: {profiles}")
    print(f"{archive.name}: {len(names)} entries; the unpacked module runs and finds its "
          "resources")
    return 0


if __name__ == "__main__":
    sys.exit(main())
