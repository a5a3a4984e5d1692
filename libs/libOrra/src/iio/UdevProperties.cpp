#include "UdevProperties.h"

#include <libudev.h>

#include <fstream>
#include <memory>

namespace libOrra {
namespace {

// A KEY=VALUE line of the device's uevent file.
std::optional<std::string> ueventProperty(const std::filesystem::path& sysPath, const char* name) {
    std::ifstream in(sysPath / "uevent");
    const std::string key = std::string(name) + "=";
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with(key))
            return line.substr(key.size());
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string> udevProperty(const std::filesystem::path& sysPath, const char* name) {
    const std::unique_ptr<udev, decltype(&udev_unref)> context(udev_new(), &udev_unref);
    if (!context)
        return std::nullopt;
    const std::unique_ptr<udev_device, decltype(&udev_device_unref)> device(
        udev_device_new_from_syspath(context.get(), sysPath.c_str()), &udev_device_unref);
    if (!device)
        return ueventProperty(sysPath, name);
    const char* value = udev_device_get_property_value(device.get(), name);
    if (!value)
        return std::nullopt;
    return std::string(value);
}

}  // namespace libOrra
