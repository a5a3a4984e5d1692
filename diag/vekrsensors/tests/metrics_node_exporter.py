#!/usr/bin/python3
"""The module's metrics as a fleet's monitoring sees them: Debian's prometheus-node-exporter,
started here on 127.0.0.1 with its textfile collector pointed at a temporary folder, serves
what --metrics wrote there; every series is found with its labels and values, and the
collector reports no scrape error. A file broken by hand makes that error 1, so the check can
fail. Runs on the simulated machine and on a fake IIO tree of a real driver's layout whose name
carries quotes, a backslash, a newline and a byte that is not UTF-8.

Usage: metrics_node_exporter.py MODULE     (exit 77: node_exporter is not installed)
"""
import os
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import time
import urllib.request

MODULE = os.path.abspath(sys.argv[1])
EXPORTER = shutil.which("prometheus-node-exporter")
if not EXPORTER:
    print("skipped: prometheus-node-exporter is not installed (scripts/setup.sh installs it)")
    sys.exit(77)

failures = []


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def scrape(port):
    with urllib.request.urlopen(f"http://127.0.0.1:{port}/metrics", timeout=10) as r:
        return r.read().decode("utf-8")


def sample(text, name, labels):
    """The value of the series `name` whose labels include `labels`, or None."""
    for line in text.splitlines():
        if not line.startswith(name + "{") and line.split(" ")[0] != name:
            continue
        if all(f'{k}="{v}"' in line for k, v in labels.items()):
            return float(line.rsplit(" ", 1)[1])
    return None


def expect(text, name, labels, value, where):
    got = sample(text, name, labels)
    if got is None or abs(got - value) > 1e-6 * max(1.0, abs(value)):
        failures.append(f"{where}: {name}{labels} is {got}, wanted {value}")


with tempfile.TemporaryDirectory(prefix="vekr-metrics-") as scratch:
    textfiles = os.path.join(scratch, "textfile")
    os.mkdir(textfiles)
    port = free_port()
    exporter = subprocess.Popen(
        [EXPORTER, f"--web.listen-address=127.0.0.1:{port}", "--collector.disable-defaults",
         "--collector.textfile", f"--collector.textfile.directory={textfiles}"],
        stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    try:
        deadline = time.monotonic() + 60
        while True:
            try:
                scrape(port)
                break
            except OSError:
                if exporter.poll() is not None or time.monotonic() > deadline:
                    print("node_exporter did not come up:", exporter.stderr.read().decode())
                    sys.exit(1)
                time.sleep(0.1)

        env = dict(os.environ, QT_QPA_PLATFORM="offscreen")
        prom = os.path.join(textfiles, "vekrsensors.prom")
        # The simulated machine: the threshold tests pass; every sensor is there and readable.
        done = subprocess.run([MODULE, "--backend", "sim", "--test", "AccelerometerTest",
                               "--test", "AmbientLightSensorTest", "--quiet", "--metrics", prom],
                              cwd=scratch, env=env, capture_output=True, timeout=60)
        text = scrape(port)
        where = "sim"
        expect(text, "node_textfile_scrape_error", {}, 0, where)
        expect(text, "vekrsensors_exit_code", {}, done.returncode, where)
        expect(text, "vekrsensors_build_info", {"version": "6.5", "build": "000000001"}, 1, where)
        for test, locator in (("AccelerometerTest", r"SIM\\ACCEL\\0"),
                              ("AmbientLightSensorTest", r"SIM\\ALS\\0")):
            expect(text, "vekrsensors_run_result",
                   {"test": test, "locator": locator, "result": "PASS"}, 1, where)
            expect(text, "vekrsensors_run_result_code", {"test": test}, 0, where)
        expect(text, "vekrsensors_run_acceleration_meters_per_second_squared",
               {"test": "AccelerometerTest"}, 9.711059611, where)
        expect(text, "vekrsensors_run_illuminance_lux", {"test": "AmbientLightSensorTest"},
               120.5, where)
        for capability in ("Accelerometer", "AmbientLightSensor", "Gyrometer", "Magnetometer",
                           "ProximitySensor"):
            expect(text, "vekrsensors_sensors", {"capability": capability}, 1, where)
            expect(text, "vekrsensors_sensor_readable", {"capability": capability}, 1, where)
        for name in ("vekrsensors_run_duration_seconds",
                     "vekrsensors_run_finished_timestamp_seconds",
                     "vekrsensors_last_run_timestamp_seconds",
                     "vekrsensors_last_run_duration_seconds"):
            if sample(text, name, {}) is None:
                failures.append(f"{where}: no {name}")
        if not re.search(r"# TYPE vekrsensors_run_result gauge", text):
            failures.append(f"{where}: no TYPE line for vekrsensors_run_result")

        # A fake IIO tree: hid-sensor-accel-3d's attributes (raw milli-g, scale to m/s^2),
        # named with every character a label value must escape, and one invalid byte.
        tree = os.path.join(scratch, "sys")
        device = os.path.join(tree, "bus/iio/devices/iio:device0")
        os.makedirs(device)
        attributes = {"in_accel_scale": "0.009806650", "in_accel_offset": "0",
                      "in_accel_x_raw": "-906", "in_accel_y_raw": "15", "in_accel_z_raw": "-414"}
        for name, value in attributes.items():
            with open(os.path.join(device, name), "w") as f:
                f.write(value + "\n")
        with open(os.path.join(device, "name"), "wb") as f:
            f.write(b'accel "3d" \\ two\nlines \xff\n')
        done = subprocess.run([MODULE, "--backend", "iio", "--test", "AccelerometerTest",
                               "--quiet", "--metrics", prom], cwd=scratch,
                              env=dict(env, VEKR_SYSFS_ROOT=tree, VEKR_DEV_ROOT=scratch),
                              capture_output=True, timeout=60)
        text = scrape(port)
        where = "iio"
        expect(text, "node_textfile_scrape_error", {}, 0, where)
        escaped = 'accel \\"3d\\" \\\\ two\\nlines \ufffd'
        expect(text, "vekrsensors_run_result",
               {"test": "AccelerometerTest", "device": escaped, "result": "PASS"}, 1, where)
        expect(text, "vekrsensors_sensors", {"capability": "Accelerometer"}, 1, where)
        expect(text, "vekrsensors_sensors", {"capability": "Gyrometer"}, 0, where)
        expect(text, "vekrsensors_sensor_readable",
               {"capability": "Accelerometer", "device": escaped}, 1, where)
        # 0.906^2 + 0.015^2 + 0.414^2 = 0.99257 g^2: 0.99628 g, 9.77018 m/s^2.
        got = sample(text, "vekrsensors_run_acceleration_meters_per_second_squared",
                     {"test": "AccelerometerTest"})
        if got is None or abs(got - 9.77018) > 1e-3:
            failures.append(f"{where}: acceleration {got}, wanted 9.77018 m/s^2")

        # A file broken by hand: the collector says so.
        with open(os.path.join(textfiles, "broken.prom"), "w") as f:
            f.write("vekrsensors_run_result{test=\"unterminated} 1\n")
        expect(scrape(port), "node_textfile_scrape_error", {}, 1, "broken file")
    finally:
        exporter.terminate()
        exporter.wait(timeout=30)

for f in failures:
    print(f)
sys.exit(1 if failures else 0)
