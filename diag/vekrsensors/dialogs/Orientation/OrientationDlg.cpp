#include "OrientationDlg.h"

#include <QAbstractButton>
#include <QPainter>

#include "LocalizedText.h"
#include "Orientation/PanelAxes.h"
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
    t.caption = localizedText("OrientationTitle").toStdString();
    t.cx = 200;
    t.cy = 190;
    t.topmost = true;
    t.buttons = {{OrientationDlg::IDC_BUTTON_CANCEL,
                  localizedText("CancelButton").toStdString(),
                  {75, 170, 50, 14}}};
    return t;
}

std::vector<libLumo::CanvasImage> images() {
    return {{"resources/vekrsensors/orientation_upright.png", 240, 240},
            {"resources/vekrsensors/orientation_left_up.png", 240, 240},
            {"resources/vekrsensors/orientation_face_up.png", 240, 240},
            {"resources/vekrsensors/orientation_upside_down.png", 240, 240},
            {"resources/vekrsensors/orientation_right_up.png", 240, 240}};
}

}  // namespace

QString OrientationDlg::poseText(int pose, int panelTurns) {
    static const char* const keys[] = {"OrientationPose1", "OrientationPose2", "OrientationPose3"};
    pose = std::clamp(pose, 0, 2);
    if (panelTurns % 4 == 0 || pose == 2)
        return localizedText(keys[pose]);
    static const char* const held[] = {"OrientationHeld0", "OrientationHeld1", "OrientationHeld2",
                                       "OrientationHeld3"};
    return localizedText("OrientationStep")
        .arg(pose + 1)
        .arg(localizedText(held[deviceTurns(pose, panelTurns)]));
}

OrientationDlg::OrientationDlg(QWidget* parent, OrientationSession& session)
    : libLumo::CanvasDialog(dialogTemplate(), parent, "OrientationCheck", images(), s_logger,
                            kLoggerName),
      session_(session) {
    if (QAbstractButton* cancel = GetDlgItem(IDC_BUTTON_CANCEL))
        QObject::connect(cancel, &QAbstractButton::clicked, this, [this] { OnCancel(); });
}

bool OrientationDlg::OnInitDialog() {
    canvas()->setAccessibleName(localizedText("OrientationTitle"));
    if (QAbstractButton* cancel = GetDlgItem(IDC_BUTTON_CANCEL)) {
        cancel->setAccessibleDescription(localizedText("CancelButtonDescription"));
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
    canvas()->setAccessibleDescription(poseText(pose, session_.panelTurns.load()));
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
    const int panelTurns = session_.panelTurns.load();
    const float textHeight = height * 0.16f;
    const float side = std::min(width, height - textHeight);
    const float left = (width - side) / 2;
    // The pictures by the device's own position: upright, on its right-hand edge, flat,
    // upside down, on its left-hand edge.
    static constexpr std::size_t kByTurns[] = {0, 1, 3, 4};
    const std::size_t picture =
        pose == 2 ? 2 : kByTurns[static_cast<std::size_t>(deviceTurns(pose, panelTurns))];
    libLumo::drawBitmap(painter, bitmaps[picture], left, 0, left + side, side);
    painter.setPen(QColor(39, 56, 74));
    painter.drawText(QRectF(0, side, width, height - side), Qt::AlignCenter | Qt::TextWordWrap,
                     poseText(pose, panelTurns));
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
