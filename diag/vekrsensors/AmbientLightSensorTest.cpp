#include "vekrsensors.h"

// The measurement arrives with the sensor backends; until then the framework is told that
// this test cannot run, never that it passed.
kiva5::TestResult AmbientLightSensorTest(const kiva5::DiagDevice&) {
    return kiva5::TestResult::CANNOTRUN();
}
