#include "PanelAxes.h"

namespace vekrsensors {
namespace {

int wrap(int turns) {
    return ((turns % 4) + 4) % 4;
}

// Gravity in the panel's axes with the panel turned `turns` quarter turns clockwise from its
// own upright: -y upright, +x on its right-hand edge, +y upside down, -x on its left-hand edge.
SignedAxis gravityAt(int turns) {
    static constexpr std::array<SignedAxis, 4> kAround{SignedAxis{1, -1}, SignedAxis{0, 1},
                                                       SignedAxis{1, 1}, SignedAxis{0, -1}};
    return kAround[static_cast<std::size_t>(wrap(turns))];
}

// The device turned `turns` quarter turns clockwise from its casing's normal, in the casing's
// words: asked first, and asked next.
constexpr std::array<const char*, 4> kFirst{"Hold the device upright in its normal orientation",
                                            "Stand the device on its right-hand "
                                            "edge, left edge up",
                                            "Hold the device upside down, its top edge down",
                                            "Stand the device "
                                            "on its left-hand edge, right edge up"};
constexpr std::array<const char*, 4> kNext{"Now hold it upright in its normal orientation",
                                           "Now stand it on its right-hand edge, left "
                                           "edge up",
                                           "Now turn it upside down, its top edge down",
                                           "Now stand it on its left-hand "
                                           "edge, right edge up"};

}  // namespace

std::string askForPose(int pose, int panelTurns) {
    if (pose >= 2)
        return "Now lay it flat, screen up, and keep it still.";
    const auto turned = static_cast<std::size_t>(deviceTurns(pose, panelTurns));
    std::string text = pose == 0 ? kFirst[turned] : kNext[turned];
    text.append(pose == 0 ? ", screen facing you" : ", screen still facing you");
    text.append(", and keep it still.");
    if (pose == 0 && wrap(panelTurns) != 0) {
        text.append(" (The kernel says the panel is mounted ")
            .append(panelOrientationName(panelTurns))
            .append(" in the casing: the accelerometer is checked in the panel's own axes.)");
    }
    return text;
}

std::optional<int> panelTurnsRead(const std::array<SignedAxis, 3>& read) {
    if (read[2] != SignedAxis{2, 1})
        return std::nullopt;
    for (int t = 1; t < 4; ++t) {
        // Asked in the casing's axes, a panel turned t reads as turned (pose - t).
        if (read[0] == gravityAt(-t) && read[1] == gravityAt(1 - t))
            return t;
    }
    return std::nullopt;
}

std::string_view panelOrientationName(int panelTurns) {
    static constexpr std::array<std::string_view, 4> kNames{"normal", "right_side_up",
                                                            "upside_down", "left_side_up"};
    return kNames[static_cast<std::size_t>(wrap(panelTurns))];
}

}  // namespace vekrsensors
