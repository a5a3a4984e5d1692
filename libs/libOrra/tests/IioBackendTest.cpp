#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <thread>

#include "../src/iio/BoundedReader.h"
#include "CountingSink.h"
#include "FakeSysfs.h"
#include "libOrra/IioBackend.h"
#include "libOrra/Records.h"
#include "libTarra/Proximity.h"

namespace fs = std::filesystem;
using namespace libOrra;

namespace {

class Iio : public ::testing::Test {
protected:
    void SetUp() override { install(); }
    void TearDown() override { installBackend(nullptr); }
    void install() { installBackend(std::make_shared<IioBackend>(sysfs_.root())); }
    FakeSysfs sysfs_;
};

TEST_F(Iio, FindsEverySensorOfAHidHubWithItsCanonicalLocator) {
    sysfs_.addHidAccel3d(0);
    sysfs_.addHidGyro3d(1);
    sysfs_.addHidMagn3d(2);
    sysfs_.addHidAls(3);
    sysfs_.addVl53l0x(10);
    fs::create_directories(sysfs_.root() / "bus/iio/devices/trigger0");  // not a device
    const auto sensors = installedBackend()->sensors();
    ASSERT_EQ(sensors.size(), 5u);
    const std::pair<SensorKind, const char*> expected[] = {{SensorKind::Accelerometer, "accel_3d"},
                                                           {SensorKind::Gyrometer, "gyro_3d"},
                                                           {SensorKind::Magnetometer, "magn_3d"},
                                                           {SensorKind::Light, "als"},
                                                           {SensorKind::Proximity, "vl53l0x"}};
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(sensors[i].kind, expected[i].first) << i;
        EXPECT_EQ(sensors[i].name, expected[i].second);
    }
    EXPECT_EQ(sensors[0].locator, fs::canonical(sysfs_.device(0)).string());
    EXPECT_EQ(sensors[4].locator, fs::canonical(sysfs_.device(10)).string())
        << "device10 after device3: numeric order";
}

TEST_F(Iio, HidReadingsArriveInTheModulesUnits) {
    sysfs_.addHidAccel3d(0);
    sysfs_.addHidGyro3d(1);
    sysfs_.addHidMagn3d(2);
    sysfs_.addHidAls(3);
    vek::Array<std::unique_ptr<Accelerometer>> accels;
    ASSERT_TRUE(getAccelerometers(accels));
    ASSERT_TRUE(accels[0]->update());
    EXPECT_NEAR(accels[0]->x, -0.906, 1e-9);  // raw milli-g
    EXPECT_NEAR(accels[0]->y, 0.015, 1e-9);
    EXPECT_NEAR(accels[0]->z, -0.414, 1e-9);
    EXPECT_NEAR(std::hypot(accels[0]->x, accels[0]->y, accels[0]->z), 0.99622, 1e-5);
    SensorState state{};
    accels[0]->m_pSensor->GetState(&state);
    EXPECT_EQ(state, SENSOR_STATE_READY);

    vek::Array<std::unique_ptr<Gyrometer>> gyros;
    ASSERT_TRUE(getGyrometers(gyros));
    ASSERT_TRUE(gyros[0]->update());
    EXPECT_NEAR(gyros[0]->x, 30.0, 1e-3);
    EXPECT_NEAR(gyros[0]->y, -15.0, 1e-3);
    EXPECT_EQ(gyros[0]->kind, 2);

    vek::Array<std::unique_ptr<Magnetometer>> mags;
    ASSERT_TRUE(getMagnetometers(mags));
    ASSERT_TRUE(mags[0]->update());
    EXPECT_NEAR(mags[0]->heading, 90.0, 1e-3) << "the hub's own heading wins over the field";
    EXPECT_TRUE(mags[0]->headingValid);

    vek::Array<std::unique_ptr<AmbientLightSensor>> lights;
    ASSERT_TRUE(getAmbientLightSensors(lights));
    ASSERT_TRUE(lights[0]->update());
    EXPECT_FLOAT_EQ(lights[0]->lux, 234.5f);
}

// One case per attribute name of the channel table, and per place a scale or offset can be.
struct VariantRow {
    const char* label;
    SensorKind kind;
    std::map<std::string, std::string> attributes;
    double expected;  // x for vectors, heading, lux
};

void PrintTo(const VariantRow& r, std::ostream* os) {
    *os << r.label;
}

class IioVariant : public Iio, public ::testing::WithParamInterface<VariantRow> {};

double readOne(SensorKind kind) {
    switch (kind) {
        case SensorKind::Accelerometer: {
            vek::Array<std::unique_ptr<Accelerometer>> a;
            if (!getAccelerometers(a) || a.size() != 1 || !a[0]->update())
                return NAN;
            return a[0]->x;
        }
        case SensorKind::Gyrometer: {
            vek::Array<std::unique_ptr<Gyrometer>> a;
            if (!getGyrometers(a) || a.size() != 1 || !a[0]->update())
                return NAN;
            return a[0]->x;
        }
        case SensorKind::Magnetometer: {
            vek::Array<std::unique_ptr<Magnetometer>> a;
            if (!getMagnetometers(a) || a.size() != 1 || !a[0]->update())
                return NAN;
            return a[0]->heading;
        }
        case SensorKind::Light: {
            vek::Array<std::unique_ptr<AmbientLightSensor>> a;
            if (!getAmbientLightSensors(a) || a.size() != 1 || !a[0]->update())
                return NAN;
            return a[0]->lux;
        }
        case SensorKind::Proximity:
            break;
    }
    return NAN;
}

TEST_P(IioVariant, IsFoundAndConverted) {
    const auto& row = GetParam();
    sysfs_.addDevice(0, "dev", row.attributes);
    ASSERT_EQ(installedBackend()->sensors().size(), 1u);
    EXPECT_EQ(installedBackend()->sensors()[0].kind, row.kind);
    EXPECT_NEAR(readOne(row.kind), row.expected, 1e-6);
}

std::map<std::string, std::string> axes(const std::string& pattern, const std::string& x,
                                        std::map<std::string, std::string> extra = {}) {
    for (const char* a : {"x", "y", "z"}) {
        std::string name = pattern;
        name.replace(name.find("%a"), 2, a);
        extra.emplace(name, a[0] == 'x' ? x : "0");
    }
    return extra;
}

INSTANTIATE_TEST_SUITE_P(
    Table, IioVariant,
    ::testing::Values(
        VariantRow{"accel_input_is_processed", SensorKind::Accelerometer,
                   axes("in_accel_%a_input", "9.80665", {{"in_accel_scale", "5"}}), 1.0},
        VariantRow{"accel_raw_no_scale", SensorKind::Accelerometer,
                   axes("in_accel_%a_raw", "19.6133"), 2.0},
        VariantRow{"accel_raw_type_scale", SensorKind::Accelerometer,
                   axes("in_accel_%a_raw", "100", {{"in_accel_scale", "0.0980665"}}), 1.0},
        VariantRow{"accel_raw_axis_scale_wins", SensorKind::Accelerometer,
                   axes("in_accel_%a_raw", "100",
                        {{"in_accel_x_scale", "0.0980665"}, {"in_accel_scale", "7"}}),
                   1.0},
        VariantRow{"accel_type_offset", SensorKind::Accelerometer,
                   axes("in_accel_%a_raw", "90",
                        {{"in_accel_scale", "0.0980665"}, {"in_accel_offset", "10"}}),
                   1.0},
        VariantRow{"accel_axis_offset_wins", SensorKind::Accelerometer,
                   axes("in_accel_%a_raw", "90",
                        {{"in_accel_scale", "0.0980665"},
                         {"in_accel_x_offset", "10"},
                         {"in_accel_offset", "-50"}}),
                   1.0},
        VariantRow{"accel_mount_matrix", SensorKind::Accelerometer,
                   axes("in_accel_%a_input", "0",
                        {{"in_accel_y_input", "9.80665"},
                         {"in_accel_mount_matrix", "0, 1, 0; -1, 0, 0; 0, 0, 1"}}),
                   1.0},
        VariantRow{
            "accel_device_mount_matrix", SensorKind::Accelerometer,
            axes("in_accel_%a_input", "9.80665", {{"mount_matrix", "-1, 0, 0; 0, -1, 0; 0, 0, 1"}}),
            -1.0},
        VariantRow{"anglvel_input", SensorKind::Gyrometer,
                   axes("in_anglvel_%a_input", "3.14159265358979"), 180.0},
        VariantRow{"anglvel_raw_scale", SensorKind::Gyrometer,
                   axes("in_anglvel_%a_raw", "100", {{"in_anglvel_scale", "0.0174532925199433"}}),
                   100.0},
        VariantRow{"rot_tilt_comp_input",
                   SensorKind::Magnetometer,
                   {{"in_rot_from_north_magnetic_tilt_comp_input", "1.5707963267949"}},
                   90.0},
        VariantRow{"rot_tilt_comp_raw_own_scale",
                   SensorKind::Magnetometer,
                   {{"in_rot_from_north_magnetic_tilt_comp_raw", "2"},
                    {"in_rot_from_north_magnetic_tilt_comp_scale", "1.5707963267949"}},
                   180.0},
        VariantRow{"rot_input",
                   SensorKind::Magnetometer,
                   {{"in_rot_from_north_magnetic_input", "-1.5707963267949"}},
                   270.0},
        VariantRow{"rot_raw_type_scale",
                   SensorKind::Magnetometer,
                   {{"in_rot_from_north_magnetic_raw", "1000"}, {"in_rot_scale", "0.001"}},
                   57.29577951308232},
        VariantRow{"magn_field_north", SensorKind::Magnetometer,
                   axes("in_magn_%a_raw", "0", {{"in_magn_y_raw", "30"}}), 0.0},
        VariantRow{"magn_field_east", SensorKind::Magnetometer, axes("in_magn_%a_input", "-0.3"),
                   90.0},
        VariantRow{
            "illuminance_input", SensorKind::Light, {{"in_illuminance_input", "50.5"}}, 50.5},
        VariantRow{
            "illuminance0_input", SensorKind::Light, {{"in_illuminance0_input", "12"}}, 12.0},
        VariantRow{"illuminance_raw",
                   SensorKind::Light,
                   {{"in_illuminance_raw", "400"}, {"in_illuminance_scale", "0.25"}},
                   100.0},
        VariantRow{"illuminance0_raw_own_scale",
                   SensorKind::Light,
                   {{"in_illuminance0_raw", "400"},
                    {"in_illuminance0_scale", "0.5"},
                    {"in_illuminance_scale", "9"}},
                   200.0},
        VariantRow{"intensity_both",
                   SensorKind::Light,
                   {{"in_intensity_both_raw", "80"}, {"in_intensity_scale", "0.5"}},
                   40.0},
        VariantRow{"intensity_clear", SensorKind::Light, {{"in_intensity_clear_raw", "33"}}, 33.0},
        VariantRow{"intensity", SensorKind::Light, {{"in_intensity_raw", "7"}}, 7.0}));

// Proximity: one case per value name, through the bridge.
struct ProximityRow {
    std::map<std::string, std::string> attributes;
    bool detected;
    unsigned mm;
};

void PrintTo(const ProximityRow& r, std::ostream* os) {
    *os << r.attributes.begin()->first;
}

class IioProximity : public Iio, public ::testing::WithParamInterface<ProximityRow> {};

TEST_P(IioProximity, FirstReadingThroughTheBridge) {
    sysfs_.addDevice(0, "prox", GetParam().attributes);
    const auto locators = libTarra::ProximitySensorEnumerator::getOsLocators(500);
    ASSERT_EQ(locators.size(), 1u);
    std::atomic<int> count{0};
    std::atomic<bool> seen{false};
    std::atomic<unsigned> mm{0};
    ASSERT_TRUE(libTarra::ProximitySensorRunner::runSensorAsync(
        locators[0],
        [&](bool d, unsigned m) {
            if (count.fetch_add(1) == 0)
                seen = d, mm = m;
        },
        [] {}));
    for (int i = 0; i < 500 && count.load() == 0; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    libTarra::ProximitySensorRunner::stopSensor();
    ASSERT_GT(count.load(), 0);
    EXPECT_EQ(seen.load(), GetParam().detected);
    EXPECT_EQ(mm.load(), GetParam().mm);
}

INSTANTIATE_TEST_SUITE_P(
    Table, IioProximity,
    ::testing::Values(
        ProximityRow{{{"in_distance_input", "0.2"}}, true, 200},
        ProximityRow{{{"in_distance_raw", "153"}, {"in_distance_scale", "0.001"}}, true, 153},
        ProximityRow{{{"in_distance0_raw", "2500"}, {"in_distance_scale", "0.001"}}, false, 0},
        // Unitless: 100000 / value, within 1..2000.
        ProximityRow{{{"in_proximity_input", "1"}}, true, 2000},
        ProximityRow{{{"in_proximity_raw", "400"}}, true, 250},
        ProximityRow{{{"in_proximity_raw", "460"}}, true, 217},  // 15 % more light: 13 % nearer
        ProximityRow{{{"in_proximity_raw", "40"}, {"in_proximity_nearlevel", "50"}}, false, 0},
        ProximityRow{{{"in_proximity0_raw", "60"}, {"in_proximity_nearlevel", "50"}}, true, 1667}));

TEST_F(Iio, RemovedDeviceIsNotAvailableAndNoLongerListed) {
    sysfs_.addHidAccel3d(0);
    vek::Array<std::unique_ptr<Accelerometer>> accels;
    ASSERT_TRUE(getAccelerometers(accels));
    fs::remove_all(sysfs_.device(0));
    SensorState state{};
    accels[0]->m_pSensor->GetState(&state);
    EXPECT_EQ(state, SENSOR_STATE_NOT_AVAILABLE);
    vek::Array<std::unique_ptr<Accelerometer>> again;
    ASSERT_TRUE(getAccelerometers(again));
    EXPECT_EQ(again.size(), 0u);
}

TEST_F(Iio, GarbageInAnAttributeFailsTheUpdateAndReportsAnError) {
    sysfs_.addHidAccel3d(0);
    vek::Array<std::unique_ptr<Accelerometer>> accels;
    ASSERT_TRUE(getAccelerometers(accels));
    ASSERT_TRUE(accels[0]->update());
    sysfs_.set(0, "in_accel_y_raw", "not a number");
    EXPECT_FALSE(accels[0]->update());
    SensorState state{};
    accels[0]->m_pSensor->GetState(&state);
    EXPECT_EQ(state, SENSOR_STATE_ERROR);
    sysfs_.set(0, "in_accel_y_raw", "15");
    EXPECT_TRUE(accels[0]->update()) << "the held descriptor reads the new text";
}

TEST_F(Iio, UnreadableAttributeIsAccessDenied) {
    if (::geteuid() == 0)
        GTEST_SKIP() << "root reads every file";
    sysfs_.addHidAccel3d(0);
    fs::permissions(sysfs_.device(0) / "in_accel_x_raw", fs::perms::none);
    vek::Array<std::unique_ptr<Accelerometer>> accels;
    ASSERT_TRUE(getAccelerometers(accels));
    SensorState state{};
    accels[0]->m_pSensor->GetState(&state);
    EXPECT_EQ(state, SENSOR_STATE_ACCESS_DENIED);
}

TEST_F(Iio, NoIioBusIsAMachineWithoutSensors) {
    vek::Array<std::unique_ptr<Gyrometer>> gyros;
    EXPECT_TRUE(getGyrometers(gyros));
    EXPECT_EQ(gyros.size(), 0u);
}

TEST_F(Iio, AttachedSinkReceivesDataEventsFromTheSensorsThread) {
    sysfs_.addHidAccel3d(0);
    sysfs_.set(0, "in_accel_sampling_frequency", "100");
    vekr::testing::CountingSink sink;
    vek::Array<std::unique_ptr<Accelerometer>> accels;
    ASSERT_TRUE(getAccelerometers(accels));
    accels[0]->m_pSensor->SetEventSink(&sink);
    for (int i = 0; i < 500 && sink.reports.load() < 3; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    accels[0]->m_pSensor->SetEventSink(nullptr);
    const int atDetach = sink.reports.load();
    EXPECT_GE(atDetach, 3);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(sink.reports.load(), atDetach) << "nothing after the detach returned";
}

TEST(BoundedReader, AStuckReadGivesNoReadingInTimeAndFinishesLater) {
    libOrra::iio::BoundedReader reader;
    std::atomic<bool> release{false};
    const auto stuck = reader.run(
        [&release] {
            while (!release.load())
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            return true;
        },
        std::chrono::milliseconds(20));
    EXPECT_FALSE(stuck.has_value());
    EXPECT_FALSE(reader.run([] { return true; }, std::chrono::milliseconds(20)).has_value())
        << "no second read while the first is stuck";
    release = true;
    EXPECT_EQ(reader.run([] { return false; }, std::chrono::seconds(5)), false);
    EXPECT_EQ(reader.run([] { return true; }, std::chrono::seconds(5)), true);
}

}  // namespace
