#pragma once

#include <cstdint>
#include <deque>
#include <optional>

namespace vekrsensors {

// The proximity test's judgement as plain values: the phase, the baseline window of the last
// readings, and what one reading does to them. The dialog feeds it every reading and carries
// out what it answers (timers, texts, images, the verdict). Owned by the dialog's thread.
class ProximityPhases {
public:
    enum Phase : std::int32_t {
        HoldSteady = 0,  // something seen: collecting the baseline
        CantSeeYou = 1,  // nothing seen before a baseline exists (the start)
        MoveNow = 2,     // baseline taken: move toward or away
        Lost = 3,        // nothing seen after the baseline
        Prompt = 4,      // the detection-problem prompt is up: readings are ignored
    };

    struct Tuning {
        std::uint32_t numPhaseOneReadings = 3;      // readings in the baseline window
        std::uint32_t phase1ThresholdPercent = 10;  // steadiness: largest coefficient of variation
        std::uint32_t phase2ThresholdPercent = 15;  // the band a move must leave
    };

    // What a reading asks of the dialog.
    struct Effects {
        std::optional<std::int32_t> enter;  // a phase to show
        bool resetPromptCountdown = false;  // a steady baseline is progress
        bool pass = false;
    };

    explicit ProximityPhases(Tuning tuning) : tuning_(tuning) {}

    // One reading. An object reported at distance 0 counts as nothing seen.
    Effects newReading(bool objectDetected, std::uint32_t distance);
    // Mean of the window (0 for an empty one).
    double mean() const;

    std::int32_t phase = CantSeeYou;
    std::deque<std::uint32_t> readings;  // the baseline window, oldest first

private:
    Tuning tuning_;
};

}  // namespace vekrsensors
