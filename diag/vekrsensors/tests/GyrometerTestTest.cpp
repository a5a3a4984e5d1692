// The gyrometer worker against simulated sensors on a manual clock (each 20 ms pause moves
// the clock, so a run of seconds takes milliseconds), and its dialog driven headless.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QCoreApplication>
#include <QPainter>
#include <QTimer>
#include <filesystem>
#include <thread>

#include "GyrometerTest/GyrometerTest.h"
#include "GyrometerTest/GyrometerTestDlg.h"
#include "WorkerHarness.h"
#include "kiva5/DiagModule.h"
#include "kiva5/Localization.h"
#include "libLumo/GdiResourceManager.h"
#include "libOrra/SimBackend.h"
#include "platform/Screen.h"
#include "vek/Clock.h"

namespace {

using kiva5::TestResult;
using vekrsensors::GyrometerRun;
using vekrsensors::GyrometerTestDlg;
using Flags = std::array<bool, 6>;  // X-, X+, Y-, Y+, Z-, Z+

struct WorkerRow {
    const char* label;
    const char* machine;  // scenario keys
    const char* locator;
    double uiClosesAt;  // seconds on the sensor clock; 0: the dialog stays open
    int exitCode;
    TestResult result;  // the background result (a sentinel when the worker does not settle)
    const char* event;
    Flags flags;
    const char* eventFile = "GyrometerTest.cpp";
};

void PrintTo(const WorkerRow& r, std::ostream* os) {
    *os << r.label;
}

constexpr const char* kGyro = "SIM\\GYRO\\0";
// Set before each run; a worker that does not settle leaves it.
const TestResult kUntouched = TestResult::WARN();

class GyroWorker : public vekr::testing::WorkerHarness,
                   public ::testing::WithParamInterface<WorkerRow> {};

TEST_P(GyroWorker, SettlesAsItsTableSays) {
    const WorkerRow& row = GetParam();
    machine(row.machine, row.label);
    GyrometerRun::testDeviceLocator = vek::String(row.locator);
    GyrometerRun::backgroundResult = kUntouched;

    GyrometerTestDlg dialog(nullptr);
    EXPECT_EQ(runWorker(&GyrometerBackgroundData, &dialog, GyrometerRun::backgroundRunFlag,
                        row.uiClosesAt),
              row.exitCode);
    EXPECT_EQ(GyrometerRun::backgroundResult, row.result) << GyrometerRun::backgroundResult.name();
    if (*row.event) {
        EXPECT_EQ(events(), std::vector<std::string>{row.event});
        EXPECT_EQ(run_.events[0].file, row.eventFile);
    } else {
        EXPECT_TRUE(events().empty());
    }
    EXPECT_EQ(dialog.pictureInput(100, 100).passed, row.flags);
    expectDialogCloses(dialog, GyrometerTestDlg::IDC_BUTTON_FAIL);
}

constexpr Flags kNone{};
constexpr Flags kAll{true, true, true, true, true, true};
constexpr Flags kXY{true, true, true, true, false, false};

#define GYRO(extra) R"("sensors": [{"kind": "gyrometer", "locator": "SIM\\GYRO\\0", )" extra "}]"
#define BOTH_WAYS \
    R"("motion": [{"seconds": 0.5, "rate": [60, 0, 0]}, {"seconds": 1.0, "rate": [-60, 0, 0]}, {"seconds": 0.5, "rate": [0, 60, 0]}, {"seconds": 1.0, "rate": [0, -60, 0]}, {"seconds": 0.5, "rate": [0, 0, 60]}, {"seconds": 1.0, "rate": [0, 0, -60]}])"

INSTANTIATE_TEST_SUITE_P(
    Gyrometer, GyroWorker,
    ::testing::Values(
        WorkerRow{"both ways about every axis passes", GYRO(BOTH_WAYS), kGyro, 0, 1,
                  TestResult::PASS(), "", kAll},
        WorkerRow{"the locator matches ignoring case", GYRO(BOTH_WAYS), "sim\\gyro\\0", 0, 1,
                  TestResult::PASS(), "", kAll},
        // Turned 30 degrees one way only: whatever the angle, the other way is missing.
        WorkerRow{"one way only never passes",
                  GYRO(R"("motion": [{"seconds": 3, "rate": [60, -60, 0]}])"),
                  kGyro,
                  5,
                  0,
                  kUntouched,
                  "",
                  {false, true, true, false, false, false}},
        // X out and back to 0: both flags stay set although the angle returned.
        WorkerRow{"passed directions stay passed",
                  GYRO(R"("motion": [{"seconds": 0.5, "rate": [60, 0, 0]},
                                     {"seconds": 1.0, "rate": [-60, 0, 0]},
                                     {"seconds": 0.5, "rate": [60, 0, 0]}])"),
                  kGyro,
                  4,
                  0,
                  kUntouched,
                  "",
                  {true, true, false, false, false, false}},
        WorkerRow{"X and Y done, Z missing", GYRO(R"("motion": [
                      {"seconds": 0.5, "rate": [60, 0, 0]}, {"seconds": 1.0, "rate": [-60, 0, 0]},
                      {"seconds": 0.5, "rate": [0, 60, 0]}, {"seconds": 1.0, "rate": [0, -60, 0]}])"),
                  kGyro, 5, 0, kUntouched, "", kXY},
        // Kind 1 readings are rates of change: 100 deg/s^2 for 1 s gives 50 degrees.
        WorkerRow{"kind 1 is integrated twice",
                  GYRO(R"("updates": [{"x": 100, "y": -100, "z": 0, "kind": 1}])"),
                  kGyro,
                  1,
                  0,
                  kUntouched,
                  "",
                  {false, true, true, false, false, false}},
        WorkerRow{"an unknown kind leaves the rates alone",
                  GYRO(R"("updates": [{"x": 100, "y": -100, "z": 100, "kind": 0}])"), kGyro, 2, 0,
                  kUntouched, "", kNone},
        // Below 1 deg/s a reading is noise: 0.9 deg/s for a minute would be 54 degrees.
        WorkerRow{"readings inside the dead band are ignored",
                  GYRO(R"("motion": [{"seconds": 60, "rate": [0.9, -0.9, 0.9]}])"), kGyro, 60, 0,
                  kUntouched, "", kNone},
        // The display turned by 90 degrees: the sensor's X is the screen's -Y.
        WorkerRow{"readings follow the display's rotation",
                  R"("display": {"rotation": 1}, )" GYRO(
                      R"("motion": [{"seconds": 1, "rate": [60, 0, 0]}])"),
                  kGyro,
                  2,
                  0,
                  kUntouched,
                  "",
                  {false, false, true, false, false, false}},
        // Every 30th update fails: the sixth failure (update 180, 3.5 s in) ends the run
        // after Z has been turned one way, before it has been turned back.
        WorkerRow{"six failed updates spread over a run fail it",
                  GYRO(BOTH_WAYS R"(, "faults": {"failEvery": 30})"),
                  kGyro,
                  0,
                  1,
                  TestResult::FAIL(),
                  "Sensor_InvalidUpdateData",
                  {true, true, true, true, false, true}},
        WorkerRow{"four failed updates are tolerated",
                  GYRO(BOTH_WAYS R"(, "faults": {"failEvery": 50})"), kGyro, 0, 1,
                  TestResult::PASS(), "", kAll},
        WorkerRow{"no gyrometer with the device's locator", GYRO(BOTH_WAYS), "SIM\\GYRO\\7", 0, 1,
                  TestResult::NODEVICE(), "", kNone},
        WorkerRow{"the sensor list is unavailable",
                  GYRO(BOTH_WAYS) R"(, "failEnumeration": ["gyrometer"])", kGyro, 0, 1,
                  TestResult::NODEVICE(), "", kNone},
        WorkerRow{"a sensor in error", GYRO(BOTH_WAYS R"(, "states": ["ERROR"])"), kGyro, 0, 1,
                  TestResult::FAIL(), "SensorState_Error", kNone, "TestHelper.cpp"}),
    [](const auto& row) {
        std::string name = row.param.label;
        for (char& c : name) {
            if (!std::isalnum(static_cast<unsigned char>(c)))
                c = '_';
        }
        return name;
    });

// The dialog on its own: how the user ends it, and what it shows.
class GyroDialog : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(gui_.ready()); }
    void TearDown() override {
        if (token_)
            platform::clearOperatorScript(token_);
    }
    void script(const std::string& press) {
        token_ = platform::setOperatorScript([press](const std::string& dialog) {
            return dialog == "GyrometerTest" ? std::vector<platform::OperatorPress>{{0.05, press}}
                                             : std::vector<platform::OperatorPress>{};
        });
    }
    libLumo::GdiResourceManager gui_;
    unsigned token_ = 0;
};

TEST_F(GyroDialog, ClosesWhenTheWorkerIsDoneAndKeepsItsResult) {
    GyrometerTestDlg dialog(nullptr);
    dialog.setResult(TestResult::WARN());
    std::thread worker([&dialog] { dialog.ShutdownUI(); });
    EXPECT_EQ(dialog.DoModal(), GyrometerTestDlg::IDC_BUTTON_FAIL);
    worker.join();
    EXPECT_EQ(dialog.getResult(), TestResult::WARN());
}

TEST_F(GyroDialog, ShowsTheLocalizedTextsAndIsLaidOutFromItsTemplate) {
    kiva5::Localization::setForTesting(
        "de", {{"TitleGyrometerTest", "Gyrometertest"}, {"FailButton", "Nicht OK"}},
        {{"CancelButton", "Cancel"}});
    script("Escape");
    GyrometerTestDlg dialog(nullptr);
    dialog.DoModal();
    EXPECT_EQ(dialog.windowTitle().toStdString(), "Gyrometertest");
    EXPECT_EQ(dialog.GetDlgItem(1000)->text().toStdString(), "Nicht OK");
    EXPECT_EQ(dialog.GetDlgItem(1001)->text().toStdString(), "Cancel");
    // Fail at x 127 and Cancel at x 201 dialog units, both on the row at y 349.
    const auto& u = dialog.baseUnits();
    EXPECT_EQ(dialog.GetDlgItem(1000)->geometry().topLeft(),
              QPoint(libLumo::mulDiv(127, u.cx, 4), libLumo::mulDiv(349, u.cy, 8)));
    EXPECT_EQ(dialog.GetDlgItem(1001)->x(), libLumo::mulDiv(201, u.cx, 4));
    EXPECT_EQ(dialog.clientSize(),
              QSize(libLumo::mulDiv(379, u.cx, 4), libLumo::mulDiv(370, u.cy, 8)));
    kiva5::Localization::setForTesting("en", {}, {});
}

// A device lying still costs no drawing; a change shows at the next frame tick.
TEST_F(GyroDialog, RepaintsOnlyWhenTheTurnChanged) {
    struct Paints : QObject {
        int count = 0;
        bool eventFilter(QObject* o, QEvent* e) override {
            count += e->type() == QEvent::Paint;
            return QObject::eventFilter(o, e);
        }
    } paints;
    GyrometerTestDlg dialog(nullptr);
    dialog.canvas()->installEventFilter(&paints);
    int still = -1;
    QTimer::singleShot(150, &dialog, [&] { paints.count = 0; });  // shown, first frames drawn
    QTimer::singleShot(350, &dialog, [&] {
        still = paints.count;
        dialog.UpdateRotationX(0.5);
    });
    QTimer::singleShot(550, &dialog, [&] { dialog.EndDialog(0); });
    dialog.DoModal();
    EXPECT_EQ(still, 0) << "nothing changed, nothing drawn";
    EXPECT_GE(paints.count, 1) << "the change is drawn";
}

// Frames as a user sees them, saved beside the tests ("frames/") to be looked at.
TEST_F(GyroDialog, DrawsTheTurnItIsGiven) {
    std::filesystem::create_directories("frames");
    GyrometerTestDlg dialog(nullptr);
    const QImage rest = dialog.grab().toImage();
    rest.save("frames/gyrometer_rest.png");

    // Mid-test: X and Y passed both ways, the device half-way round Z.
    dialog.UpdateRotationX(0.5);
    dialog.UpdateRotationY(-0.4);
    dialog.UpdateRotationZ(0.5);
    dialog.UpdateAxisPassed(true, true, true, true, false, true);
    const QImage mid = dialog.grab().toImage();
    mid.save("frames/gyrometer_mid.png");

    // The square board, centred in the canvas whatever the font made of its shape.
    const libLumo::PixelRect board =
        libLumo::fitAspect(dialog.canvas()->width(), dialog.canvas()->height(), 1.0);
    EXPECT_EQ(board.width, board.height);
    const QPoint origin = dialog.canvas()->pos() + QPoint(board.x, board.y);
    const auto pixel = [&origin](const QImage& frame, float x, float y) {
        return frame.pixelColor(origin + QPoint(static_cast<int>(x), static_cast<int>(y)));
    };
    const float w = static_cast<float>(board.width);
    const float h = static_cast<float>(board.height);
    // At rest the X-negative marble sits at 0.28 of the height; once passed, a hole at the
    // top edge takes its place and the spot shows the board again.
    const float marbleCentreY = 0.28f * h + 0.8f * 62 / 2;
    EXPECT_NE(pixel(rest, w / 2 + 3, marbleCentreY), pixel(mid, w / 2 + 3, marbleCentreY));
    // The Z-positive lamp (left) turns green, its Z-negative twin (right) stays red.
    EXPECT_GT(pixel(mid, 0.345f * w, 0.41f * h).green(), pixel(mid, 0.345f * w, 0.41f * h).red());
    EXPECT_GT(pixel(mid, 0.655f * w, 0.41f * h).red(), pixel(mid, 0.655f * w, 0.41f * h).green());
    EXPECT_GT(pixel(rest, 0.345f * w, 0.41f * h).red(), pixel(rest, 0.345f * w, 0.41f * h).green());
    // The arrows appear only while Z is unfinished after X and Y (a point on the right
    // arrow's head, up and right of its centre).
    EXPECT_NE(pixel(rest, 0.65f * w + 30, 0.35f * h - 18),
              pixel(mid, 0.65f * w + 30, 0.35f * h - 18));
}

}  // namespace
