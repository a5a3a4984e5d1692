#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "libOrra/SensorBackend.h"

namespace libOrra {

class Recorder;

// What a backend can tell about its devices beyond their readings: where it looked, what a bug
// report needs, an accelerometer's mounting and the notes gathered during a run. Called from
// the main thread between runs; implementations that gather notes on other threads lock.
class DeviceInspector {
public:
    virtual ~DeviceInspector() = default;
    // Where the backend looked for sensors, for a person told that it found none.
    virtual std::string lookedIn() const { return {}; }
    // What a bug report needs about the sensor of `kind` at `locator`, one line each: where
    // each value comes from and one bounded reading with its verdict.
    virtual std::vector<std::string> explain(SensorKind /*kind*/, const std::string& /*locator*/) {
        return {};
    }
    // The accelerometer at `locator`: its matrix in force and how to match it in the hwdb.
    virtual std::optional<Mounting> mounting(const std::string& /*locator*/) {
        return std::nullopt;
    }
    // The notes gathered about the sensors at `locator` since the last call.
    virtual std::vector<DeviceNote> takeNotes(const std::string& /*locator*/) { return {}; }
    // Why the backend offers no sensor of `kind` on any machine, for the note of a test that
    // found none; "" where it would offer one that is there.
    virtual std::string unsupported(SensorKind /*kind*/) const { return {}; }
};

// Hears what happens to the machine: a test starting and finishing on it, and a stop request
// that ended a run. Main thread; testFinished() also as the machine closes.
class MachineListener {
public:
    virtual ~MachineListener() = default;
    virtual void testStarting() {}
    virtual void testFinished() {}
    // A stop request ended the `run`-th test run (from 1).
    virtual void stopped(int /*run*/) {}
};

// The one choice of machine a command line makes.
struct MachineChoice {
    std::string backend;                  // one of backendNames()
    std::optional<std::string> scenario;  // a scenario file for "sim"; the embedded demo without
    bool record = false;                  // keep what the sensors do (recorder())
};

// The machine a host runs its tests on: the sensors (the backend, through the recorder when
// recording), what the backend can tell about them, the optional recorder, and whether the
// person and the display are simulated. Made once by makeMachine() and owned by the host for
// one start(); used from the main thread. A stop the machine itself requests (a scenario's
// stop time) arrives, from the machine's own thread, at the handler the host sets.
class Machine {
public:
    Machine(std::shared_ptr<SensorBackend> sensors, std::shared_ptr<DeviceInspector> inspector,
            bool simulated);
    ~Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    SensorBackend& sensors() { return *sensors_; }
    const std::shared_ptr<SensorBackend>& sharedSensors() const { return sensors_; }
    DeviceInspector& inspector() { return *inspector_; }
    // Null unless the machine records.
    Recorder* recorder() const { return recorder_.get(); }
    // The simulated machine: its person presses the dialogs' buttons, its display may be
    // offscreen.
    bool simulated() const { return simulated_; }
    // A replayed recording's: the arguments of the run it recorded, the program first.
    const std::vector<std::string>& recordedCommandLine() const { return recordedCommandLine_; }

    void subscribe(std::shared_ptr<MachineListener> listener);
    void testStarting();
    void testFinished();
    void stopped(int run);
    // Where the machine's own stop requests go; set by the host before the runs.
    void onStopRequest(std::function<void()> handler);
    void requestStop();

    // Whether one reading can be taken from the sensor of `kind` at `locator` now (bounded,
    // as every sensor access).
    bool readable(SensorKind kind, const std::string& locator);

    // For makeMachine().
    void setRecorder(std::shared_ptr<Recorder> recorder, std::shared_ptr<SensorBackend> sensors);
    void setRecordedCommandLine(std::vector<std::string> args) {
        recordedCommandLine_ = std::move(args);
    }

private:
    std::shared_ptr<SensorBackend> sensors_;
    std::shared_ptr<DeviceInspector> inspector_;
    std::shared_ptr<Recorder> recorder_;
    bool simulated_;
    std::vector<std::string> recordedCommandLine_;
    std::vector<std::shared_ptr<MachineListener>> listeners_;
    std::mutex stopMutex_;
    std::function<void()> stopHandler_;
};

// The one place a choice becomes a machine: "iio" (the kernel's sensors) or "sim" (a scenario
// file, or the embedded demo), recorded when asked. Throws ScenarioError for a bad scenario
// and std::invalid_argument for an unknown backend.
std::unique_ptr<Machine> makeMachine(const MachineChoice& choice);

}  // namespace libOrra
