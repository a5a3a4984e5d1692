#pragma once

#include <array>

namespace vekrsensors {

// Corners as drawn: left, top, right, bottom. The positive-side marbles and holes are given
// with their edges swapped (top below bottom, left right of right) so that the painter draws
// the one image mirrored on that side.
struct RectF {
    float left = 0, top = 0, right = 0, bottom = 0;
    bool operator==(const RectF&) const = default;
};

struct PointF {
    float x = 0, y = 0;
    bool operator==(const PointF&) const = default;
};

// The gyrometer dialog's picture for one frame, computed from the latest values: where each
// marble (or its hole) goes, how far the dial turns, which lamps are green and whether the
// turn-about-Z arrows show. Plain values; the paint code only draws them.
struct GyrometerPicture {
    struct Input {
        float width = 0, height = 0;                         // canvas, device-independent pixels
        float marbleWidth = 61, marbleHeight = 62;           // the marble image's own size
        double rotationX = 0, rotationY = 0, rotationZ = 0;  // +/-1 is the pass mark
        std::array<bool, 6> passed{};                        // X-, X+, Y-, Y+, Z-, Z+
        bool operator==(const Input&) const = default;
    };

    struct Marble {
        RectF rect;
        bool hole = false;  // passed: draw the hole at the marble's size
    };

    static constexpr float kMarbleScale = 0.8f;
    static constexpr float kDialScale = 0.75f;
    static constexpr float kLightScale = 0.65f;

    std::array<Marble, 4> marbles;  // X-, X+, Y-, Y+
    float dialDegrees = 0;          // clockwise rotation of the dial about the centre
    PointF zNegativeLight, zPositiveLight;
    bool zNegativeGreen = false, zPositiveGreen = false;
    bool arrows = false;
    PointF rightArrow, leftArrow;

    static GyrometerPicture compute(const Input& in);
};

}  // namespace vekrsensors
