#include "Runner.h"

#include <chrono>
#include <cstring>
#include <iomanip>
#include <ostream>
#include <sstream>

#include "RunContext.h"
#include "libOrra/Records.h"
#include "vek/Logging.h"
#include "vek/String.h"

namespace kiva5 {
namespace {

std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "kiva5";

// Why a test is not called on a device at all, or "" when it may run. `interactiveProblem`
// asks, when needed, why interactive tests cannot run here.
std::string reasonNotToRun(const Test& test, bool escaped,
                           const std::function<std::string()>& interactiveProblem) {
    if (escaped)
        return "not started: an earlier test ended abnormally";
    if (StopFlag::isSet()) {
        const std::string by = StopFlag::requestName();
        return std::string("not started: stop requested") + (by.empty() ? "" : " by " + by);
    }
    for (const Parameter* p : test.parameters()) {
        if (p->isset() && !p->value().isValid()) {
            return "parameter " + p->name() + " = \"" + p->value().text() + "\" is not a valid " +
                   std::string(p->type().name());
        }
    }
    return test.interactive() ? interactiveProblem() : "";
}

// The result for a run that reasonNotToRun() refused.
TestResult refusedResult(const Test& test, bool escaped) {
    if (escaped || StopFlag::isSet())
        return TestResult::USERABORTED();
    for (const Parameter* p : test.parameters()) {
        if (p->isset() && !p->value().isValid())
            return TestResult::BADPARAMS();
    }
    return TestResult::CANNOTRUN();
}

// Adds what the machine noticed about the device to the run. A failing verdict reached while
// another program held the device (the desktop streaming the sensor) says nothing about the sensor:
// the run could not be made, and the note says how to free the device.
void settleWithMachineNotes(RunRecord& run, const std::vector<libOrra::DeviceNote>& notes) {
    bool held = false;
    for (const auto& n : notes) {
        run.notes.push_back(n.text);
        held = held || n.heldElsewhere;
    }
    if (held && (run.result == TestResult::FAIL() || run.result == TestResult::TIMEDOUT()))
        run.result = TestResult::CANNOTRUN();
}

}  // namespace

Runner::Runner(libOrra::Machine& machine, Report& report, std::ostream* progress, Hooks hooks)
    : machine_(machine), report_(report), progress_(progress), hooks_(std::move(hooks)) {}

void Runner::say(std::size_t index, const std::string& text) const {
    if (progress_)
        *progress_ << "[" << index + 1 << "/" << plan_.size() << "] " << text << std::endl;
}

void Runner::sayEnded(std::size_t index, const RunRecord& run) const {
    std::ostringstream line;
    line << run.test << ": " << run.result.name();
    if (run.seconds > 0)
        line << " after " << std::fixed << std::setprecision(2) << run.seconds << " s";
    std::string why = Report::keyMeasurement(run);
    if (why.empty() && !run.notes.empty())
        why = run.notes.front();
    if (!why.empty())
        line << " (" << why << ")";
    say(index, line.str());
}

void Runner::keep(std::size_t index, RunRecord run) {
    sayEnded(index, run);
    report_.runs.push_back(std::move(run));
    if (hooks_.runEnded)
        hooks_.runEnded();
}

std::exception_ptr Runner::run(const std::vector<Test*>& tests,
                               const std::vector<DiagDevice>& devices,
                               const std::string& onlyDevice) {
    StopFlag::clear();
    // The tests' enumeration calls reach this machine's sensors while the runs last.
    const libOrra::SensorsInUse inUse(machine_.sharedSensors());
    // Every (test, device) pair first, so progress can say how far the run has come.
    plan_.clear();
    for (Test* test : tests) {
        const std::size_t before = plan_.size();
        for (const auto& d : devices) {
            if (d.capability() == test->capability() &&
                (onlyDevice.empty() ||
                 vek::String(d.osLocator().str()).equalNoCase(vek::String(onlyDevice)))) {
                plan_.emplace_back(test, &d);
            }
        }
        if (plan_.size() == before)
            plan_.emplace_back(test, nullptr);
    }
    for (std::size_t i = 0; i < plan_.size(); ++i) {
        Test& test = *plan_[i].first;
        const DiagDevice* device = plan_[i].second;
        RunRecord run;
        run.test = test.name();
        run.started = std::chrono::system_clock::now();
        if (!device) {
            run.result = TestResult::NODEVICE();
            run.notes.push_back("no " + std::string(test.capability().name()) + " device" +
                                (onlyDevice.empty() ? "" : " with locator " + onlyDevice));
            // A backend that cannot offer such a sensor at all says so.
            if (const auto kind = libOrra::kindFromCapability(test.capability().name())) {
                if (std::string why = machine_.inspector().unsupported(*kind); !why.empty())
                    run.notes.push_back(std::move(why));
            }
            keep(i, std::move(run));
            continue;
        }
        run.device = *device;
        for (const Parameter* p : test.parameters()) {
            if (p->isset())
                run.parameters.emplace_back(p->name(), p->value().text());
        }
        const bool escaped = static_cast<bool>(escaped_);
        if (const std::string refused = reasonNotToRun(test, escaped, hooks_.interactiveProblem);
            !refused.empty()) {
            run.result = refusedResult(test, escaped);
            run.notes.push_back(refused);
            keep(i, std::move(run));
            continue;
        }
        runOn(i, test, *device, std::move(run));
    }
    return escaped_;
}

void Runner::runOn(std::size_t index, Test& test, const DiagDevice& device, RunRecord run) {
    say(index, test.name() + " on " + device.osLocator().str() + " (" + device.name().str() + ")");
    if (const LocalizedString* instruction = test.instruction())
        say(index, "  " + instruction->localizedString().toStdString());
    VEK_LOG(s_logger, kLoggerName, vek::kLogProgress,
            "Running " << test.name() << " on " << device.osLocator().str());
    report_.runs.push_back(std::move(run));
    RunRecord& current = report_.runs.back();
    RunContext::begin(&current);
    machine_.testStarting();
    ++started_;
    if (progress_)
        RunContext::setSpeaker([this, index](const std::string& text) { say(index, "  " + text); });
    // Real time, as the run's start is: under --fast the tests' own clock runs ahead.
    const auto runStart = std::chrono::steady_clock::now();
    try {
        current.result = test.call(device, machine_);
    } catch (...) {
        escaped_ = std::current_exception();
        current.result = TestResult::EXITEDABNORMALLY();
        current.notes.push_back("the test ended by an exception");
    }
    current.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - runStart).count();
    RunContext::setSpeaker(nullptr);
    machine_.testFinished();
    settleWithMachineNotes(current, machine_.inspector().takeNotes(device.osLocator().str()));
    RunContext::end();
    VEK_LOG(s_logger, kLoggerName, vek::kLogProgress,
            test.name() << " result " << current.result.name());
    sayEnded(index, current);
    if (StopFlag::isSet())
        machine_.stopped(started_);
    if (hooks_.runEnded)
        hooks_.runEnded();
}

}  // namespace kiva5
