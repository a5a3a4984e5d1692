#include <gtest/gtest.h>
#include <unistd.h>

#include <fcntl.h>
#include <atomic>
#include <cmath>
#include <fstream>
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
    void TearDown() override {
        installBackend(nullptr);
        IioBackend::setReadTimeout(std::chrono::milliseconds(1000));
    }
    void install() {
        backend_ = std::make_shared<IioBackend>(sysfs_.root(), sysfs_.devRoot());
        installBackend(backend_);
    }
    std::shared_ptr<IioBackend> backend_;
    FakeSysfs sysfs_;
};

TEST_F(Iio, ListsEveryKindInNumberOrderWithCanonicalLocators) {
    sysfs_.add(0, layouts::hidAccel3d);
    sysfs_.add(1, layouts::hidGyro3d);
    sysfs_.add(2, layouts::hidMagn3d);
    sysfs_.add(3, layouts::hidAls);
    sysfs_.add(10, layouts::vl53l0x);
    sysfs_.add(11, layouts::crosEcAccel);
    fs::create_directories(sysfs_.root() / "bus/iio/devices/trigger0");  // not a device
    const auto sensors = installedBackend()->sensors();
    ASSERT_EQ(sensors.size(), 6u);
    const std::pair<SensorKind, const char*> expected[] = {
        {SensorKind::Accelerometer, "accel_3d"},
        {SensorKind::Gyrometer, "gyro_3d"},
        {SensorKind::Magnetometer, "magn_3d"},
        {SensorKind::Light, "als"},
        {SensorKind::Proximity, "vl53l0x"},
        {SensorKind::Accelerometer, "cros-ec-accel (accel-display)"}};
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(sensors[i].kind, expected[i].first) << i;
        EXPECT_EQ(sensors[i].name, expected[i].second);
    }
    EXPECT_EQ(sensors[0].locator, fs::canonical(sysfs_.device(0)).string());
    EXPECT_EQ(sensors[4].locator, fs::canonical(sysfs_.device(10)).string())
        << "device10 after device3: numeric order";
}

// The reading of one record of `kind` (x, y, z; heading; lux), or nothing when none updates.
std::vector<double> readOne(SensorKind kind) {
    auto take = [](auto& records, auto fn) -> std::vector<double> {
        if (records.size() != 1 || !records[0]->update())
            return {};
        return fn(*records[0]);
    };
    switch (kind) {
        case SensorKind::Accelerometer: {
            vek::Array<std::unique_ptr<Accelerometer>> a;
            getAccelerometers(a);
            return take(a, [](Accelerometer& r) { return std::vector{r.x, r.y, r.z}; });
        }
        case SensorKind::Gyrometer: {
            vek::Array<std::unique_ptr<Gyrometer>> a;
            getGyrometers(a);
            return take(a, [](Gyrometer& r) { return std::vector{r.x, r.y, r.z}; });
        }
        case SensorKind::Magnetometer: {
            vek::Array<std::unique_ptr<Magnetometer>> a;
            getMagnetometers(a);
            return take(a, [](Magnetometer& r) { return std::vector{r.heading}; });
        }
        case SensorKind::Light: {
            vek::Array<std::unique_ptr<AmbientLightSensor>> a;
            getAmbientLightSensors(a);
            return take(a, [](AmbientLightSensor& r) { return std::vector{double(r.lux)}; });
        }
        case SensorKind::Proximity:
            break;
    }
    return {};
}

struct ReadingRow {
    const char* label;
    DriverLayout layout;
    SensorKind kind;
    std::vector<double> expected;  // x, y, z in g or degrees/s; heading in degrees; lux
};

void PrintTo(const ReadingRow& r, std::ostream* os) {
    *os << r.label;
}

class IioReading : public Iio, public ::testing::WithParamInterface<ReadingRow> {};

TEST_P(IioReading, ArrivesInTheModulesUnits) {
    const auto& row = GetParam();
    sysfs_.add(0, row.layout);
    const auto got = readOne(row.kind);
    ASSERT_EQ(got.size(), row.expected.size());
    for (std::size_t i = 0; i < got.size(); ++i)
        EXPECT_NEAR(got[i], row.expected[i], 1e-5) << "axis " << i;
}

// Real drivers' layouts, the values worked out by hand from their attributes.
INSTANTIATE_TEST_SUITE_P(
    Drivers, IioReading,
    ::testing::Values(
        ReadingRow{"hid_accel_3d",
                   layouts::hidAccel3d,
                   SensorKind::Accelerometer,
                   {-0.906, 0.015, -0.414}},
        ReadingRow{
            "hid_gyro_3d", layouts::hidGyro3d, SensorKind::Gyrometer, {29.99984, -14.99992, 0.0}},
        ReadingRow{"hid_magn_3d_heading_in_degrees",
                   layouts::hidMagn3d,
                   SensorKind::Magnetometer,
                   {101.9}},
        ReadingRow{
            "hid_als_illuminance_before_intensity", layouts::hidAls, SensorKind::Light, {234.5}},
        ReadingRow{"hid_als_older_intensity_only", layouts::hidAlsOld, SensorKind::Light, {234.5}},
        ReadingRow{"cros_ec_accel_shared_scale",
                   layouts::crosEcAccel,
                   SensorKind::Accelerometer,
                   {-0.0097656, 0.0190430, 0.9936517}},
        ReadingRow{"cros_ec_gyro_shared_scale",
                   layouts::crosEcGyro,
                   SensorKind::Gyrometer,
                   {30.858181, -30.858181, 0.0}},
        ReadingRow{"cros_ec_light_processed", layouts::crosEcLight, SensorKind::Light, {312.0}},
        ReadingRow{"bmc150_in_mount_matrix",
                   layouts::bmc150,
                   SensorKind::Accelerometer,
                   {0.0, -0.9995652, 0.0}},
        ReadingRow{"mxc4005_in_mount_matrix",
                   layouts::mxc4005,
                   SensorKind::Accelerometer,
                   {-0.1954184, 0.9770921, 0.1465638}},
        ReadingRow{"ak09911_upside_down_reads_30_not_330",
                   layouts::ak09911,
                   SensorKind::Magnetometer,
                   {29.886527}},
        ReadingRow{"apds9960_clear_intensity", layouts::apds9960, SensorKind::Light, {420.0}},
        ReadingRow{"isl29018_processed_lux", layouts::isl29018, SensorKind::Light, {150.0}}));

std::map<std::string, std::string> axes(const std::string& pattern, const std::string& x,
                                        std::map<std::string, std::string> extra = {}) {
    for (const char* a : {"x", "y", "z"}) {
        std::string name = pattern;
        name.replace(name.find("%a"), 2, a);
        extra.emplace(name, a[0] == 'x' ? x : "0");
    }
    return extra;
}

// Every alternative name of the channel table and every place a scale, offset or mount
// matrix can be, with the better one present beside the worse where the table has an order.
INSTANTIATE_TEST_SUITE_P(
    Variants, IioReading,
    ::testing::Values(
        ReadingRow{"input_wins_over_raw",
                   {"d", axes("in_accel_%a_input", "9.80665", axes("in_accel_%a_raw", "5"))},
                   SensorKind::Accelerometer,
                   {1, 0, 0}},
        ReadingRow{"raw_without_scale",
                   {"d", axes("in_accel_%a_raw", "19.6133")},
                   SensorKind::Accelerometer,
                   {2, 0, 0}},
        ReadingRow{"channel_scale_over_type_dir_and_shared",
                   {"d", axes("in_accel_%a_raw", "100",
                              {{"in_accel_x_scale", "0.0980665"},
                               {"in_accel_y_scale", "1"},
                               {"in_accel_z_scale", "1"},
                               {"in_accel_scale", "7"},
                               {"in_scale", "8"},
                               {"scale", "9"}})},
                   SensorKind::Accelerometer,
                   {1, 0, 0}},
        ReadingRow{
            "type_scale_over_dir_and_shared",
            {"d", axes("in_accel_%a_raw", "100",
                       {{"in_accel_scale", "0.0980665"}, {"in_scale", "8"}, {"scale", "9"}})},
            SensorKind::Accelerometer,
            {1, 0, 0}},
        ReadingRow{
            "dir_scale_over_shared",
            {"d", axes("in_accel_%a_raw", "100", {{"in_scale", "0.0980665"}, {"scale", "9"}})},
            SensorKind::Accelerometer,
            {1, 0, 0}},
        ReadingRow{"channel_offset_over_type_and_shared",
                   {"d", axes("in_accel_%a_raw", "90",
                              {{"in_accel_scale", "0.0980665"},
                               {"in_accel_x_offset", "10"},
                               {"in_accel_offset", "-50"},
                               {"offset", "-60"}})},
                   SensorKind::Accelerometer,
                   {1, -0.5, -0.5}},
        ReadingRow{"shared_offset",
                   {"d", axes("in_accel_%a_raw", "90", {{"scale", "0.0980665"}, {"offset", "10"}})},
                   SensorKind::Accelerometer,
                   {1, 0.1, 0.1}},
        ReadingRow{"type_matrix_over_dir_and_shared",
                   {"d", axes("in_accel_%a_input", "9.80665",
                              {{"in_accel_mount_matrix", "0, 0, 0; 1, 0, 0; 0, 0, 1"},
                               {"in_mount_matrix", "-1, 0, 0; 0, 1, 0; 0, 0, 1"},
                               {"mount_matrix", "0, 1, 0; 1, 0, 0; 0, 0, 1"}})},
                   SensorKind::Accelerometer,
                   {-1, 0, 0}},
        ReadingRow{"unparsable_matrix_falls_to_shared",
                   {"d", axes("in_anglvel_%a_input", "1",
                              {{"in_anglvel_mount_matrix", "1, 0; 0, 1"},
                               {"mount_matrix", "0, 0, 1; 0, 1, 0; 1, 0, 0"}})},
                   SensorKind::Gyrometer,
                   {0, 0, 57.29578}},
        ReadingRow{"type_matrix_wins",
                   {"d", axes("in_accel_%a_input", "9.80665",
                              {{"in_accel_mount_matrix", "0, 1, 0; 1, 0, 0; 0, 0, 1"},
                               {"in_mount_matrix", "-1, 0, 0; 0, 1, 0; 0, 0, 1"}})},
                   SensorKind::Accelerometer,
                   {0, 1, 0}},
        ReadingRow{
            "anglvel_raw_type_scale",
            {"d", axes("in_anglvel_%a_raw", "100", {{"in_anglvel_scale", "0.0174532925199433"}})},
            SensorKind::Gyrometer,
            {100, 0, 0}},
        ReadingRow{"tilt_comp_input_over_plain",
                   {"d",
                    {{"in_rot_from_north_magnetic_tilt_comp_input", "45"},
                     {"in_rot_from_north_magnetic_input", "10"}}},
                   SensorKind::Magnetometer,
                   {45}},
        ReadingRow{"tilt_comp_raw_own_scale_wraps",
                   {"d",
                    {{"in_rot_from_north_magnetic_tilt_comp_raw", "4500"},
                     {"in_rot_from_north_magnetic_tilt_comp_scale", "0.1"},
                     {"in_rot_scale", "9"}}},
                   SensorKind::Magnetometer,
                   {90}},
        ReadingRow{"plain_heading_negative_wraps",
                   {"d", {{"in_rot_from_north_magnetic_input", "-90"}}},
                   SensorKind::Magnetometer,
                   {270}},
        ReadingRow{"plain_heading_raw_type_scale",
                   {"d", {{"in_rot_from_north_magnetic_raw", "1000"}, {"in_rot_scale", "0.001"}}},
                   SensorKind::Magnetometer,
                   {1}},
        ReadingRow{"heading_over_field",
                   {"d", axes("in_magn_%a_raw", "-30", {{"in_rot_from_north_magnetic_raw", "12"}})},
                   SensorKind::Magnetometer,
                   {12}},
        ReadingRow{"field_north",
                   {"d", axes("in_magn_%a_raw", "0", {{"in_magn_y_raw", "30"}})},
                   SensorKind::Magnetometer,
                   {0}},
        ReadingRow{
            "field_east", {"d", axes("in_magn_%a_input", "-0.3")}, SensorKind::Magnetometer, {90}},
        ReadingRow{"illuminance_input_over_raw",
                   {"d", {{"in_illuminance_input", "50.5"}, {"in_illuminance_raw", "7"}}},
                   SensorKind::Light,
                   {50.5}},
        ReadingRow{"illuminance0_input",
                   {"d", {{"in_illuminance0_input", "12"}}},
                   SensorKind::Light,
                   {12}},
        ReadingRow{"illuminance0_raw_own_scale",
                   {"d",
                    {{"in_illuminance0_raw", "400"},
                     {"in_illuminance0_scale", "0.5"},
                     {"in_illuminance_scale", "9"}}},
                   SensorKind::Light,
                   {200}},
        ReadingRow{"illuminance_clear_raw",
                   {"d", {{"in_illuminance_clear_raw", "80"}, {"in_illuminance_scale", "0.5"}}},
                   SensorKind::Light,
                   {40}},
        ReadingRow{"intensity_both_over_clear",
                   {"d",
                    {{"in_intensity_both_raw", "80"},
                     {"in_intensity_clear_raw", "3"},
                     {"in_intensity_scale", "0.5"}}},
                   SensorKind::Light,
                   {40}},
        ReadingRow{"intensity", {"d", {{"in_intensity_raw", "7"}}}, SensorKind::Light, {7}}));

// A number that cannot be read or is not finite is never replaced by 1 or 0: the update
// fails and the state is an error.
TEST_F(Iio, UnusableNumbersAreErrorsNeverDefaults) {
    const std::map<std::string, std::string> rows[] = {
        axes("in_accel_%a_raw", "1000", {{"in_accel_scale", "nan"}}),
        axes("in_accel_%a_raw", "1000", {{"in_accel_scale", "0.01"}, {"in_accel_offset", "inf"}}),
        axes("in_accel_%a_raw", "1e308", {{"scale", "1e10"}}),
        axes("in_accel_%a_raw", "1000", {{"in_accel_scale", ""}}),
    };
    for (const auto& attributes : rows) {
        sysfs_.addDevice(0, "bad", attributes);
        vek::Array<std::unique_ptr<Accelerometer>> accels;
        ASSERT_TRUE(getAccelerometers(accels));
        ASSERT_EQ(accels.size(), 1u);
        EXPECT_FALSE(accels[0]->update()) << attributes.rbegin()->first;
        SensorState state{};
        accels[0]->m_pSensor->GetState(&state);
        EXPECT_EQ(state, SENSOR_STATE_ERROR);
        fs::remove_all(sysfs_.device(0));
    }
    // A scale that is a folder cannot be read at all.
    sysfs_.addDevice(0, "dir", axes("in_accel_%a_raw", "1000"));
    fs::create_directories(sysfs_.device(0) / "in_accel_scale");
    vek::Array<std::unique_ptr<Accelerometer>> accels;
    ASSERT_TRUE(getAccelerometers(accels));
    EXPECT_FALSE(accels[0]->update());
}

// Proximity: one case per driver and value name, through the bridge, with the report's notes.
struct ProximityRow {
    const char* label;
    DriverLayout layout;
    bool detected;
    unsigned mm;
    const char* note;  // "" when the device leaves none
};

void PrintTo(const ProximityRow& r, std::ostream* os) {
    *os << r.label;
}

class IioProximity : public Iio, public ::testing::WithParamInterface<ProximityRow> {};

TEST_P(IioProximity, FirstReadingThroughTheBridge) {
    const auto& row = GetParam();
    sysfs_.add(0, row.layout);
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
    EXPECT_EQ(seen.load(), row.detected);
    EXPECT_EQ(mm.load(), row.mm);
    const auto notes = backend_->takeNotes(locators[0].toStdString());
    if (*row.note) {
        ASSERT_EQ(notes.size(), 1u);
        EXPECT_NE(notes[0].text.find(row.note), std::string::npos) << notes[0].text;
        EXPECT_FALSE(notes[0].heldElsewhere);
    } else {
        EXPECT_TRUE(notes.empty());
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, IioProximity,
    ::testing::Values(
        ProximityRow{"vl53l0x", layouts::vl53l0x, true, 153, ""},
        ProximityRow{"distance_input", {"d", {{"in_distance_input", "0.2"}}}, true, 200, ""},
        ProximityRow{"distance_beyond_reach",
                     {"d", {{"in_distance0_raw", "2500"}, {"in_distance_scale", "0.001"}}},
                     false,
                     0,
                     ""},
        // Unitless: 100000 / value, within 1..2000; no near level: above 0 is near.
        ProximityRow{"apds9960_no_near_level", layouts::apds9960, true, 556,
                     "no near level from its driver or from udev"},
        ProximityRow{"isl29018_no_near_level", layouts::isl29018, true, 2000, "no near level"},
        ProximityRow{"proximity_input_near_level",
                     {"d", {{"in_proximity_input", "460"}, {"in_proximity_nearlevel", "400"}}},
                     true,
                     217,
                     ""},
        ProximityRow{"below_near_level",
                     {"d", {{"in_proximity_raw", "40"}, {"in_proximity_nearlevel", "50"}}},
                     false,
                     0,
                     ""},
        ProximityRow{"proximity0_at_near_level",
                     {"d", {{"in_proximity0_raw", "50"}, {"in_proximity_nearlevel", "50"}}},
                     true,
                     2000,
                     ""}));

// A device that delivers its values only through its buffer: read from its node, and left as
// it was found (channels, trigger, buffer).
TEST_F(Iio, BufferOnlyDeviceIsReadThroughItsNodeAndLeftAsFound) {
    sysfs_.add(0, layouts::bufferOnlyAccel);
    // One scan: x -160, y 312, z 16280 (little-endian 16 bit), 2 bytes padding, timestamp.
    const std::string scan(
        "\x60\xff\x38\x01\x98\x3f\x00\x00"
        "\x01\x02\x03\x04\x05\x06\x07\x08",
        16);
    sysfs_.addBuffer(0, "bmi160", scan);
    {
        vek::Array<std::unique_ptr<Accelerometer>> accels;
        ASSERT_TRUE(getAccelerometers(accels));
        ASSERT_EQ(accels.size(), 1u);
        ASSERT_TRUE(accels[0]->update());
        EXPECT_NEAR(accels[0]->x, -0.0097656, 1e-6);
        EXPECT_NEAR(accels[0]->y, 0.0190430, 1e-6);
        EXPECT_NEAR(accels[0]->z, 0.9936517, 1e-6);
        EXPECT_EQ(sysfs_.read(0, "buffer/enable"), "1");
        EXPECT_EQ(sysfs_.read(0, "scan_elements/in_accel_y_en"), "1");
        EXPECT_EQ(sysfs_.read(0, "trigger/current_trigger"), "bmi160-dev0");
    }
    EXPECT_EQ(sysfs_.read(0, "buffer/enable"), "0");
    EXPECT_EQ(sysfs_.read(0, "scan_elements/in_accel_y_en"), "0");
    EXPECT_EQ(sysfs_.read(0, "scan_elements/in_timestamp_en"), "1");
    EXPECT_EQ(sysfs_.read(0, "trigger/current_trigger"), "");
}

// The desktop streams the sensor (iio-sensor-proxy has its buffer enabled): access denied, and
// a note that names the device, its holder and how to free it.
TEST_F(Iio, BusyDeviceIsDeniedWithANoteNamingItsHolder) {
    sysfs_.add(0, layouts::bufferOnlyAccel);
    sysfs_.set(0, "buffer/enable", "1");
    sysfs_.addBuffer(0, "bmi160", "");
    std::ifstream holder(sysfs_.devRoot() / "iio:device0");
    vek::Array<std::unique_ptr<Accelerometer>> accels;
    ASSERT_TRUE(getAccelerometers(accels));
    SensorState state{};
    accels[0]->m_pSensor->GetState(&state);
    EXPECT_EQ(state, SENSOR_STATE_ACCESS_DENIED);
    const auto notes = backend_->takeNotes(accels[0]->osLocator().toStdString());
    ASSERT_EQ(notes.size(), 1u);
    EXPECT_TRUE(notes[0].heldElsewhere);
    for (const std::string& part :
         {std::string("iio:device0 (bmi160) is busy"), "(pid " + std::to_string(::getpid()) + ")",
          std::string("systemctl stop iio-sensor-proxy")}) {
        EXPECT_NE(notes[0].text.find(part), std::string::npos) << notes[0].text;
    }
    EXPECT_EQ(sysfs_.read(0, "buffer/enable"), "1") << "another program's buffer is left alone";
}

// An attribute that never answers (a FIFO nobody writes) costs its time bound, never a hang.
TEST_F(Iio, SilentAttributesCostTheirTimeBound) {
    IioBackend::setReadTimeout(std::chrono::milliseconds(100));
    for (const char* silent : {"in_accel_x_raw", "in_accel_scale", "name"}) {
        sysfs_.add(0, layouts::hidAccel3d);
        const fs::path fifo = sysfs_.makeSilent(0, silent);
        const auto start = std::chrono::steady_clock::now();
        const auto sensors = installedBackend()->sensors();
        ASSERT_EQ(sensors.size(), 1u) << silent;
        vek::Array<std::unique_ptr<Accelerometer>> accels;
        ASSERT_TRUE(getAccelerometers(accels));
        SensorState state{};
        accels[0]->m_pSensor->GetState(&state);
        const bool valueSilent = std::string(silent) != "name";
        EXPECT_EQ(state, valueSilent ? SENSOR_STATE_INITIALIZING : SENSOR_STATE_READY) << silent;
        EXPECT_EQ(sensors[0].name, valueSilent ? "accel_3d" : "iio:device0");
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2)) << silent;
        // Let the stuck open finish so that no thread outlives the case.
        const int writer = ::open(fifo.c_str(), O_WRONLY | O_NONBLOCK);
        if (writer >= 0)
            ::close(writer);
        accels.clear();
        fs::remove_all(sysfs_.device(0));
    }
}

TEST_F(Iio, RemovedDeviceIsNotAvailableAndNoLongerListed) {
    sysfs_.add(0, layouts::hidAccel3d);
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
    sysfs_.add(0, layouts::hidAccel3d);
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
    sysfs_.add(0, layouts::hidAccel3d);
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
    sysfs_.add(0, layouts::hidAccel3d);
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

namespace {

// Run under umockdev-run with umockdev/hwdb-quirks.umockdev (see CMakeLists.txt): udev's
// properties from systemd's hwdb fill in what these drivers lack.
TEST(Umockdev, UdevPropertiesFillWhatTheDriverLacks) {
    if (!std::getenv("UMOCKDEV_DIR"))
        GTEST_SKIP() << "runs under umockdev-run only";
    installBackend(std::make_shared<IioBackend>());
    // ACCEL_MOUNT_MATRIX turns x into -y, as on the machine it was written for.
    const auto accel = readOne(SensorKind::Accelerometer);
    ASSERT_EQ(accel.size(), 3u);
    EXPECT_NEAR(accel[0], 0.0, 1e-9);
    EXPECT_NEAR(accel[1], -0.9995652, 1e-6);
    // PROXIMITY_NEAR_LEVEL 100: a reading of 80 is not near; without it, it would be.
    const auto locators = libTarra::ProximitySensorEnumerator::getOsLocators(1000);
    ASSERT_EQ(locators.size(), 1u);
    std::atomic<int> count{0};
    std::atomic<bool> seen{true};
    ASSERT_TRUE(libTarra::ProximitySensorRunner::runSensorAsync(
        locators[0], [&](bool d, unsigned) { seen = d, ++count; }, [] {}));
    for (int i = 0; i < 500 && count.load() == 0; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    libTarra::ProximitySensorRunner::stopSensor();
    EXPECT_GT(count.load(), 0);
    EXPECT_FALSE(seen.load());
    installBackend(nullptr);
}

}  // namespace
