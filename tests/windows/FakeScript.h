#pragma once

// The sensors the fake Sensor API server serves, as a test writes them in a script file, one
// line each ('#' starts a comment):
//
//   sensor accelerometer|light|gyrometer|compass   starts a sensor
//   id {6A0E8F4C-3C5B-4F0A-9D1E-00000000A001}      GetID (default: made from its position)
//   path \\?\ACPI#BOSC0200#0#{...}                 SENSOR_PROPERTY_DEVICE_PATH (default: none)
//   name Fake Accelerometer                        GetFriendlyName
//   state INITIALIZING                             GetState's answers in turn, the last repeats
//   reading 0.0 0.0 -1.0                           GetData's values in turn, the last repeats
//   leave 3                                        gone after 3 reports: OnLeave, NOT_AVAILABLE
//   events 4                                       OnDataUpdated 4 times, from a thread of its
//                                                  own, each time a sink is attached
//
// A reading gives x y z (g, or degrees per second), lux, or a heading in degrees.

#include <optional>
#include <string>
#include <vector>

namespace fake {

enum class Type { Accelerometer, Light, Gyrometer, Compass };

struct ScriptSensor {
    Type type = Type::Accelerometer;
    std::string id;  // "" for the default
    std::string path;
    std::string name;
    std::vector<int> states;                    // SensorState numbers
    std::vector<std::vector<double>> readings;  // one report's values each
    std::optional<unsigned> leaveAfter;
    unsigned events = 0;
};

// The sensors of `text`; false with the offending line in `error` for a line it cannot read.
bool parseScript(const std::string& text, std::vector<ScriptSensor>& out, std::string& error);

}  // namespace fake
