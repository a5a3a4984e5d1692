// The interactive tests as a host runs them: the executable on a simulated machine whose
// dialogs open offscreen and whose operator ends them, one row per way a test can end.
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>

#include "FakeSysfs.h"
#include "ModuleProcess.h"
#include "ScratchDir.h"
#include "SilentXServer.h"
#include "VirtualXServer.h"

namespace {

struct Ending {
    const char* label;
    const char* extra;  // scenario keys beside the sensor
    const char* result;
    const char* event;  // "" for none
    const char* test = "GyrometerTest";
    const char* sensor = nullptr;  // the gyrometer that turns every way by default
    std::vector<std::string> params = {};
};

void PrintTo(const Ending& e, std::ostream* os) {
    *os << e.label;
}

constexpr const char* kTurnsEveryWay =
    R"({"kind": "gyrometer", "locator": "SIM\\GYRO\\0", "motion": [
        {"seconds": 0.5, "rate": [60, 0, 0]}, {"seconds": 1.0, "rate": [-60, 0, 0]},
        {"seconds": 0.5, "rate": [0, 60, 0]}, {"seconds": 1.0, "rate": [0, -60, 0]},
        {"seconds": 0.5, "rate": [0, 0, 60]}, {"seconds": 1.0, "rate": [0, 0, -60]}]})";

constexpr const char* kFollowsTheTarget =
    R"({"kind": "magnetometer", "locator": "SIM\\COMPASS\\0",
        "heading": {"start": 10, "follow": "target", "degreesPerSecond": 90}})";

class InteractiveEnding : public ::testing::TestWithParam<Ending> {
protected:
    vekr::testing::ScratchDir scratch_{"vekr-interactive-cli"};
};

TEST_P(InteractiveEnding, ReportsTheEndingsVerdict) {
    const Ending& e = GetParam();
    scratch_.write("s.json", std::string(R"({"sensors": [)") +
                                 (e.sensor ? e.sensor : kTurnsEveryWay) + "]" + e.extra + "}");
    std::vector<std::string> args{"--scenario", "s.json", "--test", e.test, "--report", "r.json"};
    for (const auto& p : e.params)
        args.insert(args.end(), {"--param", p});
    const ModuleOutcome o = runModule(args, scratch_.path().string());
    std::ifstream in(scratch_ / "r.json");
    ASSERT_TRUE(in) << o.err;
    const auto report = nlohmann::json::parse(in);
    ASSERT_EQ(report["runs"].size(), 1u);
    const auto& run = report["runs"][0];
    EXPECT_EQ(run["result"], e.result) << run.dump(2);
    EXPECT_EQ(o.exitCode, run["code"]);
    if (*e.event) {
        ASSERT_EQ(run["events"].size(), 1u) << run.dump(2);
        EXPECT_EQ(run["events"][0]["name"], e.event);
    } else {
        EXPECT_EQ(run["events"].size(), 0u) << run.dump(2);
    }
    EXPECT_EQ(o.err, "") << "nothing from the toolkit on the host's terminal";
}

INSTANTIATE_TEST_SUITE_P(
    Gyrometer, InteractiveEnding,
    ::testing::Values(
        Ending{"turned_every_way_passes", "", "PASS", ""},
        Ending{"fail_pressed",
               R"(, "operator": [{"at": 0.3, "dialog": "GyrometerTest", "press": "Fail"}])", "FAIL",
               "UserClickedFail"},
        Ending{"cancel_pressed",
               R"(, "operator": [{"at": 0.3, "dialog": "GyrometerTest", "press": "Cancel"}])",
               "USERABORTED", ""},
        Ending{"escape_pressed",
               R"(, "operator": [{"at": 0.3, "dialog": "GyrometerTest", "press": "Escape"}])",
               "USERABORTED", ""},
        // The focus starts on Fail.
        Ending{"space_pressed_at_open",
               R"(, "operator": [{"at": 0.3, "dialog": "GyrometerTest", "press": "Space"}])",
               "FAIL", "UserClickedFail"},
        Ending{"window_closed",
               R"(, "operator": [{"at": 0.3, "dialog": "GyrometerTest", "press": "Close"}])",
               "USERABORTED", ""},
        // Presses meant for another dialog do not touch this one.
        Ending{"press_for_another_dialog",
               R"(, "operator": [{"at": 0.3, "dialog": "MagnetometerTest", "press": "Fail"}])",
               "PASS", ""},
        Ending{"no_gyrometer_with_the_devices_locator",
               R"(, "devices": [{"capability": "Gyrometer", "locator": "SIM\\GYRO\\9"}])",
               "NODEVICE", ""},
        Ending{"stop_requested", R"(, "stop": {"at": 0.5})", "USERABORTED", ""}),
    [](const auto& row) { return std::string(row.param.label); });

constexpr const char* kCompassTest = "MagnetometerTest";

INSTANTIATE_TEST_SUITE_P(
    Compass, InteractiveEnding,
    ::testing::Values(
        Ending{"turned_to_the_target_passes", "", "PASS", "", kCompassTest, kFollowsTheTarget},
        Ending{"fail_pressed",
               R"(, "operator": [{"at": 0.3, "dialog": "MagnetometerTest", "press": "Fail"}])",
               "FAIL", "UserClickedFail", kCompassTest, kFollowsTheTarget},
        Ending{"cancel_pressed",
               R"(, "operator": [{"at": 0.3, "dialog": "MagnetometerTest", "press": "Cancel"}])",
               "USERABORTED", "", kCompassTest, kFollowsTheTarget},
        Ending{"escape_pressed",
               R"(, "operator": [{"at": 0.3, "dialog": "MagnetometerTest", "press": "Escape"}])",
               "USERABORTED", "", kCompassTest, kFollowsTheTarget},
        Ending{"space_pressed_at_open",
               R"(, "operator": [{"at": 0.3, "dialog": "MagnetometerTest", "press": "Space"}])",
               "FAIL", "UserClickedFail", kCompassTest, kFollowsTheTarget},
        // A freshly started module has no earlier result to fall back on: CANNOTRUN.
        Ending{"failed_first_heading", "", "CANNOTRUN", "Sensor_NoData", kCompassTest,
               R"({"kind": "magnetometer", "locator": "C", "updates": [{"fail": true}]})"},
        Ending{"stop_requested", R"(, "stop": {"at": 0.5})", "USERABORTED", "", kCompassTest,
               R"({"kind": "magnetometer", "locator": "C", "heading": {"start": 10}})"}),
    [](const auto& row) { return std::string(row.param.label); });

constexpr const char* kProximityTest = "ProximitySensorTest";
constexpr const char* kHandSteadyThenMoved =
    R"({"kind": "proximity", "locator": "P", "readings": [
        {"at": 0.1, "detected": true, "mm": 100}, {"at": 0.2, "detected": true, "mm": 100},
        {"at": 0.3, "detected": true, "mm": 102}, {"at": 0.4, "detected": true, "mm": 101},
        {"at": 0.6, "detected": true, "mm": 160}]})";
constexpr const char* kNoHand = R"({"kind": "proximity", "locator": "P", "readings": []})";
constexpr const char* kRestlessHand =
    R"({"kind": "proximity", "locator": "P", "readings": [{"at": 0.1, "detected": true, "mm": 100},
        {"at": 0.2, "detected": true, "mm": 200}], "faults": {"chatterSeconds": 0.2}})";

INSTANTIATE_TEST_SUITE_P(
    Proximity, InteractiveEnding,
    ::testing::Values(
        Ending{"steady_then_moved_passes", "", "PASS", "", kProximityTest, kHandSteadyThenMoved},
        Ending{"fail_pressed",
               R"(, "operator": [{"at": 0.3, "dialog": "ProximitySensorTest", "press": "Fail"}])",
               "FAIL", "UserClickedFail", kProximityTest, kNoHand},
        Ending{"cancel_pressed",
               R"(, "operator": [{"at": 0.3, "dialog": "ProximitySensorTest", "press": "Cancel"}])",
               "USERABORTED", "", kProximityTest, kNoHand},
        Ending{"close_image_clicked",
               R"(, "operator": [{"at": 0.3, "dialog": "ProximitySensorTest", "press": "Close"}])",
               "USERABORTED", "", kProximityTest, kNoHand},
        Ending{"escape_pressed",
               R"(, "operator": [{"at": 0.3, "dialog": "ProximitySensorTest", "press": "Escape"}])",
               "USERABORTED", "", kProximityTest, kNoHand},
        // Fail is the default button.
        Ending{"enter_pressed",
               R"(, "operator": [{"at": 0.3, "dialog": "ProximitySensorTest", "press": "Enter"}])",
               "FAIL", "UserClickedFail", kProximityTest, kNoHand},
        // The passing reading and a sensor error arrive together: the verdict stands.
        Ending{"error_queued_behind_the_passing_reading", "", "PASS", "", kProximityTest,
               R"({"kind": "proximity", "locator": "P", "readings": [
                   {"at": 0.1, "detected": true, "mm": 100}, {"at": 0.2, "detected": true, "mm": 100},
                   {"at": 0.3, "detected": true, "mm": 102}, {"at": 0.4, "detected": true, "mm": 101},
                   {"at": 0.6, "detected": true, "mm": 160}], "error": {"at": 0.6}})"},
        Ending{"sensor_error", "", "FAIL", "SensorState_NotAvailable", kProximityTest,
               R"({"kind": "proximity", "locator": "P", "readings": [], "error": {"at": 0.3}})"},
        Ending{"no_readings_time_out",
               "",
               "TIMEDOUT",
               "Sensor_NoData",
               kProximityTest,
               kNoHand,
               {"SensorNoDataTimeoutSeconds=5", "TimeoutPromptIntervalSeconds=30"}},
        Ending{"prompt_exit",
               R"(, "operator": [{"at": 0.3, "dialog": "DetectionProblem", "press": "Exit"}])",
               "USERABORTED",
               "",
               kProximityTest,
               kRestlessHand,
               {"SensorNoDataTimeoutSeconds=30", "TimeoutPromptIntervalSeconds=5"}},
        Ending{"prompt_restart",
               R"(, "operator": [{"at": 0.3, "dialog": "DetectionProblem", "press": "Restart"}])",
               "FAIL",
               "",
               kProximityTest,
               kRestlessHand,
               {"SensorNoDataTimeoutSeconds=30", "TimeoutPromptIntervalSeconds=5"}},
        // Restart is the prompt's default button: Enter restarts, and the second stall fails.
        Ending{"prompt_enter_restarts",
               R"(, "operator": [{"at": 0.3, "dialog": "DetectionProblem", "press": "Enter"}])",
               "FAIL",
               "",
               kProximityTest,
               kRestlessHand,
               {"SensorNoDataTimeoutSeconds=30", "TimeoutPromptIntervalSeconds=5"}},
        Ending{"time_outs_below_five_seconds",
               "",
               "BADPARAMS",
               "",
               kProximityTest,
               kNoHand,
               {"TimeoutPromptIntervalSeconds=4"}}),
    [](const auto& row) { return std::string(row.param.label); });

class GyrometerHost : public ::testing::Test {
protected:
    vekr::testing::ScratchDir scratch_{"vekr-gyro-host"};
};

// Where the gyrometer's dialog can appear. A display that is named but does not answer is no
// display: a real machine says so and moves on, the simulated one runs its dialogs offscreen;
// an X server that answers shows them through Qt's xcb plugin.
struct DisplayRow {
    const char* label;
    const char* backend;
    // "@X" stands for a virtual X server's display, "@S" for one that never answers
    std::vector<std::string> env;
    const char* result;
    const char* said;  // in the run's note (CANNOTRUN) or the module log
};

void PrintTo(const DisplayRow& r, std::ostream* os) {
    *os << r.label;
}

class GyrometerDisplay : public ::testing::TestWithParam<DisplayRow> {
protected:
    vekr::testing::ScratchDir scratch_{"vekr-gyro-display"};
};

TEST_P(GyrometerDisplay, DecidesWhereTheDialogAppears) {
    const DisplayRow& row = GetParam();
    std::optional<VirtualXServer> x;
    std::optional<SilentXServer> silent;
    std::vector<std::string> env = row.env;
    for (std::string& e : env) {
        if (e.ends_with("@X")) {
            x.emplace();
            if (!x->available())
                GTEST_SKIP() << "Xvfb is not installed";
            e.replace(e.size() - 2, 2, x->display());
        } else if (e.ends_with("@S")) {
            silent.emplace();
            ASSERT_TRUE(silent->available());
            e.replace(e.size() - 2, 2, silent->display());
        }
    }
    FakeSysfs sysfs;
    sysfs.add(0, layouts::hidGyro3d);
    env.push_back("VEKR_SYSFS_ROOT=" + sysfs.root().string());
    const ModuleOutcome o = runModule(
        {"--backend", row.backend, "--test", "GyrometerTest", "--report", "-", "--log", "log.txt"},
        scratch_.path().string(), env);
    const auto report = nlohmann::json::parse(o.out);
    ASSERT_EQ(report["runs"].size(), 1u) << o.out;
    const auto& run = report["runs"][0];
    EXPECT_EQ(run["result"], row.result) << run.dump(2);
    EXPECT_EQ(o.exitCode, run["code"]) << o.err;
    std::ifstream in(scratch_ / "log.txt");
    std::string said((std::istreambuf_iterator<char>(in)), {});
    if (run.contains("notes"))
        said += run["notes"].dump();
    EXPECT_NE(said.find(row.said), std::string::npos) << said;
}

INSTANTIATE_TEST_SUITE_P(
    Display, GyrometerDisplay,
    ::testing::Values(DisplayRow{"none_on_a_real_machine",
                                 "iio",
                                 {},
                                 "CANNOTRUN",
                                 "neither DISPLAY nor WAYLAND_DISPLAY is set"},
                      DisplayRow{"unreachable_x_on_a_real_machine",
                                 "iio",
                                 {"DISPLAY=:97"},
                                 "CANNOTRUN",
                                 R"(cannot connect to the X display \":97\")"},
                      DisplayRow{"x_server_that_never_answers",
                                 "iio",
                                 {"DISPLAY=@S"},
                                 "CANNOTRUN",
                                 "did not answer within 2 s"},
                      DisplayRow{"wayland_without_xwayland",
                                 "iio",
                                 {"WAYLAND_DISPLAY=wayland-9"},
                                 "CANNOTRUN",
                                 "without XWayland"},
                      DisplayRow{"unreachable_x_on_the_simulated_machine",
                                 "sim",
                                 {"DISPLAY=:97"},
                                 "PASS",
                                 "GUI toolkit started on offscreen"},
                      DisplayRow{
                          "x_server", "sim", {"DISPLAY=@X"}, "PASS", "GUI toolkit started on xcb"}),
    [](const auto& row) { return std::string(row.param.label); });

// Only the dialogs start the GUI toolkit: a run of the tests without one never does.
TEST_F(GyrometerHost, NonInteractiveTestsNeverStartTheToolkit) {
    const ModuleOutcome o = runModule({"--backend", "sim", "--test", "AccelerometerTest", "--test",
                                       "AmbientLightSensorTest", "--log", "log.txt"},
                                      scratch_.path().string());
    EXPECT_EQ(o.exitCode, 0) << o.err;
    std::ifstream in(scratch_ / "log.txt");
    const std::string log((std::istreambuf_iterator<char>(in)), {});
    EXPECT_NE(log.find("AccelerometerTest"), std::string::npos) << "the log was written";
    EXPECT_EQ(log.find("GUI toolkit started"), std::string::npos);

    const ModuleOutcome gyro =
        runModule({"--backend", "sim", "--test", "GyrometerTest", "--log", "log2.txt"},
                  scratch_.path().string());
    std::ifstream in2(scratch_ / "log2.txt");
    const std::string log2((std::istreambuf_iterator<char>(in2)), {});
    EXPECT_NE(log2.find("GUI toolkit started on offscreen"), std::string::npos) << log2;
}

}  // namespace
