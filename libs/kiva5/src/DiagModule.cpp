#include "kiva5/DiagModule.h"

#include <iostream>

#include "RunContext.h"
#include "kiva5/Host.h"

namespace kiva5 {
namespace {

struct ModuleState {
    std::vector<std::string> args;
    ModuleVersion version;
    InteractiveCheck interactiveCheck;
    std::function<int()> startOverride;
    Test* orientationCheck = nullptr;
    ResultsWindow resultsWindow;
};

ModuleState& state() {
    static ModuleState* s = new ModuleState;
    return *s;
}

}  // namespace

LocalizedString* DiagModule::createLocalizedString(const KivaString& key) {
    return Catalogue::global().createLocalizedString(key);
}

Event* DiagModule::createEvent(const KivaString& name) {
    return Catalogue::global().createEvent(name);
}

Parameter* DiagModule::createParameter(const KivaString& name, const DataType& type,
                                       const KivaString& defaultText, bool flag1, bool flag2) {
    return Catalogue::global().createParameter(name, type, defaultText, flag1, flag2);
}

Test* DiagModule::createTest(const KivaString& name, const DeviceCapability& capability,
                             TestFunction function) {
    return Catalogue::global().createTest(name, capability, function);
}

void DiagModule::setCmdLineArgs(int argc, const std::vector<std::string>& argv) {
    const auto n = std::min(static_cast<std::size_t>(std::max(argc, 0)), argv.size());
    state().args.assign(argv.begin(), argv.begin() + static_cast<std::ptrdiff_t>(n));
}

void DiagModule::setVersion(int major, int minor, const KivaString& build) {
    state().version = ModuleVersion{major, minor, build.str()};
}

int DiagModule::start() {
    ModuleState& s = state();
    if (s.startOverride)
        return s.startOverride();
    const std::string moduleFile = s.args.empty() ? "vekrsensors.vkm" : s.args.front();
    // Run again from the results window starts the whole run anew, a new report with it.
    for (;;) {
        Host host(Catalogue::global(), moduleFile, s.version, openMachine, std::cout, std::cerr);
        host.setInteractiveCheck(s.interactiveCheck);
        host.setOrientationCheck(s.orientationCheck);
        host.setResultsWindow(s.resultsWindow);
        const int code = host.start(s.args);
        if (!host.runAgain() || StopFlag::isSet())
            return code;
    }
}

void DiagModule::error(Event* event, const char* sourceFile, int line) {
    RunContext::raise(event, "error", sourceFile, line);
}

void DiagModule::warning(Event* event, const char* sourceFile, int line) {
    RunContext::raise(event, "warning", sourceFile, line);
}

bool DiagModule::checkForStop() {
    return StopFlag::isSet();
}
void DiagModule::requestStop() {
    StopFlag::set();
}
void DiagModule::handleStopSignals() {
    StopFlag::installSignalHandlers();
}

void DiagModule::setRunDetail(const KivaString& name, const Value& value) {
    RunContext::addDetail(name.str(), value);
}

void DiagModule::setRunKey(const KeyMeasurement& key) {
    RunContext::setKey(key);
}

void DiagModule::addRunNote(const std::string& text) {
    RunContext::addNote(text);
}

void DiagModule::tellPerson(const std::string& text) {
    RunContext::say(text);
}

void DiagModule::setResultsWindow(ResultsWindow window) {
    state().resultsWindow = std::move(window);
}

void DiagModule::setOrientationCheck(Test* check) {
    state().orientationCheck = check;
}

void DiagModule::captureEventsForTesting(RunRecord* run) {
    if (run) {
        RunContext::begin(run);
    } else {
        RunContext::end();
    }
}

void DiagModule::setInteractiveCheck(InteractiveCheck check) {
    state().interactiveCheck = std::move(check);
}

void DiagModule::setStartForTesting(std::function<int()> start) {
    state().startOverride = std::move(start);
}

}  // namespace kiva5
