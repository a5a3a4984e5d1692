#include "OrientationCheck.h"

#include <array>
#include <chrono>
#include <memory>
#include <thread>

#include "DialogsPlugin.h"
#include "MountVerdict.h"
#include "OrientationSession.h"
#include "PanelAxes.h"
#include "PoseTracker.h"
#include "kiva5/DiagModule.h"
#include "libOrra/Machine.h"
#include "libOrra/Records.h"
#include "vek/Logging.h"
#include "vek/Stopwatch.h"
#include "vek/System.h"

namespace vekrsensors {
namespace {

using kiva5::TestResult;

std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "vekrsensors.orientation";

// Outside the catalogue: --list shows the five tests' events only.
kiva5::Event evOrientationWrong("Orientation_Wrong");
kiva5::Event evOrientationTiltInverted("Orientation_TiltInverted");
kiva5::Event evOrientationPoseNotHeld("Orientation_PoseNotHeld");
kiva5::Event evOrientationPanelNotKnown("Orientation_PanelNotKnown");

constexpr double kPoseSeconds = 60.0;  // a person who has not managed a pose by then won't
constexpr int kReadEveryMs = 50;

constexpr std::array<const char*, 3> kPoseNames{"upright", "on its right-hand edge", "flat"};

std::string axisName(SignedAxis a) {
    return std::string(a.sign < 0 ? "-" : "+") + "xyz"[a.axis];
}

// The three axes the poses read against the ones they should, e.g. "+x -y -z, wanted -y +x +z".
std::string readings(const std::array<SignedAxis, 3>& read) {
    std::string got, wanted;
    for (std::size_t i = 0; i < 3; ++i) {
        if (i) {
            got += ' ';
            wanted += ' ';
        }
        got += axisName(read[i]);
        wanted += axisName(kExpectedPoses[i]);
    }
    return got + ", wanted " + wanted;
}

struct Outcome {
    TestResult result = TestResult::USERABORTED();
    std::array<SignedAxis, 3> read{};
};

// Takes the three poses from `record`, telling the person what to do next. Runs on the
// calling thread (the main thread, or the worker while a dialog is up).
Outcome takePoses(libOrra::Accelerometer& record, OrientationSession& session) {
    Outcome out;
    PoseTracker tracker;
    vek::Stopwatch clock;
    double askedAt = 0.0;
    const int turns = session.panelTurns.load();
    kiva5::DiagModule::tellPerson(askForPose(0, turns));
    while (true) {
        if (kiva5::DiagModule::checkForStop() || session.cancelled.load())
            return out;
        const double now = clock.getElapsed();
        if (now - askedAt > kPoseSeconds) {
            VEK_LOG(s_logger, kLoggerName, 4,
                    "Pose " << tracker.taken().size() + 1 << " not held within " << kPoseSeconds
                            << " s");
            kiva5::DiagModule::error(&evOrientationPoseNotHeld, __FILE__, __LINE__);
            out.result = TestResult::TIMEDOUT();
            return out;
        }
        if (record.update()) {
            if (const auto axis = tracker.feed(now, {record.x, record.y, record.z})) {
                const std::size_t n = tracker.taken().size();
                VEK_LOG(s_logger, kLoggerName, 1,
                        "Pose " << n << " (" << kPoseNames[n - 1] << ") reads " << axisName(*axis));
                kiva5::DiagModule::tellPerson(std::string("Pose ") + std::to_string(n) + " of 3 (" +
                                              kPoseNames[n - 1] + ") taken: gravity along " +
                                              axisName(*axis) + ".");
                if (n == 3) {
                    std::copy(tracker.taken().begin(), tracker.taken().end(), out.read.begin());
                    out.result = TestResult::PASS();
                    return out;
                }
                session.pose.store(static_cast<int>(n));
                kiva5::DiagModule::tellPerson(askForPose(static_cast<int>(n), turns));
                askedAt = now;
            }
        }
        vek::System::mssleep(kReadEveryMs);
    }
}

// What systemd's hwdb maintainers ask of a new entry beside the entry itself: the device
// described, and what udev and the kernel say of it (60-sensor.hwdb's header).
std::string hwdbExcerpt(const libOrra::Mounting& m, const std::array<SignedAxis, 3>& read) {
    std::string text = "machine: ";
    text.append(m.machine).append("\nDMI: ").append(m.dmiModalias);
    text.append("\nsensor: ").append(m.node).append(", parent modalias ").append(m.parentModalias);
    text.append(m.label.empty() ? "" : ", label " + m.label);
    text.append("\nmatrix in force: ").append(m.source);
    text.append("\npanel: ")
        .append(m.panelTurns ? panelOrientationName(*m.panelTurns) : "not known");
    text.append(" (").append(m.panelSource).append(")");
    text.append("\nread upright, on its right-hand edge, flat: ").append(readings(read));
    return text.append("\n");
}

// A portrait panel in a device held in landscape whose axes read as a correct sensor's under
// the panel turned a quarter, while the kernel does not say the panel is turned: the kernel's
// panel orientation is missing, and an accelerometer matrix would only hide it (desktops that
// honour the panel's orientation turn the picture, and such a matrix then breaks rotation).
bool panelNotKnown(const std::array<SignedAxis, 3>& read, const libOrra::Mounting& m) {
    const auto turns = panelTurnsRead(read);
    if (m.panelTurns.value_or(0) != 0 || !turns || *turns == 2 || m.panelHeight <= m.panelWidth) {
        return false;
    }
    const std::string name(panelOrientationName(*turns));
    const std::string connector = m.panelConnector.empty() ? "<connector>" : m.panelConnector;
    kiva5::DiagModule::error(&evOrientationPanelNotKnown, __FILE__, __LINE__);
    std::string finding = "read ";
    finding.append(readings(read)).append(": a correct accelerometer under a ");
    finding.append(std::to_string(m.panelWidth)).append("x").append(std::to_string(m.panelHeight));
    finding.append(" portrait panel mounted ").append(name);
    finding.append(", which the kernel does not say (").append(m.panelSource).append(")");
    finding.append(": a panel-orientation problem, not the accelerometer's matrix");
    kiva5::DiagModule::setRunDetail(kiva5::KivaString("finding"), kiva5::Value(finding));
    std::string remedy = "tell the kernel how the panel is mounted: boot with video=";
    remedy.append(connector).append(":panel_orientation=").append(name);
    remedy.append(
        ", and ask for this machine in the kernel's panel-orientation quirks "
        "(drivers/gpu/drm/drm_panel_orientation_quirks.c); then run --orientation "
        "again. No hwdb entry is proposed.");
    kiva5::DiagModule::addRunNote(remedy);
    return true;
}

// The verdict on three poses taken, with the entry that fixes a wrong matrix.
TestResult judge(const std::array<SignedAxis, 3>& read, const libOrra::Mounting& mounting) {
    const MountVerdict v = judgeMount(read, mounting.applied);
    kiva5::DiagModule::addRunNote("matrix in force: " + mounting.source);
    if (v.kind == MountVerdict::Kind::Pass) {
        std::string finding = "the axes turn with the screen";
        if (mounting.panelTurns.value_or(0) != 0) {
            finding.append(" (the panel's own axes: it is mounted ")
                .append(panelOrientationName(*mounting.panelTurns))
                .append(", as ")
                .append(mounting.panelSource)
                .append(" says)");
        }
        kiva5::DiagModule::setRunDetail(kiva5::KivaString("finding"), kiva5::Value(finding));
        return TestResult::PASS();
    }
    if (panelNotKnown(read, mounting))
        return TestResult::FAIL();
    const std::string matrix = "ACCEL_MOUNT_MATRIX=" + matrixText(v.proposed);
    const std::string stanza = hwdbStanza(mounting, v.proposed);
    const bool warn = v.kind == MountVerdict::Kind::Warn;
    kiva5::Event* event = warn ? &evOrientationTiltInverted : &evOrientationWrong;
    event->setVariable(kiva5::KivaString("Proposed"), kiva5::Value(matrix));
    if (warn) {
        kiva5::DiagModule::warning(event, __FILE__, __LINE__);
    } else {
        kiva5::DiagModule::error(event, __FILE__, __LINE__);
    }
    kiva5::DiagModule::setRunDetail(
        kiva5::KivaString("finding"),
        kiva5::Value((warn ? "screen rotation right, tilt inverted (" : "read ") + readings(read) +
                     (warn ? ")" : "") + ": " + matrix + " fixes it"));
    kiva5::DiagModule::setRunDetail(kiva5::KivaString("hwdb"), kiva5::Value(stanza));
    kiva5::DiagModule::setRunDetail(kiva5::KivaString("hwdbExcerpt"),
                                    kiva5::Value(hwdbExcerpt(mounting, read)));
    // The match and the property as one line, without the comment: the property's line
    // begins with the space the hwdb wants.
    std::string oneLine;
    for (const char c : stanza.substr(stanza.find('\n') + 1)) {
        if (c != '\n')
            oneLine += c;
    }
    kiva5::DiagModule::addRunNote(
        "put this entry in /etc/udev/hwdb.d/61-sensor-local.hwdb "
        "(--hwdb FILE writes it): " +
        oneLine);
    kiva5::DiagModule::addRunNote(
        "then, as root: systemd-hwdb update && udevadm trigger -v -p "
        "DEVNAME=" +
        mounting.node);
    return warn ? TestResult::WARN() : TestResult::FAIL();
}

TestResult run(const kiva5::DiagDevice& device, libOrra::Machine& machine) {
    vek::Array<std::unique_ptr<libOrra::Accelerometer>> records;
    if (!libOrra::getAccelerometers(records))
        return TestResult::CANNOTRUN();
    libOrra::Accelerometer* record = nullptr;
    for (std::size_t i = 0; i < records.size(); ++i) {
        if (records[i]->osLocator().equalNoCase(vek::String(device.osLocator().str())))
            record = records[i].get();
    }
    const auto mounting = machine.inspector().mounting(device.osLocator().str());
    if (!record || !mounting) {
        kiva5::DiagModule::addRunNote("the accelerometer could not be opened");
        return TestResult::CANNOTRUN();
    }
    OrientationSession session;
    session.panelTurns.store(mounting->panelTurns.value_or(0));
    Outcome outcome;
    // Where a display exists the person also sees the pose in a window; the sensor is read on
    // a worker meanwhile. Without one, the terminal alone guides, on this thread.
    const std::string noDialog = DialogsPlugin::check(machine.simulated());
    if (noDialog.empty() && DialogsPlugin::hasOrientationDialog()) {
        std::thread worker([&] {
            outcome = takePoses(*record, session);
            session.finished.store(true);
        });
        DialogsPlugin::orientationDialog(session);
        worker.join();
    } else {
        VEK_LOG(s_logger, kLoggerName, 1, "Poses asked on the terminal only: " << noDialog);
        outcome = takePoses(*record, session);
    }
    if (outcome.result != TestResult::PASS())
        return outcome.result;
    return judge(outcome.read, *mounting);
}

}  // namespace

kiva5::Test& orientationCheck() {
    static kiva5::Test check("OrientationCheck", kiva5::DeviceCapability::Accelerometer(), run);
    return check;
}

}  // namespace vekrsensors
