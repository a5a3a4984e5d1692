// The simulated machine's rules that a test's ending cannot tell apart: each test starts its
// sequences and its clock over, the last state repeats, a heading turns the short way at its
// speed or stays invalid, and a listener hears one report per reading unless the sensor is
// silent. What the scenario's sensors, faults, motion and proximity readings do to a test's
// ending is in the command-line cases and the workers' tables.
#include <gtest/gtest.h>

#include "CountingSink.h"
#include "libOrra/Records.h"
#include "libOrra/SimBackend.h"
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
    vek::ManualClock clock_;
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
    EXPECT_TRUE(backend->stopDue());
    backend->testStarting();
    ASSERT_TRUE(lights[0]->update());
    EXPECT_FLOAT_EQ(lights[0]->lux, 1.0f);
    EXPECT_FALSE(backend->stopDue()) << "measured from each test's start";
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
