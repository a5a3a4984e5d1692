#pragma once

#include "GyrometerTest/GyrometerPicture.h"  // PointF, RectF

namespace vekrsensors {

// The compass dialog's picture for one frame, from the target and needle angles (degrees,
// clockwise from straight up) and the images' sizes. Plain values; the paint only draws them.
struct CompassPicture {
    struct Size {
        float width = 0, height = 0;
    };
    struct Input {
        float width = 0, height = 0;  // the canvas
        double target = 0, needle = 0;
        Size dialSize{375, 375}, markerSize{30, 41}, needleSize{183, 702}, arrowSize{201, 406};
    };

    static constexpr float kNeedleScale = 0.45f;
    // Pi as the marker's placement has always used it, to eight digits.
    static constexpr double kPi = 3.1415926;

    PointF centre;
    // The marker sits on the dial's rim at the target, turned to point outward.
    PointF markerCentre;
    float markerDegrees = 0;
    // The turn arrow hangs from the target's radius on the needle's side; the half-plane
    // that shows it is the canvas's upper half turned by maskDegrees about the centre.
    bool leftArrow = false;
    float maskDegrees = 0;
    float arrowDegrees = 0;
    RectF arrowRect;  // before turning by arrowDegrees about the centre
    float needleDegrees = 0;
    RectF needleRect;  // before turning

    static CompassPicture compute(const Input& in);
    // Target minus needle in single precision, wrapped into [-180, 180]; beyond a full turn
    // the whole degrees only are kept (725.5 gives 5).
    static float difference(double target, double needle);
};

}  // namespace vekrsensors
