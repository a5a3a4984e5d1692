#pragma once

#include <filesystem>
#include <string>

#include "Orientation/OrientationSession.h"
#include "kiva5/DiagDevice.h"
#include "kiva5/Report.h"
#include "kiva5/TestResult.h"

namespace vekrsensors {

// The module's side of the dialogs plugin: loads it when the first interactive test is about
// to run, and stands in the catalogue for the three interactive tests, forwarding each call.
// Used on the main thread (the host's check and the test calls); the plugin stays loaded to
// the end of the process, since Qt's objects live that long.
class DialogsPlugin {
public:
    // The plugin's file: beside the module file, as installed and in the build tree.
    static std::filesystem::path file();
    // The host's interactive check: loads the plugin unless its tests are already there, then
    // lets it probe the display. Answers why interactive tests cannot run, "" when they can.
    static std::string check(bool simulatedMachine);

    static kiva5::TestResult gyrometerTest(const kiva5::DiagDevice& device);
    static kiva5::TestResult magnetometerTest(const kiva5::DiagDevice& device);
    static kiva5::TestResult proximitySensorTest(const kiva5::DiagDevice& device);
    // The orientation check's window, once check() has answered "" (loaded, a display).
    static bool hasOrientationDialog();
    // The host's results window (--window): the runs with what to do next; true for Run
    // again. Only after check() has answered "".
    static bool resultsWindow(const kiva5::Report& report, const std::string& reportPath);
    static void orientationDialog(OrientationSession& session);
};

}  // namespace vekrsensors
