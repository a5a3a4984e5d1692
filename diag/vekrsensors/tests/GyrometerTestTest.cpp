// The gyrometer worker against simulated sensors on a manual clock (each 20 ms pause moves
// the clock, so a run of seconds takes milliseconds), and its dialog driven headless.
#include <gtest/gtest.h>

#include <QtCore/qtestsupport_core.h>
#include <QEvent>
#include <QTimer>

#include "GyrometerTest/GyrometerTest.h"
#include "GyrometerTest/GyrometerTestDlg.h"
#include "WorkerHarness.h"
#include "kiva5/DiagModule.h"
#include "WithGui.h"
#include "libOrra/SimBackend.h"
#include "vek/Clock.h"

namespace {

using kiva5::TestResult;
using vekrsensors::GyrometerRun;
using vekrsensors::GyrometerTestDlg;

// Set before each run; a worker that does not settle leaves it ("untouched" in the table).
const TestResult kUntouched = TestResult::WARN();

class GyroWorker : public vekr::testing::WorkerHarness,
                   public ::testing::WithParamInterface<vekr::testing::TableRow> {};

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
                         vekr::testing::rowLabel);

// The dialog on its own: what it draws. How it closes once the worker is done is in every
// worker row above.
class GyroDialog : public vekr::testing::WithGui {};

// A device lying still costs no drawing; a change shows at the next frame tick. Judged in
// ticks of the dialog's frame clock, not in milliseconds, so a slow machine only waits longer.
TEST_F(GyroDialog, RepaintsOnlyWhenTheTurnChanged) {
    struct Counting : GyrometerTestDlg {
        using GyrometerTestDlg::GyrometerTestDlg;
        int ticks = 0, paints = 0;
        void OnFrame() override {
            ++ticks;
            GyrometerTestDlg::OnFrame();
        }
        bool eventFilter(QObject* o, QEvent* e) override {
            paints += e->type() == QEvent::Paint;
            return GyrometerTestDlg::eventFilter(o, e);
        }
    } dialog(nullptr);
    dialog.canvas()->installEventFilter(&dialog);
    constexpr int kCeilingMs = 60'000;  // only a broken dialog gets near it
    int still = -1;
    bool drawn = false;
    QTimer::singleShot(0, &dialog, [&] {
        // Shown and drawn, and two ticks on: the first tick's own repaint is behind us.
        if (!QTest::qWaitFor([&] { return dialog.paints > 0 && dialog.ticks >= 2; }, kCeilingMs))
            return dialog.EndDialog(0);
        dialog.paints = 0;
        const int from = dialog.ticks;
        (void)QTest::qWaitFor([&] { return dialog.ticks >= from + 10; }, kCeilingMs);
        still = dialog.paints;
        dialog.UpdateRotationX(0.5);
        drawn = QTest::qWaitFor([&] { return dialog.paints > 0; }, kCeilingMs);
        dialog.EndDialog(0);
    });
    dialog.DoModal();
    EXPECT_EQ(still, 0) << "nothing changed, nothing drawn in ten ticks";
    EXPECT_TRUE(drawn) << "the change is drawn";
}

}  // namespace
