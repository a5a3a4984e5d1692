#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kiva5/DiagDevice.h"

namespace kiva5 {

// Where the host's devices come from: the sensor backend chosen on the command line.
// Created and used on the main thread for one start().
class DeviceSource {
public:
    virtual ~DeviceSource() = default;
    virtual std::vector<DiagDevice> devices() = 0;
    // Called around each test run, e.g. so a simulated machine restarts its clocks.
    virtual void testStarting(const std::string& /*test*/, const DiagDevice& /*device*/) {}
    virtual void testFinished() {}
};

struct BackendSelection {
    std::string backend;                  // "iio" or "sim"
    std::optional<std::string> scenario;  // a scenario file for "sim"
};

// Builds the source for a selection; throws KivaException when it cannot (e.g. a malformed
// scenario), before any test runs.
using DeviceSourceFactory = std::function<std::unique_ptr<DeviceSource>(const BackendSelection&)>;

}  // namespace kiva5
