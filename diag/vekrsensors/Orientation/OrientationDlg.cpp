#include "OrientationDlg.h"

#include <QAbstractButton>
#include <QPainter>

#include "libLumo/GdiResourceManager.h"
#include "vek/Logging.h"

namespace vekrsensors {
namespace {

std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "vekrsensors.OrientationDlg";

// 200 x 190 units: the picture, its words, Cancel centred below.
libLumo::DialogTemplate dialogTemplate() {
    libLumo::DialogTemplate t;
    t.id = OrientationDlg::IDD;
    t.caption = "Orientation check";
    t.cx = 200;
    t.cy = 190;
    t.topmost = true;
    t.buttons = {{OrientationDlg::IDC_BUTTON_CANCEL, "Cancel", {75, 170, 50, 14}}};
    return t;
}

std::vector<libLumo::CanvasImage> images() {
    return {{"resources/vekrsensors/orientation_upright.png", 240, 240},
            {"resources/vekrsensors/orientation_left_up.png", 240, 240},
            {"resources/vekrsensors/orientation_face_up.png", 240, 240}};
}

}  // namespace

const std::array<const char*, 3> OrientationDlg::kPoseText{
    "1 of 3: hold it upright, screen facing you, still",
    "2 of 3: stand it on its right-hand edge, left edge up, still",
    "3 of 3: lay it flat, screen up, still"};

OrientationDlg::OrientationDlg(QWidget* parent, OrientationSession& session)
    : libLumo::CanvasDialog(dialogTemplate(), parent, "OrientationCheck", images(), s_logger,
                            kLoggerName),
      session_(session) {
    if (QAbstractButton* cancel = GetDlgItem(IDC_BUTTON_CANCEL))
        QObject::connect(cancel, &QAbstractButton::clicked, this, [this] { OnCancel(); });
}

bool OrientationDlg::OnInitDialog() {
    SetWindowText(vek::String("Orientation check"));
    canvas()->setAccessibleName("Orientation check");
    if (QAbstractButton* cancel = GetDlgItem(IDC_BUTTON_CANCEL)) {
        cancel->setAccessibleDescription("Ends the check without a verdict");
        cancel->setFocus();
    }
    return true;
}

// Closes once the check is done; otherwise draws again only when the pose asked for changed.
void OrientationDlg::OnFrame() {
    if (session_.finished.load()) {
        EndDialog(0);
        return;
    }
    const int pose = session_.pose.load();
    if (pose == shown_)
        return;
    shown_ = pose;
    canvas()->setAccessibleDescription(
        QString::fromUtf8(kPoseText[static_cast<std::size_t>(pose)]));
    CanvasDialog::OnFrame();
}

void OrientationDlg::OnCancel() {
    VEK_LOG(s_logger, kLoggerName, 1, "Orientation check cancelled");
    session_.cancelled.store(true);
    EndDialog(IDCANCEL);
}

void OrientationDlg::drawPicture(QPainter& painter, float width, float height,
                                 const std::vector<QImage>& bitmaps) {
    const int pose = std::clamp(session_.pose.load(), 0, 2);
    const float textHeight = height * 0.16f;
    const float side = std::min(width, height - textHeight);
    const float left = (width - side) / 2;
    libLumo::drawBitmap(painter, bitmaps[static_cast<std::size_t>(pose)], left, 0, left + side,
                        side);
    painter.setPen(QColor(39, 56, 74));
    painter.drawText(QRectF(0, side, width, height - side), Qt::AlignCenter | Qt::TextWordWrap,
                     QString::fromUtf8(kPoseText[static_cast<std::size_t>(pose)]));
}

void runOrientationDialog(OrientationSession& session) {
    libLumo::GdiResourceManager gui;
    if (!gui.ready()) {
        session.cancelled.store(true);
        return;
    }
    OrientationDlg dialog(VekrGetCUIHandle(), session);
    dialog.DoModal();
}

}  // namespace vekrsensors
