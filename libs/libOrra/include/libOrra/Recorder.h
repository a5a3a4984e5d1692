#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "libOrra/Machine.h"
#include "libOrra/Scenario.h"
#include "libOrra/SensorBackend.h"

namespace libOrra {

// What a run's sensors did, kept as a scenario the simulated machine replays: per sensor the
// states it reported and every reading (or failed update) in the order the tests asked for
// them, with its time since its test started; proximity readings and errors on their time
// line; the person's presses in each dialog; a stop request. No host identity. Built up as a
// Scenario and written by writeScenario. Owned by the run's device source (shared with the
// recording backend); filled from the tests' threads and the sensors' own threads; thread-safe.
class Recorder {
public:
    Recorder();
    ~Recorder();
    void testStarting();
    void sensor(const SensorInfo& info);
    void state(const std::string& locator, std::int32_t state);
    // A reading of a sensor of `kind`, or a failed update (nullopt).
    void update(const std::string& locator, SensorKind kind, const std::optional<Sample>& sample);
    void proximity(const std::string& locator, bool detected, std::uint32_t mm);
    void proximityError(const std::string& locator);
    void press(const std::string& dialog, const std::string& control, double secondsAfterOpen);
    // A stop request ended the `run`-th test run (from 1).
    void stop(int run);
    // The heading a dialog asks the person to turn to (the compass's target); later headings are
    // kept relative to it, so a replay whose target is drawn anew turns the same way toward its
    // own.
    void headingTarget(double degrees);
    void rotation(std::optional<std::uint32_t> rotation);

    // The scenario so far (JSON text), with `recording` as its "recording" block.
    std::string scenarioText(const std::string& recordingBlockJson) const;

private:
    double now() const;
    ScenarioSensor& find(const std::string& locator);

    mutable std::mutex mutex_;
    std::int64_t originNs_ = 0;
    // What the run did so far: its sensors (their states, updates, proximity readings and
    // error), the presses, the stop and the display's first rotation.
    Scenario recorded_;
    bool rotationSeen_ = false;
    std::optional<double> target_;
};

// `inner` with every sensor access written to `recorder` on the way.
std::shared_ptr<SensorBackend> recordingBackend(std::shared_ptr<SensorBackend> inner,
                                                std::shared_ptr<Recorder> recorder);
// What the recorder hears of the machine: each test's start (and the display's rotation
// then) and the run a stop ended.
std::shared_ptr<MachineListener> recordingListener(std::shared_ptr<Recorder> recorder);

}  // namespace libOrra
