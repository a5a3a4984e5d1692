#pragma once

#include <array>

#include "Orientation/OrientationSession.h"
#include "libLumo/CanvasDialog.h"

namespace vekrsensors {

// The orientation check's window: the pose the check asks for, as a picture with its words,
// and Cancel. Built, run and deleted by the plugin's entry on the main thread while the check's
// worker reads the sensor; the frame clock reads the session's pose and closes the window once
// the check is finished. Cancel, Escape, the window's close and a stop request cancel.
class OrientationDlg : public libLumo::CanvasDialog {
public:
    static constexpr int IDD = 140;
    static constexpr int IDC_BUTTON_CANCEL = 1001;

    OrientationDlg(QWidget* parent, OrientationSession& session);

    // The words under each pose's picture (0..2), in the run's language, for a panel turned
    // `panelTurns` quarter turns in its casing (PanelAxes.h): the device's own position.
    static QString poseText(int pose, int panelTurns = 0);

protected:
    bool OnInitDialog() override;
    void OnFrame() override;
    void OnCancel() override;
    void drawPicture(QPainter& painter, float width, float height,
                     const std::vector<QImage>& bitmaps) override;

private:
    OrientationSession& session_;
    int shown_ = -1;  // the pose last drawn (main thread)
};

// Runs the window modally until the check is finished or the person cancels.
void runOrientationDialog(OrientationSession& session);

}  // namespace vekrsensors
