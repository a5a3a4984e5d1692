#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include <algorithm>

#include "libOrra/Scenario.h"

namespace {

using libOrra::parseScenario;
using libOrra::ScenarioError;
using libOrra::SensorKind;

TEST(Scenario, ReadsEveryPartOfTheFormat) {
    const auto sc = parseScenario(R"({
      "display": {"rotation": 2},
      "sensors": [
        {"kind": "accelerometer", "locator": "SIM\\ACCEL\\0", "name": "A",
         "states": ["INITIALIZING", "READY", 7, -1],
         "updates": [{"fail": true}, {"x": 0.0, "y": 0.02, "z": 0.99}]},
        {"kind": "light", "locator": "SIM\\ALS\\0", "updates": [{"lux": 12.5}]},
        {"kind": "gyrometer", "locator": "SIM\\GYRO\\0", "updates": [{"x": 1, "kind": 1}],
         "motion": [{"seconds": 0.6, "rate": [60, 0, 0]}, {"seconds": 1.2, "rate": [-60, 0, 0]}]},
        {"kind": "magnetometer", "locator": "SIM\\COMPASS\\0",
         "heading": {"start": 10, "follow": "target", "degreesPerSecond": 45},
         "updates": [{"heading": 5, "valid": false}]},
        {"kind": "proximity", "locator": "SIM\\PROX\\0",
         "readings": [{"at": 0.2, "detected": true, "mm": 100}, {"at": 0.4, "mm": 102}],
         "error": {"at": 9.0}, "faults": {"chatterSeconds": 0.05}}],
      "operator": [{"at": 2.0, "dialog": "GyrometerTest", "press": "Fail"}],
      "devices": [{"capability": "Accelerometer", "locator": "sim\\accel\\0"}],
      "failEnumeration": ["light"],
      "stop": {"at": 30.0}})",
                                  "full.json");
    EXPECT_EQ(sc.rotation, 2u);
    ASSERT_EQ(sc.sensors.size(), 5u);
    const auto& accel = sc.sensors[0];
    EXPECT_EQ(accel.kind, SensorKind::Accelerometer);
    EXPECT_EQ(accel.states, (std::vector<std::int32_t>{3, 0, 7, -1}));
    ASSERT_EQ(accel.updates.size(), 2u);
    EXPECT_TRUE(accel.updates[0].fail);
    EXPECT_DOUBLE_EQ(*accel.updates[1].z, 0.99);
    EXPECT_EQ(sc.sensors[1].name, "Simulated light") << "a default name";
    EXPECT_EQ(sc.sensors[2].updates[0].kind, 1);
    ASSERT_EQ(sc.sensors[2].motion.size(), 2u);
    EXPECT_DOUBLE_EQ(sc.sensors[2].motion[1].rate[0], -60.0);
    EXPECT_TRUE(sc.sensors[3].heading->followTarget);
    EXPECT_DOUBLE_EQ(sc.sensors[3].heading->degreesPerSecond, 45.0);
    EXPECT_EQ(sc.sensors[3].updates[0].valid, false);
    EXPECT_EQ(sc.sensors[4].readings[1].detected, false);
    EXPECT_EQ(sc.sensors[4].readings[1].mm, 102u);
    EXPECT_DOUBLE_EQ(*sc.sensors[4].errorAt, 9.0);
    EXPECT_DOUBLE_EQ(*sc.sensors[4].faults.chatterSeconds, 0.05);
    ASSERT_EQ(sc.operatorActions.size(), 1u);
    EXPECT_EQ(sc.operatorActions[0].press, "Fail");
    ASSERT_TRUE(sc.devices.has_value());
    EXPECT_EQ((*sc.devices)[0].locator, "sim\\accel\\0");
    EXPECT_EQ(sc.failEnumeration, std::vector<SensorKind>{SensorKind::Light});
    EXPECT_DOUBLE_EQ(*sc.stopAt, 30.0);
}

TEST(Scenario, NullRotationMeansUnreadable) {
    EXPECT_FALSE(parseScenario(R"({"display": {"rotation": null}, "sensors": []})", "f")
                     .rotation.has_value());
    EXPECT_EQ(parseScenario(R"({"sensors": []})", "f").rotation, 0u);
}

TEST(Scenario, DemoParsesWithOneSensorOfEachKind) {
    const auto sc = parseScenario(libOrra::demoScenarioText(), "demo");
    for (SensorKind kind : libOrra::kAllSensorKinds) {
        EXPECT_EQ(std::count_if(sc.sensors.begin(), sc.sensors.end(),
                                [kind](const auto& s) { return s.kind == kind; }),
                  1)
            << libOrra::kindName(kind);
    }
}

// malformed_scenarios.json: each text with the one-line message it must be refused with
// (the file, the JSON pointer of the fault, what was expected there).
struct BadRow {
    std::string text;
    std::string message;
};

void PrintTo(const BadRow& r, std::ostream* os) {
    // The input too: two inputs may fail the same way.
    std::string text = r.text;
    std::replace(text.begin(), text.end(), '\n', ' ');
    *os << r.message << " <- " << text;
}

std::vector<BadRow> badRows() {
    std::vector<BadRow> rows;
    for (const auto& e : nlohmann::json::parse(
             std::ifstream(VEKR_TEST_DATA "/malformed_scenarios.json")))
        rows.push_back({e.at("text"), e.at("message")});
    return rows;
}

class MalformedScenario : public ::testing::TestWithParam<BadRow> {};

TEST_P(MalformedScenario, IsRejectedNamingFilePlaceAndExpectation) {
    try {
        parseScenario(GetParam().text, "bad.json");
        GTEST_FAIL() << "accepted";
    } catch (const ScenarioError& e) {
        EXPECT_EQ(std::string(e.what()), GetParam().message);
    }
}

INSTANTIATE_TEST_SUITE_P(Table, MalformedScenario, ::testing::ValuesIn(badRows()));

}  // namespace
