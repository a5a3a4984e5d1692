#pragma once

#include <optional>
#include <string>

namespace kiva5 {

// What tells one tested machine from another in a fleet's reports. Read once per report, on
// the main thread, only when a report is asked for.
struct MachineIdentity {
    std::string hostName;
    // From the firmware's DMI tables (Linux: /sys/class/dmi/id, under VEKR_SYSFS_ROOT when set;
    // Windows: the SMBIOS table GetSystemFirmwareTable gives); absent where the firmware leaves
    // them out, where the system does not give them (Wine may not), or, for the serial, where
    // only root may read.
    std::optional<std::string> vendor;
    std::optional<std::string> product;
    std::optional<std::string> serial;
    // /etc/machine-id hashed with this module's application key (systemd's app-specific ID):
    // stable for the machine, the same in every report, and not the machine-id itself, which
    // other programs use as a secret. Absent without a machine-id or libsystemd. On Windows the
    // registry's MachineGuid (HKLM\SOFTWARE\Microsoft\Cryptography) hashed the same way.
    std::optional<std::string> machineId;

    static MachineIdentity read();
};

}  // namespace kiva5
