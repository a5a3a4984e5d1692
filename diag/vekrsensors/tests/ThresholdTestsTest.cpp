// The accelerometer and ambient light tests, driven through the command line on scenario
// files and fake IIO trees, as a host would run them.
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "FakeSysfs.h"
#include "ModuleProcess.h"
#include "ScratchDir.h"

namespace {

struct Row {
    const char* label;
    const char* test;
    const char* sensors;  // the scenario's "sensors" (and optionally more keys)
    std::vector<std::string> params;
    const char* result;
    const char* event;  // "" for none
};

void PrintTo(const Row& r, std::ostream* os) {
    *os << r.label;
}

class ThresholdTest : public ::testing::TestWithParam<Row> {
protected:
    nlohmann::json run(const Row& row) {
        scratch_.write("s.json", std::string("{") + row.sensors + "}");
        std::vector<std::string> args{"--scenario", "s.json",   "--test",
                                      row.test,     "--report", "r.json"};
        for (const auto& p : row.params)
            args.insert(args.end(), {"--param", p});
        outcome_ = runModule(args, scratch_.path().string());
        std::ifstream in(scratch_ / "r.json");
        return nlohmann::json::parse(in);
    }
    vekr::testing::ScratchDir scratch_{"vekr-threshold"};
    ModuleOutcome outcome_;
};

// The run's result, and its one event or none.
void expectOutcome(const nlohmann::json& r, const char* result, const char* event) {
    EXPECT_EQ(r["result"], result) << r.dump(2);
    if (*event) {
        ASSERT_EQ(r["events"].size(), 1u) << r.dump(2);
        EXPECT_EQ(r["events"][0]["name"], event);
    } else {
        EXPECT_EQ(r["events"].size(), 0u) << r.dump(2);
    }
}

TEST_P(ThresholdTest, EndsAsItsOutcomeTableSays) {
    const auto& row = GetParam();
    const auto report = run(row);
    ASSERT_EQ(report["runs"].size(), 1u) << outcome_.err;
    expectOutcome(report["runs"][0], row.result, row.event);
}

constexpr const char* kAccel = "AccelerometerTest";
constexpr const char* kLight = "AmbientLightSensorTest";

INSTANTIATE_TEST_SUITE_P(
    Accelerometer, ThresholdTest,
    ::testing::Values(
        Row{"in_band_passes",
            kAccel,
            R"("sensors": [{"kind": "accelerometer", "locator": "A", "updates": [{"z": 0.99}]}])",
            {},
            "PASS",
            ""},
        Row{"upper_bound_is_outside",
            kAccel,
            R"("sensors": [{"kind": "accelerometer", "locator": "A", "updates": [{"z": 1.5}]}])",
            {"AccelerometerThreshold=0.5", "AccelerometerWaitTime=0.2"},
            "FAIL",
            "Sensor_Timeout"},
        Row{"lower_bound_is_outside",
            kAccel,
            R"("sensors": [{"kind": "accelerometer", "locator": "A", "updates": [{"x": 0.5}]}])",
            {"AccelerometerThreshold=0.5", "AccelerometerWaitTime=0.2"},
            "FAIL",
            "Sensor_Timeout"},
        Row{"zero_threshold_never_passes",
            kAccel,
            R"("sensors": [{"kind": "accelerometer", "locator": "A", "updates": [{"z": 1.0}]}])",
            {"AccelerometerThreshold=0", "AccelerometerWaitTime=0.1"},
            "FAIL",
            "Sensor_Timeout"},
        Row{"zero_wait_still_reads_once",
            kAccel,
            R"("sensors": [{"kind": "accelerometer", "locator": "A", "updates": [{"y": -1.0}]}])",
            {"AccelerometerWaitTime=0"},
            "PASS",
            ""},
        Row{"updates_keep_failing",
            kAccel,
            R"("sensors": [{"kind": "accelerometer", "locator": "A", "updates": [{"fail": true}]}])",
            {"AccelerometerWaitTime=0.1"},
            "FAIL",
            "Sensor_NoData"},
        Row{"fails_then_reads",
            kAccel,
            R"("sensors": [{"kind": "accelerometer", "locator": "A",
                "updates": [{"fail": true}, {"fail": true}, {"z": 1.02}]}])",
            {"AccelerometerWaitTime=1"},
            "PASS",
            ""},
        Row{"not_available",
            kAccel,
            R"("sensors": [{"kind": "accelerometer", "locator": "A", "states": ["NOT_AVAILABLE"]}])",
            {"SensorStateTimeout=0"},
            "TIMEDOUT",
            "SensorState_NotAvailable"},
        Row{"no_data",
            kAccel,
            R"("sensors": [{"kind": "accelerometer", "locator": "A", "states": ["NO_DATA"]}])",
            {"SensorStateTimeout=0"},
            "FAIL",
            "Sensor_NoData"},
        Row{"initialising",
            kAccel,
            R"("sensors": [{"kind": "accelerometer", "locator": "A", "states": ["INITIALIZING"]}])",
            {"SensorStateTimeout=0"},
            "TIMEDOUT",
            "SensorState_Invalid"},
        Row{"access_denied",
            kAccel,
            R"("sensors": [{"kind": "accelerometer", "locator": "A", "states": ["ACCESS_DENIED"]}])",
            {},
            "CANNOTRUN",
            "SensorState_AccessDenied"},
        Row{"error_state",
            kAccel,
            R"("sensors": [{"kind": "accelerometer", "locator": "A", "states": ["ERROR"]}])",
            {},
            "FAIL",
            "SensorState_Error"},
        Row{"unknown_state",
            kAccel,
            R"("sensors": [{"kind": "accelerometer", "locator": "A", "states": [9]}])",
            {},
            "FAIL",
            ""},
        Row{"first_case_blind_match_wins",
            kAccel,
            R"("sensors": [{"kind": "accelerometer", "locator": "SIM\\A", "updates": [{"z": 3}]},
                           {"kind": "accelerometer", "locator": "sim\\a", "updates": [{"z": 1}]}],
               "devices": [{"capability": "Accelerometer", "locator": "Sim\\A"}])",
            {"AccelerometerWaitTime=0"},
            "FAIL",
            "Sensor_Timeout"},
        Row{"device_not_on_the_system",
            kAccel,
            R"("sensors": [{"kind": "accelerometer", "locator": "A"}],
               "devices": [{"capability": "Accelerometer", "locator": "B"}])",
            {},
            "NODEVICE",
            ""},
        Row{"enumeration_fails",
            kAccel,
            R"("sensors": [{"kind": "accelerometer", "locator": "A"}],
               "failEnumeration": ["accelerometer"])",
            {},
            "NODEVICE",
            ""}));

INSTANTIATE_TEST_SUITE_P(
    AmbientLight, ThresholdTest,
    ::testing::Values(
        Row{"above_threshold_passes",
            kLight,
            R"("sensors": [{"kind": "light", "locator": "L", "updates": [{"lux": 2}, {"lux": 120}]}])",
            {},
            "PASS",
            ""},
        Row{"equal_to_threshold_is_not_above",
            kLight,
            R"("sensors": [{"kind": "light", "locator": "L", "updates": [{"lux": 10}]}])",
            {"LuxValueThreshold=10", "LuxValueWaitTime=0.1"},
            "FAIL",
            "Sensor_Timeout"},
        Row{"warn_switch_warns",
            kLight,
            R"("sensors": [{"kind": "light", "locator": "L", "updates": [{"lux": 1}]}])",
            {"LuxValueWaitTime=0", "WarnOnBelowThreshold=true"},
            "WARN",
            "Sensor_Timeout"},
        Row{"zero_threshold_accepted",
            kLight,
            R"("sensors": [{"kind": "light", "locator": "L", "updates": [{"lux": 0.5}]}])",
            {"LuxValueThreshold=0"},
            "PASS",
            ""},
        Row{"threshold_255_accepted",
            kLight,
            R"("sensors": [{"kind": "light", "locator": "L", "updates": [{"lux": 300}]}])",
            {"LuxValueThreshold=255"},
            "PASS",
            ""},
        Row{"threshold_below_range",
            kLight,
            R"("sensors": [{"kind": "light", "locator": "L"}])",
            {"LuxValueThreshold=-0.5"},
            "BADPARAMS",
            "BadParametersRange"},
        Row{"threshold_above_range",
            kLight,
            R"("sensors": [{"kind": "light", "locator": "L"}])",
            {"LuxValueThreshold=255.5"},
            "BADPARAMS",
            "BadParametersRange"},
        Row{"state_check_comes_before_range_check",
            kLight,
            R"("sensors": [{"kind": "light", "locator": "L", "states": ["ACCESS_DENIED"]}])",
            {"LuxValueThreshold=300"},
            "CANNOTRUN",
            "SensorState_AccessDenied"},
        Row{"zero_wait_one_reading_below",
            kLight,
            R"("sensors": [{"kind": "light", "locator": "L", "updates": [{"lux": 3}, {"lux": 99}]}])",
            {"LuxValueWaitTime=0"},
            "FAIL",
            "Sensor_Timeout"},
        Row{"light_updates_keep_failing",
            kLight,
            R"("sensors": [{"kind": "light", "locator": "L", "updates": [{"fail": true}]}])",
            {"LuxValueWaitTime=0.1"},
            "FAIL",
            "Sensor_NoData"},
        Row{"light_enumeration_fails",
            kLight,
            R"("sensors": [{"kind": "light", "locator": "L"}], "failEnumeration": ["light"])",
            {},
            "NODEVICE",
            ""}));

TEST_F(ThresholdTest, BadThresholdIsAWarningWithItsFourVariables) {
    const auto report = run({"",
                             kLight,
                             R"("sensors": [{"kind": "light", "locator": "L"}])",
                             {"LuxValueThreshold=-0.5"},
                             "",
                             ""});
    const auto& e = report["runs"][0]["events"][0];
    EXPECT_EQ(e["severity"], "warning");
    EXPECT_EQ(e["variables"], nlohmann::json::parse(R"({
        "ParameterName": "Test.AmbientLightSensorTest.LuxValueThreshold.value",
        "ParameterValue": -0.5, "RangeMin": 0.0, "RangeMax": 255.0})"));
}

TEST_F(ThresholdTest, TimeoutCarriesTheTipAndTheReadingsBesideTheVerdict) {
    const auto report = run(
        {"",
         kLight,
         R"("sensors": [{"kind": "light", "locator": "L", "updates": [{"lux": 3}, {"lux": 7}]}])",
         {"LuxValueWaitTime=0.06"},
         "",
         ""});
    const auto& r = report["runs"][0];
    EXPECT_EQ(r["events"][0]["tips"], nlohmann::json({"EnsureLightCanReachSensor"}));
    EXPECT_EQ(r["events"][0]["severity"], "error");
    EXPECT_EQ(r["details"]["unit"], "lux");
    EXPECT_GE(r["details"]["readings"].get<int>(), 2);
    EXPECT_EQ(r["details"]["min"], 3.0);
    EXPECT_EQ(r["details"]["max"], 7.0);
    EXPECT_EQ(r["details"]["last"], 7.0);
}

// The demo machine passes both tests headless, with the shipped profile.
TEST_F(ThresholdTest, DemoMachinePassesBothTests) {
    const ModuleOutcome o =
        runModule({"--backend", "sim", "--test", kLight, "--test", kAccel}, scratch_.path());
    EXPECT_EQ(o.exitCode, 0) << o.out << o.err;
}

// Real drivers' trees through the command line. cros-ec's shared scale must be applied (it
// read 1660 g when it was not), a device whose buffer another program has enabled is no FAIL,
// and a value that never answers ends within the state check's own bound.
struct TreeRow {
    const char* label;
    const char* test;
    DriverLayout layout;
    std::vector<std::string> params;
    const char* result;
    const char* event;   // "" for none
    const char* note;    // text a run note must contain, "" for none
    const char* silent;  // attribute that never answers, "" for none
    bool busyBuffer;     // the buffer is enabled and its node held by this process
};

void PrintTo(const TreeRow& r, std::ostream* os) {
    *os << r.label;
}

class IioTreeTest : public ::testing::TestWithParam<TreeRow> {};

TEST_P(IioTreeTest, EndsAsOnTheRealDevice) {
    const TreeRow& row = GetParam();
    FakeSysfs sysfs;
    sysfs.add(0, row.layout);
    std::ifstream holder;
    if (row.busyBuffer) {
        sysfs.set(0, "buffer/enable", "1");
        sysfs.addBuffer(0, row.layout.name, "");
        holder.open(sysfs.devRoot() / "iio:device0");
    }
    if (*row.silent)
        sysfs.makeSilent(0, row.silent);
    vekr::testing::ScratchDir dir("vekr-iio-tree");
    std::vector<std::string> args{"--backend", "iio", "--test", row.test, "--report", "r.json"};
    for (const auto& p : row.params)
        args.insert(args.end(), {"--param", p});
    const ModuleOutcome o = runModule(
        args, dir.path(),
        {"VEKR_SYSFS_ROOT=" + sysfs.root().string(), "VEKR_DEV_ROOT=" + sysfs.devRoot().string()});
    std::ifstream in(dir / "r.json");
    const auto report = nlohmann::json::parse(in);
    ASSERT_EQ(report["runs"].size(), 1u) << o.err;
    const auto& r = report["runs"][0];
    expectOutcome(r, row.result, row.event);
    if (*row.note) {
        ASSERT_TRUE(r.contains("notes")) << r.dump(2);
        EXPECT_NE(r["notes"][0].get<std::string>().find(row.note), std::string::npos)
            << r["notes"][0];
    }
    EXPECT_LT(r["seconds"].get<double>(), 5.0);
}

const std::vector<std::string> kOneG{"AccelerometerTarget=1", "AccelerometerThreshold=0.1",
                                     "AccelerometerWaitTime=0"};

INSTANTIATE_TEST_SUITE_P(
    Drivers, IioTreeTest,
    ::testing::Values(
        // 0.996 g on a HID hub; 1 g +/- 0.1 passes, 9.80665 (m/s^2 taken for g) fails.
        TreeRow{"hid_accel_in_g", kAccel, layouts::hidAccel3d, kOneG, "PASS", "", "", "", false},
        TreeRow{"hid_accel_not_in_m_s2",
                kAccel,
                layouts::hidAccel3d,
                {"AccelerometerTarget=9.80665", "AccelerometerThreshold=0.1",
                 "AccelerometerWaitTime=0"},
                "FAIL",
                "Sensor_Timeout",
                "",
                "",
                false},
        TreeRow{"cros_ec_shared_scale", kAccel, layouts::crosEcAccel, kOneG, "PASS", "", "", "",
                false},
        TreeRow{"hid_als_lux",
                kLight,
                layouts::hidAls,
                {"LuxValueThreshold=234", "LuxValueWaitTime=0"},
                "PASS",
                "",
                "",
                "",
                false},
        TreeRow{"busy_buffer_cannot_run", kAccel, layouts::bufferOnlyAccel, kOneG, "CANNOTRUN",
                "SensorState_AccessDenied", "iio:device0 (bmi160) is busy", "", true},
        TreeRow{"silent_value_times_out",
                kAccel,
                layouts::hidAccel3d,
                {"SensorStateTimeout=0.5"},
                "TIMEDOUT",
                "SensorState_Invalid",
                "",
                "in_accel_x_raw",
                false},
        TreeRow{"silent_scale_times_out",
                kAccel,
                layouts::hidAccel3d,
                {"SensorStateTimeout=0.5"},
                "TIMEDOUT",
                "SensorState_Invalid",
                "",
                "in_accel_scale",
                false},
        TreeRow{
            "unusable_scale_is_an_error",
            kLight,
            DriverLayout{"als", {{"in_illuminance_raw", "100"}, {"in_illuminance_scale", "nan"}}},
            {"LuxValueThreshold=0"},
            "FAIL",
            "SensorState_Error",
            "",
            "",
            false}));

}  // namespace
