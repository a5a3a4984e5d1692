#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "libOrra/Machine.h"

namespace libOrra {

// A backend a platform adds to "iio" and "sim": its sensors and what it can tell about them.
struct PlatformBackend {
    std::shared_ptr<SensorBackend> sensors;
    std::shared_ptr<DeviceInspector> inspector;
};

// The platform's backend called `name`, nullopt for a name it does not know. Each platform's
// build compiles one definition: src/PlatformBackends.cpp where there is none (Linux),
// src/sensorapi/PlatformBackends.cpp on Windows ("sensorapi").
std::optional<PlatformBackend> platformBackend(const std::string& name);
// The names platformBackend() knows.
std::vector<std::string> platformBackendNames();

}  // namespace libOrra
