#include "PlatformBackends.h"

namespace libOrra {

// Linux has no backend beyond "iio" and "sim".
std::optional<PlatformBackend> platformBackend(const std::string&) {
    return std::nullopt;
}

std::vector<std::string> platformBackendNames() {
    return {};
}

}  // namespace libOrra
