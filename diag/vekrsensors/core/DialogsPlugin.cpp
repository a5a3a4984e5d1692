#include "DialogsPlugin.h"

#include <atomic>

#include "DialogTests.h"
#include "DialogsBuild.h"
#include "kiva5/Localization.h"
#include "vek/DynamicLibrary.h"
#include "vek/Logging.h"

namespace {
std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "vekrsensors";
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
        if (std::string absent = vekrsensors::dialogsAbsentFromBuild(); !absent.empty())
            return absent;
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
    return vek::DynamicLibrary::besideExecutable(dialogsPluginFile());
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

namespace {

// "EnsureLightCanReachSensor" -> "Ensure light can reach sensor": a tip without a text of its
// own still reads as advice.
std::string words(const std::string& key) {
    std::string out;
    for (std::size_t i = 0; i < key.size(); ++i) {
        const char c = key[i];
        if (i > 0 && c >= 'A' && c <= 'Z') {
            out += ' ';
            out += static_cast<char>(c - 'A' + 'a');
        } else {
            out += c == '_' ? ' ' : c;
        }
    }
    return out;
}

}  // namespace

bool vekrsensors::DialogsPlugin::resultsWindow(const kiva5::Report& report,
                                               const std::string& reportPath) {
    if (!loadProblem().empty() || !s_tests.load()->resultsWindow)
        return false;
    ResultsView view;
    view.reportPath = reportPath;
    for (const kiva5::RunRecord& run : report.runs) {
        ResultRow row;
        row.test = run.test;
        row.device = run.device ? run.device->name().str() : "(no device)";
        row.result = std::string(run.result.name());
        row.measurement = kiva5::Report::keyMeasurement(run);
        // What to do next: the events' tips in the run's language, else the first note.
        for (const auto& e : run.events) {
            for (const std::string& tip : e.tips) {
                const std::string text = kiva5::Localization::lookup(tip).toStdString();
                row.advice +=
                    (row.advice.empty() ? "" : " ") + (text == tip ? words(tip) : text) + ".";
            }
        }
        if (row.advice.empty() && run.result != kiva5::TestResult::PASS() && !run.notes.empty())
            row.advice = run.notes.front();
        view.rows.push_back(std::move(row));
    }
    return s_tests.load()->resultsWindow(view);
}
