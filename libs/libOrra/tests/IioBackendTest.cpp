#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <thread>

#include "../src/iio/BoundedReader.h"
#include "CountingSink.h"
#include "FakeSysfs.h"
#include "TableRows.h"
#include "Unprivileged.h"
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
        inUse_.reset();
        IioBackend::setReadTimeout(std::chrono::milliseconds(1000));
    }
    void install() {
        backend_ = std::make_shared<IioBackend>(sysfs_.root(), sysfs_.devRoot());
        inUse_.reset();
        inUse_.emplace(backend_);
    }
    // The tree's one accelerometer, opened (held in accels_).
    Accelerometer& accel() {
        EXPECT_TRUE(getAccelerometers(accels_));
        return *accels_[0];
    }
    static SensorState stateOf(Accelerometer& a) {
        SensorState state{};
        a.m_pSensor->GetState(&state);
        return state;
    }
    vek::Array<std::unique_ptr<Accelerometer>> accels_;
    std::shared_ptr<IioBackend> backend_;
    std::optional<SensorsInUse> inUse_;
    FakeSysfs sysfs_;
};

// The reading of the tree's one record of a kind (x, y, z; heading; lux), or nothing when there
// is not exactly one or it does not update.
template <typename Record, typename Values>
std::vector<double> readOnly(bool (*get)(vek::Array<std::unique_ptr<Record>>&), Values values) {
    vek::Array<std::unique_ptr<Record>> records;
    if (!get(records) || records.size() != 1 || !records[0]->update())
        return {};
    return values(*records[0]);
}

std::vector<double> readOne(SensorKind kind) {
    const auto vector = [](auto& r) { return std::vector{r.x, r.y, r.z}; };
    switch (kind) {
        case SensorKind::Accelerometer:
            return readOnly(getAccelerometers, vector);
        case SensorKind::Gyrometer:
            return readOnly(getGyrometers, vector);
        case SensorKind::Magnetometer:
            return readOnly(getMagnetometers,
                            [](Magnetometer& r) { return std::vector{r.heading}; });
        case SensorKind::Light:
            return readOnly(getAmbientLightSensors,
                            [](AmbientLightSensor& r) { return std::vector{double(r.lux)}; });
        case SensorKind::Proximity:
            break;
    }
    return {};
}

// The tables of iio_cases.json: real drivers' layouts (by name, see DriverLayouts.h) and the
// variants of the channel table, each with the reading worked out by hand from its attributes;
// no reading at all where a number cannot be read or is not finite (never a default 1 or 0).
using vekr::testing::TableRow;
using vekr::testing::tableRows;

DriverLayout layoutOf(const nlohmann::json& entry) {
    if (entry.contains("layout"))
        return layouts::named(entry["layout"]);
    return {"d", entry.at("attributes").get<std::map<std::string, std::string>>()};
}

class IioReading : public Iio, public ::testing::WithParamInterface<TableRow> {};

TEST_P(IioReading, ArrivesInTheModulesUnits) {
    const auto& entry = GetParam().entry;
    sysfs_.add(0, layoutOf(entry));
    const auto got = readOne(*kindFromName(entry.at("kind").get<std::string>()));
    const auto expected = entry.at("expected").get<std::vector<double>>();
    ASSERT_EQ(got.size(), expected.size());
    for (std::size_t i = 0; i < got.size(); ++i)
        EXPECT_NEAR(got[i], expected[i], 1e-5) << "axis " << i;
}

INSTANTIATE_TEST_SUITE_P(Table, IioReading,
                         ::testing::ValuesIn(tableRows(VEKR_TEST_DATA "/iio_cases.json",
                                                       "readings")),
                         vekr::testing::rowLabel);

// Polls until `done`, for as long as only a fault would take (a loaded machine is slow, not
// wrong).
void waitUntil(const std::function<bool()>& done) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!done() && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
}

// The first proximity reading of the only sensor, through the bridge: detected and mm.
std::optional<std::pair<bool, unsigned>> firstProximityReading(vek::String& locator) {
    const auto locators = libTarra::ProximitySensorEnumerator::getOsLocators(
        30000);  // a bound only a broken tree reaches
    if (locators.size() != 1)
        return std::nullopt;
    locator = locators[0];
    std::atomic<int> count{0};
    std::atomic<bool> seen{false};
    std::atomic<unsigned> mm{0};
    libTarra::ProximitySensorRunner::runSensorAsync(
        locator,
        [&](bool d, unsigned m) {
            if (count.load() == 0)
                seen = d, mm = m;
            ++count;
        },
        [] {});
    waitUntil([&] { return count.load() > 0; });
    libTarra::ProximitySensorRunner::stopSensor();
    if (count.load() == 0)
        return std::nullopt;
    return std::pair(seen.load(), mm.load());
}

// Proximity: one case per driver and value name, through the bridge, with the report's notes.
class IioProximity : public Iio, public ::testing::WithParamInterface<TableRow> {};

TEST_P(IioProximity, FirstReadingThroughTheBridge) {
    const auto& entry = GetParam().entry;
    sysfs_.add(0, layoutOf(entry));
    vek::String locator;
    const auto reading = firstProximityReading(locator);
    ASSERT_TRUE(reading);
    EXPECT_EQ(reading->first, entry.at("detected").get<bool>());
    EXPECT_EQ(reading->second, entry.at("mm").get<unsigned>());
    const auto notes = backend_->takeNotes(locator.toStdString());
    const std::string note = entry.at("note");
    if (!note.empty()) {
        ASSERT_EQ(notes.size(), 1u);
        EXPECT_NE(notes[0].text.find(note), std::string::npos) << notes[0].text;
        EXPECT_FALSE(notes[0].heldElsewhere);
    } else {
        EXPECT_TRUE(notes.empty());
    }
}

INSTANTIATE_TEST_SUITE_P(Table, IioProximity,
                         ::testing::ValuesIn(tableRows(VEKR_TEST_DATA "/iio_cases.json",
                                                       "proximity")),
                         vekr::testing::rowLabel);

// A device that delivers its values only through its buffer: read from its node, and left as
// it was found (channels, trigger, buffer).
TEST_F(Iio, BufferOnlyDeviceIsReadThroughItsNodeAndLeftAsFound) {
    sysfs_.add(0, layouts::named("bufferOnlyAccel"));
    // One scan: x -160, y 312, z 16280 (little-endian 16 bit), 2 bytes padding, timestamp.
    const std::string scan(
        "\x60\xff\x38\x01\x98\x3f\x00\x00"
        "\x01\x02\x03\x04\x05\x06\x07\x08",
        16);
    sysfs_.addBuffer(0, "bmi160", scan);
    Accelerometer& a = accel();
    ASSERT_TRUE(a.update());
    EXPECT_NEAR(a.x, -0.0097656, 1e-6);
    EXPECT_NEAR(a.y, 0.0190430, 1e-6);
    EXPECT_NEAR(a.z, 0.9936517, 1e-6);
    EXPECT_EQ(sysfs_.read(0, "buffer/enable"), "1");
    EXPECT_EQ(sysfs_.read(0, "scan_elements/in_accel_y_en"), "1");
    EXPECT_EQ(sysfs_.read(0, "trigger/current_trigger"), "bmi160-dev0");
    accels_.clear();
    EXPECT_EQ(sysfs_.read(0, "buffer/enable"), "0");
    EXPECT_EQ(sysfs_.read(0, "scan_elements/in_accel_y_en"), "0");
    EXPECT_EQ(sysfs_.read(0, "scan_elements/in_timestamp_en"), "1");
    EXPECT_EQ(sysfs_.read(0, "trigger/current_trigger"), "");
}

// The desktop streams the sensor (iio-sensor-proxy has its buffer enabled): access denied, a
// note that says so (its words are the busy_buffer command-line case's), and the other
// program's buffer left alone.
TEST_F(Iio, BusyDeviceIsDeniedAndLeftAsFound) {
    sysfs_.add(0, layouts::named("bufferOnlyAccel"));
    sysfs_.set(0, "buffer/enable", "1");
    sysfs_.addBuffer(0, "bmi160", "");
    std::ifstream holder(sysfs_.devRoot() / "iio:device0");
    Accelerometer& a = accel();
    EXPECT_EQ(stateOf(a), SENSOR_STATE_ACCESS_DENIED);
    const auto notes = backend_->takeNotes(a.osLocator().toStdString());
    ASSERT_EQ(notes.size(), 1u);
    EXPECT_TRUE(notes[0].heldElsewhere);
    EXPECT_EQ(sysfs_.read(0, "buffer/enable"), "1") << "another program's buffer is left alone";
}

TEST_F(Iio, RemovedDeviceIsNotAvailableAndNoLongerListed) {
    sysfs_.add(0, layouts::named("hidAccel3d"));
    Accelerometer& a = accel();
    fs::remove_all(sysfs_.device(0));
    EXPECT_EQ(stateOf(a), SENSOR_STATE_NOT_AVAILABLE);
    vek::Array<std::unique_ptr<Accelerometer>> again;
    ASSERT_TRUE(getAccelerometers(again));
    EXPECT_EQ(again.size(), 0u);
}

TEST_F(Iio, GarbageInAnAttributeFailsTheUpdateAndReportsAnError) {
    sysfs_.add(0, layouts::named("hidAccel3d"));
    Accelerometer& a = accel();
    ASSERT_TRUE(a.update());
    sysfs_.set(0, "in_accel_y_raw", "not a number");
    EXPECT_FALSE(a.update());
    EXPECT_EQ(stateOf(a), SENSOR_STATE_ERROR);
    sysfs_.set(0, "in_accel_y_raw", "15");
    EXPECT_TRUE(a.update()) << "the held descriptor reads the new text";
}

TEST_F(Iio, UnreadableAttributeIsAccessDenied) {
    sysfs_.add(0, layouts::named("hidAccel3d"));
    fs::permissions(sysfs_.device(0) / "in_accel_x_raw", fs::perms::none);
    EXPECT_EQ(vekr::testing::asUnprivileged([this] { return int(stateOf(accel())); }),
              SENSOR_STATE_ACCESS_DENIED);
}

// What the orientation check matches its hwdb entry by: the matrix in force (the driver's
// here), the parent device's modalias, and the svn and pn fields of a real DMI modalias
// (an ASUS T100TA's).
TEST_F(Iio, MountingNamesTheMatrixTheParentAndTheMachine) {
    sysfs_.add(0, layouts::named("bmc150"));
    std::ofstream(sysfs_.device(0).parent_path() / "modalias") << "acpi:BOSC0200:BOSC0200:\n";
    std::filesystem::create_directories(sysfs_.root() / "class/dmi/id");
    std::ofstream(sysfs_.root() / "class/dmi/id/modalias")
        << "dmi:bvnAmericanMegatrendsInc.:bvrT100TA.307:bd07/20/2015:br5.6:"
           "svnASUSTeKCOMPUTERINC.:pnT100TA:pvr1.0:rvnASUSTeKCOMPUTERINC.:rnT100TA:rvr1.0:"
           "cvnASUSTeKCOMPUTERINC.:ct10:cvr:\n";
    const auto m = backend_->mounting(backend_->sensors().at(0).locator);
    ASSERT_TRUE(m);
    EXPECT_EQ(m->applied, (std::array<double, 9>{0, 1, 0, -1, 0, 0, 0, 0, 1}));
    EXPECT_EQ(m->source, "in_mount_matrix \"0, 1, 0; -1, 0, 0; 0, 0, 1\"");
    EXPECT_EQ(m->parentModalias, "acpi:BOSC0200:BOSC0200:");
    EXPECT_EQ(m->dmiVendor, "ASUSTeKCOMPUTERINC.");
    EXPECT_EQ(m->dmiProduct, "T100TA");
    EXPECT_EQ(m->node, "/dev/iio:device0");
}

// The device report names each number by the attribute it came from and that attribute's place
// in the kernel's naming, for each place a driver may publish it in (the channel table's
// variants, as in iio_cases.json).
TEST_F(Iio, ExplainNamesEachNumbersAttributeAndItsPlace) {
    struct Row {
        SensorKind kind;
        std::map<std::string, std::string> attributes;
        const char* line;
    };
    const Row rows[] = {
        {SensorKind::Accelerometer,
         {{"in_accel_x_raw", "1"},
          {"in_accel_y_raw", "0"},
          {"in_accel_z_raw", "0"},
          {"in_accel_x_scale", "0.5"},
          {"in_accel_scale", "7"},
          {"in_accel_x_offset", "2"}},
         "x: in_accel_x_raw, scale in_accel_x_scale (channel) 0.5, offset in_accel_x_offset "
         "(channel) 2"},
        {SensorKind::Accelerometer,
         {{"in_accel_x_raw", "1"},
          {"in_accel_y_raw", "0"},
          {"in_accel_z_raw", "0"},
          {"in_scale", "0.25"},
          {"scale", "9"},
          {"offset", "0"}},
         "x: in_accel_x_raw, scale in_scale (direction) 0.25, offset offset (shared) 0"},
        {SensorKind::Light,
         {{"in_illuminance0_raw", "400"},
          {"in_illuminance0_scale", "0.5"},
          {"in_illuminance_scale", "9"}},
         "value: in_illuminance0_raw, scale in_illuminance0_scale (channel) 0.5, offset none"},
        {SensorKind::Proximity,
         {{"in_proximity0_raw", "50"}, {"in_proximity0_nearlevel", "50"}},
         "near level: in_proximity0_nearlevel (channel) 50"},
        {SensorKind::Proximity,
         {{"in_proximity_raw", "50"}, {"nearlevel", "40"}},
         "near level: nearlevel (shared) 40"},
    };
    int n = 0;
    for (const Row& row : rows) {
        sysfs_.addDevice(n, "d", row.attributes);
        const auto lines = backend_->explain(row.kind, backend_->sensors().at(0).locator);
        EXPECT_NE(std::find(lines.begin(), lines.end(), row.line), lines.end())
            << row.line << "\n"
            << testing::PrintToString(lines);
        fs::remove_all(sysfs_.device(n++));
    }
}

TEST_F(Iio, NoIioBusIsAMachineWithoutSensors) {
    vek::Array<std::unique_ptr<Gyrometer>> gyros;
    EXPECT_TRUE(getGyrometers(gyros));
    EXPECT_EQ(gyros.size(), 0u);
}

TEST_F(Iio, AttachedSinkReceivesDataEventsFromTheSensorsThread) {
    sysfs_.add(0, layouts::named("hidAccel3d"));
    sysfs_.set(0, "in_accel_sampling_frequency", "100");
    vekr::testing::CountingSink sink;
    Accelerometer& a = accel();
    a.m_pSensor->SetEventSink(&sink);
    waitUntil([&] { return sink.reports.load() >= 3; });
    a.m_pSensor->SetEventSink(nullptr);
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
