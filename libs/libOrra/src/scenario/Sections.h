#pragma once

#include <string>

#include "JsonReader.h"
#include "JsonWriter.h"
#include "libOrra/Scenario.h"

namespace libOrra::scenario {

// One part of a scenario document (the display, the presses, a sensor's updates...): `read`
// takes its keys from the JSON object at `where` into the target, naming the place of any
// fault; `write` adds them back as members of the object being written, leaving out what
// reads back as it is without them. The one place each part's format is known, for reading
// and writing alike. Constant tables of functions without state, defined beside the parts'
// code; any thread may use them.
template <typename Target>
struct Section {
    void (*read)(const Reader& r, const Json& object, const std::string& where, Target& into);
    void (*write)(const Target& from, Members& out);
};
using SensorSection = Section<ScenarioSensor>;
using DocumentSection = Section<Scenario>;

// A sensor's scripts (SensorScripts.cpp): its states, updates, a gyrometer's motion, a
// magnetometer's heading, a proximity sensor's readings and its error.
extern const SensorSection kStates, kUpdates, kMotion, kHeading, kReadings, kError;
// An accelerometer's poses, how it sits in its case, the matrix applied and its modalias
// (Poses.cpp).
extern const SensorSection kPoses;
// The faults to rehearse (Sensors.cpp).
extern const SensorSection kFaults;

// The document's parts: the sensors (Sensors.cpp); the recording block, display, the person's
// presses, the device list, failing enumerations, the machine's DMI names and the stop request
// (Machine.cpp).
extern const DocumentSection kSensors;
extern const DocumentSection kRecording, kDisplay, kOperator, kDevices, kFailEnumeration, kDmi,
    kPanel, kStop;

}  // namespace libOrra::scenario
