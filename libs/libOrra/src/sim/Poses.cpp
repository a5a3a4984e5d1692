#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "libOrra/Scenario.h"

namespace libOrra {

std::optional<std::array<double, 3>> poseDirection(std::string_view hold) {
    // What a correctly mounted accelerometer reads in each pose, in g (the kernel's
    // convention: upright reads -y, standing on its right-hand edge +x, flat screen up +z).
    // Moving: no axis near gravity.
    static const std::pair<std::string_view, std::array<double, 3>> kPoses[] = {
        {"upright", {0, -1, 0}},
        {"left-up", {1, 0, 0}},
        {"face-up", {0, 0, 1}},
        {"upside-down", {0, 1, 0}},
        {"right-up", {-1, 0, 0}},
        {"face-down", {0, 0, -1}},
        {"moving", {0.57735, 0.57735, 0.57735}}};
    for (const auto& [name, g] : kPoses) {
        if (name == hold)
            return g;
    }
    return std::nullopt;
}

}  // namespace libOrra
