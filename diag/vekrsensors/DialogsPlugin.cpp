#include "DialogsPlugin.h"

#include <atomic>

#include "DialogTests.h"
#include "vek/DynamicLibrary.h"
#include "vek/Logging.h"

namespace {
std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "vekrsensors";
constexpr const char* kPluginFile = "vekrsensors-dialogs.so";
constexpr const char* kPluginPackage = "vekrsensors-dialogs";

std::atomic<const vekrsensors::DialogTests*> s_tests{nullptr};
// Never unloaded: Qt's application object and its threads outlive any one test.
vek::DynamicLibrary* s_library = nullptr;

// Why the provided table cannot be used, or "".
std::string unusable(const vekrsensors::DialogTests* tests) {
    if (!tests)
        return "it does not provide the interactive tests";
    if (tests->interfaceVersion != vekrsensors::kDialogTestsInterface) {
        return "it was built for another version of the module (interface " +
               std::to_string(tests->interfaceVersion) + ", this module needs " +
               std::to_string(vekrsensors::kDialogTestsInterface) + ")";
    }
    return "";
}

// Loads the plugin once; the answer is kept for the rest of the process.
const std::string& loadProblem() {
    static const std::string problem = [] {
        if (s_tests.load())
            return unusable(s_tests.load());
        const std::string path = vekrsensors::DialogsPlugin::file().string();
        s_library = new vek::DynamicLibrary(path);
        if (!s_library->load()) {
            return "the dialogs plugin could not be loaded (" + s_library->lastError() +
                   "): install the " + kPluginPackage + " package";
        }
        const std::string why = unusable(s_tests.load());
        return why.empty() ? why : "the dialogs plugin " + path + " cannot be used: " + why;
    }();
    return problem;
}

kiva5::TestResult forward(
    kiva5::TestResult (*vekrsensors::DialogTests::*test)(const kiva5::DiagDevice&),
    const kiva5::DiagDevice& device) {
    // The host asked check() first; a test called without it (or after a failed load) cannot
    // show its dialog.
    if (!loadProblem().empty())
        return kiva5::TestResult::CANNOTRUN();
    return (s_tests.load()->*test)(device);
}

}  // namespace

void vekrsensors::provideDialogTests(const DialogTests* tests) {
    s_tests.store(tests);
}

std::filesystem::path vekrsensors::DialogsPlugin::file() {
    return vek::DynamicLibrary::besideExecutable(kPluginFile);
}

std::string vekrsensors::DialogsPlugin::check(bool simulatedMachine) {
    const std::string& problem = loadProblem();
    if (!problem.empty()) {
        VEK_LOG(s_logger, kLoggerName, 4, problem);
        return problem;
    }
    return s_tests.load()->checkDisplay(simulatedMachine);
}

kiva5::TestResult vekrsensors::DialogsPlugin::gyrometerTest(const kiva5::DiagDevice& device) {
    return forward(&DialogTests::gyrometerTest, device);
}

kiva5::TestResult vekrsensors::DialogsPlugin::magnetometerTest(const kiva5::DiagDevice& device) {
    return forward(&DialogTests::magnetometerTest, device);
}

kiva5::TestResult vekrsensors::DialogsPlugin::proximitySensorTest(const kiva5::DiagDevice& device) {
    return forward(&DialogTests::proximitySensorTest, device);
}

bool vekrsensors::DialogsPlugin::hasOrientationDialog() {
    return loadProblem().empty() && s_tests.load()->orientationDialog;
}

void vekrsensors::DialogsPlugin::orientationDialog(OrientationSession& session) {
    if (hasOrientationDialog())
        s_tests.load()->orientationDialog(session);
}
