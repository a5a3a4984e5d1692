#include <atomic>

#include "ReadingStats.h"
#include "TestHelper.h"
#include "libOrra/Records.h"
#include "vek/Logging.h"
#include "vek/Stopwatch.h"
#include "vek/System.h"
#include "vekrsensors.h"

namespace {
std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "vekrsensors";

// Balances the test's CoInitializeEx on every way out, after everything else is released.
struct ComScope {
    ComScope() { CoInitializeEx(nullptr, COINIT_MULTITHREADED); }
    ~ComScope() { CoUninitialize(); }
};
}  // namespace

#define LOG(priority, expr) VEK_LOG(s_logger, kLoggerName, priority, expr)

// Samples the light sensor of `device` until a reading rises above LuxValueThreshold or the
// wait time has passed (then FAIL, or WARN when WarnOnBelowThreshold is set).
kiva5::TestResult AmbientLightSensorTest(const kiva5::DiagDevice& device) {
    using kiva5::DataType;
    using kiva5::DiagModule;
    using kiva5::KivaString;
    using kiva5::TestResult;
    using kiva5::Value;
    ComScope com;
    VEK_TRACE(s_logger, kLoggerName, "AmbientLightTest");

    vek::Array<std::unique_ptr<libOrra::AmbientLightSensor>> sensors;
    if (!libOrra::getAmbientLightSensors(sensors)) {
        LOG(4, "Ambient light device could not be obtained");
        return TestResult::NODEVICE();
    }
    LOG(1, "Light sensor count: " << static_cast<unsigned long>(sensors.size()));

    const vek::String locator = device.osLocator().vekString();
    std::size_t index = 0;
    libOrra::AmbientLightSensor* match = findSensorByLocator(sensors, locator, index);
    if (!match) {
        LOG(4, "Test device could not be found on the system, OSLocator = \"" << locator << "\"");
        return TestResult::NODEVICE();
    }
    libOrra::AmbientLightSensor& sensor = *match;
    // "Accelerometer" in the light test's line is the log's own wording, kept as it is.
    LOG(1, "Checking threshold for Accelerometer " << static_cast<unsigned long>(index));

    const TestResult state = checkSensorState(sensor);
    if (state != TestResult::PASS())
        return state;

    const double threshold = vekrsensors::paramLuxValueThreshold->value().valueDouble();
    const double waitTime = vekrsensors::paramLuxValueWaitTime->value().valueDouble();
    if (!(threshold >= 0.0 && threshold <= 255.0)) {
        vekrsensors::evBadParametersRange
            ->setVariable(KivaString("ParameterName"),
                          Value("Test.AmbientLightSensorTest.LuxValueThreshold.value"))
            .setVariable(KivaString("ParameterValue"), Value(threshold, DataType::DOUBLE()))
            .setVariable(KivaString("RangeMin"), Value(0.0, DataType::DOUBLE()))
            .setVariable(KivaString("RangeMax"), Value(255.0, DataType::DOUBLE()));
        // A warning on purpose: the parameters are wrong, not the sensor.
        DiagModule::warning(vekrsensors::evBadParametersRange, __FILE__, __LINE__);
        return TestResult::BADPARAMS();
    }
    const bool warnOnly = vekrsensors::paramWarnOnBelowThreshold->isset()
                              ? vekrsensors::paramWarnOnBelowThreshold->value().valueBool()
                              : false;

    vekrsensors::SensorEventSink sink(sensor.m_pSensor);
    sensor.m_pSensor->SetEventSink(&sink);

    vekrsensors::ReadingStats stats(
        {"illuminance", "The light sensor's last reading in the run.", 0.0, "lux", "lux", 1.0},
        "> " + Value::formatDouble(threshold));
    vek::Stopwatch watch;
    for (;;) {
        if (!sensor.update()) {
            stats.addFailure();
            if (watch.getElapsed() > waitTime) {
                stats.report(watch.getElapsed());
                LOG(4, "Failed to update sensor data");
                DiagModule::error(vekrsensors::evSensorNoData, __FILE__, __LINE__);
                return TestResult::FAIL();
            }
            vek::System::mssleep(10);
            continue;
        }
        const float lux = sensor.lux;
        stats.add(static_cast<double>(lux));
        LOG(1, "Read Lux Value: " << lux << " (Time remaining: " << (waitTime - watch.getElapsed())
                                  << ")");
        if (static_cast<double>(lux) > threshold) {
            stats.report(watch.getElapsed());
            return TestResult::PASS();
        }
        if (watch.getElapsed() > waitTime) {
            stats.report(watch.getElapsed());
            LOG(1, "Ambient light sensor value ("
                       << lux << ") did not surpass the threshold value (" << threshold << ")");
            // The tip stays on the process-wide event from now on.
            vekrsensors::evSensorTimeout->addTip(kiva5::Tip::createTip(
                KivaString("EnsureLightCanReachSensor"), kiva5::TipType::TEXT_TIP()));
            if (warnOnly) {
                DiagModule::warning(vekrsensors::evSensorTimeout, __FILE__, __LINE__);
                return TestResult::WARN();
            }
            DiagModule::error(vekrsensors::evSensorTimeout, __FILE__, __LINE__);
            return TestResult::FAIL();
        }
        vek::System::mssleep(50);
    }
}
