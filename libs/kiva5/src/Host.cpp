#include "kiva5/Host.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <optional>
#include <ostream>

#include "DoctorRuns.h"
#include "RunContext.h"
#include "RunPlan.h"
#include "Runner.h"
#include "kiva5/CommandLine.h"
#include "kiva5/KivaException.h"
#include "kiva5/MachineIdentity.h"
#include "kiva5/Report.h"
#include "sinks/Sink.h"
#include "vek/Clock.h"
#include "vek/Logging.h"

namespace kiva5 {
namespace {

std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "kiva5";

bool anySink(const std::vector<std::unique_ptr<Sink>>& sinks, bool (Sink::*asks)() const) {
    return std::any_of(sinks.begin(), sinks.end(),
                       [asks](const auto& sink) { return (*sink.*asks)(); });
}

}  // namespace

Host::Host(Catalogue& catalogue, std::string moduleFile, ModuleVersion version,
           MachineFactory machines, std::ostream& out, std::ostream& err)
    : catalogue_(catalogue),
      moduleFile_(std::move(moduleFile)),
      version_(std::move(version)),
      machines_(std::move(machines)),
      out_(out),
      err_(err) {}

std::string Host::versionText() const {
    return std::to_string(version_.major) + "." + std::to_string(version_.minor);
}

std::optional<int> Host::readCommandLine(const std::vector<std::string>& args, CommandLine& o) {
    const CommandLine::Reading reading =
        CommandLine::read(args, moduleFile_,
                          moduleFile_ + " " + versionText() + " (build " + version_.build + ")", o);
    if (!reading.settled)
        return std::nullopt;
    out_ << reading.out;
    if (!reading.error.empty())
        err_ << moduleFile_ << ": " << reading.error << " (see --help)\n";
    return reading.exitCode;
}

void Host::openLog(const CommandLine& o, const std::vector<std::string>& args) const {
    if (o.log.empty())
        return;
    if (!vek::LogFactory::openFile(o.log))
        throw UsageError{"cannot open log file " + o.log};
    vek::LogFactory::setPriority(o.logLevel ? o.logLevel : vek::kLogProgress);
    std::string line;
    for (const auto& a : args)
        line += " " + a;
    VEK_LOG(s_logger, kLoggerName, vek::kLogProgress,
            moduleFile_ << " " << versionText() << " (build " << version_.build
                        << ") started:" << line);
}

std::unique_ptr<libOrra::Machine> Host::openMachine(const CommandLine& o, bool record) {
    libOrra::MachineChoice choice;
    choice.backend = o.scenario.empty()
                         ? (o.backend.empty() ? libOrra::defaultBackendName() : o.backend)
                         : "sim";
    if (!o.scenario.empty())
        choice.scenario = o.scenario;
    choice.record = record;
    // Only the simulated machine's time can be hurried; the dialogs' own timers (the person's
    // presses, the frame clock) keep real time.
    static vek::FastClock fast(10.0);
    if (o.fast)
        vek::Clock::install(&fast);
    backend_ = choice.backend;
    interactiveProblem_.reset();
    auto machine = machines_(choice);
    simulatedMachine_ = machine->simulated();
    // The machine's own stop requests (a scenario's stop time) are the run's stop requests.
    machine->onStopRequest([] { StopFlag::set(); });
    return machine;
}

int Host::listDevices(const std::vector<DiagDevice>& devices, libOrra::Machine& machine,
                      bool verbose) {
    if (devices.empty()) {
        const std::string where = machine.inspector().lookedIn();
        err_ << moduleFile_ << ": no sensors found"
             << (where.empty() ? "" : " in " + CommandLine::printable(where)) << "\n";
    }
    for (const auto& d : devices) {
        out_ << std::string(d.capability().name()) << "\t" << d.osLocator().str() << "\t"
             << d.name().str() << "\n";
        const auto kind = libOrra::kindFromCapability(d.capability().name());
        if (!verbose || !kind)
            continue;
        for (const auto& line : machine.inspector().explain(*kind, d.osLocator().str()))
            out_ << "    " << line << "\n";
    }
    return 0;
}

const std::string& Host::interactiveProblem() {
    if (!interactiveProblem_)
        interactiveProblem_ = interactiveCheck_ ? interactiveCheck_(simulatedMachine_) : "";
    return *interactiveProblem_;
}

void Host::checkModes(CommandLine& o) const {
    if (o.orientation && !orientationCheck_)
        throw UsageError{"--orientation is not available in this module"};
    if (o.window && !resultsWindow_)
        throw UsageError{"--window is not available in this module"};
    // Started from the desktop: the report is kept where the person's state belongs.
    if (o.window && !o.reportGiven) {
        o.report = stateReportPath();
        o.reportGiven = true;
    }
}

Report Host::newReport(const std::vector<std::string>& args, const RunPlan& plan,
                       bool identifyMachine) const {
    Report report;
    report.started = std::chrono::system_clock::now();
    report.commandLine = args;
    // Who was tested matters only to a report someone keeps.
    if (identifyMachine)
        report.machine = MachineIdentity::read();
    report.moduleFile = moduleFile_;
    report.version = versionText();
    report.build = version_.build;
    report.backend = backend_;
    report.language = plan.language;
    report.profiles = plan.profiles;
    return report;
}

int Host::start(const std::vector<std::string>& args) {
    CommandLine o;
    if (const std::optional<int> settled = readCommandLine(args, o))
        return *settled;
    try {
        openLog(o, args);
        RunPlan plan = RunPlan::begin(o, moduleFile_);
        if (o.list) {
            printCatalogue(catalogue_, plan.module, out_);
            return 0;
        }
        checkModes(o);
        // Where the evidence goes, and the command line against the catalogue, are settled
        // before anything is read.
        std::string problem;
        std::vector<std::unique_ptr<Sink>> sinks = makeSinks(o, problem);
        if (!problem.empty())
            throw UsageError{problem};
        if (o.window) {
            sinks.push_back(makeResultsWindowSink(
                resultsWindow_, [this] { return interactiveProblem(); }, o.report, runAgain_));
        }
        plan.overrides = parameterOverrides(catalogue_, o);

        const std::unique_ptr<libOrra::Machine> machine =
            openMachine(o, anySink(sinks, &Sink::needsRecording));
        plan.settle(catalogue_, o, *machine, orientationCheck_);
        if (o.devices)
            return listDevices(plan.devices, *machine, o.verbose);
        Report report = newReport(args, plan, anySink(sinks, &Sink::needsMachineIdentity));
        return run(o, plan, *machine, sinks, report);
    } catch (const UsageError& e) {
        err_ << moduleFile_ << ": " << CommandLine::printable(e.message) << " (see --help)\n";
        return kUsageError;
    } catch (const InputError& e) {
        err_ << moduleFile_ << ": " << CommandLine::printable(e.toString().str()) << "\n";
        return kUsageError;
    }
}

int Host::run(const CommandLine& o, const RunPlan& plan, libOrra::Machine& machine,
              const std::vector<std::unique_ptr<Sink>>& sinks, Report& report) {
    std::ostream& terminal = anySink(sinks, &Sink::writesToStdout) ? err_ : out_;
    SinkContext context{plan.devices, machine, out_, err_, moduleFile_};
    const auto runEnded = [&] {
        for (const auto& sink : sinks)
            sink->runEnded(report, context);
    };
    std::exception_ptr escaped;
    if (o.doctor) {
        doctorRuns(report, o.quiet ? nullptr : &terminal, runEnded);
    } else {
        escaped = Runner(machine, report, o.quiet ? nullptr : &terminal,
                         {[this] { return interactiveProblem(); }, runEnded})
                      .run(plan.tests, plan.devices, o.device);
        for (RunRecord& run : report.runs)
            run.notes.insert(run.notes.end(), plan.leftAlone.begin(), plan.leftAlone.end());
        report.settleResult();
    }
    report.ended = std::chrono::system_clock::now();
    const int code = finish(report, sinks, context, terminal, !escaped);
    if (escaped)
        std::rethrow_exception(escaped);
    return code;
}

int Host::finish(const Report& report, const std::vector<std::unique_ptr<Sink>>& sinks,
                 SinkContext& context, std::ostream& terminal, bool present) {
    // The evidence first, then the summary, which can then tell the real exit code, then what
    // shows the run to the person.
    int code = report.result.value();
    for (const auto& sink : sinks) {
        if (sink->showsTheRun() || sink->finish(report, code, context))
            continue;
        code = TestResult::EXITEDABNORMALLY().value();
        context.reportKept = context.reportKept && !sink->keepsTheReport();
    }
    report.printSummary(terminal, context.reportKept ? "" : "report not written", code);
    for (const auto& sink : sinks) {
        if (present && sink->showsTheRun())
            sink->finish(report, code, context);
    }
    return code;
}

}  // namespace kiva5
