#pragma once

#include <memory>
#include <string>
#include <vector>

#include "libOrra/Machine.h"

namespace libOrra {

// The sensor backends this build has: the system's own (Linux: "iio", the kernel's IIO
// devices; Windows: "sensorapi", the Sensor API, once it is compiled in) and "sim" (scenario
// files), which every build has. src/posix/ or src/windows/SystemBackends.cpp, one compiled.
// Plain functions; the main thread (makeMachine and the command line ask).

// Their names, the default first, "sim" last.
std::vector<std::string> backendNames();
// The backend a run uses without --backend or --scenario.
std::string defaultBackend();

// The system's own backend `name` (never "sim"): its sensors and what inspects its devices,
// usually the same object. Null members when this build has no such backend.
struct SystemBackend {
    std::shared_ptr<SensorBackend> sensors;
    std::shared_ptr<DeviceInspector> inspector;
};
SystemBackend openSystemBackend(const std::string& name);

}  // namespace libOrra
