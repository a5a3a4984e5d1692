#include "MagnetometerTest/MagnetometerTest.h"

#include <cmath>
#include <cstdlib>
#include <ctime>

#include "DisplayRotation.h"
#include "MagnetometerTest/CompassMotion.h"
#include "MagnetometerTest/MagnetometerTestDlg.h"
#include "TestHelper.h"
#include "comptr.h"
#include "libLumo/GdiResourceManager.h"
#include "platform/WindowsNames.h"
#include "vek/Logging.h"
#include "vek/Stopwatch.h"
#include "vek/System.h"
#include "vekrsensors.h"

namespace {
std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "MagnetometerTest";

vekrsensors::DisplayRotation& displayRotation() {
    static vekrsensors::DisplayRotation rotation(s_logger, kLoggerName);
    return rotation;
}

// How long the worker waits for the sensor's first data event before it goes on regardless.
constexpr std::int64_t kFirstDataNanoseconds = 500'000'000;
// The heading is read at most this often; the needle moves on every pass.
constexpr std::int64_t kSamplingMilliseconds = 150;
}  // namespace

#define LOG(priority, expr) VEK_LOG(s_logger, kLoggerName, priority, expr)

namespace vekrsensors {

vek::String MagnetometerRun::testDeviceLocator;
std::atomic<bool> MagnetometerRun::backgroundRunFlag{true};
kiva5::TestResult MagnetometerRun::backgroundResult = kiva5::TestResult::CANNOTRUN();

bool getRotation(libOrra::Magnetometer& record, double& heading) {
    if (!record.update()) {
        kiva5::DiagModule::error(evSensorNoData, __FILE__, __LINE__);
        return false;
    }
    if (record.headingValid)
        heading = record.heading;
    return true;
}

bool getDisplayRotation(double& degrees) {
    DEVMODEW mode{};
    mode.dmSize = sizeof mode;
    if (EnumDisplaySettingsW(nullptr, ENUM_CURRENT_SETTINGS, &mode) == 0 ||
        !(mode.dmFields & DM_DISPLAYORIENTATION)) {
        return false;
    }
    switch (mode.dmDisplayOrientation) {
        case DMDO_DEFAULT:
            degrees = 0.0;
            return true;
        case DMDO_90:
            degrees = -90.0;
            return true;
        case DMDO_180:
            degrees = 180.0;
            return true;
        case DMDO_270:
            degrees = 90.0;
            return true;
        default:
            return false;
    }
}

}  // namespace vekrsensors

using vekrsensors::MagnetometerRun;
using vekrsensors::MagnetometerTestDlg;

// The user turns the device until the needle meets the marker and holds it there; a worker
// reads the heading and decides.
kiva5::TestResult MagnetometerTest(const kiva5::DiagDevice& device) {
    using kiva5::TestResult;
    VEK_TRACE(s_logger, kLoggerName, "MagnetometerTest");
    COMInitializer com;

    libLumo::GdiResourceManager gui;
    if (!gui.ready()) {
        LOG(4, "No display to show the compass dialog on");
        return TestResult::CANNOTRUN();
    }

    displayRotation().lockAutoRotation();
    MagnetometerRun::testDeviceLocator = device.osLocator().vekString();

    MagnetometerTestDlg dialog(VekrGetCUIHandle());
    return vekrsensors::runDialogWithWorker(
        dialog, &MagnetometerBackgroundData, "CompassData",
        {MagnetometerRun::backgroundRunFlag, MagnetometerRun::backgroundResult, s_logger,
         kLoggerName, __FILE__, __LINE__});
}

namespace {

// However the worker leaves: first its COM apartment goes, then the dialog is told to close.
struct CloseDialogOnExit {
    MagnetometerTestDlg* dialog;
    ~CloseDialogOnExit() { dialog->ShutdownUI(); }
};
struct UninitializeOnExit {
    ~UninitializeOnExit() { CoUninitialize(); }
};

int settle(const kiva5::TestResult& result) {
    MagnetometerRun::backgroundResult = result;
    return 1;
}

}  // namespace

int MagnetometerBackgroundData(vek::ManagedThread& thread) {
    using kiva5::TestResult;
    auto* dialog = static_cast<MagnetometerTestDlg*>(thread.getContext());
    const CloseDialogOnExit closeDialog{dialog};

    const double threshold = vekrsensors::paramDegreesThreshold->value().valueDouble();
    const double waitTime = vekrsensors::paramMagnetometerWaitTime->value().valueDouble();

    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    const UninitializeOnExit uninitialize;

    vek::Array<std::unique_ptr<libOrra::Magnetometer>> magnetometers;
    if (!libOrra::getMagnetometers(magnetometers)) {
        LOG(4, "Magnetometer devices could not be obtained");
        return settle(TestResult::NODEVICE());
    }
    LOG(1, "Magnetometer count: " << static_cast<unsigned long>(magnetometers.size()));
    std::size_t index = 0;
    libOrra::Magnetometer* compass =
        findSensorByLocator(magnetometers, MagnetometerRun::testDeviceLocator, index);
    if (!compass) {
        LOG(4, "Test device could not be found on the system, OSLocator = \""
                   << MagnetometerRun::testDeviceLocator << "\"");
        return settle(TestResult::NODEVICE());
    }
    LOG(1, "Checking threshold for magnetometer " << static_cast<unsigned long>(index));
    const TestResult state = checkSensorState(*compass);
    if (state != TestResult::PASS())
        return settle(state);

    // A sensor that never reports is still tested, after a warning.
    vekrsensors::SensorEventSink sink(compass->m_pSensor);
    compass->m_pSensor->SetEventSink(&sink);
    vek::Stopwatch firstData;
    while (sink.getDataUpdateCount() < 1) {
        if (firstData.elapsed().count() > kFirstDataNanoseconds) {
            LOG(2, "Magnetometer not updating.");
            break;
        }
        vek::System::mssleep(10);
    }

    double heading = 0.0;
    if (!vekrsensors::getRotation(*compass, heading)) {
        LOG(4, "Could not get the rotation.");
        return 1;
    }
    double rotationAtTarget = 0.0;
    if (!vekrsensors::getDisplayRotation(rotationAtTarget)) {
        LOG(4, "Failed to get the display rotation");
        return 1;
    }
    std::srand(static_cast<unsigned>(std::time(nullptr)));
    const double target = vekrsensors::CompassMotion::chooseTarget(heading, std::rand() % 180);
    dialog->SetTargetRotation(-(target + rotationAtTarget));
    LOG(1, "Current rotation is: " << heading << ", choosing target rotation of: " << target);

    vekrsensors::CompassMotion needle;
    vekrsensors::getRotation(*compass, needle.displayed);

    vek::Stopwatch sampling, frame, hold;
    while (MagnetometerRun::backgroundRunFlag.load()) {
        double rotation = 0.0;
        if (!vekrsensors::getDisplayRotation(rotation)) {
            LOG(4, "Failed to get the display rotation");
            return settle(TestResult::CANNOTRUN());
        }
        if (sampling.getElapsedMilliseconds() > kSamplingMilliseconds) {
            if (!vekrsensors::getRotation(*compass, heading)) {
                LOG(4, "Failed to get the rotation data");
                return settle(TestResult::FAIL());
            }
            sampling.reset();
        }
        needle.step(heading, frame.getElapsed());
        frame.reset();
        dialog->UpdateRotation(-(needle.displayed + rotation));

        // The hold time counts only while the needle is inside the tolerance, so a wait of 0
        // passes on the first pass inside it and never on one outside.
        if (vekrsensors::CompassMotion::distanceToTarget(needle.displayed, rotation,
                                                         rotationAtTarget, target) > threshold) {
            hold.reset();
        } else if (hold.getElapsed() >= waitTime) {
            LOG(1, "Rotation is within threshold: passing");
            return settle(TestResult::PASS());
        }
        if (kiva5::DiagModule::checkForStop())
            return settle(TestResult::USERABORTED());
        vek::System::mssleep(10);
    }
    LOG(1, "Background thread received shutdown message from UI");
    return 0;
}
