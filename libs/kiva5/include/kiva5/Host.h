#pragma once

#include <exception>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kiva5/Catalogue.h"
#include "kiva5/HostHooks.h"
#include "kiva5/Report.h"

namespace kiva5 {

struct CommandLine;
struct RunPlan;
class Sink;
struct SinkContext;

struct ModuleVersion {
    int major = 0;
    int minor = 0;
    std::string build;
};

// The diagnostic host behind DiagModule::start(), as a pipeline: the command line and the
// catalogue make the run plan (language, tests, parameters, profiles; RunPlan.cpp), the sinks
// are checked before anything runs (src/sinks/), the machine is opened in one place, the
// Runner calls each test once per device on the calling thread, and the sinks and the summary
// take the finished report. Owned by DiagModule; one Host serves one start(), on the main
// thread.
class Host {
public:
    // Exit code for a command line that cannot be obeyed (sysexits' EX_USAGE).
    static constexpr int kUsageError = 64;

    Host(Catalogue& catalogue, std::string moduleFile, ModuleVersion version,
         MachineFactory machines, std::ostream& out, std::ostream& err);

    // Runs and returns the exit code. Usage errors print one line on `err` and return
    // kUsageError; framework failures throw KivaException; an exception out of a test
    // function is rethrown after the report has been written.
    int start(const std::vector<std::string>& args);
    // Without one, interactive tests run as any other.
    void setInteractiveCheck(InteractiveCheck check) { interactiveCheck_ = std::move(check); }
    // The check --orientation runs; without one the option is a usage error.
    void setOrientationCheck(Test* check) { orientationCheck_ = check; }
    // The window --window ends on; without one --window is a usage error.
    void setResultsWindow(ResultsWindow window) { resultsWindow_ = std::move(window); }
    // After start(): the person asked to run again from the results window.
    bool runAgain() const { return runAgain_; }

private:
    // The steps of start(), in the order it takes them.
    std::string versionText() const;
    // The exit code when the command line settles the matter (--help, --version, an error).
    std::optional<int> readCommandLine(const std::vector<std::string>& args, CommandLine& o);
    void openLog(const CommandLine& o, const std::vector<std::string>& args) const;
    // --orientation and --window need what the module set for them; --window keeps its report.
    void checkModes(CommandLine& o) const;
    // The one place the machine is chosen: the backend and, with --fast, the hurried clock.
    std::unique_ptr<libOrra::Machine> openMachine(const CommandLine& o, bool record);
    // The report's head: module, command line, language, profiles and (for a report someone
    // keeps) the machine.
    Report newReport(const std::vector<std::string>& args, const RunPlan& plan,
                     bool identifyMachine) const;
    int listDevices(const std::vector<DiagDevice>& devices, libOrra::Machine& machine,
                    bool verbose);
    // Why interactive tests cannot run here ("" when they can), asked once per start().
    const std::string& interactiveProblem();
    // The runs of the plan into `report` and the sinks; the exit code.
    int run(const CommandLine& o, const RunPlan& plan, libOrra::Machine& machine,
            const std::vector<std::unique_ptr<Sink>>& sinks, Report& report);
    // The sinks, the summary and, when `present`, the sinks that show the run to the person
    // (the results window); the exit code.
    int finish(const Report& report, const std::vector<std::unique_ptr<Sink>>& sinks,
               SinkContext& context, std::ostream& terminal, bool present);

    Catalogue& catalogue_;
    std::string moduleFile_;
    ModuleVersion version_;
    MachineFactory machines_;
    InteractiveCheck interactiveCheck_;
    Test* orientationCheck_ = nullptr;
    ResultsWindow resultsWindow_;
    bool runAgain_ = false;
    // The check's answer for this start(), once asked.
    std::optional<std::string> interactiveProblem_;
    std::string backend_;
    bool simulatedMachine_ = false;
    std::ostream& out_;
    std::ostream& err_;
};

}  // namespace kiva5
