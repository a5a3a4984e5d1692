#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "doctor/Doctor.h"

// The mounting link of an accelerometer's chain: how its readings are turned to the screen
// (the mount matrix in force), where it sits (base or display) against the chassis, the
// tablet-mode switch and the panel's own mounting. Each reader is a function of the roots
// alone and writes nothing.
namespace doctor {

// Appends the "mounting" link to an accelerometer's chain: skipped after a broken link, none
// where the chain has no IIO device of its own (a sensor hub's). A mount matrix that is no
// rotation (a zero row, a repeated axis) breaks it, with a remedy; doubts warn. Any thread,
// one call at a time per chain.
void addMountingLink(const Roots& roots, Chain& chain);

// What a matrix text is as a mount matrix: a rotation, a mirrored one, or none at all.
struct MatrixLint {
    enum class Kind { Rotation, Mirror, NotRotation, Singular, Unreadable } kind;
    std::string why;  // for all but a rotation: what is wrong, as a person reads it
};
MatrixLint lintMountMatrix(const std::string& text);

// An input device that reports the tablet-mode switch (SW_TABLET_MODE), and its state where
// its event node may be read.
struct TabletSwitch {
    std::string name;                  // "Intel Virtual Switches"
    std::filesystem::path capability;  // its capabilities/sw attribute
    std::string state;                 // "tablet mode", "laptop mode", or "unknown: why"
};
std::vector<TabletSwitch> tabletSwitches(const Roots& roots);

// The DMI chassis type (/sys/class/dmi/id/chassis_type), nullopt where it cannot be read.
std::optional<int> chassisType(const Roots& roots);
// "convertible (31)", "notebook (10)", ...
std::string chassisName(int type);

}  // namespace doctor
