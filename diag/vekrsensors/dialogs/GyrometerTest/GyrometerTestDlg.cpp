#include "GyrometerTestDlg.h"

#include <QPainter>

#include "LocalizedText.h"
#include "vek/Logging.h"
#include "vekrsensors.h"

namespace vekrsensors {
namespace {

std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "GyrometerTest.GyrometerTestDlg";

// Dialog resource 111: 379 x 370 units, Fail and Cancel on the bottom row.
libLumo::DialogTemplate dialogTemplate() {
    libLumo::DialogTemplate t;
    t.id = GyrometerTestDlg::IDD;
    t.caption = "Gyrometer Test - LOCALIZE ME";
    t.cx = 379;
    t.cy = 370;
    t.topmost = true;
    t.buttons = {{GyrometerTestDlg::IDC_BUTTON_FAIL, "Fail", {127, 349, 50, 14}},
                 {GyrometerTestDlg::IDC_BUTTON_CANCEL, "Cancel", {201, 349, 50, 14}}};
    return t;
}

// In the order drawPicture receives them.
enum Image { Background, Dial, Marble, MarbleHole, RedLight, GreenLight, RightArrow, LeftArrow };

std::vector<libLumo::CanvasImage> images() {
    return {{"resources/vekrsensors/gyrometer_bg.png", 752, 752},
            {"resources/vekrsensors/gyrometer_dial.png", 156, 162},
            {"resources/vekrsensors/gyrometer_marble.png", 61, 62},
            {"resources/vekrsensors/gyrometer_marble_hole.png", 56, 56},
            {"resources/vekrsensors/gyrometer_light_red.png", 83, 84},
            {"resources/vekrsensors/gyrometer_light_green.png", 83, 84},
            {"resources/vekrsensors/gyrometer_dial_arrow_right.png", 108, 75},
            {"resources/vekrsensors/gyrometer_dial_arrow_left.png", 108, 75}};
}

// An image scaled by `scale` and centred on `centre`.
void drawCentred(QPainter& painter, const QImage& image, PointF centre, float scale = 1.0f) {
    const float w = static_cast<float>(image.deviceIndependentSize().width()) * scale;
    const float h = static_cast<float>(image.deviceIndependentSize().height()) * scale;
    libLumo::drawBitmap(painter, image, centre.x - w / 2, centre.y - h / 2, centre.x + w / 2,
                        centre.y + h / 2);
}

}  // namespace

GyrometerTestDlg::GyrometerTestDlg(QWidget* parent)
    : VerdictDialog(dialogTemplate(), parent, "GyrometerTest", images(), s_logger, kLoggerName,
                    strTitleGyrometerTest) {}

GyrometerTestDlg::~GyrometerTestDlg() {
    VEK_TRACE(s_logger, kLoggerName, "~GyrometerTestDlg");
}

void GyrometerTestDlg::OnDestroy() {
    VEK_TRACE(s_logger, kLoggerName, "OnDestroy");
}

void GyrometerTestDlg::UpdateRotationX(double value) {
    VEK_TRACE(s_logger, kLoggerName, "UpdateRotationX");
    rotationX_.store(value, std::memory_order_relaxed);
}

void GyrometerTestDlg::UpdateRotationY(double value) {
    VEK_TRACE(s_logger, kLoggerName, "UpdateRotationY");
    rotationY_.store(value, std::memory_order_relaxed);
}

void GyrometerTestDlg::UpdateRotationZ(double value) {
    VEK_TRACE(s_logger, kLoggerName, "UpdateRotationZ");
    rotationZ_.store(value, std::memory_order_relaxed);
}

void GyrometerTestDlg::UpdateAxisPassed(bool xNeg, bool xPos, bool yNeg, bool yPos, bool zNeg,
                                        bool zPos) {
    const bool flags[6] = {xNeg, xPos, yNeg, yPos, zNeg, zPos};
    for (std::size_t i = 0; i < 6; ++i)
        passed_[i].store(flags[i], std::memory_order_relaxed);
}

void GyrometerTestDlg::ShutdownUI() {
    completed_.store(true);
}

GyrometerPicture::Input GyrometerTestDlg::pictureInput(float width, float height) const {
    GyrometerPicture::Input in;
    in.width = width;
    in.height = height;
    in.rotationX = rotationX_.load(std::memory_order_relaxed);
    in.rotationY = rotationY_.load(std::memory_order_relaxed);
    in.rotationZ = rotationZ_.load(std::memory_order_relaxed);
    for (std::size_t i = 0; i < 6; ++i)
        in.passed[i] = passed_[i].load(std::memory_order_relaxed);
    return in;
}

// The frame clock's tick plays the part of a paint message that is never validated: close
// when the worker is done, otherwise draw the latest values, but only when they changed, so a
// device lying still costs no drawing. A change shows at the next tick, within one display
// frame; a paint the window system asks for (exposure) still draws at once.
void GyrometerTestDlg::OnFrame() {
    if (completed_.load()) {
        Close();
        return;
    }
    const GyrometerPicture::Input now = pictureInput(0, 0);
    if (shown_ && *shown_ == now)
        return;
    if (!shown_ || shown_->passed != now.passed)
        canvas()->setAccessibleDescription(pictureDescription());
    shown_ = now;
    VerdictDialog::OnFrame();
}

QString GyrometerTestDlg::pictureDescription() const {
    static constexpr const char* kDirections[] = {"X-", "X+", "Y-", "Y+", "Z-", "Z+"};
    QStringList done, toDo;
    for (std::size_t i = 0; i < 6; ++i)
        (passed_[i].load(std::memory_order_relaxed) ? done : toDo) << kDirections[i];
    const QString none = localizedText("NoneDone");
    return localizedText("GyrometerPictureDescription")
        .arg(done.isEmpty() ? none : done.join(", "), toDo.isEmpty() ? none : toDo.join(", "));
}

void GyrometerTestDlg::drawPicture(QPainter& painter, float width, float height,
                                   const std::vector<QImage>& bitmaps) {
    GyrometerPicture::Input in = pictureInput(width, height);
    in.marbleWidth = static_cast<float>(bitmaps[Marble].deviceIndependentSize().width());
    in.marbleHeight = static_cast<float>(bitmaps[Marble].deviceIndependentSize().height());
    const GyrometerPicture picture = GyrometerPicture::compute(in);
    const PointF centre{width / 2, height / 2};

    libLumo::drawBitmap(painter, bitmaps[Background], 0, 0, width, height);

    painter.save();  // the canvas may have placed the picture: turn within it
    painter.translate(centre.x, centre.y);
    painter.rotate(picture.dialDegrees);
    painter.translate(-centre.x, -centre.y);
    drawCentred(painter, bitmaps[Dial], centre, GyrometerPicture::kDialScale);
    painter.restore();

    for (const GyrometerPicture::Marble& m : picture.marbles) {
        libLumo::drawBitmap(painter, bitmaps[m.hole ? MarbleHole : Marble], m.rect.left, m.rect.top,
                            m.rect.right, m.rect.bottom);
    }

    drawCentred(painter, bitmaps[picture.zNegativeGreen ? GreenLight : RedLight],
                picture.zNegativeLight, GyrometerPicture::kLightScale);
    drawCentred(painter, bitmaps[picture.zPositiveGreen ? GreenLight : RedLight],
                picture.zPositiveLight, GyrometerPicture::kLightScale);

    if (picture.arrows) {
        drawCentred(painter, bitmaps[RightArrow], picture.rightArrow);
        drawCentred(painter, bitmaps[LeftArrow], picture.leftArrow);
    }
}

}  // namespace vekrsensors
