#pragma once

#include <array>
#include <atomic>
#include <optional>

#include "GyrometerPicture.h"
#include "VerdictDialog.h"

namespace vekrsensors {

// The gyrometer test's modal dialog: a marble game that shows how far the device has been
// turned about each axis, with Fail and Cancel. Built, run and deleted by the test function on
// the main thread. The worker thread writes the turn, the passed directions and the completed
// flag through the Update* calls and ShutdownUI; they are lone atomic stores (relaxed: a stale
// value only shows for one frame), read by the frame clock and the paint on the main thread.
class GyrometerTestDlg : public VerdictDialog {
public:
    static constexpr int IDD = 111;

    explicit GyrometerTestDlg(QWidget* parent);
    ~GyrometerTestDlg() override;

    // Worker thread: normalised turn, +/-1 at the pass mark.
    void UpdateRotationX(double value);
    void UpdateRotationY(double value);
    void UpdateRotationZ(double value);
    void UpdateAxisPassed(bool xNeg, bool xPos, bool yNeg, bool yPos, bool zNeg, bool zPos);
    // Worker thread: the worker is done and the dialog must close.
    void ShutdownUI();

    // The values the next frame is drawn from.
    GyrometerPicture::Input pictureInput(float width, float height) const;

protected:
    void OnFrame() override;
    // The lamps in words: which directions are done and which are still to do.
    QString pictureDescription() const override;
    // The board is square (its background artwork): kept square on any canvas.
    double pictureAspect() const override { return 1.0; }
    void drawPicture(QPainter& painter, float width, float height,
                     const std::vector<QImage>& bitmaps) override;
    void OnDestroy() override;

private:
    std::atomic<double> rotationX_{0.0}, rotationY_{0.0}, rotationZ_{0.0};
    // What the last repaint asked for was drawn from (main thread only): the picture is a pure
    // function of it, so a tick that finds it unchanged draws nothing.
    std::optional<GyrometerPicture::Input> shown_;
    std::array<std::atomic<bool>, 6> passed_{};
    std::atomic<bool> completed_{false};
};

}  // namespace vekrsensors
