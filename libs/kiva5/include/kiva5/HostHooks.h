#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kiva5/DiagDevice.h"
#include "libOrra/Machine.h"

namespace kiva5 {

// Opens the machine a command line chose; throws KivaException when it cannot (e.g. a
// malformed scenario), before any test runs. The default is openMachine().
using MachineFactory =
    std::function<std::unique_ptr<libOrra::Machine>(const libOrra::MachineChoice&)>;

// libOrra's machines: the system's sensors ("iio" on Linux; libOrra::backendNames() says which
// this build has) or a scenario ("sim"). A bad scenario is an InputError, an unknown backend a
// KivaException.
std::unique_ptr<libOrra::Machine> openMachine(const libOrra::MachineChoice& choice);

// The machine's devices as the framework hands them to the tests, in the backend's order.
std::vector<DiagDevice> devicesOf(libOrra::Machine& machine);

// What the interactive tests need before the first of them runs: their code loaded, a screen
// to show dialogs on. Answers why they cannot run on this machine, or "" when they can.
// `simulatedMachine` is true for the simulated machine, whose dialogs may run offscreen. The host
// asks at most once per start(), and only when an interactive test is about to run, so a
// threshold-only run loads and probes nothing for them.
using InteractiveCheck = std::function<std::string(bool simulatedMachine)>;

// The window a run started from the desktop ends on (--window): the runs of `report`, where
// it was saved (`reportPath`), Close and Run again. Answers true for Run again. Main thread,
// after the interactive check has answered "" (a display).
struct Report;
using ResultsWindow = std::function<bool(const Report& report, const std::string& reportPath)>;

}  // namespace kiva5
