#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "kiva5/Catalogue.h"
#include "kiva5/HostHooks.h"
#include "kiva5/Report.h"

namespace kiva5 {

// The run's loop: each test once per matching device, in order, into the report, with the
// stop requests and the progress lines ("[2/5] ..."). A test without a device is one run that
// ends NODEVICE; a test that may not run (bad parameters, a stop, no dialogs) one that is
// refused with the reason. Made by the host for one start(); main thread only.
class Runner {
public:
    struct Hooks {
        // Why interactive tests cannot run here, "" when they can; asked only when one is
        // about to run.
        std::function<std::string()> interactiveProblem;
        // After each run has settled, refused ones too.
        std::function<void()> runEnded;
    };

    // `progress` null: no progress lines (--quiet).
    Runner(libOrra::Machine& machine, Report& report, std::ostream* progress, Hooks hooks);

    // Runs `tests` on `devices` (only the one whose locator is `onlyDevice`, letter case
    // ignored, when it is not empty). Returns the exception that escaped a test, if one did:
    // the runs after it are refused.
    std::exception_ptr run(const std::vector<Test*>& tests, const std::vector<DiagDevice>& devices,
                           const std::string& onlyDevice);

private:
    void say(std::size_t index, const std::string& text) const;
    void sayEnded(std::size_t index, const RunRecord& run) const;
    // A run that was not started, settled and kept.
    void keep(std::size_t index, RunRecord run);
    void runOn(std::size_t index, Test& test, const DiagDevice& device, RunRecord run);

    libOrra::Machine& machine_;
    Report& report_;
    std::ostream* progress_;
    Hooks hooks_;
    std::vector<std::pair<Test*, const DiagDevice*>> plan_;
    int started_ = 0;
    std::exception_ptr escaped_;
};

}  // namespace kiva5
