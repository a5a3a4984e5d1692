#include "libOrra/SystemBackends.h"

#include "libOrra/IioBackend.h"

namespace libOrra {

std::vector<std::string> backendNames() {
    return {"iio", "sim"};
}

std::string defaultBackend() {
    return "iio";
}

SystemBackend openSystemBackend(const std::string& name) {
    if (name != "iio")
        return {};
    auto iio = std::make_shared<IioBackend>();
    return {iio, iio};
}

}  // namespace libOrra
