#include "../PlatformBackends.h"

#include "SensorApiBackend.h"

namespace libOrra {

// Windows adds the Sensor API to the backends a command line can name.
std::optional<PlatformBackend> platformBackend(const std::string& name) {
    if (name != "sensorapi")
        return std::nullopt;
    auto backend = std::make_shared<SensorApiBackend>();
    return PlatformBackend{backend, backend};
}

std::vector<std::string> platformBackendNames() {
    return {"sensorapi"};
}

}  // namespace libOrra
