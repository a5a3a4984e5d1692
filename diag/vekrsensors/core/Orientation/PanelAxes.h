#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "PoseTracker.h"

namespace vekrsensors {

// The orientation check in the panel's own axes. An accelerometer's matrix must map to the
// panel's axes, not the casing's (systemd's 60-sensor.hwdb says so for panels mounted turned),
// so on a tablet whose portrait panel sits sideways in a landscape casing the person is asked
// for the poses with the panel's own top as "up". `panelTurns` counts the quarter turns
// clockwise the device must be turned from its casing's normal for the panel's top to be up:
// 0 for a panel mounted upright, 1 for DRM's "Right Side Up", 2 "Upside Down", 3 "Left Side
// Up". Pure functions, any thread.

// The quarter turns clockwise the person turns the device from its casing's normal for pose
// `pose` (0 panel upright, 1 the panel on its right-hand edge; the flat pose has none).
// Inline: the dialog draws by it too.
inline int deviceTurns(int pose, int panelTurns) {
    return (((pose + panelTurns) % 4) + 4) % 4;
}

// What the terminal asks for pose `pose`, in the casing's words ("stand it on its left-hand
// edge, right edge up"), saying why where the panel is turned.
std::string askForPose(int pose, int panelTurns);

// The quarter turns (1 to 3) of a panel whose orientation the kernel does not know, when the
// poses, asked in the casing's axes, read exactly as a correct accelerometer reads under a
// panel turned that far; nullopt when they do not.
std::optional<int> panelTurnsRead(const std::array<SignedAxis, 3>& read);

// "right_side_up", as the kernel's video=<connector>:panel_orientation= option spells it.
std::string_view panelOrientationName(int panelTurns);

}  // namespace vekrsensors
