#include "GyrometerTest/GyrometerTest.h"

#include <array>

#include "DisplayRotation.h"
#include "GyrometerTest/GyroMotion.h"
#include "GyrometerTest/GyrometerTestDlg.h"
#include "TestHelper.h"
#include "comptr.h"
#include "libLumo/GdiResourceManager.h"
#include "libOrra/Records.h"
#include "vek/Logging.h"
#include "vek/Stopwatch.h"
#include "vek/System.h"
#include "vekrsensors.h"

namespace {
std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "GyrometerTest";
std::atomic<vek::Logger*> s_dialogLogger{nullptr};
constexpr const char* kDialogLoggerName = "GyrometerTest.GyrometerTestDlg";

vekrsensors::DisplayRotation& displayRotation() {
    static vekrsensors::DisplayRotation rotation(s_logger, kLoggerName);
    return rotation;
}

// A worker gives up on a sensor after this many failed updates in one run.
constexpr int kMaxFailedUpdates = 5;
}  // namespace

#define LOG(priority, expr) VEK_LOG(s_logger, kLoggerName, priority, expr)

namespace vekrsensors {
vek::String GyrometerRun::testDeviceLocator;
std::atomic<bool> GyrometerRun::backgroundRunFlag{true};
kiva5::TestResult GyrometerRun::backgroundResult = kiva5::TestResult::CANNOTRUN();
}  // namespace vekrsensors

using vekrsensors::GyrometerRun;
using vekrsensors::GyrometerTestDlg;

// The user turns the device both ways about each axis while the dialog shows the turning; a
// worker samples the gyrometer and decides.
kiva5::TestResult GyrometerTest(const kiva5::DiagDevice& device) {
    using kiva5::TestResult;
    VEK_TRACE(s_logger, kLoggerName, "GyrometerTest");
    COMInitializer com;

    libLumo::GdiResourceManager gui;
    if (!gui.ready()) {
        LOG(4, "No display to show the gyrometer dialog on");
        return TestResult::CANNOTRUN();
    }

    displayRotation().lockAutoRotation();
    GyrometerRun::testDeviceLocator = device.osLocator().vekString();

    GyrometerTestDlg dialog(VekrGetCUIHandle());
    dialog.setResult(TestResult::USERABORTED());
    return vekrsensors::runDialogWithWorker(
        dialog, &GyrometerBackgroundData, "GyrometerData",
        {GyrometerRun::backgroundRunFlag, GyrometerRun::backgroundResult, s_logger, kLoggerName,
         __FILE__, __LINE__});
}

namespace {

// However the worker leaves, the dialog is told to close.
struct FlagUIThreadCompleted {
    GyrometerTestDlg* dialog;
    ~FlagUIThreadCompleted() {
        VEK_TRACE(s_dialogLogger, kDialogLoggerName, "flagUIThreadCompleted");
        dialog->ShutdownUI();
    }
};

int settle(const kiva5::TestResult& result) {
    GyrometerRun::backgroundResult = result;
    return 1;
}

}  // namespace

int GyrometerBackgroundData(vek::ManagedThread& thread) {
    using kiva5::TestResult;
    COMInitializer com;
    auto* dialog = static_cast<GyrometerTestDlg*>(thread.getContext());
    const FlagUIThreadCompleted onExit{dialog};

    vek::Array<std::unique_ptr<libOrra::Gyrometer>> gyrometers;
    if (!libOrra::getGyrometers(gyrometers)) {
        LOG(4, "Gyrometer devices could not be obtained");
        return settle(TestResult::NODEVICE());
    }
    LOG(1, "Gyrometer count: " << static_cast<unsigned long>(gyrometers.size()));

    std::size_t index = 0;
    libOrra::Gyrometer* gyrometer =
        findSensorByLocator(gyrometers, GyrometerRun::testDeviceLocator, index);
    if (!gyrometer) {
        LOG(4, "Test device could not be found on the system, OSLocator = \""
                   << GyrometerRun::testDeviceLocator << "\"");
        return settle(TestResult::NODEVICE());
    }
    LOG(1, "Checking threshold for Gyrometer " << static_cast<unsigned long>(index));
    const TestResult state = checkSensorState(*gyrometer);
    if (state != TestResult::PASS())
        return settle(state);

    vekrsensors::GyroMotion motion;
    int failedUpdates = 0;
    vek::Stopwatch watch;
    while (GyrometerRun::backgroundRunFlag.load()) {
        if (!gyrometer->update()) {
            // Counted over the whole run: good updates in between do not forgive a failure.
            if (++failedUpdates > kMaxFailedUpdates) {
                LOG(4, "Failed to update the gyrometer data");
                kiva5::DiagModule::error(vekrsensors::evSensorInvalidUpdateData, __FILE__,
                                         __LINE__);
                return settle(TestResult::FAIL());
            }
            continue;
        }
        const double dt = watch.getElapsed();
        watch.reset();
        std::array<double, 3> value{gyrometer->x, gyrometer->y, gyrometer->z};
        displayRotation().fixDataOrientation(value[0], value[1], value[2]);
        motion.step(value, gyrometer->kind, dt);

        dialog->UpdateRotationX(motion.angle[0] / vekrsensors::GyroMotion::kPassDegrees);
        dialog->UpdateRotationY(motion.angle[1] / vekrsensors::GyroMotion::kPassDegrees);
        dialog->UpdateRotationZ(motion.zIndicator / vekrsensors::GyroMotion::kPassDegrees);
        LOG(1,
            "Rotation: " << motion.angle[0] << ", " << motion.angle[1] << ", " << motion.angle[2]);
        const auto& p = motion.passed;
        dialog->UpdateAxisPassed(p[0], p[1], p[2], p[3], p[4], p[5]);
        if (motion.allPassed()) {
            LOG(1, "Rotation is within threshold: passing");
            return settle(TestResult::PASS());
        }
        if (kiva5::DiagModule::checkForStop())
            return settle(TestResult::USERABORTED());
        vek::System::mssleep(20);
    }
    LOG(1, "Background thread received shutdown message from UI");
    return 0;
}
