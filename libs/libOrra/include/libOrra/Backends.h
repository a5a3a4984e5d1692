#pragma once

#include <memory>
#include <optional>
#include <string>

#include "libOrra/SensorBackend.h"

namespace libOrra {

// The one place that turns a backend name into a backend: "iio" (the kernel's sensors) or
// "sim" (a scenario file, or the embedded demo). Throws ScenarioError for a bad scenario and
// std::invalid_argument for an unknown name.
std::shared_ptr<SensorBackend> makeBackend(const std::string& name,
                                           const std::optional<std::string>& scenarioFile);

}  // namespace libOrra
