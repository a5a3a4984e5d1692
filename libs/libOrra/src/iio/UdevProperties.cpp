#include "UdevProperties.h"

#include <libudev.h>

#include <memory>

namespace libOrra::iio {

std::optional<std::string> udevProperty(const std::filesystem::path& sysPath, const char* name) {
    const std::unique_ptr<udev, decltype(&udev_unref)> context(udev_new(), &udev_unref);
    if (!context)
        return std::nullopt;
    const std::unique_ptr<udev_device, decltype(&udev_device_unref)> device(
        udev_device_new_from_syspath(context.get(), sysPath.c_str()), &udev_device_unref);
    if (!device)
        return std::nullopt;
    const char* value = udev_device_get_property_value(device.get(), name);
    if (!value)
        return std::nullopt;
    return std::string(value);
}

}  // namespace libOrra::iio
