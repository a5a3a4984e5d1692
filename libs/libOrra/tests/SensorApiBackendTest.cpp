// The Sensor API backend's module side (SensorApiBackend.cpp) over a stand-in of its COM layer
// (SapiSensors.h), which the Windows build implements with the real Sensor API: the mapping of
// kinds, states and readings onto the module's, and the hand-off of events from the Sensor
// API's threads to the thread that reads the sensor.

#include <gtest/gtest.h>

#include <map>
#include <thread>

#include "../src/sensorapi/SensorApiBackend.h"
#include "CountingSink.h"

namespace libOrra::sapi {

// What the stand-in serves: set by each test before it opens the backend.
struct FakeServed {
    std::string locator, name;
    std::int32_t state = kReady;
    std::int32_t stateHr = 0;
    std::optional<SapiReading> reading;
    std::shared_ptr<SapiMailbox> mailbox = std::make_shared<SapiMailbox>();
};
struct FakeWorld {
    std::int32_t openHr = 0;
    std::map<SapiType, std::vector<FakeServed>> sensors;
};
FakeWorld g_world;

struct SapiSensor::Impl {
    SapiType type;
    FakeServed served;
};
SapiSensor::SapiSensor(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
SapiSensor::~SapiSensor() = default;
SapiType SapiSensor::type() const {
    return impl_->type;
}
const std::string& SapiSensor::locator() const {
    return impl_->served.locator;
}
const std::string& SapiSensor::name() const {
    return impl_->served.name;
}
SapiMailbox& SapiSensor::mailbox() {
    return *impl_->served.mailbox;
}
std::int32_t SapiSensor::state(std::int32_t* out) {
    if (impl_->served.stateHr >= 0)
        *out = impl_->served.state;
    return impl_->served.stateHr;
}
bool SapiSensor::read(SapiReading& out) {
    if (!impl_->served.reading)
        return false;
    out = *impl_->served.reading;
    return true;
}

struct SapiManager::Impl {};
SapiManager::SapiManager(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
SapiManager::~SapiManager() = default;
std::shared_ptr<SapiManager> SapiManager::open(std::int32_t* hr) {
    *hr = g_world.openHr;
    return g_world.openHr < 0 ? nullptr : std::make_shared<SapiManager>(std::make_unique<Impl>());
}
bool SapiManager::sensors(SapiType type, std::vector<std::unique_ptr<SapiSensor>>& out,
                          std::int32_t*) {
    out.clear();
    for (const auto& served : g_world.sensors[type])
        out.push_back(std::make_unique<SapiSensor>(
            std::make_unique<SapiSensor::Impl>(SapiSensor::Impl{type, served})));
    return true;
}
std::int32_t enterComOnThisThread() {
    return 0;
}

}  // namespace libOrra::sapi

namespace libOrra {
namespace {

using sapi::g_world;
using sapi::SapiType;

class SensorApiBackendTest : public ::testing::Test {
protected:
    void SetUp() override { g_world = {}; }
    void TearDown() override { g_world = {}; }
};

TEST_F(SensorApiBackendTest, ReadingsReachTheModuleInItsUnits) {
    g_world.sensors[SapiType::Accelerometer3D].push_back(
        {"\\\\?\\ACPI#BOSC0200#0", "Fake Accelerometer", sapi::kReady, 0,
         sapi::SapiReading{0.5, -0.25, -1.0, 0.0f, 0.0, false}});
    g_world.sensors[SapiType::Compass3D].push_back({"{6A0E8F4C-0000}", "Fake Compass", sapi::kReady,
                                                    0,
                                                    sapi::SapiReading{0, 0, 0, 0.0f, 123.5, true}});
    SensorApiBackend backend;
    std::vector<std::unique_ptr<SensorDevice>> devices;
    std::vector<SensorInfo> infos;
    ASSERT_TRUE(backend.open(SensorKind::Accelerometer, devices, infos));
    ASSERT_EQ(devices.size(), 1u);
    EXPECT_EQ(infos[0].locator, "\\\\?\\ACPI#BOSC0200#0");
    EXPECT_EQ(infos[0].name, "Fake Accelerometer");
    Sample s;
    ASSERT_TRUE(devices[0]->read(s));
    EXPECT_DOUBLE_EQ(s.x, 0.5);
    EXPECT_DOUBLE_EQ(s.y, -0.25);
    EXPECT_DOUBLE_EQ(s.z, -1.0);
    ASSERT_TRUE(backend.open(SensorKind::Magnetometer, devices, infos));
    ASSERT_EQ(devices.size(), 1u);
    ASSERT_TRUE(devices[0]->read(s));
    EXPECT_DOUBLE_EQ(s.heading, 123.5);
    EXPECT_TRUE(s.headingValid);
    EXPECT_EQ(backend.sensors().size(), 2u);
}

TEST_F(SensorApiBackendTest, StatesAndTheirFailuresAreTheSensorsOwn) {
    g_world.sensors[SapiType::AmbientLight] = {
        {"a", "", sapi::kAccessDenied, 0, std::nullopt},
        {"b", "", 77, 0, std::nullopt},
        {"c", "", sapi::kReady, static_cast<std::int32_t>(0x80070005u), std::nullopt}};
    SensorApiBackend backend;
    std::vector<std::unique_ptr<SensorDevice>> devices;
    std::vector<SensorInfo> infos;
    ASSERT_TRUE(backend.open(SensorKind::Light, devices, infos));
    ASSERT_EQ(devices.size(), 3u);
    SensorState state = SENSOR_STATE_READY;
    EXPECT_EQ(devices[0]->sensor()->GetState(&state), S_OK);
    EXPECT_EQ(state, SENSOR_STATE_ACCESS_DENIED);
    EXPECT_EQ(devices[1]->sensor()->GetState(&state), S_OK);
    EXPECT_EQ(static_cast<int>(state), 77);
    EXPECT_EQ(devices[2]->sensor()->GetState(&state), E_ACCESSDENIED);
    Sample s;
    EXPECT_FALSE(devices[0]->read(s));
}

TEST_F(SensorApiBackendTest, NoProximityIsOfferedAndAPersonIsToldWhy) {
    g_world.sensors[SapiType::Gyrometer3D].push_back({"g", "", sapi::kReady, 0, std::nullopt});
    SensorApiBackend backend;
    std::vector<std::unique_ptr<SensorDevice>> devices;
    std::vector<SensorInfo> infos;
    EXPECT_TRUE(backend.open(SensorKind::Proximity, devices, infos));
    EXPECT_TRUE(devices.empty());
    EXPECT_EQ(backend.openProximity("g"), nullptr);
    EXPECT_NE(backend.lookedIn().find("no proximity support"), std::string::npos);
    EXPECT_NE(backend.unsupported(SensorKind::Proximity).find("no proximity support"),
              std::string::npos);
    EXPECT_EQ(backend.unsupported(SensorKind::Gyrometer), "");
}

TEST_F(SensorApiBackendTest, WithoutASensorManagerEnumerationFailsAndSaysWhy) {
    g_world.openHr = static_cast<std::int32_t>(0x80040154u);  // REGDB_E_CLASSNOTREG
    SensorApiBackend backend;
    std::vector<std::unique_ptr<SensorDevice>> devices;
    std::vector<SensorInfo> infos;
    EXPECT_FALSE(backend.open(SensorKind::Accelerometer, devices, infos));
    EXPECT_TRUE(backend.sensors().empty());
    EXPECT_NE(backend.lookedIn().find("0x80040154"), std::string::npos);
}

// The Sensor API raises its events on threads of its own: they reach the module's sink only
// on the thread that reads the sensor, once each.
TEST_F(SensorApiBackendTest, EventsFromAnotherThreadReachTheSinkOnTheReadersThread) {
    sapi::FakeServed served{"l", "", sapi::kReady, 0, sapi::SapiReading{}};
    const auto mailbox = served.mailbox;
    g_world.sensors[SapiType::AmbientLight].push_back(served);
    SensorApiBackend backend;
    std::vector<std::unique_ptr<SensorDevice>> devices;
    std::vector<SensorInfo> infos;
    ASSERT_TRUE(backend.open(SensorKind::Light, devices, infos));
    ASSERT_EQ(devices.size(), 1u);
    vekr::testing::CountingSink sink;
    devices[0]->sensor()->SetEventSink(&sink);
    std::thread sensorApi([&] {
        for (int i = 0; i < 5; ++i)
            mailbox->dataUpdated();
    });
    sensorApi.join();
    EXPECT_EQ(sink.reports.load(), 0);  // nothing yet: the reader has not asked
    SensorState state;
    devices[0]->sensor()->GetState(&state);
    EXPECT_EQ(sink.reports.load(), 5);
    mailbox->dataUpdated();
    Sample s;
    EXPECT_TRUE(devices[0]->read(s));
    EXPECT_EQ(sink.reports.load(), 6);
    devices[0]->sensor()->SetEventSink(nullptr);
}

}  // namespace
}  // namespace libOrra
