#include "GyrometerPicture.h"

namespace vekrsensors {

GyrometerPicture GyrometerPicture::compute(const Input& in) {
    GyrometerPicture p;
    const double W = in.width, H = in.height;
    const double cx = W / 2, cy = H / 2;
    const double mw = in.marbleWidth * kMarbleScale, mh = in.marbleHeight * kMarbleScale;

    // The dial swings opposite to the Z turn, 60 degrees at the pass mark.
    p.dialDegrees = static_cast<float>(in.rotationZ * -60.0);

    // How far each marble has rolled toward its edge. Rotations are not clamped: a marble may
    // be drawn past its edge for the frame before its flag turns it into a hole.
    const double up = in.rotationX < 0 ? 0.27 * H * -in.rotationX : 0.0;
    const double down = in.rotationX > 0 ? 0.27 * H * in.rotationX : 0.0;
    const double left = in.rotationY < 0 ? 0.27 * W * -in.rotationY : 0.0;
    const double right = in.rotationY > 0 ? 0.27 * W * in.rotationY : 0.0;
    const double tX = 0.28 * H - up, bX = 0.73 * H + down;
    const double lY = 0.28 * W - left, rY = 0.73 * W + right;

    const auto rect = [](double l, double t, double r, double b) {
        return RectF{static_cast<float>(l), static_cast<float>(t), static_cast<float>(r),
                     static_cast<float>(b)};
    };
    // A marble runs 3 pixels off its path's centre line; holes sit on it.
    p.marbles[0] = in.passed[0] ? Marble{rect(cx - mw / 2, 0, cx + mw / 2, mh), true}
                                : Marble{rect(cx - mw / 2 + 3, tX, cx + mw / 2 + 3, tX + mh)};
    p.marbles[1] = in.passed[1] ? Marble{rect(cx - mw / 2, H, cx + mw / 2, H - mh), true}
                                : Marble{rect(cx - mw / 2 + 3, bX, cx + mw / 2 + 3, bX - mh)};
    p.marbles[2] = in.passed[2] ? Marble{rect(0, cy - mh / 2, mw, cy + mh / 2), true}
                                : Marble{rect(lY, cy - mh / 2 + 3, lY + mw, cy + mh / 2 + 3)};
    p.marbles[3] = in.passed[3] ? Marble{rect(W, cy - mh / 2, W - mw, cy + mh / 2), true}
                                : Marble{rect(rY, cy - mh / 2 + 3, rY - mw, cy + mh / 2 + 3)};

    p.zNegativeLight = {static_cast<float>(0.655 * W), static_cast<float>(0.41 * H)};
    p.zPositiveLight = {static_cast<float>(0.345 * W), static_cast<float>(0.41 * H)};
    p.zNegativeGreen = in.passed[4];
    p.zPositiveGreen = in.passed[5];

    // Once X and Y are done, arrows ask for the turn about Z that is still missing.
    p.arrows = in.passed[0] && in.passed[1] && in.passed[2] && in.passed[3] &&
               !(in.passed[4] && in.passed[5]);
    p.rightArrow = {static_cast<float>(0.65 * W), static_cast<float>(0.35 * H)};
    p.leftArrow = {static_cast<float>(0.35 * W), static_cast<float>(0.35 * H)};
    return p;
}

}  // namespace vekrsensors
