#include <gtest/gtest.h>

#include "GyrometerTest/GyroMotion.h"

namespace {

using vekrsensors::GyroMotion;
using Flags = std::array<bool, 6>;

// Turns at `rate` degrees per second about one axis for `seconds`, in 20 ms samples.
void turn(GyroMotion& m, int axis, double rate, double seconds) {
    std::array<double, 3> v{};
    v[axis] = rate;
    for (double t = 0; t < seconds - 1e-9; t += 0.02)
        m.step(v, 2, 0.02);
}

TEST(GyroMotion, IntegratesAngularVelocityAndRatesOfChange) {
    GyroMotion m;
    m.step({10, -30, 0}, 2, 0.5);
    EXPECT_DOUBLE_EQ(m.angle[0], 5.0);
    EXPECT_DOUBLE_EQ(m.angle[1], -15.0);
    GyroMotion k1;
    k1.step({40, 0, 0}, 1, 0.5);  // rate becomes 20, angle 10
    k1.step({0, 0, 0}, 1, 0.5);   // rate stays 20, angle 20
    EXPECT_DOUBLE_EQ(k1.rate[0], 20.0);
    EXPECT_DOUBLE_EQ(k1.angle[0], 20.0);
    GyroMotion other;
    other.step({10, 0, 0}, 2, 0.1);
    other.step({99, 0, 0}, 3, 0.1);  // unknown kind: rates as they were
    EXPECT_DOUBLE_EQ(other.rate[0], 10.0);
    EXPECT_DOUBLE_EQ(other.angle[0], 2.0);
}

TEST(GyroMotion, ZIndicatorFollowsAndClampsAtThePassMark) {
    GyroMotion m;
    turn(m, 2, 60, 2.0);  // angle Z would reach 120
    EXPECT_DOUBLE_EQ(m.zIndicator, 20.0);
    EXPECT_DOUBLE_EQ(m.angle[2], 20.0) << "the clamp holds the Z angle too";
    EXPECT_TRUE(m.passed[GyroMotion::ZPositive]);
    turn(m, 2, -60, 3.0);
    EXPECT_DOUBLE_EQ(m.zIndicator, -20.0);
    EXPECT_DOUBLE_EQ(m.angle[2], -20.0);
    EXPECT_TRUE(m.passed[GyroMotion::ZNegative]);
}

TEST(GyroMotion, SpringStepUsesTheWrittenWrap) {
    // e = indicator - angle Z = 200 - 0 > 180 becomes 360 - 200 = 160 (not -160).
    GyroMotion m;
    m.zIndicator = 200.0;
    m.step({0, 0, 0}, 2, 0.1);
    EXPECT_DOUBLE_EQ(m.zIndicatorSpeed, -160.0);  // (-10 * 160 - 0) * 0.1
    EXPECT_DOUBLE_EQ(m.zIndicator, 20.0) << "184 after the step, then clamped";
    GyroMotion n;
    n.zIndicator = -190.0;  // e = -190 < -180 becomes 170
    n.step({0, 0, 0}, 2, 0.1);
    EXPECT_DOUBLE_EQ(n.zIndicatorSpeed, -170.0);
}

}  // namespace
