#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include <algorithm>

#include "libOrra/Scenario.h"

namespace {

using libOrra::parseScenario;
using libOrra::ScenarioError;
using libOrra::SensorKind;

// What each part of a scenario does is checked by its effect: the command-line cases and the
// workers' tables run on scenarios that use every part of the format.
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
    for (const auto& e :
         nlohmann::json::parse(std::ifstream(VEKR_TEST_DATA "/malformed_scenarios.json")))
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
