#include <gtest/gtest.h>

#include <optional>
#include <string_view>
#include <vector>

#include "../src/iio/IioConversion.h"

namespace {

using libOrra::Sample;
using libOrra::iio::AxisNumbers;
using libOrra::iio::ChannelRow;
using libOrra::iio::kIdentity;
using libOrra::iio::Matrix3;

// The channel table's row of an IIO type ("accel", "rot", ...).
const ChannelRow& rowOf(std::string_view type) {
    for (const auto& row : libOrra::iio::channelTable()) {
        if (row.type == type)
            return row;
    }
    throw std::invalid_argument("no channel row " + std::string(type));
}

AxisNumbers raw(double value, double scale, double offset = 0.0) {
    return {value, true, scale, offset};
}
AxisNumbers input(double value) {
    return {value, false, 1.0, 0.0};
}

// From a driver's numbers (as the kernel publishes them, named in `source`) to what a record
// delivers, worked out by hand: g = m/s^2 / 9.80665, degrees/s = rad/s * 57.2957795,
// heading = atan2(-x, y) in degrees for a field, proximity distance = 100000 / value within
// 1..2000 mm.
struct Row {
    const char* source;
    const char* type;
    std::vector<AxisNumbers> axes;
    Sample expected;
    Matrix3 mount = kIdentity;
    std::optional<double> nearLevel = std::nullopt;
};

const Row kRows[] = {
    {"mxc4005 at its default 2 g: in_accel_scale 0.009582 (mxc4005_scale_table), z raw 1024",
     "accel",
     {raw(0, 0.009582), raw(0, 0.009582), raw(1024, 0.009582)},
     {.z = 1.0005423}},
    {"bmc150-accel (BMC150/BMI055/BMA255) at the 4 g it starts in: in_accel_scale 0.019122, "
     "z raw 512",
     "accel",
     {raw(0, 0.019122), raw(0, 0.019122), raw(512, 0.019122)},
     {.z = 0.9983495}},
    {"hid-sensor-accel-3d: milli-g counts, in_accel_scale 0.009806650",
     "accel",
     {raw(-906, 0.00980665), raw(15, 0.00980665), raw(-414, 0.00980665)},
     {.x = -0.906, .y = 0.015, .z = -0.414}},
    {"cros-ec-accel: one scale for all, 0.000598550 (2 g over 32768)",
     "accel",
     {raw(-160, 0.00059855), raw(312, 0.00059855), raw(16280, 0.00059855)},
     {.x = -0.0097656, .y = 0.0190430, .z = 0.9936517}},
    {"the ABI's order (sysfs-bus-iio, in_accel_offset): the offset is added to _raw before "
     "the scale",
     "accel",
     {raw(100, 0.0980665, -50), raw(0, 0.0980665), raw(0, 0.0980665)},
     {.x = 0.5}},
    {"bmc150 at 4 g turned a quarter by an in_mount_matrix 0, 1, 0; -1, 0, 0; 0, 0, 1",
     "accel",
     {raw(512, 0.019122), raw(0, 0.019122), raw(0, 0.019122)},
     {.y = -0.9983495},
     {0, 1, 0, -1, 0, 0, 0, 0, 1}},
    {"mxc4005 turned by its in_mount_matrix -1, 0, 0; 0, -1, 0; 0, 0, 1",
     "accel",
     {raw(200, 0.009582), raw(-1000, 0.009582), raw(150, 0.009582)},
     {.x = -0.1954184, .y = 0.9770921, .z = 0.1465638},
     {-1, 0, 0, 0, -1, 0, 0, 0, 1}},
    {"bmg160 at 2000 degrees/s: in_anglvel_scale 0.001065 (bmg160_scale_table)",
     "anglvel",
     {raw(1000, 0.001065), raw(-1000, 0.001065), raw(0, 0.001065)},
     {.x = 61.0200052, .y = -61.0200052}},
    {"hid-sensor-gyro-3d: hundredths of a degree/s, in_anglvel_scale 0.000174532",
     "anglvel",
     {raw(3000, 0.000174532), raw(-1500, 0.000174532), raw(0, 0.000174532)},
     {.x = 29.9998410, .y = -14.9999205}},
    {"hid-sensor-magn-3d compass: in_rot_scale 0.000010 (unit exponent -5)",
     "rot",
     {raw(10190000, 0.00001)},
     {.heading = 101.9, .headingValid = true}},
    {"HID's compass heading usage runs 0..360: 360 is north, 0",
     "rot",
     {input(360)},
     {.heading = 0.0, .headingValid = true}},
    {"ak09911 upside down (in_mount_matrix -1, 0, 0; 0, 1, 0; 0, 0, -1), scale 0.006 per axis",
     "magn",
     {raw(50, 0.006), raw(87, 0.006), raw(-300, 0.006)},
     {.x = -0.3, .y = 0.522, .z = 1.8, .heading = 29.8865269, .headingValid = true},
     {-1, 0, 0, 0, 1, 0, 0, 0, -1}},
    {"near the north magnetic pole the field points down z (0.58 G): no heading",
     "magn",
     {input(0), input(0), input(-0.58)},
     {.z = -0.58, .headingValid = false}},
    {"hid-sensor-als: in_illuminance_raw 2345, scale 0.1",
     "illuminance",
     {raw(2345, 0.1)},
     {.lux = 234.5f}},
    {"isl29018: in_illuminance0_input 150", "illuminance", {input(150)}, {.lux = 150.0f}},
    {"vl53l0x: in_distance_raw 153 millimetres, in_distance_scale 0.001",
     "distance",
     {raw(153, 0.001)},
     {.x = 153.0, .detected = true}},
    {"vl53l0x beyond the 2 m it reaches: nothing near",
     "distance",
     {raw(2500, 0.001)},
     {.x = 0.0, .detected = false}},
    {"apds9960: in_proximity_raw 180, no near level: above 0 is near",
     "proximity",
     {input(180)},
     {.x = 555.5555556, .detected = true}},
    {"Librem 5 vcnl4040 (proximity-near-level 25): 25 is near, at the 2000 mm end",
     "proximity",
     {input(25)},
     {.x = 2000.0, .detected = true},
     kIdentity,
     25.0},
    {"Librem 5 vcnl4040 (proximity-near-level 25): 24 is not near",
     "proximity",
     {input(24)},
     {.x = 0.0, .detected = false},
     kIdentity,
     25.0},
};

TEST(IioConversion, DriversNumbersArriveAsTheRecordsDeliverThem) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.source);
        const Sample got =
            libOrra::iio::convert(rowOf(row.type), row.axes, row.mount, row.nearLevel).sample;
        const Sample& want = row.expected;
        EXPECT_NEAR(got.x, want.x, 1e-6);
        EXPECT_NEAR(got.y, want.y, 1e-6);
        EXPECT_NEAR(got.z, want.z, 1e-6);
        EXPECT_NEAR(got.heading, want.heading, 1e-6);
        EXPECT_EQ(got.headingValid, want.headingValid);
        EXPECT_FLOAT_EQ(got.lux, want.lux);
        EXPECT_EQ(got.detected, want.detected);
        EXPECT_EQ(got.kind, want.kind);
    }
}

// What the reader checks before it delivers: each axis in the channel's unit (finite?) and,
// after the matrix, in the module's unit (plausible?), here for the ITE8350 hub whose
// in_rot_scale of 1.0 makes 1019 tenths of a degree a heading of 1019.
TEST(IioConversion, StepsBeforeDeliveryAreKeptForTheChecks) {
    const AxisNumbers accel[] = {raw(0, 1), raw(0, 1), raw(200, 1)};
    const auto turned =
        libOrra::iio::convert(rowOf("accel"), accel, {0, 0, 2, 0, 1, 0, 1, 0, 0}, std::nullopt);
    EXPECT_EQ(turned.channel, (std::array<double, 3>{0, 0, 200}));
    EXPECT_NEAR(turned.module[0], 40.7886485, 1e-6) << "400 m/s^2 after the matrix, in g";
    const AxisNumbers heading[] = {raw(1019, 1.0)};
    EXPECT_EQ(libOrra::iio::convert(rowOf("rot"), heading, kIdentity, std::nullopt).module[0],
              1019.0);
}

}  // namespace
