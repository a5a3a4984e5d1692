// The gyrometer worker against simulated sensors on a manual clock (each 20 ms pause moves
// the clock, so a run of seconds takes milliseconds), and its dialog driven headless.
#include <gtest/gtest.h>

#include <QEvent>
#include <QPainter>
#include <QTimer>
#include <filesystem>
#include <thread>

#include "GyrometerTest/GyrometerTest.h"
#include "GyrometerTest/GyrometerTestDlg.h"
#include "WorkerHarness.h"
#include "kiva5/DiagModule.h"
#include "libLumo/GdiResourceManager.h"
#include "libOrra/SimBackend.h"
#include "vek/Clock.h"

namespace {

using kiva5::TestResult;
using vekrsensors::GyrometerRun;
using vekrsensors::GyrometerTestDlg;

// Set before each run; a worker that does not settle leaves it ("untouched" in the table).
const TestResult kUntouched = TestResult::WARN();

class GyroWorker : public vekr::testing::WorkerHarness,
                   public ::testing::WithParamInterface<vekr::testing::WorkerRow> {};

TEST_P(GyroWorker, SettlesAsItsTableSays) {
    const nlohmann::json& row = GetParam().entry;
    machine(row.at("scenario"), GetParam().label);
    GyrometerRun::testDeviceLocator = vek::String(row.at("locator").get<std::string>());
    GyrometerRun::backgroundResult = kUntouched;

    GyrometerTestDlg dialog(nullptr);
    const int exitCode = runWorker(&GyrometerBackgroundData, &dialog,
                                   GyrometerRun::backgroundRunFlag, row.at("uiClosesAt"));
    expectEnding(row, exitCode, GyrometerRun::backgroundResult, kUntouched, "GyrometerTest.cpp");
    // X-, X+, Y-, Y+, Z-, Z+
    const auto passed = dialog.pictureInput(100, 100).passed;
    EXPECT_EQ(std::vector<bool>(passed.begin(), passed.end()),
              row.at("flags").get<std::vector<bool>>());
    expectDialogCloses(dialog, GyrometerTestDlg::IDC_BUTTON_FAIL);
}

INSTANTIATE_TEST_SUITE_P(Gyrometer, GyroWorker,
                         ::testing::ValuesIn(vekr::testing::workerRows("gyrometer")),
                         [](const auto& row) { return row.param.label; });

// The dialog on its own: how the user ends it, and what it shows.
class GyroDialog : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(gui_.ready()); }
    libLumo::GdiResourceManager gui_;
};

TEST_F(GyroDialog, ClosesWhenTheWorkerIsDoneAndKeepsItsResult) {
    GyrometerTestDlg dialog(nullptr);
    dialog.setResult(TestResult::WARN());
    std::thread worker([&dialog] { dialog.ShutdownUI(); });
    EXPECT_EQ(dialog.DoModal(), GyrometerTestDlg::IDC_BUTTON_FAIL);
    worker.join();
    EXPECT_EQ(dialog.getResult(), TestResult::WARN());
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
