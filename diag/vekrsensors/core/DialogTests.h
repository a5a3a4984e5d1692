#pragma once

#include <string>
#include <vector>

#include "Orientation/OrientationSession.h"
#include "kiva5/DiagDevice.h"
#include "kiva5/TestResult.h"

namespace vekrsensors {

// The interactive tests as the dialogs plugin (vekrsensors-dialogs.so) hands them to the
// module. The plugin holds the three tests with their dialogs and everything that draws
// (libLumo, Qt), so the module file, the framework and the threshold tests start and run
// without Qt. The plugin is loaded into the module's process and resolves the framework, the
// core library and the sensor libraries against the module file's own copy: one catalogue,
// one logger set, one installed backend.
// What the results window shows: one row per run, and where the report was saved.
struct ResultRow {
    std::string test, device, result, measurement, advice;
};
struct ResultsView {
    std::vector<ResultRow> rows;
    std::string reportPath;  // "" when it could not be written
};

struct DialogTests {
    // Bumped whenever this table or the module's interfaces the plugin calls change shape; a
    // plugin from another build of the module is refused rather than called.
    int interfaceVersion = 0;
    // The module version the plugin was built for, e.g. "6.5".
    const char* moduleVersion = "";
    // Why the dialogs cannot be shown in this session ("" when they can). Probes the display
    // and fixes the process's display mode; called once, before the first interactive test.
    std::string (*checkDisplay)(bool simulatedMachine) = nullptr;
    kiva5::TestResult (*gyrometerTest)(const kiva5::DiagDevice& device) = nullptr;
    kiva5::TestResult (*magnetometerTest)(const kiva5::DiagDevice& device) = nullptr;
    kiva5::TestResult (*proximitySensorTest)(const kiva5::DiagDevice& device) = nullptr;
    // The orientation check's window: shows the pose `session` asks for until the check is
    // finished or the person cancels (then sets `cancelled`). Main thread, modal.
    void (*orientationDialog)(OrientationSession& session) = nullptr;
    // The window a desktop-started run ends on; true for Run again. Main thread, modal.
    bool (*resultsWindow)(const ResultsView& view) = nullptr;
};

inline constexpr int kDialogTestsInterface = 3;

// Called by the plugin's static initialisation as it is loaded (or by a program that links
// the dialogs in directly): from then on the module calls these.
void provideDialogTests(const DialogTests* tests);

}  // namespace vekrsensors
