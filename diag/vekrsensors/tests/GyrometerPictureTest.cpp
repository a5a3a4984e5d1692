#include <gtest/gtest.h>

#include "GyrometerTest/GyrometerPicture.h"

namespace {

using vekrsensors::GyrometerPicture;
using vekrsensors::RectF;

// A 400 x 300 canvas; the marble is 61 x 62, drawn at 48.8 x 49.6.
GyrometerPicture::Input canvas() {
    GyrometerPicture::Input in;
    in.width = 400;
    in.height = 300;
    return in;
}

void expectRect(const RectF& r, float l, float t, float rt, float b, const char* what) {
    EXPECT_NEAR(r.left, l, 1e-3) << what;
    EXPECT_NEAR(r.top, t, 1e-3) << what;
    EXPECT_NEAR(r.right, rt, 1e-3) << what;
    EXPECT_NEAR(r.bottom, b, 1e-3) << what;
}

TEST(GyrometerPicture, AtRest) {
    const auto p = GyrometerPicture::compute(canvas());
    expectRect(p.marbles[0].rect, 178.6f, 84.0f, 227.4f, 133.6f, "X- marble");
    expectRect(p.marbles[1].rect, 178.6f, 219.0f, 227.4f, 169.4f, "X+ marble, inverted");
    expectRect(p.marbles[2].rect, 112.0f, 128.2f, 160.8f, 177.8f, "Y- marble");
    expectRect(p.marbles[3].rect, 292.0f, 128.2f, 243.2f, 177.8f, "Y+ marble, inverted");
    for (const auto& m : p.marbles)
        EXPECT_FALSE(m.hole);
    EXPECT_FLOAT_EQ(p.dialDegrees, 0.0f);
    EXPECT_FALSE(p.zNegativeGreen);
    EXPECT_FALSE(p.zPositiveGreen);
    EXPECT_FALSE(p.arrows);
    EXPECT_FLOAT_EQ(p.zNegativeLight.x, 262.0f);
    EXPECT_FLOAT_EQ(p.zPositiveLight.x, 138.0f);
    EXPECT_FLOAT_EQ(p.zPositiveLight.y, 123.0f);
}

TEST(GyrometerPicture, MidTurnRollsOneMarbleAndSwingsTheDialTheOtherWay) {
    auto in = canvas();
    in.rotationX = -0.5;  // up by 0.27 * 300 * 0.5 = 40.5
    in.rotationY = 0.25;  // right by 0.27 * 400 * 0.25 = 27
    in.rotationZ = 0.5;
    const auto p = GyrometerPicture::compute(in);
    expectRect(p.marbles[0].rect, 178.6f, 43.5f, 227.4f, 93.1f, "X- rolled up");
    expectRect(p.marbles[1].rect, 178.6f, 219.0f, 227.4f, 169.4f, "X+ stays");
    expectRect(p.marbles[3].rect, 319.0f, 128.2f, 270.2f, 177.8f, "Y+ rolled right");
    EXPECT_FLOAT_EQ(p.dialDegrees, -30.0f);
}

TEST(GyrometerPicture, PassedDirectionsShowHolesAtTheEdgesAndThenTheArrows) {
    auto in = canvas();
    in.passed = {true, true, true, true, false, false};
    auto p = GyrometerPicture::compute(in);
    for (const auto& m : p.marbles)
        EXPECT_TRUE(m.hole);
    expectRect(p.marbles[0].rect, 175.6f, 0.0f, 224.4f, 49.6f, "X- hole");
    expectRect(p.marbles[1].rect, 175.6f, 300.0f, 224.4f, 250.4f, "X+ hole, inverted");
    expectRect(p.marbles[2].rect, 0.0f, 125.2f, 48.8f, 174.8f, "Y- hole");
    expectRect(p.marbles[3].rect, 400.0f, 125.2f, 351.2f, 174.8f, "Y+ hole, inverted");
    EXPECT_TRUE(p.arrows);
    EXPECT_FLOAT_EQ(p.rightArrow.x, 260.0f);
    EXPECT_FLOAT_EQ(p.leftArrow.x, 140.0f);
    EXPECT_FLOAT_EQ(p.leftArrow.y, 105.0f);

    in.passed[4] = true;
    p = GyrometerPicture::compute(in);
    EXPECT_TRUE(p.arrows) << "one Z direction still missing";
    EXPECT_TRUE(p.zNegativeGreen);
    EXPECT_FALSE(p.zPositiveGreen);
    in.passed[5] = true;
    EXPECT_FALSE(GyrometerPicture::compute(in).arrows);

    in.passed = {true, true, true, false, true, false};
    EXPECT_FALSE(GyrometerPicture::compute(in).arrows) << "Y+ not passed yet";
}

}  // namespace
