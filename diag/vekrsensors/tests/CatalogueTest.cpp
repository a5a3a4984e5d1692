#include <gtest/gtest.h>

#include "kiva5/Catalogue.h"
#include "vekrsensors.h"

namespace {

using Kind = kiva5::Catalogue::Kind;

std::string describe(const kiva5::Catalogue::Declaration& d) {
    const char* kinds[] = {"key", "event", "parameter", "test"};
    return std::string(kinds[static_cast<int>(d.kind)]) + " " + d.name;
}

TEST(Catalogue, IsDeclaredInTheFixedOrder) {
    const std::vector<std::string> expected = {
        "key TitleGyrometerTest",
        "key TitleMagnetometerTest",
        "key ProximitySensorTestTitle",
        "key PleaseHoldSteady",
        "key SensorCantSeeYou",
        "key MoveTowardOrAway",
        "key BUTTON_RESTART_TEST",
        "key BUTTON_EXIT_TEST",
        "key TIMEOUT_PROMPT_TITLE",
        "key TIMEOUT_PROMPT_TEXT",
        "event SensorState_NotAvailable",
        "event SensorState_Invalid",
        "event SensorState_Error",
        "event SensorState_AccessDenied",
        "event Sensor_Timeout",
        "event Sensor_InvalidUpdateData",
        "event Sensor_NoData",
        "event UserClickedFail",
        "event BadParametersRange",
        "parameter SensorStateTimeout",
        "key FailButton",
        "key CancelButton",
        "parameter LuxValueThreshold",
        "parameter LuxValueWaitTime",
        "parameter WarnOnBelowThreshold",
        "parameter AccelerometerThreshold",
        "parameter AccelerometerWaitTime",
        "parameter AccelerometerTarget",
        "parameter DegreesThreshold",
        "parameter MagnetometerWaitTime",
        "parameter IncludeFailButton",
        "parameter UseTimeoutPrompt",
        "parameter TimeoutPromptIntervalSeconds",
        "parameter SensorNoDataTimeoutSeconds",
        "test AmbientLightSensorTest",
        "test AccelerometerTest",
        "test MagnetometerTest",
        "test GyrometerTest",
        "test ProximitySensorTest",
    };
    std::vector<std::string> actual;
    for (const auto& d : kiva5::Catalogue::global().declarations())
        actual.push_back(describe(d));
    EXPECT_EQ(actual, expected);
}

}  // namespace
