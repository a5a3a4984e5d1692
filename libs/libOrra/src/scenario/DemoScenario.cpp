#include <string_view>

#include "libOrra/Scenario.h"

namespace libOrra {

// The embedded demo: one healthy sensor of each kind and a person who does what each dialog
// asks, so that the five tests pass headless in a few seconds.
std::string_view demoScenarioText() {
    return R"({
  "display": {"rotation": 0},
  "sensors": [
    {"kind": "light", "locator": "SIM\\ALS\\0", "name": "Simulated ambient light sensor",
     "states": ["INITIALIZING", "READY"],
     "updates": [{"lux": 4.0}, {"lux": 120.5}]},
    {"kind": "accelerometer", "locator": "SIM\\ACCEL\\0", "name": "Simulated accelerometer",
     "states": ["READY"],
     "updates": [{"fail": true}, {"x": 0.01, "y": -0.02, "z": 0.99}],
     "poses": [{"at": 0.5, "hold": "upright"}, {"at": 2.0, "hold": "moving"},
               {"at": 2.3, "hold": "left-up"}, {"at": 3.8, "hold": "moving"},
               {"at": 4.1, "hold": "face-up"}]},
    {"kind": "magnetometer", "locator": "SIM\\COMPASS\\0", "name": "Simulated compass",
     "heading": {"start": 10, "follow": "target", "degreesPerSecond": 90}},
    {"kind": "gyrometer", "locator": "SIM\\GYRO\\0", "name": "Simulated gyrometer",
     "motion": [{"seconds": 0.5, "rate": [60, 0, 0]}, {"seconds": 1.0, "rate": [-60, 0, 0]},
                {"seconds": 0.5, "rate": [0, 60, 0]}, {"seconds": 1.0, "rate": [0, -60, 0]},
                {"seconds": 0.5, "rate": [0, 0, 60]}, {"seconds": 1.0, "rate": [0, 0, -60]}]},
    {"kind": "proximity", "locator": "SIM\\PROX\\0", "name": "Simulated proximity sensor",
     "readings": [{"at": 0.2, "detected": true, "mm": 100}, {"at": 0.4, "detected": true, "mm": 102},
                  {"at": 0.6, "detected": true, "mm": 101}, {"at": 0.8, "detected": true, "mm": 100},
                  {"at": 1.4, "detected": true, "mm": 160}, {"at": 1.6, "detected": true, "mm": 40}]}
  ],
  "operator": []
})";
}

}  // namespace libOrra
