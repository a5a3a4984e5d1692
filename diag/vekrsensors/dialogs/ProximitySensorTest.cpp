#include "ProximitySensorTest/ProximitySensorTest.h"

#include "ProximitySensorTest/ProximitySensorTestDlg.h"
#include "libLumo/GdiResourceManager.h"
#include "libTarra/Proximity.h"
#include "vek/Logging.h"
#include "vek/Resource.h"
#include "vekrsensors.h"

namespace {
std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "vekrsensors";

// Countdowns shorter than this would not give a person time to react.
constexpr std::int32_t kShortestTimeoutSeconds = 5;
// How long the bridge may take to list the sensors, in milliseconds.
constexpr unsigned kLocatorLookupMs = 500;

void readSetting(const char* key, std::uint32_t& value) {
    vek::String text;
    std::uint32_t parsed = 0;
    if (vek::Resource::getSetting(vek::String("vekrsensors"), vek::String(key), text,
                                  vek::VekLocale::getGlobalLocale()) &&
        vek::String::strToUInt(text, parsed, 10)) {
        value = parsed;
    }
}
}  // namespace

namespace vekrsensors {

ProximityPhases::Tuning readProximityTuning() {
    ProximityPhases::Tuning tuning;  // the defaults
    readSetting("Test.ProximitySensorTest.Phase2ThresholdPercent.value",
                tuning.phase2ThresholdPercent);
    readSetting("Test.ProximitySensorTest.Phase1ThresholdPercent.value",
                tuning.phase1ThresholdPercent);
    readSetting("Test.ProximitySensorTest.NumPhaseOneReadings.value", tuning.numPhaseOneReadings);
    return tuning;
}

}  // namespace vekrsensors

// The user holds a hand steady in front of the sensor, then moves it; the dialog judges.
kiva5::TestResult ProximitySensorTest(const kiva5::DiagDevice& device) {
    using kiva5::TestResult;
    VEK_TRACE(s_logger, kLoggerName, "ProximitySensorTest");

    const std::int32_t promptSeconds =
        vekrsensors::paramTimeoutPromptIntervalSeconds->value().valueInt32();
    const std::int32_t noDataSeconds =
        vekrsensors::paramSensorNoDataTimeoutSeconds->value().valueInt32();
    if (promptSeconds < kShortestTimeoutSeconds || noDataSeconds < kShortestTimeoutSeconds)
        return TestResult::BADPARAMS();

    const vek::String locator = device.osLocator().vekString();
    bool found = false;
    {
        const std::vector<vek::String> locators =
            libTarra::ProximitySensorEnumerator::getOsLocators(kLocatorLookupMs);
        for (const vek::String& l : locators) {
            if (l.compare(locator) == 0) {
                found = true;
                break;
            }
        }
    }
    if (!found) {
        kiva5::DiagModule::error(vekrsensors::evSensorStateNotAvailable, __FILE__, __LINE__);
        return TestResult::CANNOTRUN();
    }

    libLumo::GdiResourceManager gui;
    if (!gui.ready()) {
        VEK_LOG(s_logger, kLoggerName, 4, "No display to show the proximity dialog on");
        return TestResult::CANNOTRUN();
    }
    const vekrsensors::ProximityPhases::Tuning tuning = vekrsensors::readProximityTuning();
    // The installed settings may tune the judgement; the log says what this run used.
    VEK_LOG(s_logger, kLoggerName, 1,
            "Judging " << tuning.numPhaseOneReadings << " steady readings within "
                       << tuning.phase1ThresholdPercent << " %, then a move beyond "
                       << tuning.phase2ThresholdPercent << " %");
    const bool useTimeoutPrompt = vekrsensors::paramUseTimeoutPrompt->value().valueBool();
    const bool includeFailButton = vekrsensors::paramIncludeFailButton->value().valueBool();

    auto dialog = std::make_unique<vekrsensors::ProximitySensorTestDlg>(
        VekrGetCUIHandle(), locator, tuning.numPhaseOneReadings, tuning.phase1ThresholdPercent,
        tuning.phase2ThresholdPercent, includeFailButton, useTimeoutPrompt,
        static_cast<std::uint32_t>(promptSeconds), static_cast<std::uint32_t>(noDataSeconds));
    dialog->DoModal();
    return dialog->getTestResult();
}
