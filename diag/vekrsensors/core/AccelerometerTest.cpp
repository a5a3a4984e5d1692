#include <atomic>
#include <cmath>

#include "ReadingStats.h"
#include "TestHelper.h"
#include "libOrra/Records.h"
#include "vek/Logging.h"
#include "vek/Stopwatch.h"
#include "vek/System.h"
#include "vekrsensors.h"

namespace {
std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "AccelerometerTest";
}  // namespace

#define LOG(priority, expr) VEK_LOG(s_logger, kLoggerName, priority, expr)

// Samples the accelerometer of `device` until the magnitude of its reading lies strictly inside
// target +/- threshold, or the wait time has passed.
kiva5::TestResult AccelerometerTest(const kiva5::DiagDevice& device) {
    using kiva5::DiagModule;
    using kiva5::TestResult;
    VEK_TRACE(s_logger, kLoggerName, "AccelerometerTest");

    vek::Array<std::unique_ptr<libOrra::Accelerometer>> accelerometers;
    if (!libOrra::getAccelerometers(accelerometers)) {
        LOG(4, "Accelerometer device could not be obtained");
        return TestResult::NODEVICE();
    }
    LOG(1, "Accelerometer count: " << static_cast<unsigned long>(accelerometers.size()));

    const vek::String locator = device.osLocator().vekString();
    std::size_t index = 0;
    libOrra::Accelerometer* match = findSensorByLocator(accelerometers, locator, index);
    if (!match) {
        LOG(4, "Test device could not be found on the system, OSLocator = \"" << locator << "\"");
        return TestResult::NODEVICE();
    }
    libOrra::Accelerometer& accelerometer = *match;
    LOG(1, "Checking threshold for Accelerometer " << static_cast<unsigned long>(index));

    const TestResult state = checkSensorState(accelerometer);
    if (state != TestResult::PASS())
        return state;

    const double threshold = vekrsensors::paramAccelerometerThreshold->value().valueDouble();
    const double waitTime = vekrsensors::paramAccelerometerWaitTime->value().valueDouble();
    const double target = vekrsensors::paramAccelerometerTarget->value().valueDouble();

    // Keeps the sensor's events flowing while we sample; the count is not used here.
    vekrsensors::SensorEventSink sink(accelerometer.m_pSensor);
    accelerometer.m_pSensor->SetEventSink(&sink);

    vekrsensors::ReadingStats stats(
        {"acceleration", "The accelerometer's last reading's magnitude in the run.", 0.0, "g",
         "meters_per_second_squared", 9.80665},
        kiva5::Value::formatDouble(target) + " +/- " + kiva5::Value::formatDouble(threshold));
    vek::Stopwatch watch;
    double magnitude = 0.0;
    for (;;) {
        if (!accelerometer.update()) {
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
        const double x = accelerometer.x, y = accelerometer.y, z = accelerometer.z;
        magnitude = std::sqrt(x * x + y * y + z * z);
        stats.add(magnitude);
        LOG(1, "Read Accelerometer Value: " << x << ", " << y << ", " << z << ", "
                                            << " (Time remaining: "
                                            << (waitTime - watch.getElapsed()) << ")");
        LOG(1, "Calculated magnitude: " << magnitude);
        // Both bounds strict: a magnitude exactly on a bound is not accepted.
        if (magnitude < target + threshold && magnitude > target - threshold) {
            stats.report(watch.getElapsed());
            // "outside" and the upper bound first: the wording is the log's, kept as it is.
            LOG(1, "The magnitude " << magnitude << " is outside the acceptable range of values: ("
                                    << (target + threshold) << ", " << (target - threshold) << ")");
            return TestResult::PASS();
        }
        if (watch.getElapsed() > waitTime) {
            stats.report(watch.getElapsed());
            LOG(1, "Accelerometer value (Magnitude: " << magnitude << " Raw Values: " << x << ","
                                                      << y << "," << z
                                                      << ") was not within the target (" << target
                                                      << ") threshold value (" << threshold << ")");
            DiagModule::error(vekrsensors::evSensorTimeout, __FILE__, __LINE__);
            return TestResult::FAIL();
        }
        vek::System::mssleep(50);
    }
}
