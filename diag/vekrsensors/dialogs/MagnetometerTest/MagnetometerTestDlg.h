#pragma once

#include <atomic>

#include "CompassPicture.h"
#include "VerdictDialog.h"

namespace vekrsensors {

// The compass test's modal dialog: a dial with a marker at the target heading, a needle that
// shows the device's heading, and an arrow from the needle toward the target. Built, run and
// deleted by the test function on the main thread. The worker thread sets the target once and
// the needle continuously (atomics) and asks for repaints; unlike the gyrometer's, this canvas
// repaints only on request, and only for needle moves of a quarter degree or more.
class MagnetometerTestDlg : public VerdictDialog {
public:
    static constexpr int IDD = 101;
    static constexpr double kRepaintDegrees = 0.25;

    explicit MagnetometerTestDlg(QWidget* parent);
    ~MagnetometerTestDlg() override;

    // Worker thread.
    void SetTargetRotation(double angle);
    void UpdateRotation(double angle);
    void ShutdownUI();

    double targetAngle() const { return target_.load(std::memory_order_relaxed); }
    double needleAngle() const { return needle_.load(std::memory_order_relaxed); }
    // Repaints asked for since construction (each queued to the dialog's thread).
    int repaintRequests() const { return repaintRequests_.load(); }

protected:
    void OnDestroy() override;
    QString pictureDescription() const override;
    void OnResize(int type, int width, int height) override;
    void drawPicture(QPainter& painter, float width, float height,
                     const std::vector<QImage>& bitmaps) override;

private:
    std::atomic<double> needle_{0.0}, target_{0.0};
    std::atomic<bool> closing_{false};
    std::atomic<int> repaintRequests_{0};
};

}  // namespace vekrsensors
