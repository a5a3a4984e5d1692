#include "libOrra/SystemBackends.h"

// The Sensor API backend (src/sensorapi/) is compiled in when CMake finds it there and defines
// VEKR_HAVE_SENSORAPI; it then provides openSensorApiBackend(). Until then this build has the
// simulated backend only, and it is the default.
namespace libOrra {

#ifdef VEKR_HAVE_SENSORAPI
SystemBackend openSensorApiBackend();
#endif

std::vector<std::string> backendNames() {
#ifdef VEKR_HAVE_SENSORAPI
    return {"sensorapi", "sim"};
#else
    return {"sim"};
#endif
}

std::string defaultBackend() {
    return backendNames().front();
}

SystemBackend openSystemBackend([[maybe_unused]] const std::string& name) {
#ifdef VEKR_HAVE_SENSORAPI
    if (name == "sensorapi")
        return openSensorApiBackend();
#endif
    return {};
}

}  // namespace libOrra
