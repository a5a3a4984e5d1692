#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include <cmath>

#include "libOrra/Recorder.h"
#include "libOrra/Scenario.h"
#include "vek/Clock.h"

namespace {

using libOrra::parseScenario;
using libOrra::ScenarioError;
using libOrra::SensorKind;

// What each part of a scenario does is checked by its effect: the command-line cases and the
// workers' tables run on scenarios that use every part of the format, the embedded demo
// included (its device listing and its five verdicts).

// Ten minutes of a gyrometer read at 100 Hz, turned by a hand: at most 100 bytes a reading,
// and the recording is read back as a scenario.
TEST(Recording, ALongGyrometerRunStaysSmallAndIsReadBack) {
    libOrra::Recorder recorder;
    recorder.sensor({SensorKind::Gyrometer, "/sys/devices/platform/HID-SENSOR-200076.3/iio:device4",
                     "gyro_3d", ""});
    constexpr int kReadings = 10 * 60 * 100;
    for (int i = 0; i < kReadings; ++i) {
        libOrra::Sample s;
        s.x = 123.456789 * std::sin(i * 0.01), s.y = -98.7654321 * std::cos(i * 0.013), s.z = 0.5;
        recorder.update("/sys/devices/platform/HID-SENSOR-200076.3/iio:device4",
                        SensorKind::Gyrometer, i % 97 ? std::optional(s) : std::nullopt);
    }
    const std::string text = recorder.scenarioText(R"({"module": "vekrsensors.vkm"})");
    EXPECT_LE(text.size(), 100u * kReadings);
    const auto sc = parseScenario(text, "rec.json");
    ASSERT_EQ(sc.sensors.size(), 1u);
    ASSERT_EQ(sc.sensors[0].updates.size(), static_cast<std::size_t>(kReadings));
    EXPECT_TRUE(sc.sensors[0].updates[0].fail);
    EXPECT_NEAR(*sc.sensors[0].updates[1].x, 1.23455, 1e-5);  // six significant digits
}

// A scenario written and read back is the same scenario: the embedded demo, and one with
// every part the demo leaves out.
TEST(ScenarioText, IsReadBackAsTheSameScenario) {
    const char* everyOtherPart = R"({"display": {"rotation": null},
      "sensors": [{"kind": "accelerometer", "locator": "A", "states": [0, "ERROR"],
                   "mounting": "0, -1, 0; 1, 0, 0; 0, 0, 1", "matrix": "-1, 0, 0; 0, 1, 0; 0, 0, 1",
                   "modalias": "acpi:BOSC0200:BOSC0200:",
                   "faults": {"disappearAt": 2, "failEvery": 3, "stuckAxis": "z", "silent": true}},
                  {"kind": "gyrometer", "locator": "G", "updates": [{"x": 1, "kind": 0}]},
                  {"kind": "magnetometer", "locator": "M",
                   "updates": [{"at": 0.5, "heading": 3, "fromTarget": -2, "valid": false}]},
                  {"kind": "proximity", "locator": "P", "error": {"at": 1.5},
                   "faults": {"chatterSeconds": 0.25}}],
      "operator": [{"at": 1, "dialog": "Results", "press": "Exit"}],
      "devices": [], "failEnumeration": ["light"], "dmi": {"vendor": "V", "product": "P"},
      "stop": {"at": 3}})";
    for (const std::string_view text :
         {libOrra::demoScenarioText(), std::string_view(everyOtherPart)}) {
        const auto scenario = parseScenario(text, "in.json");
        const std::string written = libOrra::writeScenario(scenario);
        EXPECT_TRUE(parseScenario(written, "written.json") == scenario) << written;
    }
}

// A recording is laid out as recordings always were, and is read and written again byte for
// byte.
TEST(ScenarioText, ARecordingIsWrittenAgainAsItWasRecorded) {
    vek::ManualClock clock;
    vek::Clock::installForTesting(&clock);
    libOrra::Recorder recorder;
    recorder.rotation(std::nullopt);
    recorder.sensor({SensorKind::Magnetometer, "M", "compass", ""});
    recorder.state("M", 3);
    recorder.headingTarget(90.0);
    libOrra::Sample s;
    s.heading = 100.123456789, s.x = 1.5, s.kind = 1, s.lux = 12.5f;
    clock.advance(std::chrono::milliseconds(20));
    recorder.update("M", SensorKind::Magnetometer, s);
    recorder.update("M", SensorKind::Magnetometer, std::nullopt);
    recorder.sensor({SensorKind::Gyrometer, "G", "gyro", ""});
    recorder.update("G", SensorKind::Gyrometer, s);
    recorder.sensor({SensorKind::Proximity, "P", "prox", ""});
    recorder.proximity("P", true, 40);
    recorder.proximityError("P");
    recorder.press("MagnetometerTest", "Fail", 1.25);
    recorder.stop(2);
    const std::string text = recorder.scenarioText(R"({"module":"m"})");
    vek::Clock::installForTesting(nullptr);
    EXPECT_EQ(text, R"({
 "recording": {"module":"m"},
 "display": {"rotation":null},
 "sensors": [
  {"kind": "magnetometer", "locator": "M", "name": "compass",
   "states": [3],
   "updates": [
    {"at":0.02,"fromTarget":10.1235,"heading":100.123,"valid":false},
    {"at":0.02,"fail":true}
  ]},
  {"kind": "gyrometer", "locator": "G", "name": "gyro",
   "updates": [
    {"at":0.02,"kind":1,"x":1.5,"y":0.0,"z":0.0}
  ]},
  {"kind": "proximity", "locator": "P", "name": "prox",
   "readings": [
    {"at":0.02,"detected":true,"mm":40}
  ],
   "error": {"at":0.02}}
 ],
 "operator": [
   {"at":1.25,"dialog":"MagnetometerTest","press":"Fail"}
 ],
 "stop": {"at":0.02,"run":2}
}
)");
    EXPECT_EQ(libOrra::writeScenario(parseScenario(text, "rec.json")), text);
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

// A text that is valid JSON may be written as that JSON; a long message in pieces.
std::vector<BadRow> badRows() {
    std::vector<BadRow> rows;
    for (const auto& e :
         nlohmann::json::parse(std::ifstream(VEKR_TEST_DATA "/malformed_scenarios.json"))) {
        std::string message;
        for (const auto& piece :
             e.at("message").is_array() ? e["message"] : nlohmann::json{e["message"]})
            message += piece.get<std::string>();
        rows.push_back(
            {e.at("text").is_string() ? e["text"].get<std::string>() : e["text"].dump(), message});
    }
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
