#pragma once

#include <cstddef>
#include <memory>
#include <optional>

#include "libOrra/Scenario.h"
#include "libOrra/SensorBackend.h"

namespace libOrra::sim {

// Where a test stands when a simulated sensor is read: seconds since the test started, how
// many updates were asked for before this one, and the compass target the dialog shows.
struct ReadMoment {
    double t = 0.0;
    std::size_t call = 0;
    std::optional<double> headingTarget;
};

// What a simulated sensor's script reads over a test: its poses, motion, turning heading,
// list of updates, or a sensor at rest. Made anew for each test by SimBackend, which owns it
// with the sensor's counters; reads the scenario's sensor, which outlives it. Called under
// the backend's lock, one read at a time.
class SampleScript {
public:
    virtual ~SampleScript() = default;
    // Fills `out`; false when this update fails.
    virtual bool read(const ReadMoment& now, Sample& out) = 0;
};

// The script `sensor` plays: its poses once the first one's time has come (before it, what
// it would play without them), else its motion, a heading that turns (when it lists no
// updates), its updates, or a sensor at rest.
std::unique_ptr<SampleScript> makeScript(const ScenarioSensor& sensor);

}  // namespace libOrra::sim
