// The three dialogs as a person sees them, at rest and mid-test, in every shipped language,
// with the spots of each picture that must show what the test is at (marbles, lamps, arrows).
// Frames go to frames/<dialog>_<state>_<language>.png to be looked at; tools/frames.sh runs
// this on a bare X server, where no window manager draws a title bar and the frame is taken
// off the screen itself.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QGuiApplication>
#include <QLabel>
#include <QScreen>
#include <QTableWidget>
#include <QTimer>
#include <QtTest/QTest>
#include <atomic>
#include <cmath>
#include <filesystem>
#include <functional>
#include <vector>

#include "GyrometerTest/GyrometerTestDlg.h"
#include "MagnetometerTest/MagnetometerTestDlg.h"
#include "Orientation/OrientationDlg.h"
#include "ProximitySensorTest/ProximitySensorTestDlg.h"
#include "ProximitySensorTest/TimeoutPromptDlg.h"
#include "ResultsWindow.h"
#include "kiva5/Localization.h"
#include "libLumo/GdiResourceManager.h"
#include "libLumo/PngControl.h"
#include "vekrsensors.h"

// Texts in a failure message as text, not as UTF-16 units.
void PrintTo(const QString& text, std::ostream* os) {
    *os << '"' << text.toStdString() << '"';
}

namespace {

using vekrsensors::GyrometerTestDlg;
using vekrsensors::MagnetometerTestDlg;
using vekrsensors::ProximitySensorTestDlg;
using vekrsensors::TimeoutPromptDlg;

// What is on the screen where the dialog is (on X), or the dialog's own rendering.
QImage shoot(QWidget& dialog) {
    if (QGuiApplication::platformName() == "xcb" && dialog.screen()) {
        const QRect r = dialog.frameGeometry();
        return dialog.screen()->grabWindow(0, r.x(), r.y(), r.width(), r.height()).toImage();
    }
    return dialog.grab().toImage();
}

// Runs `dialog` modally and, once it is on the screen, each shot in turn: its `before`, then,
// once the dialog has taken the change in (the events it posted, and `settled` where the
// dialog takes changes in at its own pace), its frame. The dialog ends after the last. Nothing
// waits on the clock, so a slow machine only takes longer.
struct Shot {
    std::string name;
    std::function<void()> before;
};
void runAndShoot(libLumo::VekDialog& dialog, const std::vector<Shot>& shots,
                 std::vector<QImage>& frames, const std::function<void()>& atEachFrame = {},
                 const std::function<bool()>& settled = {}) {
    constexpr int kCeilingMs = 60'000;  // only a broken dialog gets near it
    QTimer::singleShot(0, &dialog, [&] {
        (void)QTest::qWaitForWindowExposed(&dialog, kCeilingMs);
        for (const Shot& shot : shots) {
            if (shot.before)
                shot.before();
            QCoreApplication::processEvents();
            if (settled)
                (void)QTest::qWaitFor(settled, kCeilingMs);
            if (atEachFrame)
                atEachFrame();
            frames.push_back(shoot(dialog));
            frames.back().save(QString::fromStdString("frames/" + shot.name + ".png"));
        }
        dialog.EndDialog(0);
    });
    dialog.DoModal();
}

// A dialog that takes a change in at its frame clock's next tick, counting the ticks: after
// changed(), settled() once two more have passed.
template <typename Dialog>
struct Ticking : Dialog {
    using Dialog::Dialog;
    std::atomic<int> ticks{0};
    int changedAt = 0;
    void OnFrame() override {
        ++ticks;
        Dialog::OnFrame();
    }
    void changed() { changedAt = ticks; }
    bool settled() const { return ticks >= changedAt + 2; }
};

class Frames : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        ASSERT_TRUE(gui_.ready());
        std::filesystem::create_directories("frames");
        kiva5::Localization::load("vekrsensors", GetParam(), {});
    }
    void TearDown() override { kiva5::Localization::load("vekrsensors", "en", {}); }
    std::string name(const char* dialog, const char* state) const {
        return std::string(dialog) + "_" + state + "_" + GetParam();
    }
    static QString spoken(QWidget* widget, QAccessible::Text what) {
        QAccessibleInterface* face = QAccessible::queryAccessibleInterface(widget);
        return face ? face->text(what) : QString("(no accessible interface)");
    }
    static QString text(const char* key) {
        return QString::fromStdString(kiva5::Localization::lookup(key).toStdString());
    }
    libLumo::GdiResourceManager gui_;
};

TEST_P(Frames, ShowEachDialogInItsLanguage) {
    std::vector<QImage> frames;
    std::vector<QImage> drawn;  // the dialog's own rendering at each frame

    Ticking<GyrometerTestDlg> gyro(nullptr);
    runAndShoot(
        gyro,
        {{name("gyrometer", "rest"), nullptr},
         {name("gyrometer", "mid"),
          [&] {
              gyro.changed();
              gyro.UpdateRotationX(0.5);
              gyro.UpdateRotationY(-0.4);
              gyro.UpdateRotationZ(0.5);
              gyro.UpdateAxisPassed(true, true, true, true, false, true);
          }}},
        frames, [&gyro, &drawn] { drawn.push_back(gyro.grab().toImage()); },
        [&] { return gyro.settled(); });
    EXPECT_EQ(gyro.windowTitle(), text("TitleGyrometerTest"));
    EXPECT_EQ(gyro.GetDlgItem(1000)->text(), text("FailButton"));
    // What a screen reader says, through Qt's accessibility interface: the lamps in words.
    EXPECT_EQ(spoken(gyro.canvas(), QAccessible::Name), text("TitleGyrometerTest"));
    EXPECT_EQ(spoken(gyro.canvas(), QAccessible::Description),
              text("GyrometerPictureDescription").arg("X-, X+, Y-, Y+, Z+", "Z-"));
    EXPECT_EQ(spoken(gyro.GetDlgItem(1000), QAccessible::Name), text("FailButton"));
    EXPECT_EQ(spoken(gyro.GetDlgItem(1000), QAccessible::Description),
              text("FailButtonDescription"));
    // The square board, centred in the canvas whatever the font made of its shape.
    const libLumo::PixelRect board =
        libLumo::fitAspect(gyro.canvas()->width(), gyro.canvas()->height(), 1.0);
    const QPoint origin = gyro.canvas()->pos() + QPoint(board.x, board.y);
    const auto pixel = [&origin](const QImage& frame, float x, float y) {
        return frame.pixelColor(origin + QPoint(static_cast<int>(x), static_cast<int>(y)));
    };
    const float w = static_cast<float>(board.width);
    const float h = static_cast<float>(board.height);
    ASSERT_EQ(drawn.size(), 2u);
    const QImage &rest = drawn[0], &mid = drawn[1];
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

    MagnetometerTestDlg compass(nullptr);
    compass.SetTargetRotation(-200);
    compass.UpdateRotation(-10);
    runAndShoot(compass,
                {{name("compass", "turning"), nullptr},
                 {name("compass", "on_target"), [&compass] { compass.UpdateRotation(-200); }}},
                frames, [&compass, &drawn] { drawn.push_back(compass.grab().toImage()); });
    EXPECT_EQ(compass.windowTitle(), text("TitleMagnetometerTest"));
    EXPECT_EQ(spoken(compass.canvas(), QAccessible::Description),
              text("CompassPictureDescription"));
    EXPECT_EQ(spoken(compass.GetDlgItem(1001), QAccessible::Description),
              text("CancelButtonDescription"));
    // While turning, the amber arrow runs on the ring of radius 165 from the needle (350) the
    // short way to the target (160), through 70, and not on the other side of the needle.
    const QPointF c(compass.canvas()->width() / 2.0, compass.canvas()->height() / 2.0);
    const auto amberAt = [&](double degrees) {
        const double a = degrees / 180.0 * M_PI;
        const QColor p = drawn[2].pixelColor(compass.canvas()->pos() +
                                             QPoint(static_cast<int>(c.x() + 165 * std::sin(a)),
                                                    static_cast<int>(c.y() - 165 * std::cos(a))));
        return p.red() > 180 && p.green() > 120 && p.blue() < 110;
    };
    ASSERT_EQ(drawn.size(), 4u);
    EXPECT_TRUE(amberAt(70));
    EXPECT_FALSE(amberAt(300));
    EXPECT_FALSE(amberAt(200));
    EXPECT_EQ(compass.GetDlgItem(1001)->text(), text("CancelButton"));

    // Each phase shows its instruction and picture: can't see, hold steady, now move, and
    // can't see again once the hand is lost.
    ProximitySensorTestDlg proximity(nullptr, vek::String("none"), 3, 10, 15, true, false, 30, 30);
    const auto readings = [](std::vector<std::pair<bool, unsigned>> rs) {
        return [rs] {
            for (const auto& [seen, mm] : rs)
                ProximitySensorTestDlg::onReading(seen, mm);
        };
    };
    std::vector<std::pair<QString, QImage>> shown;
    runAndShoot(proximity,
                {{name("proximity", "cant_see"), nullptr},
                 {name("proximity", "hold_steady"), readings({{true, 100}})},
                 {name("proximity", "now_move"), readings({{true, 100}, {true, 102}, {true, 101}})},
                 {name("proximity", "lost"), readings({{false, 0}})}},
                frames,
                [&] { shown.emplace_back(proximity.instructionText(), proximity.mainImage()); });
    ASSERT_EQ(shown.size(), 4u);
    const char* keys[] = {"SensorCantSeeYou", "PleaseHoldSteady", "MoveTowardOrAway",
                          "SensorCantSeeYou"};
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_EQ(shown[i].first, text(keys[i])) << i;
    EXPECT_FALSE(shown[0].second.isNull());
    EXPECT_NE(shown[0].second, shown[1].second) << "hold steady has its own picture";
    EXPECT_NE(shown[1].second, shown[2].second) << "so has now move";
    EXPECT_EQ(shown[3].second, shown[0].second) << "lost shows can't see again";
    QStringList pictures;
    for (auto* control : proximity.findChildren<libLumo::PngControl*>())
        pictures << spoken(control, QAccessible::Description);
    EXPECT_TRUE(pictures.contains(text("SensorCantSeeYou"))) << pictures.join("|").toStdString();

    TimeoutPromptDlg prompt(TimeoutPromptDlg::IDD, nullptr,
                            kiva5::Localization::lookup("TIMEOUT_PROMPT_TEXT"),
                            kiva5::Localization::lookup("BUTTON_RESTART_TEST"),
                            kiva5::Localization::lookup("BUTTON_EXIT_TEST"),
                            kiva5::Localization::lookup("TIMEOUT_PROMPT_TITLE"));
    runAndShoot(prompt, {{name("prompt", "open"), nullptr}}, frames);
    EXPECT_EQ(prompt.text(), text("TIMEOUT_PROMPT_TEXT"));
}

INSTANTIATE_TEST_SUITE_P(Shipped, Frames, ::testing::Values("en", "de", "fr"));

// The orientation check's window draws the pose the check asks for, with its words in the
// run's language, and closes by itself once the check is finished.
TEST_P(Frames, OrientationWindowShowsThePoseAskedForAndClosesWhenTheCheckIsDone) {
    vekrsensors::OrientationSession session;
    std::vector<QImage> frames, drawn;
    std::vector<QString> said;
    {
        Ticking<vekrsensors::OrientationDlg> dialog(nullptr, session);
        const auto asked = [&](int pose) {
            return [&dialog, &session, pose] {
                dialog.changed();
                session.pose = pose;
            };
        };
        runAndShoot(
            dialog,
            {{name("orientation", "upright"), nullptr},
             {name("orientation", "left_up"), asked(1)},
             {name("orientation", "face_up"), asked(2)}},
            frames,
            [&] {
                drawn.push_back(dialog.grab().toImage());
                said.push_back(spoken(dialog.canvas(), QAccessible::Description));
            },
            [&] { return dialog.settled(); });
        EXPECT_EQ(dialog.windowTitle(), text("OrientationTitle"));
        EXPECT_EQ(dialog.GetDlgItem(vekrsensors::OrientationDlg::IDC_BUTTON_CANCEL)->text(),
                  text("CancelButton"));
    }
    ASSERT_EQ(drawn.size(), 3u);
    EXPECT_NE(drawn[0], drawn[1]);
    EXPECT_NE(drawn[1], drawn[2]);
    EXPECT_EQ(said, (std::vector<QString>{text("OrientationPose1"), text("OrientationPose2"),
                                          text("OrientationPose3")}));
    session.finished = true;
    vekrsensors::OrientationDlg done(nullptr, session);
    QTimer::singleShot(60000, &done, [&done] { done.EndDialog(-1); });  // only if it hangs
    EXPECT_EQ(done.DoModal(), 0);
    EXPECT_FALSE(session.cancelled);
}

// With the panel mounted turned in its casing (GPD Pocket: right side up), the window shows
// the device turned as the person is to hold it, and says so in the casing's words.
TEST_P(Frames, OrientationWindowTurnsThePoseForAPanelMountedSideways) {
    vekrsensors::OrientationSession session, upright;
    session.panelTurns = 1;
    std::vector<QImage> frames, turned;
    std::vector<QString> said;
    for (auto* s : {&upright, &session}) {
        Ticking<vekrsensors::OrientationDlg> dialog(nullptr, *s);
        runAndShoot(
            dialog,
            {{name("orientation", s == &session ? "panel_right_side_up" : "plain"), nullptr}},
            frames,
            [&] {
                turned.push_back(dialog.grab().toImage());
                said.push_back(spoken(dialog.canvas(), QAccessible::Description));
            },
            [&] { return dialog.settled(); });
    }
    ASSERT_EQ(turned.size(), 2u);
    EXPECT_NE(turned[0], turned[1]);
    EXPECT_EQ(said.back(), text("OrientationStep").arg(1).arg(text("OrientationHeld1")));
}

// The window a desktop-started run ends on: a row per run with what to do next, where the
// report is, and its words in the run's language.
TEST_P(Frames, ResultsWindowShowsEachRunWithWhatToDoAndWhereTheReportIs) {
    vekrsensors::ResultsView view;
    view.rows = {{"AmbientLightSensorTest", "als", "FAIL", "4.00 lux, wanted > 10",
                  "Ensure light can reach sensor."},
                 {"AccelerometerTest", "bmc150_accel (accel-display)", "PASS",
                  "0.99 g, wanted 1 +/- 0.1", ""}};
    view.reportPath = "/home/tab/.local/state/vekrsensors/report-2026-11-25T06-25-15.034Z.json";
    vekrsensors::ResultsWindow window(nullptr, view);
    std::vector<QImage> frames;
    runAndShoot(window, {{name("results", "two_runs"), nullptr}}, frames);
    ASSERT_EQ(window.table()->rowCount(), 2);
    EXPECT_EQ(window.table()->item(0, 1)->text(), "FAIL");
    EXPECT_EQ(window.table()->item(0, 3)->text(), "Ensure light can reach sensor.");
    EXPECT_EQ(window.table()->item(1, 2)->text(), "0.99 g, wanted 1 +/- 0.1");
    EXPECT_EQ(window.table()->horizontalHeaderItem(3)->text(), text("ResultsColumnAdvice"));
    EXPECT_EQ(window.findChild<QLabel*>()->text(),
              text("ReportSavedIn").arg(QString::fromStdString(view.reportPath)));
    EXPECT_EQ(window.windowTitle(), text("ResultsTitle"));
    using vekrsensors::ResultsWindow;
    EXPECT_EQ(window.GetDlgItem(ResultsWindow::IDC_BUTTON_RUN_AGAIN)->text(),
              text("RunAgainButton"));
    EXPECT_EQ(spoken(window.GetDlgItem(ResultsWindow::IDC_BUTTON_CLOSE), QAccessible::Description),
              text("CloseButtonDescription"));
}

// A finger works every dialog: a touch on Fail (Cancel in the orientation window, Close in the
// results) ends it as that button does.
TEST(Touch, AFingerEndsEachDialog) {
    libLumo::GdiResourceManager gui;
    ASSERT_TRUE(gui.ready());
    // Registered with the window system; the test deletes it, as Qt asks.
    const std::unique_ptr<QPointingDevice> device(QTest::createTouchDevice());
    QPointingDevice* finger = device.get();
    const auto tapWhenShown = [finger](libLumo::VekDialog& dialog, int id) {
        QTimer::singleShot(0, &dialog, [&dialog, id, finger] {
            // A compositor shows the window a round trip later; a finger finds it shown.
            if (!QTest::qWaitForWindowExposed(&dialog, 60000))
                return;
            QAbstractButton* button = dialog.GetDlgItem(id);
            const QPoint at = button->mapTo(&dialog, button->rect().center());
            QTest::touchEvent(&dialog, finger).press(0, at, &dialog);
            QTest::touchEvent(&dialog, finger).release(0, at, &dialog);
        });
        QTimer::singleShot(60000, &dialog, [&dialog] { dialog.EndDialog(-1); });  // if ignored
        return dialog.DoModal();
    };
    GyrometerTestDlg gyro(nullptr);
    EXPECT_EQ(tapWhenShown(gyro, 1000), 1000);
    EXPECT_EQ(gyro.getResult(), kiva5::TestResult::FAIL());
    MagnetometerTestDlg compass(nullptr);
    EXPECT_EQ(tapWhenShown(compass, 1000), 1000);
    EXPECT_EQ(compass.getResult(), kiva5::TestResult::FAIL());
    ProximitySensorTestDlg proximity(nullptr, vek::String("none"), 3, 10, 15, true, false, 30, 30);
    tapWhenShown(proximity, ProximitySensorTestDlg::IDC_BUTTON_FAIL);
    EXPECT_EQ(proximity.getTestResult(), kiva5::TestResult::FAIL());
    vekrsensors::OrientationSession session;
    vekrsensors::OrientationDlg orientation(nullptr, session);
    tapWhenShown(orientation, vekrsensors::OrientationDlg::IDC_BUTTON_CANCEL);
    EXPECT_TRUE(session.cancelled);
    vekrsensors::ResultsWindow results(nullptr, {});
    EXPECT_EQ(tapWhenShown(results, vekrsensors::ResultsWindow::IDC_BUTTON_CLOSE),
              vekrsensors::ResultsWindow::IDC_BUTTON_CLOSE);
}

}  // namespace
