#pragma once

#include <functional>
#include <string>
#include <vector>

#include "kiva5/Catalogue.h"
#include "kiva5/HostHooks.h"
#include "kiva5/KivaException.h"
#include "kiva5/Report.h"

namespace kiva5 {

// The framework as the module sees it: factories for its declarations, the host's start(),
// and the calls a running test makes. All static; the catalogue calls come from static
// initialisers, start() from the main thread, error/warning from the test's thread or its
// worker, checkForStop from any thread.
class DiagModule {
public:
    static LocalizedString* createLocalizedString(const KivaString& key);
    static Event* createEvent(const KivaString& name);
    static Parameter* createParameter(const KivaString& name, const DataType& type,
                                      const KivaString& defaultText, bool flag1, bool flag2);
    static Test* createTest(const KivaString& name, const DeviceCapability& capability,
                            TestFunction function);

    static void setCmdLineArgs(int argc, const std::vector<std::string>& argv);
    static void setVersion(int major, int minor, const KivaString& build);
    // Runs the requested tests and returns the process exit code.
    static int start();

    static void error(Event* event, const char* sourceFile, int line);
    static void warning(Event* event, const char* sourceFile, int line);
    static bool checkForStop();
    // Records a measurement beside the running test's verdict (it never changes the verdict):
    // the report's "details".
    static void setRunDetail(const KivaString& name, const Value& value);
    // The running test's key measurement (replaces an earlier one).
    static void setRunKey(const KeyMeasurement& key);
    // A remark for the person beside the running test's verdict (the report's "notes").
    static void addRunNote(const std::string& text);
    // Tells the person at the device what to do now, on the terminal, as a progress line of
    // the running test (nothing under --quiet). Any thread.
    static void tellPerson(const std::string& text);
    // The orientation check, run instead of the catalogue's tests by --orientation; not one of
    // the declared tests (--list does not show it). Set once before start().
    static void setOrientationCheck(Test* check);
    // The results window --window ends on; set once before start().
    static void setResultsWindow(ResultsWindow window);

    // Asks the running test, and the run, to stop (a scenario's stop time, the host itself).
    static void requestStop();
    // SIGINT, SIGTERM and SIGHUP become stop requests (a second one ends the process), and
    // SIGPIPE is ignored. The first thing main() does, so no signal finds the process without
    // a way to leave a report.
    static void handleStopSignals();
    // What interactive tests need before the first of them runs (see Host::InteractiveCheck);
    // set once by the module before start().
    static void setInteractiveCheck(InteractiveCheck check);
    // Records events raised from now on into `run` (nullptr stops), as during a host's run.
    static void captureEventsForTesting(RunRecord* run);
    // Replaces start() for tests of the application object.
    static void setStartForTesting(std::function<int()> start);
};

}  // namespace kiva5
