#include "ProximityPhases.h"

#include <cmath>

namespace vekrsensors {

double ProximityPhases::mean() const {
    if (readings.empty())
        return 0.0;
    double sum = 0.0;
    for (std::uint32_t r : readings)
        sum += r;
    return sum / static_cast<double>(readings.size());
}

ProximityPhases::Effects ProximityPhases::newReading(bool objectDetected, std::uint32_t distance) {
    Effects fx;
    const bool seen = objectDetected && distance != 0;
    const auto enter = [&](std::int32_t p) {
        phase = p;
        fx.enter = p;
    };
    switch (phase) {
        case HoldSteady: {
            if (!seen) {
                // The window loses its oldest reading; the rest wait for the object's return.
                if (!readings.empty())
                    readings.pop_front();
                enter(CantSeeYou);
                break;
            }
            readings.push_back(distance);
            if (readings.size() > tuning_.numPhaseOneReadings)
                readings.pop_front();
            if (readings.size() < tuning_.numPhaseOneReadings)
                break;
            const double m = mean();
            if (m == 0.0 || readings.size() < 2)
                break;  // one reading has no spread: never steady
            double squares = 0.0;
            for (std::uint32_t r : readings)
                squares += (r - m) * (r - m);
            const double s = std::sqrt(squares / static_cast<double>(readings.size() - 1));
            if (tuning_.phase1ThresholdPercent * 0.01 > s / m) {
                fx.resetPromptCountdown = true;
                enter(MoveNow);
            }
            break;
        }
        case CantSeeYou:
            if (seen)
                enter(HoldSteady);  // this reading is not part of the baseline
            break;
        case MoveNow: {
            if (!seen) {
                enter(Lost);
                break;
            }
            if (readings.size() < tuning_.numPhaseOneReadings)
                break;
            const double m = mean();
            if (m == 0.0)
                break;
            // The order of operations is part of the rule: with 15 % around 100 the upper
            // bound is 114.99999999999999, so 115 passes.
            const double p = tuning_.phase2ThresholdPercent * 0.01;
            const double low = (1.0 - p) * m;
            const double high = (1.0 + p) * m;
            if (distance < low || distance > high)
                fx.pass = true;
            break;
        }
        case Lost:
            if (seen)
                enter(MoveNow);  // the same baseline still holds
            break;
        default:
            break;  // the prompt is up
    }
    return fx;
}

}  // namespace vekrsensors
