#include <gtest/gtest.h>

#include <vector>

#include "CountingSink.h"
#include "TestHelper.h"
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

struct StateRow {
    const char* label;
    std::vector<std::int32_t> states;
    const char* timeout;
    kiva5::TestResult result;
    const char* event;  // "" for none
    std::size_t getStateCalls;
    std::int64_t waitedMs;
};

void PrintTo(const StateRow& r, std::ostream* os) {
    *os << r.label;
}

class StateCheck : public ::testing::TestWithParam<StateRow> {
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
    const auto& row = GetParam();
    if (*row.timeout)
        vekrsensors::paramSensorStateTimeout->set(row.timeout);
    ScriptedSensor sensor(row.states);
    libOrra::Accelerometer record(std::make_unique<ScriptedDevice>(&sensor), {});
    const auto start = clock_.now();
    EXPECT_EQ(checkSensorState(record), row.result);
    EXPECT_EQ(sensor.calls, row.getStateCalls);
    EXPECT_EQ(std::chrono::duration_cast<std::chrono::milliseconds>(clock_.now() - start).count(),
              row.waitedMs);
    EXPECT_EQ(record.m_state, row.states[std::min(sensor.calls, row.states.size()) - 1])
        << "the record keeps the last state read";
    if (*row.event) {
        ASSERT_EQ(run_.events.size(), 1u);
        EXPECT_EQ(run_.events[0].name, row.event);
        EXPECT_EQ(run_.events[0].severity, "error");
        EXPECT_EQ(run_.events[0].file, "TestHelper.cpp");
    } else {
        EXPECT_TRUE(run_.events.empty());
    }
}

using R = kiva5::TestResult;
INSTANTIATE_TEST_SUITE_P(
    Table, StateCheck,
    ::testing::Values(
        StateRow{"ready_at_once", {0}, "5", R::PASS(), "", 1, 0},
        StateRow{"access_denied_never_waits",
                 {4},
                 "5",
                 R::CANNOTRUN(),
                 "SensorState_AccessDenied",
                 1,
                 0},
        StateRow{"error_never_waits", {5}, "5", R::FAIL(), "SensorState_Error", 1, 0},
        StateRow{"unknown_state_fails_silently", {9}, "5", R::FAIL(), "", 1, 0},
        StateRow{"negative_unknown_state", {-1}, "5", R::FAIL(), "", 1, 0},
        StateRow{"turns_ready_while_waiting", {3, 3, 0}, "5", R::PASS(), "", 3, 200},
        // Polling only stops early for READY: a sensor that turns to ACCESS_DENIED is asked
        // until the time is up.
        StateRow{"initialising_then_access_denied",
                 {3, 4},
                 "0.25",
                 R::CANNOTRUN(),
                 "SensorState_AccessDenied",
                 4,
                 300},
        StateRow{"stays_initialising", {3}, "0.25", R::TIMEDOUT(), "SensorState_Invalid", 4, 300},
        StateRow{
            "stays_not_available", {1}, "0.25", R::TIMEDOUT(), "SensorState_NotAvailable", 4, 300},
        StateRow{"stays_no_data", {2}, "0.25", R::FAIL(), "Sensor_NoData", 4, 300},
        StateRow{"zero_timeout_asks_once_more",
                 {1},
                 "0",
                 R::TIMEDOUT(),
                 "SensorState_NotAvailable",
                 2,
                 100},
        StateRow{"negative_timeout_asks_nothing_and_reads_no_data",
                 {1},
                 "-1",
                 R::FAIL(),
                 "Sensor_NoData",
                 1,
                 0},
        StateRow{
            "unset_timeout_reads_as_zero", {3}, "", R::TIMEDOUT(), "SensorState_Invalid", 2, 100}));

TEST(SensorEventSink, AnswersAsACOMSinkAndCountsOnlyValidReports) {
    ScriptedSensor sensor({0});
    {
        vekrsensors::SensorEventSink sink(&sensor);
        EXPECT_EQ(sensor.refs, 1u) << "the sink holds the sensor";
        sensor.SetEventSink(&sink);
        void* out = nullptr;
        EXPECT_EQ(sink.QueryInterface(IID_ISensorEvents, &out), S_OK);
        EXPECT_EQ(out, static_cast<void*>(&sink));
        EXPECT_EQ(sink.QueryInterface(IID_IUnknown, &out), S_OK);
        void* untouched = &sensor;
        const IID other = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
        EXPECT_EQ(sink.QueryInterface(other, &untouched), E_NOINTERFACE);
        EXPECT_EQ(untouched, static_cast<void*>(&sensor));
        EXPECT_EQ(sink.Release(), 1u);
        EXPECT_EQ(sink.Release(), 0u);
        EXPECT_EQ(sink.AddRef(), 1u) << "usable after a release to zero";

        EmptyReport report;
        EXPECT_EQ(sink.OnDataUpdated(&sensor, &report), S_OK);
        EXPECT_EQ(sink.OnDataUpdated(nullptr, &report), E_INVALIDARG);
        EXPECT_EQ(sink.OnDataUpdated(&sensor, nullptr), E_INVALIDARG);
        EXPECT_EQ(sink.getDataUpdateCount(), 1u);
        EXPECT_EQ(sink.OnStateChanged(&sensor, SENSOR_STATE_READY), S_OK);
        EXPECT_EQ(sink.OnEvent(&sensor, other, nullptr), S_OK);
        EXPECT_EQ(sink.OnLeave(other), S_OK);
    }
    EXPECT_EQ(sensor.attached, nullptr) << "the destructor detaches";
    EXPECT_EQ(sensor.refs, 0u) << "and gives the sensor back";
}

TEST(COMInitializer, BalancesWhatItTookAndLeavesAMismatchAlone) {
    std::thread([] {
        {
            COMInitializer outer;
            EXPECT_EQ(outer.result(), S_OK);
            {
                COMInitializer inner;
                EXPECT_EQ(inner.result(), S_FALSE);
            }
            EXPECT_EQ(platform::comInitCountForTesting(), 1) << "S_FALSE balanced once";
        }
        EXPECT_EQ(platform::comInitCountForTesting(), 0);
        ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        {
            COMInitializer mismatch;
            EXPECT_EQ(mismatch.result(), RPC_E_CHANGED_MODE);
        }
        EXPECT_EQ(platform::comInitCountForTesting(), 1) << "no CoUninitialize for a failure";
        CoUninitialize();
    }).join();
}

}  // namespace

namespace {

TEST(SensorEventSink, CountsReportsFromSeveralThreadsWithoutLosingAny) {
    ScriptedSensor sensor({0});
    vekrsensors::SensorEventSink sink(&sensor);
    EmptyReport report;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 1000; ++i)
                sink.OnDataUpdated(&sensor, &report);
        });
    }
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(sink.getDataUpdateCount(), 4000u);
}

}  // namespace
