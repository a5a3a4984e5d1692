#include "DialogTests.h"

#include <atomic>

#include "Orientation/OrientationDlg.h"
#include "ResultsWindow.h"
#include "kiva5/DiagModule.h"
#include "libLumo/DisplayProbe.h"
#include "libLumo/VekDialog.h"
#include "platform/Screen.h"
#include "vek/Logging.h"
#include "vekrsensors.h"

// The dialogs plugin's entry: its static initialisation hands the interactive tests to the
// module that loaded it.

namespace {
std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "vekrsensors";

std::string checkDisplay(bool simulatedMachine) {
    std::string noScreen;
    const platform::DisplayMode mode = libLumo::DisplayProbe::detect(simulatedMachine, &noScreen);
    platform::setDisplayMode(mode, noScreen);
    VEK_LOG(s_logger, kLoggerName, 1,
            "Display: " << platform::displayModeName(mode)
                        << (noScreen.empty() ? "" : " (" + noScreen + ")"));
    if (mode != platform::DisplayMode::None)
        return "";
    return "no display to show the test's dialog on (" + noScreen +
           "): run it in a desktop session, or on the simulated machine (--backend sim)";
}

const vekrsensors::DialogTests s_tests{
    vekrsensors::kDialogTestsInterface,
    VEKR_MODULE_VERSION,
    checkDisplay,
    GyrometerTest,
    MagnetometerTest,
    ProximitySensorTest,
    vekrsensors::runOrientationDialog,
    vekrsensors::showResults,
};

const bool s_provided = [] {
    // A stop request (a signal, the scenario's stop time) closes an open dialog as Cancel would.
    libLumo::VekDialog::setStopCheck([] { return kiva5::DiagModule::checkForStop(); });
    vekrsensors::provideDialogTests(&s_tests);
    return true;
}();
}  // namespace
