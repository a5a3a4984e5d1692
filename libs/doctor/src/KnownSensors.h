#pragma once

#include <string_view>
#include <vector>

#include "libOrra/SensorKind.h"

namespace doctor {

// A sensor chip's firmware ID as the kernel driver that claims it lists it.
struct KnownSensor {
    bool acpi;            // an ACPI _HID; else a device-tree "compatible"
    std::string_view id;  // "BOSC0200", "memsic,mxc4005"
    libOrra::SensorKind kind;
    std::string_view chip;    // "bmc150"
    std::string_view module;  // the kernel module, as modules.alias names it
    std::string_view source;  // the driver's file under the kernel's drivers/
};

// Every row for `id` (a chip that is two sensors has two; two drivers may claim one ID).
std::vector<const KnownSensor*> knownSensors(bool acpi, std::string_view id);

}  // namespace doctor
