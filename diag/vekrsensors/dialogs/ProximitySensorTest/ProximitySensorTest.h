#pragma once

#include "ProximityPhases.h"

namespace vekrsensors {

// The phase machine's tuning from the module's settings ("Test.ProximitySensorTest.*.value",
// unsigned decimal): a key that is missing or does not parse keeps its default (3 readings,
// 10 % and 15 %). Not range-checked: any unsigned value is taken, 0 included.
ProximityPhases::Tuning readProximityTuning();

}  // namespace vekrsensors
