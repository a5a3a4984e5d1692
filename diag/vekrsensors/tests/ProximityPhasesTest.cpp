// The proximity phase machine with written-out readings, from proximity_phases.json: each
// row starts the machine in a phase with a window of earlier readings, feeds it readings and
// says where it must end, what window it keeps, whether it passed and whether the last reading
// counted as progress (restarting the prompt's countdown).
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "ProximitySensorTest/ProximityPhases.h"
#include "TableRows.h"

namespace {

using vekrsensors::ProximityPhases;

using vekr::testing::TableRow;

std::int32_t phaseNamed(const std::string& name) {
    const std::map<std::string, std::int32_t> phases{{"HoldSteady", ProximityPhases::HoldSteady},
                                                     {"CantSeeYou", ProximityPhases::CantSeeYou},
                                                     {"MoveNow", ProximityPhases::MoveNow},
                                                     {"Lost", ProximityPhases::Lost},
                                                     {"Prompt", ProximityPhases::Prompt}};
    return phases.at(name);
}

class PhaseMachine : public ::testing::TestWithParam<TableRow> {};

TEST_P(PhaseMachine, GoesWhereItsReadingsLead) {
    const nlohmann::json& row = GetParam().entry;
    const auto tuning = row.at("tuning").get<std::vector<std::uint32_t>>();
    ProximityPhases machine({tuning.at(0), tuning.at(1), tuning.at(2)});
    machine.phase = phaseNamed(row.at("start"));
    for (std::uint32_t mm : row.at("window"))
        machine.readings.push_back(mm);
    ProximityPhases::Effects last;
    bool passed = false;
    for (const auto& r : row.at("readings")) {
        last = machine.newReading(r.at(0).get<bool>(), r.at(1).get<std::uint32_t>());
        passed = passed || last.pass;
    }
    EXPECT_EQ(machine.phase, phaseNamed(row.at("end")));
    EXPECT_EQ(std::vector<std::uint32_t>(machine.readings.begin(), machine.readings.end()),
              row.at("endWindow").get<std::vector<std::uint32_t>>());
    EXPECT_EQ(passed, row.at("pass").get<bool>());
    EXPECT_EQ(last.resetPromptCountdown, row.at("promptReset").get<bool>());
}

INSTANTIATE_TEST_SUITE_P(Proximity, PhaseMachine,
                         ::testing::ValuesIn(vekr::testing::tableRows(
                             VEKR_SOURCE_DIR "/diag/vekrsensors/tests/proximity_phases.json")),
                         vekr::testing::rowLabel);

}  // namespace
