// The simulated machine's rules that a test's ending cannot tell apart: each test starts its
// sequences and its clock over, the last state repeats, a heading turns the short way at its
// speed or stays invalid, and a listener hears one report per reading unless the sensor is
// silent. What the scenario's sensors, faults, motion and proximity readings do to a test's
// ending is in the command-line cases and the workers' tables.
#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <thread>

#include "CountingSink.h"
#include "libOrra/Records.h"
#include "libOrra/SimBackend.h"
#include "vek/Clock.h"

namespace {

using namespace libOrra;

// A simulated machine on a manual clock, its sensors in use, counting its stop requests.
class SimMachine : public ::testing::Test {
protected:
    void SetUp() override { vek::Clock::installForTesting(&clock_); }
    void TearDown() override {
        if (backend_)
            backend_->testFinished();
        inUse_.reset();
        vek::Clock::installForTesting(nullptr);
    }
    std::shared_ptr<SimBackend> load(const char* json) {
        backend_ = std::make_shared<SimBackend>(parseScenario(json, "test.json"));
        inUse_.emplace(backend_);
        backend_->onStopDue([this] { ++stops_; });
        backend_->testStarting();
        return backend_;
    }
    // The stop requests reach `n` (the timer runs on a thread of its own).
    bool stopsReach(int n) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (stops_.load() < n && std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        return stops_.load() == n;
    }
    vek::ManualClock clock_;
    std::shared_ptr<SimBackend> backend_;
    std::optional<SensorsInUse> inUse_;
    std::atomic<int> stops_{0};
};

TEST_F(SimMachine, SequencesAndTheStopTimeStartOverForEachTest) {
    auto backend = load(R"({"sensors": [{"kind": "light", "locator": "L",
                             "states": ["INITIALIZING", "READY"],
                             "updates": [{"lux": 1}, {"lux": 2}]}], "stop": {"at": 2.5}})");
    vek::Array<std::unique_ptr<AmbientLightSensor>> lights;
    ASSERT_TRUE(getAmbientLightSensors(lights));
    SensorState s{};
    for (SensorState e : {SENSOR_STATE_INITIALIZING, SENSOR_STATE_READY, SENSOR_STATE_READY}) {
        lights[0]->m_pSensor->GetState(&s);
        EXPECT_EQ(s, e);
    }
    ASSERT_TRUE(lights[0]->update());
    ASSERT_TRUE(lights[0]->update());
    EXPECT_FLOAT_EQ(lights[0]->lux, 2.0f);
    clock_.advance(std::chrono::milliseconds(2500));
    EXPECT_TRUE(stopsReach(1));
    backend->testFinished();
    backend->testStarting();
    ASSERT_TRUE(lights[0]->update());
    EXPECT_FLOAT_EQ(lights[0]->lux, 1.0f);
    EXPECT_EQ(stops_.load(), 1) << "measured from each test's start";
    clock_.advance(std::chrono::milliseconds(2500));
    EXPECT_TRUE(stopsReach(2)) << "each test has its own stop time";
}

TEST_F(SimMachine, HeadingTurnsTowardTheTargetTheShortWayAtItsSpeed) {
    auto backend = load(R"({"sensors": [{"kind": "magnetometer", "locator": "M",
                             "heading": {"start": 350, "follow": "target",
                                         "degreesPerSecond": 10}}]})");
    vek::Array<std::unique_ptr<Magnetometer>> mags;
    ASSERT_TRUE(getMagnetometers(mags));
    auto& m = *mags[0];
    ASSERT_TRUE(m.update());
    EXPECT_DOUBLE_EQ(m.heading, 350.0) << "no target yet";
    backend->setHeadingTarget(20.0);
    for (const auto& [seconds, heading] : {std::pair(1500, 5.0), std::pair(10000, 20.0)}) {
        clock_.advance(std::chrono::milliseconds(seconds));
        ASSERT_TRUE(m.update());
        EXPECT_NEAR(m.heading, heading, 1e-9) << "through north, then stops at the target";
    }
    load(R"({"sensors": [{"kind": "magnetometer", "locator": "M",
              "updates": [{"heading": 5, "valid": false}]}]})");
    ASSERT_TRUE(getMagnetometers(mags));
    ASSERT_TRUE(mags[0]->update());
    EXPECT_FALSE(mags[0]->headingValid) << "a heading the scenario marks invalid";
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

    load(R"({"sensors": [{"kind": "light", "locator": "L", "faults": {"silent": true}}]})");
    ASSERT_TRUE(getAmbientLightSensors(lights));
    lights[0]->m_pSensor->SetEventSink(&sink);
    EXPECT_TRUE(lights[0]->update());
    EXPECT_EQ(sink.reports, 3) << "a silent sensor reads but never reports";
    lights[0]->m_pSensor->SetEventSink(nullptr);
}

}  // namespace
