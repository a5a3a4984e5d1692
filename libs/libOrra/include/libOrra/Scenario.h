#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "libOrra/SensorKind.h"

namespace libOrra {

// A simulated machine: its sensors, display, the scripted operator and the framework's stop
// request. Read by parseScenario, written by writeScenario, built by the recorder; plain data,
// compared member by member (a scenario written and read back equals itself).
struct ScenarioUpdate {
    bool fail = false;
    std::optional<double> at;  // when it was read, in a recording (replay goes by call)
    // A compass heading relative to the target the dialog showed: replayed against the
    // target the replay's dialog shows, so a recorded turn reaches a target drawn anew.
    std::optional<double> fromTarget;
    std::optional<double> x, y, z, lux, heading;
    std::optional<bool> valid;
    std::optional<int> kind;

    bool operator==(const ScenarioUpdate&) const = default;
};

struct MotionSegment {
    double seconds = 0.0;
    double rate[3] = {0.0, 0.0, 0.0};

    bool operator==(const MotionSegment&) const = default;
};

struct HeadingScript {
    double start = 0.0;
    bool followTarget = false;  // the simulated person turns toward the compass target
    double degreesPerSecond = 90.0;

    bool operator==(const HeadingScript&) const = default;
};

struct ProximityReading {
    double at = 0.0;
    bool detected = false;
    std::uint32_t mm = 0;

    bool operator==(const ProximityReading&) const = default;
};

// Faults to rehearse: a sensor that vanishes, updates that fail now and then, an axis that
// stops moving, a proximity sensor that chatters between seeing and not seeing.
struct ScenarioFaults {
    std::optional<double> disappearAt;
    int failEvery = 0;             // every n-th update fails
    std::optional<int> stuckAxis;  // 0, 1, 2: keeps its first value
    std::optional<double> chatterSeconds;
    bool silent = false;  // never raises a data event

    bool operator==(const ScenarioFaults&) const = default;
};

// A pose the simulated person holds the device in from `at` seconds on: "upright",
// "left-up", "face-up", their opposites "upside-down", "right-up", "face-down", or "moving".
struct PoseStep {
    double at = 0.0;
    std::string hold;

    bool operator==(const PoseStep&) const = default;
};

struct ScenarioSensor {
    SensorKind kind = SensorKind::Accelerometer;
    std::string locator;
    std::string name;
    std::string label;                    // the kernel's label ("accel-base"), "" for none
    std::vector<std::int32_t> states;     // one per GetState call, the last repeats
    std::vector<ScenarioUpdate> updates;  // one per update() call, the last repeats
    std::vector<MotionSegment> motion;
    std::optional<HeadingScript> heading;
    std::vector<ProximityReading> readings;
    std::optional<double> errorAt;
    ScenarioFaults faults;
    // Accelerometers held in poses: how the sensor sits in its case (raw = mounting x device)
    // and the matrix the system applies to it (as udev or the kernel would); the parent
    // device's modalias, as a hwdb entry matches it.
    std::vector<PoseStep> poses;
    std::optional<std::array<double, 9>> mounting;
    std::optional<std::array<double, 9>> matrix;
    bool matrixFromUdev = false;  // the matrix as udev's hwdb sets it, not the scenario's own
    std::string modalias = "sim:accelerometer";

    bool operator==(const ScenarioSensor&) const = default;
};

struct OperatorAction {
    double at = 0.0;
    std::string dialog;
    std::string press;  // Fail, Cancel, Close, Escape, Restart, Exit

    bool operator==(const OperatorAction&) const = default;
};

struct ScenarioDevice {
    std::string capability;
    std::string locator;
    std::string name;
    std::string label;

    bool operator==(const ScenarioDevice&) const = default;
};

struct Scenario {
    std::optional<std::uint32_t> rotation = 0;  // nullopt: the rotation cannot be read
    std::vector<ScenarioSensor> sensors;
    std::vector<OperatorAction> operatorActions;
    std::optional<std::vector<ScenarioDevice>> devices;
    std::vector<SensorKind> failEnumeration;
    std::optional<double> stopAt;
    // Only from this test run (from 1) on, as a recording has it: in that run at stopAt, in
    // the later ones at once.
    std::optional<int> stopRun;
    // The machine's DMI vendor and product as the kernel's modalias gives them (svn, pn),
    // the whole modalias where the scenario gives one ("" : made of those two), and the
    // machine's name in plain words ("": vendor and product).
    std::string dmiVendor = "Simulated";
    std::string dmiProduct = "Tablet";
    std::string dmiModalias;
    std::string dmiName;
    // The built-in panel: its orientation as the kernel would tell it ("right_side_up"; ""
    // where it does not), its connector and native mode ("800x1280"; "" unknown).
    std::string panelOrientation;
    std::string panelConnector;
    std::string panelMode;
    // A recording's: the arguments of the run it recorded, the program first.
    std::vector<std::string> recordedCommandLine;
    // A recording's "recording" block (module, command line, each run's verdict) as JSON text
    // (compact when read): replay reads only its command line, writeScenario writes it as it is.
    std::optional<std::string> recording;

    bool operator==(const Scenario&) const = default;
};

// A scenario that does not say what it must: the message names the file, the place (line and
// column for syntax, a JSON pointer for content) and what was expected.
class ScenarioError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

Scenario parseScenario(std::string_view text, const std::string& fileName);
// The scenario as JSON text, laid out as recordings are: a member of the document or of a
// sensor to a line, a long list (updates, readings, presses) an item to a line. parseScenario
// reads it back to an equal scenario.
std::string writeScenario(const Scenario& scenario);
// The reading of a correctly mounted accelerometer held in pose `hold`; nullopt for a name
// that is no pose.
std::optional<std::array<double, 3>> poseDirection(std::string_view hold);
Scenario loadScenario(const std::string& path);
// The embedded demo: one healthy sensor of each kind and a cooperative operator.
std::string_view demoScenarioText();

}  // namespace libOrra
