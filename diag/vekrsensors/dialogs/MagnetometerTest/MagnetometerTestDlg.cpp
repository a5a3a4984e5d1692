#include "MagnetometerTestDlg.h"

#include <QPainter>
#include <QPainterPath>
#include <cmath>

#include "CompassTarget.h"
#include "LocalizedText.h"
#include "platform/Screen.h"
#include "platform/WindowsNames.h"
#include "vek/Logging.h"
#include "vekrsensors.h"

namespace vekrsensors {
namespace {

std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "MagnetometerTest.MagnetometerTestDlg";

// Dialog resource 101: 345 x 306 units, Fail and Cancel on the bottom row.
libLumo::DialogTemplate dialogTemplate() {
    libLumo::DialogTemplate t;
    t.id = MagnetometerTestDlg::IDD;
    t.caption = "Magnetometer Test";
    t.cx = 345;
    t.cy = 306;
    t.buttons = {{MagnetometerTestDlg::IDC_BUTTON_FAIL, "Fail", {109, 287, 50, 14}},
                 {MagnetometerTestDlg::IDC_BUTTON_CANCEL, "Cancel", {184, 287, 50, 14}}};
    return t;
}

enum Image { ContainerBackground, Dial, Needle, NeedleCap, Marker, LeftArrow, RightArrow };

std::vector<libLumo::CanvasImage> images() {
    return {{"resources/vekrsensors/compass_container_bg.png", 498, 437},
            {"resources/vekrsensors/compass_bg.png", 375, 375},
            {"resources/vekrsensors/compass_needle.png", 183, 702},
            {"resources/vekrsensors/compass_needle_cap.png", 75, 75},
            {"resources/vekrsensors/compass_marker.png", 30, 41},
            {"resources/vekrsensors/compass_arrow_left.png", 201, 406},
            {"resources/vekrsensors/compass_arrow_right.png", 201, 406}};
}

// In the dialog's pixels, whatever the screen's ratio the image was made for.
CompassPicture::Size sizeOf(const QImage& image) {
    const QSizeF size = image.deviceIndependentSize();
    return {static_cast<float>(size.width()), static_cast<float>(size.height())};
}

// An image at its own size, centred on `at`.
void drawCentred(QPainter& painter, const QImage& image, PointF at) {
    const auto size = sizeOf(image);
    const float w = size.width, h = size.height;
    libLumo::drawBitmap(painter, image, at.x - w / 2, at.y - h / 2, at.x + w / 2, at.y + h / 2);
}

void rotateAbout(QPainter& painter, PointF centre, float degrees) {
    painter.translate(centre.x, centre.y);
    painter.rotate(degrees);
    painter.translate(-centre.x, -centre.y);
}

}  // namespace

MagnetometerTestDlg::MagnetometerTestDlg(QWidget* parent)
    : VerdictDialog(dialogTemplate(), parent, "MagnetometerTest", images(), s_logger, kLoggerName,
                    strTitleMagnetometerTest) {
    // The compass repaints when the worker asks, not every frame.
    stopFrameClock();
}

MagnetometerTestDlg::~MagnetometerTestDlg() {
    VEK_TRACE(s_logger, kLoggerName, "~MagnetometerTestDlg");
}

QString MagnetometerTestDlg::pictureDescription() const {
    return localizedText("CompassPictureDescription");
}

void MagnetometerTestDlg::OnDestroy() {
    VEK_TRACE(s_logger, kLoggerName, "OnDestroy");
}

void MagnetometerTestDlg::SetTargetRotation(double angle) {
    target_.store(angle, std::memory_order_relaxed);
    VEK_LOG(s_logger, kLoggerName, 1, "New target rotation: " << angle);
    // Whoever stands in front of a simulated machine reads the target off the dial: the heading
    // that brings the needle onto it, with the display turned as it is now.
    DEVMODEW mode;
    const bool known = EnumDisplaySettingsW(nullptr, ENUM_CURRENT_SETTINGS, &mode) &&
                       (mode.dmFields & DM_DISPLAYORIENTATION);
    platform::showToOperator(
        operatorName(), "heading",
        targetHeading(angle, known ? std::optional(mode.dmDisplayOrientation) : std::nullopt));
    requestRepaint();
}

void MagnetometerTestDlg::UpdateRotation(double angle) {
    // Quarter-degree jitter is not worth a repaint.
    if (std::abs(angle - needle_.load(std::memory_order_relaxed)) < kRepaintDegrees)
        return;
    needle_.store(angle, std::memory_order_relaxed);
    repaintRequests_.fetch_add(1);
    requestRepaint();
}

void MagnetometerTestDlg::ShutdownUI() {
    closing_.store(true);
    if (!IsWindow())
        return;
    // Queued to the dialog's thread, where the paint handler would notice the flag.
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (closing_.load())
                Close();
        },
        Qt::QueuedConnection);
}

void MagnetometerTestDlg::OnResize(int /*type*/, int width, int /*height*/) {
    // The compass keeps its render target's size; a new size only asks for a repaint.
    if (width > 0)
        requestRepaint();
}

void MagnetometerTestDlg::drawPicture(QPainter& painter, float width, float height,
                                      const std::vector<QImage>& bitmaps) {
    CompassPicture::Input in;
    in.width = width;
    in.height = height;
    in.target = targetAngle();
    in.needle = needleAngle();
    in.dialSize = sizeOf(bitmaps[Dial]);
    in.markerSize = sizeOf(bitmaps[Marker]);
    in.needleSize = sizeOf(bitmaps[Needle]);
    in.arrowSize = sizeOf(bitmaps[LeftArrow]);
    const CompassPicture p = CompassPicture::compute(in);

    drawCentred(painter, bitmaps[ContainerBackground], p.centre);
    drawCentred(painter, bitmaps[Dial], p.centre);

    painter.save();  // the canvas may have placed the picture: turn within it
    painter.translate(p.markerCentre.x, p.markerCentre.y);
    painter.rotate(p.markerDegrees);
    drawCentred(painter, bitmaps[Marker], {0, 0});
    painter.restore();

    // The arrow shows only in the half-plane on the needle's side of the target.
    painter.save();
    QPainterPath half;
    half.addRect(QRectF(0, 0, width, height / 2));
    QTransform turn;
    turn.translate(p.centre.x, p.centre.y);
    turn.rotate(p.maskDegrees);
    turn.translate(-p.centre.x, -p.centre.y);
    painter.setClipPath(turn.map(half));
    rotateAbout(painter, p.centre, p.arrowDegrees);
    libLumo::drawBitmap(painter, bitmaps[p.leftArrow ? LeftArrow : RightArrow], p.arrowRect.left,
                        p.arrowRect.top, p.arrowRect.right, p.arrowRect.bottom);
    painter.restore();

    painter.save();
    rotateAbout(painter, p.centre, p.needleDegrees);
    libLumo::drawBitmap(painter, bitmaps[Needle], p.needleRect.left, p.needleRect.top,
                        p.needleRect.right, p.needleRect.bottom);
    painter.restore();
    drawCentred(painter, bitmaps[NeedleCap], p.centre);
}

}  // namespace vekrsensors
