#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kiva5/DiagDevice.h"

namespace kiva5 {

// A remark of the sensor source about a device after a run (see libOrra::DeviceNote).
struct SourceNote {
    std::string text;
    bool heldElsewhere = false;  // another program held the device: no verdict on the sensor
};

// Where the host's devices come from: the sensor backend chosen on the command line.
// Created and used on the main thread for one start().
class DeviceSource {
public:
    virtual ~DeviceSource() = default;
    virtual std::vector<DiagDevice> devices() = 0;
    // Called around each test run, e.g. so a simulated machine restarts its clocks.
    virtual void testStarting(const std::string& /*test*/, const DiagDevice& /*device*/) {}
    virtual void testFinished() {}
    // True when the machine itself asks the running test to stop (a scenario's stop time).
    virtual bool stopDue() const { return false; }
    // What the source noticed about `device` during the run that just ended.
    virtual std::vector<SourceNote> takeNotes(const DiagDevice& /*device*/) { return {}; }
    // A run recorded so far (see BackendSelection::record) as a scenario's JSON text, with
    // `block` (JSON) as what it says about itself; "" when not recording.
    virtual std::string recording(const std::string& /*block*/) const { return {}; }
    // A stop request ended the run that is ending: the recording replays it in that run.
    virtual void stopSeen(int /*run*/) {}
    // Whether one reading can be taken from `device` now (bounded, as every sensor access).
    virtual bool readable(const DiagDevice& /*device*/) { return false; }
    // A replayed recording's: the arguments of the run it recorded, the program first; empty
    // for any other source.
    virtual std::vector<std::string> recordedCommandLine() const { return {}; }
    // Where the source looked for devices ("" when it cannot say).
    virtual std::string lookedIn() const { return {}; }
    // For a bug report: where each of the device's values comes from and one reading, a line
    // each.
    virtual std::vector<std::string> explain(const DiagDevice& /*device*/) { return {}; }
};

struct BackendSelection {
    std::string backend;                  // "iio" or "sim"
    std::optional<std::string> scenario;  // a scenario file for "sim"
    bool record = false;                  // keep what the sensors do, for recording()
};

// Builds the source for a selection; throws KivaException when it cannot (e.g. a malformed
// scenario), before any test runs.
using DeviceSourceFactory = std::function<std::unique_ptr<DeviceSource>(const BackendSelection&)>;

// What the interactive tests need before the first of them runs: their code loaded, a screen
// to show dialogs on. Answers why they cannot run on this machine, or "" when they can.
// `simulatedMachine` is true for the "sim" backend, whose dialogs may run offscreen. The host
// asks at most once per start(), and only when an interactive test is about to run, so a
// threshold-only run loads and probes nothing for them.
using InteractiveCheck = std::function<std::string(bool simulatedMachine)>;

// The window a run started from the desktop ends on (--window): the runs of `report`, where
// it was saved (`reportPath`), Close and Run again. Answers true for Run again. Main thread,
// after the interactive check has answered "" (a display).
struct Report;
using ResultsWindow = std::function<bool(const Report& report, const std::string& reportPath)>;

// The sensors of libOrra's backends: "iio" or "sim". The backend becomes the process's
// installed one, so the tests' enumeration calls see the same machine.
std::unique_ptr<DeviceSource> makeSensorDeviceSource(const BackendSelection& selection);

}  // namespace kiva5
