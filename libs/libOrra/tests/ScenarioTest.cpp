#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include <cmath>

#include "libOrra/Recorder.h"
#include "libOrra/Scenario.h"

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
