#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <vector>

#include "CountingSink.h"
#include "TableRows.h"
#include "TestHelper.h"
#include "WorkerHarness.h"
#include "comptr.h"
#include "kiva5/DiagModule.h"
#include "vek/Clock.h"
#include "vekrsensors.h"

namespace {

// A sensor whose GetState answers from a script (the last answer repeats) and counts calls.
class ScriptedSensor final : public ISensor {
public:
    explicit ScriptedSensor(std::vector<std::int32_t> states) : states_(std::move(states)) {}
    virtual ~ScriptedSensor() = default;
    HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG AddRef() override { return ++refs; }
    ULONG Release() override { return --refs; }
    HRESULT GetState(SensorState* s) override {
        *s = static_cast<SensorState>(states_[std::min(calls, states_.size() - 1)]);
        ++calls;
        return S_OK;
    }
    HRESULT SetEventSink(ISensorEvents* sink) override {
        attached = sink;
        return S_OK;
    }
    std::size_t calls = 0;
    ULONG refs = 0;
    ISensorEvents* attached = nullptr;

private:
    std::vector<std::int32_t> states_;
};

class ScriptedDevice final : public libOrra::SensorDevice {
public:
    explicit ScriptedDevice(ScriptedSensor* s) : sensor_(s) {}
    ISensor* sensor() override { return sensor_; }
    bool read(libOrra::Sample&) override { return true; }

private:
    ScriptedSensor* sensor_;
};

// A data report that carries nothing.
class EmptyReport final : public ISensorDataReport {
public:
    virtual ~EmptyReport() = default;
    HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG AddRef() override { return 1; }
    ULONG Release() override { return 1; }
    std::int64_t timestampNanoseconds() const override { return 0; }
};

// state_checks.json: the states GetState answers in turn (the last repeats), the
// SensorStateTimeout text, and the result, event, number of GetState calls and time waited.
class StateCheck : public ::testing::TestWithParam<vekr::testing::TableRow> {
protected:
    void SetUp() override {
        vek::Clock::installForTesting(&clock_);
        kiva5::DiagModule::captureEventsForTesting(&run_);
    }
    void TearDown() override {
        kiva5::DiagModule::captureEventsForTesting(nullptr);
        vek::Clock::installForTesting(nullptr);
        vekrsensors::paramSensorStateTimeout->unset();
    }
    vek::ManualClock clock_;
    kiva5::RunRecord run_;
};

TEST_P(StateCheck, EndsWithTheMappedResultAndEventAfterTheRightWait) {
    const nlohmann::json& row = GetParam().entry;
    const std::string timeout = row.at("timeout");
    if (!timeout.empty())
        vekrsensors::paramSensorStateTimeout->set(timeout);
    const auto states = row.at("states").get<std::vector<std::int32_t>>();
    ScriptedSensor sensor(states);
    libOrra::Accelerometer record(std::make_unique<ScriptedDevice>(&sensor), {});
    const auto start = clock_.now();
    EXPECT_EQ(checkSensorState(record),
              *kiva5::TestResult::fromName(row.at("result").get<std::string>()));
    EXPECT_EQ(sensor.calls, row.at("getStateCalls").get<std::size_t>());
    EXPECT_EQ(std::chrono::duration_cast<std::chrono::milliseconds>(clock_.now() - start).count(),
              row.at("waitedMs").get<std::int64_t>());
    EXPECT_EQ(record.m_state, states[std::min(sensor.calls, states.size()) - 1])
        << "the record keeps the last state read";
    const std::string event = row.at("event");
    if (!event.empty()) {
        ASSERT_EQ(run_.events.size(), 1u);
        EXPECT_EQ(run_.events[0].name, event);
        EXPECT_EQ(run_.events[0].severity, "error");
        EXPECT_EQ(run_.events[0].file, "TestHelper.cpp");
    } else {
        EXPECT_TRUE(run_.events.empty());
    }
}

INSTANTIATE_TEST_SUITE_P(Table, StateCheck,
                         ::testing::ValuesIn(vekr::testing::tableRows(
                             VEKR_SOURCE_DIR "/diag/vekrsensors/tests/state_checks.json")),
                         vekr::testing::rowLabel);

// The sink holds its sensor while it lives, counts every report that names a sensor and carries
// data, from any thread, and lets go of the sensor when it goes.
TEST(SensorEventSink, CountsOnlyValidReportsAndGivesTheSensorBack) {
    ScriptedSensor sensor({0});
    {
        vekrsensors::SensorEventSink sink(&sensor);
        EXPECT_EQ(sensor.refs, 1u) << "the sink holds the sensor";
        sensor.SetEventSink(&sink);
        EmptyReport report;
        EXPECT_EQ(sink.OnDataUpdated(&sensor, &report), S_OK);
        EXPECT_EQ(sink.OnDataUpdated(nullptr, &report), E_INVALIDARG);
        EXPECT_EQ(sink.OnDataUpdated(&sensor, nullptr), E_INVALIDARG);
        std::vector<std::thread> threads;  // reports come from several sensors' threads
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&] {
                for (int i = 0; i < 1000; ++i)
                    sink.OnDataUpdated(&sensor, &report);
            });
        }
        for (auto& t : threads)
            t.join();
        EXPECT_EQ(sink.getDataUpdateCount(), 4001u) << "none lost, none invalid counted";
    }
    EXPECT_EQ(sensor.attached, nullptr) << "the destructor detaches";
    EXPECT_EQ(sensor.refs, 0u) << "and gives the sensor back";
}

// The threshold tests' sampling loops on the manual clock: 50 ms after a reading out of range,
// 10 ms after a failed update, and a reading taken at exactly the wait time is not yet too
// late (only a time beyond it is), so a 0.2 s wait ends at 250 ms or 210 ms of sensor time.
class SamplingPace : public vekr::testing::WorkerHarness {};

TEST_F(SamplingPace, FiftyMillisecondsAfterAReadingTenAfterAFailure) {
    struct Row {
        kiva5::TestResult (*test)(const kiva5::DiagDevice&);
        kiva5::DeviceCapability capability;
        const char* sensor;
        std::int64_t endsAtMs;
        const char* event;
    };
    vekrsensors::paramAccelerometerWaitTime->set("0.2");
    vekrsensors::paramLuxValueWaitTime->set("0.2");
    vekrsensors::paramLuxValueThreshold->set("100");
    const Row rows[] = {
        {AccelerometerTest, kiva5::DeviceCapability::Accelerometer(),
         R"({"kind": "accelerometer", "updates": [{"z": 3}]})", 250, "Sensor_Timeout"},
        {AccelerometerTest, kiva5::DeviceCapability::Accelerometer(),
         R"({"kind": "accelerometer", "updates": [{"fail": true}]})", 210, "Sensor_NoData"},
        {AmbientLightSensorTest, kiva5::DeviceCapability::AmbientLightSensor(),
         R"({"kind": "light", "updates": [{"lux": 1}]})", 250, "Sensor_Timeout"},
        {AmbientLightSensorTest, kiva5::DeviceCapability::AmbientLightSensor(),
         R"({"kind": "light", "updates": [{"fail": true}]})", 210, "Sensor_NoData"},
    };
    for (const Row& row : rows) {
        auto sensor = nlohmann::json::parse(row.sensor);
        sensor["locator"] = "S";
        machine({{"sensors", {sensor}}}, "pace.json");
        run_.events.clear();
        const auto start = clock_.now();
        EXPECT_EQ(row.test(kiva5::DiagDevice(row.capability, kiva5::KivaString("S"),
                                             kiva5::KivaString("s"))),
                  kiva5::TestResult::FAIL());
        EXPECT_EQ(
            std::chrono::duration_cast<std::chrono::milliseconds>(clock_.now() - start).count(),
            row.endsAtMs)
            << row.sensor;
        EXPECT_EQ(events(), std::vector<std::string>{row.event}) << row.sensor;
    }
    for (auto* p : {vekrsensors::paramAccelerometerWaitTime, vekrsensors::paramLuxValueWaitTime,
                    vekrsensors::paramLuxValueThreshold})
        p->unset();
}

}  // namespace
