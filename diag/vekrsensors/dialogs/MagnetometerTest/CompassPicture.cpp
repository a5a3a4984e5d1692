#include "CompassPicture.h"

#include <cmath>

namespace vekrsensors {

float CompassPicture::difference(double target, double needle) {
    float d = static_cast<float>(target - needle);
    if (d > 360.0f || d < -360.0f)
        d = static_cast<float>(static_cast<int>(d) % 360);
    if (d > 180.0f) {
        d -= 360.0f;
    } else if (d < -180.0f) {
        d += 360.0f;
    }
    return d;
}

CompassPicture CompassPicture::compute(const Input& in) {
    CompassPicture p;
    const float cx = in.width / 2, cy = in.height / 2;
    p.centre = {cx, cy};

    const double theta = in.target / 180.0 * kPi;
    const double r = (in.dialSize.width - in.markerSize.height) / 2.0;
    p.markerCentre = {static_cast<float>(cx + r * std::sin(theta)),
                      static_cast<float>(cy - r * std::cos(theta))};
    p.markerDegrees = static_cast<float>(in.target);

    const float a = difference(in.target, in.needle) < 0 ? -90.0f : 90.0f;
    p.leftArrow = a < 0;
    p.maskDegrees = static_cast<float>(in.needle) + a;
    p.arrowDegrees = static_cast<float>(in.target);
    const float w = in.arrowSize.width, h = in.arrowSize.height;
    p.arrowRect = p.leftArrow ? RectF{cx, cy - h / 2, cx + w, cy + h / 2}
                              : RectF{cx - w, cy - h / 2, cx, cy + h / 2};

    p.needleDegrees = static_cast<float>(in.needle);
    const float nw = in.needleSize.width * kNeedleScale, nh = in.needleSize.height * kNeedleScale;
    p.needleRect = {cx - nw / 2, cy - nh / 2, cx + nw / 2, cy + nh / 2};
    return p;
}

}  // namespace vekrsensors
