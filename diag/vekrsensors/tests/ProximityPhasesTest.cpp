// The proximity phase machine with written-out readings.
#include <gtest/gtest.h>

#include "ProximitySensorTest/ProximityPhases.h"

namespace {

using vekrsensors::ProximityPhases;
using Phase = ProximityPhases::Phase;

struct Reading {
    bool detected;
    std::uint32_t mm;
};

struct Row {
    const char* label;
    ProximityPhases::Tuning tuning;
    Phase start;
    std::deque<std::uint32_t> window;  // the baseline before the readings
    std::vector<Reading> readings;
    Phase end;
    std::deque<std::uint32_t> endWindow;
    bool pass;
    bool promptReset;  // the last reading made progress
};

void PrintTo(const Row& r, std::ostream* os) {
    *os << r.label;
}

class PhaseMachine : public ::testing::TestWithParam<Row> {};

TEST_P(PhaseMachine, GoesWhereItsReadingsLead) {
    const Row& row = GetParam();
    ProximityPhases machine(row.tuning);
    machine.phase = row.start;
    machine.readings = row.window;
    ProximityPhases::Effects last;
    bool passed = false;
    for (const Reading& r : row.readings) {
        last = machine.newReading(r.detected, r.mm);
        passed = passed || last.pass;
    }
    EXPECT_EQ(machine.phase, row.end);
    EXPECT_EQ(machine.readings, row.endWindow);
    EXPECT_EQ(passed, row.pass);
    EXPECT_EQ(last.resetPromptCountdown, row.promptReset);
}

const ProximityPhases::Tuning kDefault{3, 10, 15};
const std::deque<std::uint32_t> kBaseline100{100, 100, 100};

INSTANTIATE_TEST_SUITE_P(
    Proximity, PhaseMachine,
    ::testing::Values(
        // m = 101, s = 1, s/m = 0.0099 < 0.10: steady on the third reading.
        Row{"steady_baseline",
            kDefault,
            Phase::HoldSteady,
            {},
            {{true, 100}, {true, 102}, {true, 101}},
            Phase::MoveNow,
            {100, 102, 101},
            false,
            true},
        // s/m = 0.16: not steady, and the window slides on: 130,100,100 (0.157) still not,
        // 100,100,100 is.
        Row{"unsteady_then_sliding",
            kDefault,
            Phase::HoldSteady,
            {},
            {{true, 100}, {true, 130}, {true, 100}},
            Phase::HoldSteady,
            {100, 130, 100},
            false,
            false},
        Row{"sliding_window_settles",
            kDefault,
            Phase::HoldSteady,
            {100, 130, 100},
            {{true, 100}, {true, 100}},
            Phase::MoveNow,
            {100, 100, 100},
            false,
            true},
        // Band 15 % around 100: low 85.0, high 114.99999999999999.
        Row{"85_is_inside",
            kDefault,
            Phase::MoveNow,
            kBaseline100,
            {{true, 85}},
            Phase::MoveNow,
            kBaseline100,
            false,
            false},
        Row{"84_passes",
            kDefault,
            Phase::MoveNow,
            kBaseline100,
            {{true, 84}},
            Phase::MoveNow,
            kBaseline100,
            true,
            false},
        Row{"86_to_114_are_inside",
            kDefault,
            Phase::MoveNow,
            kBaseline100,
            {{true, 86}, {true, 100}, {true, 114}},
            Phase::MoveNow,
            kBaseline100,
            false,
            false},
        Row{"115_passes_just_above_the_rounded_bound",
            kDefault,
            Phase::MoveNow,
            kBaseline100,
            {{true, 115}},
            Phase::MoveNow,
            kBaseline100,
            true,
            false},
        // Detected at 0 mm is nothing seen; the object's return keeps the baseline.
        Row{"distance_0_is_unseen",
            kDefault,
            Phase::MoveNow,
            kBaseline100,
            {{true, 0}},
            Phase::Lost,
            kBaseline100,
            false,
            false},
        Row{"found_again_after_the_baseline",
            kDefault,
            Phase::Lost,
            kBaseline100,
            {{false, 0}, {true, 100}},
            Phase::MoveNow,
            kBaseline100,
            false,
            false},
        // Losing the object in phase 0 drops the oldest reading; the next seen one only
        // brings phase 0 back and is not added.
        Row{"window_shortens_in_phase_0",
            kDefault,
            Phase::HoldSteady,
            {100, 102},
            {{false, 0}, {true, 101}},
            Phase::HoldSteady,
            {102},
            false,
            false},
        Row{"shortened_window_fills_again",
            kDefault,
            Phase::HoldSteady,
            {100, 102},
            {{false, 0}, {true, 101}, {true, 100}, {true, 101}},
            Phase::MoveNow,
            {102, 100, 101},
            false,
            true},
        Row{"the_first_reading_only_leaves_phase_1",
            kDefault,
            Phase::CantSeeYou,
            {},
            {{true, 100}},
            Phase::HoldSteady,
            {},
            false,
            false},
        // One reading has no spread, none has no mean: never steady.
        Row{"one_baseline_reading_is_never_steady",
            {1, 10, 15},
            Phase::HoldSteady,
            {},
            {{true, 100}, {true, 100}, {true, 100}},
            Phase::HoldSteady,
            {100},
            false,
            false},
        Row{"zero_baseline_readings_is_never_steady",
            {0, 10, 15},
            Phase::HoldSteady,
            {},
            {{true, 100}, {true, 100}},
            Phase::HoldSteady,
            {},
            false,
            false},
        Row{"the_prompt_ignores_readings",
            kDefault,
            Phase::Prompt,
            kBaseline100,
            {{true, 10}, {false, 0}},
            Phase::Prompt,
            kBaseline100,
            false,
            false}),
    [](const auto& row) { return std::string(row.param.label); });

}  // namespace
