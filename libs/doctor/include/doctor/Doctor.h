#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "libOrra/SensorKind.h"

namespace doctor {

// Where the doctor reads the machine. Every place is movable for tests; fromEnvironment()
// takes VEKR_SYSFS_ROOT, VEKR_DEV_ROOT, VEKR_MODULES_DIR, VEKR_PROC_ROOT, VEKR_KERNEL_LOG and
// VEKR_JOURNAL_DIR,
// else the running system's own.
struct Roots {
    std::filesystem::path sysfs = "/sys";
    std::filesystem::path dev = "/dev";
    std::filesystem::path modules;  // the running kernel's, /lib/modules/$(uname -r)
    std::filesystem::path proc = "/proc";
    std::filesystem::path kernelLog = "/dev/kmsg";  // in /dev/kmsg's record format
    // Where the kernel's messages are read when the kernel log cannot be (a user may read the
    // journal, in the adm or systemd-journal group, where /dev/kmsg is root's): a journal
    // folder, or "" for the system's own journal.
    std::filesystem::path journal;

    static Roots fromEnvironment();
};

// One link of a sensor's chain, as a technician reads it: what holds or breaks, the fact and
// where it was read.
struct Link {
    enum class State { Ok, Warn, Broken, Unknown, Skipped };
    std::string name;  // "firmware", "driver", "iio", "readings", "consumer"
    State state = State::Unknown;
    std::string fact;
    std::string source;  // a path, a property, a log line
};

std::string_view stateName(Link::State state);

// A sensor the machine declares, or a kind it does not, followed link by link.
struct Chain {
    libOrra::SensorKind kind = libOrra::SensorKind::Accelerometer;
    std::string locator;   // the firmware device's path, or the IIO device's
    std::string name;      // chip and firmware ID, e.g. "bmc150 (BOSC0200:00)"
    bool declared = true;  // false: the machine declares no sensor of this kind
    bool hub = false;      // a sensor hub, which stands for no kind: its sensors have chains
    // "SensorHub" for a hub, else the kind's capability ("Accelerometer").
    std::string_view what() const;
    std::vector<Link> links;
    std::optional<std::string> firstBroken;
    std::optional<std::string> remedy;

    // PASS when every link holds, WARN when one is doubtful, FAIL at a broken link; a kind
    // the machine does not declare is NODEVICE.
    std::string_view verdict() const;
};

// Follows every sensor the machine declares, and every kind it looks for, from the firmware
// to about a second of readings (read side by side), and returns one chain for each: the
// declared sensors first, then one for each kind nothing declares. Reads only; bounded in
// time; any thread, one call at a time.
std::vector<Chain> examine(const Roots& roots);

}  // namespace doctor
