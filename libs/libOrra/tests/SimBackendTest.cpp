#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>

#include "CountingSink.h"
#include "libOrra/Records.h"
#include "libOrra/SimBackend.h"
#include "libTarra/Proximity.h"
#include "platform/Display.h"
#include "vek/Clock.h"

namespace {

using namespace libOrra;

// A simulated machine on a manual clock, installed for the process.
class SimMachine : public ::testing::Test {
protected:
    void SetUp() override { vek::Clock::installForTesting(&clock_); }
    void TearDown() override {
        installBackend(nullptr);
        vek::Clock::installForTesting(nullptr);
    }
    std::shared_ptr<SimBackend> load(const char* json) {
        auto backend = std::make_shared<SimBackend>(parseScenario(json, "test.json"));
        installBackend(backend);
        backend->testStarting();
        return backend;
    }
    void advance(double seconds) {
        clock_.advance(std::chrono::duration_cast<std::chrono::nanoseconds>(
            std::chrono::duration<double>(seconds)));
    }
    vek::ManualClock clock_;
};

TEST_F(SimMachine, StatesAndUpdatesFollowTheirSequencesAndTheLastRepeats) {
    load(R"({"sensors": [{"kind": "accelerometer", "locator": "A",
              "states": ["INITIALIZING", "READY"],
              "updates": [{"fail": true}, {"x": 0.1, "y": 0.2, "z": 0.9}]}]})");
    vek::Array<std::unique_ptr<Accelerometer>> accels;
    ASSERT_TRUE(getAccelerometers(accels));
    ASSERT_EQ(accels.size(), 1u);
    auto& a = *accels[0];
    EXPECT_EQ(a.osLocator().toStdString(), "A");
    SensorState s{};
    const SensorState expected[] = {SENSOR_STATE_INITIALIZING, SENSOR_STATE_READY,
                                    SENSOR_STATE_READY};
    for (SensorState e : expected) {
        a.m_pSensor->GetState(&s);
        EXPECT_EQ(s, e);
    }
    EXPECT_FALSE(a.update());
    EXPECT_TRUE(a.update());
    EXPECT_DOUBLE_EQ(a.z, 0.9);
    EXPECT_TRUE(a.update()) << "the last update repeats";
}

TEST_F(SimMachine, SequencesStartOverForEachTest) {
    auto backend = load(R"({"sensors": [{"kind": "light", "locator": "L",
                             "updates": [{"lux": 1}, {"lux": 2}]}]})");
    vek::Array<std::unique_ptr<AmbientLightSensor>> lights;
    ASSERT_TRUE(getAmbientLightSensors(lights));
    ASSERT_TRUE(lights[0]->update());
    ASSERT_TRUE(lights[0]->update());
    EXPECT_FLOAT_EQ(lights[0]->lux, 2.0f);
    backend->testStarting();
    ASSERT_TRUE(lights[0]->update());
    EXPECT_FLOAT_EQ(lights[0]->lux, 1.0f);
}

TEST_F(SimMachine, GyrometerMotionFollowsTheSensorClock) {
    load(R"({"sensors": [{"kind": "gyrometer", "locator": "G",
              "motion": [{"seconds": 0.6, "rate": [60, 0, 0]},
                         {"seconds": 1.2, "rate": [-60, 0, 5]}]}]})");
    vek::Array<std::unique_ptr<Gyrometer>> gyros;
    ASSERT_TRUE(getGyrometers(gyros));
    auto& g = *gyros[0];
    struct Row {
        double at;
        double x, z;
    };
    double now = 0.0;
    for (const Row& row : {Row{0.0, 60, 0}, Row{0.59, 60, 0}, Row{0.6, -60, 5}, Row{1.79, -60, 5},
                           Row{1.8, 0, 0}, Row{10.0, 0, 0}}) {
        advance(row.at - now);
        now = row.at;
        ASSERT_TRUE(g.update());
        EXPECT_DOUBLE_EQ(g.x, row.x) << row.at;
        EXPECT_DOUBLE_EQ(g.z, row.z) << row.at;
        EXPECT_EQ(g.kind, 2);
    }
}

TEST_F(SimMachine, EnumerationFailureDevicesAndStopRequest) {
    auto backend = load(R"({"sensors": [{"kind": "light", "locator": "L"},
                                        {"kind": "accelerometer", "locator": "A"}],
                            "devices": [{"capability": "Accelerometer", "locator": "a"}],
                            "failEnumeration": ["light"], "stop": {"at": 2.5}})");
    vek::Array<std::unique_ptr<AmbientLightSensor>> lights;
    EXPECT_FALSE(getAmbientLightSensors(lights));
    ASSERT_EQ(backend->devices().size(), 1u);
    EXPECT_EQ(backend->devices()[0].locator, "a") << "the scenario's devices, not the sensors";
    EXPECT_FALSE(backend->stopDue());
    advance(2.5);
    EXPECT_TRUE(backend->stopDue());
    backend->testStarting();
    EXPECT_FALSE(backend->stopDue()) << "measured from each test's start";
}

TEST_F(SimMachine, FaultsToRehearse) {
    load(R"({"sensors": [
        {"kind": "accelerometer", "locator": "A1", "faults": {"failEvery": 3}},
        {"kind": "accelerometer", "locator": "A2", "faults": {"stuckAxis": "z"},
         "updates": [{"z": 0.5}, {"z": 0.9}]},
        {"kind": "accelerometer", "locator": "A3", "faults": {"disappearAt": 1.0}}]})");
    vek::Array<std::unique_ptr<Accelerometer>> accels;
    ASSERT_TRUE(getAccelerometers(accels));
    ASSERT_EQ(accels.size(), 3u);
    std::vector<bool> updates;
    for (int i = 0; i < 6; ++i)
        updates.push_back(accels[0]->update());
    EXPECT_EQ(updates, (std::vector<bool>{true, true, false, true, true, false}));
    ASSERT_TRUE(accels[1]->update());
    ASSERT_TRUE(accels[1]->update());
    EXPECT_DOUBLE_EQ(accels[1]->z, 0.5) << "the stuck axis keeps its first value";
    SensorState s{};
    accels[2]->m_pSensor->GetState(&s);
    EXPECT_EQ(s, SENSOR_STATE_READY);
    advance(1.0);
    accels[2]->m_pSensor->GetState(&s);
    EXPECT_EQ(s, SENSOR_STATE_NOT_AVAILABLE);
    EXPECT_FALSE(accels[2]->update());
    ASSERT_TRUE(getAccelerometers(accels));
    EXPECT_EQ(accels.size(), 2u) << "a vanished sensor is no longer enumerated";
}

TEST_F(SimMachine, HeadingTurnsTowardTheTargetAtItsSpeed) {
    auto backend = load(R"({"sensors": [{"kind": "magnetometer", "locator": "M",
                             "heading": {"start": 350, "follow": "target",
                                         "degreesPerSecond": 10}}]})");
    vek::Array<std::unique_ptr<Magnetometer>> mags;
    ASSERT_TRUE(getMagnetometers(mags));
    auto& m = *mags[0];
    ASSERT_TRUE(m.update());
    EXPECT_DOUBLE_EQ(m.heading, 350.0) << "no target yet";
    EXPECT_TRUE(m.headingValid);
    backend->setHeadingTarget(20.0);
    advance(1.5);
    ASSERT_TRUE(m.update());
    EXPECT_NEAR(m.heading, 5.0, 1e-9) << "the short way round, through north";
    advance(10.0);
    ASSERT_TRUE(m.update());
    EXPECT_NEAR(m.heading, 20.0, 1e-9) << "stops at the target";
}

TEST_F(SimMachine, DisplayRotationComesFromTheScenario) {
    DEVMODEW dm{};
    load(R"({"display": {"rotation": 3}, "sensors": []})");
    ASSERT_EQ(EnumDisplaySettingsW(nullptr, ENUM_CURRENT_SETTINGS, &dm), 1);
    EXPECT_EQ(dm.dmDisplayOrientation, 3u);
    load(R"({"display": {"rotation": null}, "sensors": []})");
    EnumDisplaySettingsW(nullptr, ENUM_CURRENT_SETTINGS, &dm);
    EXPECT_EQ(dm.dmFields & DM_DISPLAYORIENTATION, 0u);
}

TEST_F(SimMachine, DataReportsReachAnAttachedSink) {
    vekr::testing::CountingSink sink;
    load(R"({"sensors": [{"kind": "light", "locator": "L",
              "updates": [{"lux": 1}, {"fail": true}, {"lux": 3}]}]})");
    vek::Array<std::unique_ptr<AmbientLightSensor>> lights;
    ASSERT_TRUE(getAmbientLightSensors(lights));
    lights[0]->m_pSensor->SetEventSink(&sink);
    EXPECT_EQ(sink.refs, 1u);
    EXPECT_EQ(sink.reports, 1) << "a healthy sensor has data as soon as someone listens";
    for (int i = 0; i < 3; ++i)
        lights[0]->update();
    EXPECT_EQ(sink.reports, 3) << "then one report per successful reading";
    lights[0]->m_pSensor->SetEventSink(nullptr);
    EXPECT_EQ(sink.refs, 0u);
    lights[0]->update();
    EXPECT_EQ(sink.reports, 3);
}

TEST_F(SimMachine, ASilentSensorNeverReports) {
    vekr::testing::CountingSink sink;
    load(R"({"sensors": [{"kind": "light", "locator": "L", "updates": [{"lux": 1}],
              "faults": {"silent": true}}]})");
    vek::Array<std::unique_ptr<AmbientLightSensor>> lights;
    ASSERT_TRUE(getAmbientLightSensors(lights));
    lights[0]->m_pSensor->SetEventSink(&sink);
    EXPECT_TRUE(lights[0]->update());
    EXPECT_EQ(sink.reports, 0);
    lights[0]->m_pSensor->SetEventSink(nullptr);
}

// The bridge delivers the scripted proximity readings on its own thread, in real time.
TEST(SimProximity, ReadingsAndErrorArriveFromTheBridgeThread) {
    installBackend(std::make_shared<SimBackend>(parseScenario(
        R"({"sensors": [{"kind": "proximity", "locator": "P", "name": "Prox",
             "readings": [{"at": 0.01, "detected": true, "mm": 100},
                          {"at": 0.02, "detected": false, "mm": 0}],
             "error": {"at": 0.03}},
            {"kind": "proximity", "locator": "Q"}]})",
        "p.json")));
    const auto locators = libTarra::ProximitySensorEnumerator::getOsLocators(500);
    ASSERT_EQ(locators.size(), 2u);
    EXPECT_EQ(locators[1].toStdString(), "Q");

    std::mutex m;
    std::condition_variable cv;
    std::vector<std::pair<bool, unsigned>> readings;
    bool errored = false;
    ASSERT_TRUE(libTarra::ProximitySensorRunner::runSensorAsync(
        vek::String("P"),
        [&](bool seen, unsigned mm) {
            std::lock_guard lock(m);
            readings.emplace_back(seen, mm);
        },
        [&] {
            std::lock_guard lock(m);
            errored = true;
            cv.notify_all();
        }));
    {
        std::unique_lock lock(m);
        ASSERT_TRUE(cv.wait_for(lock, std::chrono::seconds(5), [&] { return errored; }));
    }
    libTarra::ProximitySensorRunner::stopSensor();
    EXPECT_EQ(readings, (std::vector<std::pair<bool, unsigned>>{{true, 100}, {false, 0}}));
    EXPECT_FALSE(libTarra::ProximitySensorRunner::runSensorAsync(vek::String("nope"), {}, {}));
    installBackend(nullptr);
}

}  // namespace
