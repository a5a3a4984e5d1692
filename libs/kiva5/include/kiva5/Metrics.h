#pragma once

#include <string>
#include <vector>

#include "kiva5/Report.h"

namespace kiva5 {

// A sensor the machine has, and whether one reading could be taken from it (for fleets that
// watch which tablets have a dead sensor, beside the tests' verdicts).
struct SensorHealth {
    std::string capability;  // "Accelerometer", ...
    std::string locator;
    std::string name;
    bool readable = false;
};

// The run in Prometheus' text exposition format, as node_exporter's textfile collector reads
// it: HELP and TYPE for each family, base units in the names, label values escaped and made
// valid UTF-8. `exitCode` is the process's.
std::string metricsText(const Report& report, const std::vector<SensorHealth>& sensors,
                        int exitCode);

}  // namespace kiva5
