// The compass: its arithmetic and picture as plain values, its worker against simulated
// sensors on a manual clock, and its dialog driven headless.
#include <gtest/gtest.h>


#include "MagnetometerTest/CompassMotion.h"
#include "MagnetometerTest/CompassPicture.h"
#include "MagnetometerTest/MagnetometerTest.h"
#include "MagnetometerTest/MagnetometerTestDlg.h"
#include "WorkerHarness.h"
#include "kiva5/DiagModule.h"
#include "WithGui.h"
#include "libOrra/SimBackend.h"
#include "platform/WindowsNames.h"
#include "vek/Clock.h"
#include "vekrsensors.h"

namespace {

using kiva5::TestResult;
using vekrsensors::CompassMotion;
using vekrsensors::CompassPicture;
using vekrsensors::MagnetometerRun;
using vekrsensors::MagnetometerTestDlg;

TEST(CompassTarget, LiesNinetyTo269DegreesAhead) {
    struct Row {
        double heading;
        int draw;
        double target;
    };
    const Row rows[] = {
        {0, 0, 90},   {0, 179, 269},  {300, 100, 130},  // 490 wraps to 130
        {350, 0, 80}, {-200, 0, 250},  // a negative heading still lands in [0, 360)
    };
    for (const Row& r : rows) {
        EXPECT_DOUBLE_EQ(CompassMotion::chooseTarget(r.heading, r.draw), r.target)
            << r.heading << " + " << r.draw;
    }
}

TEST(CompassHold, DistanceIsNotWrappedAtNorth) {
    struct Row {
        double displayed, rotation, rotationAtTarget, target, distance;
    };
    const Row rows[] = {
        {4, 0, 0, 5, 1},       {359, 0, 0, 1, 358},  // one degree away across north counts as 358
        {361, 0, 0, 1, 0},                           // a full turn further is the same heading
        {-5, 0, 0, 355, 0},                          // negative headings are brought into [0, 360)
        {10, -90, -90, 10, 0},  // the display's turn since the target was chosen counts
        {10, 0, -90, 100, 0},
    };
    for (const Row& r : rows) {
        EXPECT_DOUBLE_EQ(
            CompassMotion::distanceToTarget(r.displayed, r.rotation, r.rotationAtTarget, r.target),
            r.distance)
            << r.displayed << " vs " << r.target;
    }
}

TEST(CompassNeedle, SettlesOnTheHeadingTheShortWayRound) {
    CompassMotion needle;  // at 0
    double lowest = 0;
    for (int i = 0; i < 1000; ++i) {  // 10 s at 10 ms
        needle.step(350.0, 0.01);
        lowest = std::min(lowest, needle.displayed);
    }
    // 350 is reached by turning back 10 degrees, not forward 350.
    EXPECT_NEAR(needle.displayed, -10.0, 0.01);
    EXPECT_GT(lowest, -12.0) << "overshoot of a damped spring stays small";
    EXPECT_NEAR(needle.velocity, 0.0, 0.01);
}

TEST(CompassNeedle, AStalledLoopDoesNotThrowItOff) {
    CompassMotion needle;
    // Steps of 5 s are taken as 0.2 s each: the needle still settles instead of blowing up.
    for (int i = 0; i < 200; ++i)
        needle.step(100.0, 5.0);
    EXPECT_NEAR(needle.displayed, 100.0, 0.01);
}

TEST(CompassArrow, PointsTheShortWayFromNeedleToTarget) {
    struct Row {
        double target, needle;
        float difference;
        bool left;
    };
    const Row rows[] = {
        {10, 350, 20, false},                         // -340 wraps to +20: turn clockwise
        {350, 10, -20, true},  {45, 45, 0, false},    // equal: +90, the right arrow
        {0, 90, -90, true},    {725.5, 0, 5, false},  // beyond a full turn only whole degrees count
        {-725.5, 0, -5, true}, {190, 0, -170, true},  // 190 clockwise is 170 the other way
    };
    for (const Row& r : rows) {
        EXPECT_FLOAT_EQ(CompassPicture::difference(r.target, r.needle), r.difference)
            << r.target << " - " << r.needle;
        CompassPicture::Input in;
        in.width = 600;
        in.height = 400;
        in.target = r.target;
        in.needle = r.needle;
        const CompassPicture p = CompassPicture::compute(in);
        EXPECT_EQ(p.leftArrow, r.left) << r.target << " - " << r.needle;
        // The half-plane that shows the arrow is the needle's line turned toward the target.
        EXPECT_FLOAT_EQ(p.maskDegrees, static_cast<float>(r.needle) + (r.left ? -90.0f : 90.0f));
    }
}

TEST(CompassPicture, PlacesMarkerArrowAndNeedle) {
    CompassPicture::Input in;
    in.width = 600;
    in.height = 400;
    // The marker's centre sits (375 - 41) / 2 = 167 from the centre, at the target.
    in.target = 0;
    CompassPicture p = CompassPicture::compute(in);
    EXPECT_FLOAT_EQ(p.markerCentre.x, 300);
    EXPECT_FLOAT_EQ(p.markerCentre.y, 200 - 167);
    in.target = 90;
    p = CompassPicture::compute(in);
    EXPECT_NEAR(p.markerCentre.x, 300 + 167, 1e-4);
    EXPECT_NEAR(p.markerCentre.y, 200, 1e-4);
    EXPECT_FLOAT_EQ(p.markerDegrees, 90);
    // The right arrow hangs left of the target's radius, the left one right of it.
    in.needle = 45;  // target 90 is clockwise: right arrow
    p = CompassPicture::compute(in);
    EXPECT_EQ(p.arrowRect, (vekrsensors::RectF{300 - 201, 200 - 203, 300, 200 + 203}));
    EXPECT_FLOAT_EQ(p.arrowDegrees, 90);
    in.needle = 135;
    p = CompassPicture::compute(in);
    EXPECT_EQ(p.arrowRect, (vekrsensors::RectF{300, 200 - 203, 300 + 201, 200 + 203}));
    // The needle is drawn at 0.45 of its image, centred.
    const float nw = 183 * 0.45f, nh = 702 * 0.45f;
    EXPECT_EQ(p.needleRect,
              (vekrsensors::RectF{300 - nw / 2, 200 - nh / 2, 300 + nw / 2, 200 + nh / 2}));
    EXPECT_FLOAT_EQ(p.needleDegrees, 135);
}

TEST(CompassDisplayRotation, MapsOrientationCodesToDegrees) {
    struct Row {
        std::optional<DWORD> code;
        bool readable;
        double degrees;
    };
    const Row rows[] = {{0, true, 0},  {1, true, -90}, {2, true, 180},
                        {3, true, 90}, {7, false, 0},  {std::nullopt, false, 0}};
    for (const Row& r : rows) {
        const unsigned token = platform::setRotationProvider([&r] { return r.code; });
        double degrees = 0;
        EXPECT_EQ(vekrsensors::getDisplayRotation(degrees), r.readable);
        EXPECT_EQ(degrees, r.degrees);
        platform::clearRotationProvider(token);
    }
}

// The worker on a simulated machine. The sensor clock is manual: every 10 ms pause moves it.
const TestResult kBefore = TestResult::CANNOTRUN();  // as a freshly loaded module has it

class CompassWorker : public vekr::testing::WorkerHarness,
                      public ::testing::WithParamInterface<vekr::testing::TableRow> {
protected:
    void SetUp() override {
        WorkerHarness::SetUp();
        vekrsensors::paramDegreesThreshold->set("10");
        vekrsensors::paramMagnetometerWaitTime->set("2");
    }
    void TearDown() override {
        WorkerHarness::TearDown();
        vekrsensors::paramDegreesThreshold->unset();
        vekrsensors::paramMagnetometerWaitTime->unset();
    }
};

TEST_P(CompassWorker, EndsAsItsTableSays) {
    const nlohmann::json& row = GetParam().entry;
    machine(row.at("scenario"), GetParam().label);
    MagnetometerRun::testDeviceLocator = vek::String(row.at("locator").get<std::string>());
    MagnetometerRun::backgroundResult = kBefore;
    vekrsensors::paramMagnetometerWaitTime->set(row.value("waitTime", "2"));

    MagnetometerTestDlg dialog(nullptr);
    const int exitCode = runWorker(&MagnetometerBackgroundData, &dialog,
                                   MagnetometerRun::backgroundRunFlag, row.at("uiClosesAt"));
    expectEnding(row, exitCode, MagnetometerRun::backgroundResult, kBefore, "MagnetometerTest.cpp");
    expectDialogCloses(dialog, MagnetometerTestDlg::IDC_BUTTON_FAIL);
}

INSTANTIATE_TEST_SUITE_P(Compass, CompassWorker,
                         ::testing::ValuesIn(vekr::testing::workerRows("compass")),
                         vekr::testing::rowLabel);

// The dialog on its own: what it draws. How it closes once the worker is done is in every
// worker row above.
class CompassDialog : public vekr::testing::WithGui {};

TEST_F(CompassDialog, RepaintsOnlyForQuarterDegreeMoves) {
    MagnetometerTestDlg dialog(nullptr);
    struct Step {
        double angle;
        int requests;  // total so far
        double stored;
    };
    const Step steps[] = {{0.2, 0, 0.0},   {0.25, 1, 0.25}, {0.45, 1, 0.25},
                          {-0.1, 2, -0.1}, {-0.3, 2, -0.1}, {90, 3, 90}};
    for (const Step& s : steps) {
        dialog.UpdateRotation(s.angle);
        EXPECT_EQ(dialog.repaintRequests(), s.requests) << s.angle;
        EXPECT_EQ(dialog.needleAngle(), s.stored) << s.angle;
    }
}

}  // namespace
