#pragma once

#include <QImage>
#include <memory>

#include "PostMessageTimer.h"
#include "ProximityPhases.h"
#include "TimeoutPromptDlg.h"
#include "kiva5/TestResult.h"
#include "libLumo/CustomToolbarDialog.h"
#include "libLumo/PngControl.h"
#include "libLumo/PostedMessage.h"
#include "libLumo/StringRenderer.h"

namespace vekrsensors {

// The proximity test's modal dialog. It starts the sensor through the proximity bridge, takes
// every reading as a message posted from the bridge's thread, and runs the phase machine: hold
// a hand steady until the last few readings make a baseline, then move it out of the band
// around that baseline. Two countdowns keep it from waiting for ever: no progress opens the
// detection-problem prompt (once per run), no readings at all end it TIMEDOUT. Everything here
// runs on the user-interface thread; other threads only post messages.
class ProximitySensorTestDlg : public libLumo::CustomToolbarDialog {
public:
    static constexpr int IDD = 555;
    static constexpr int IDC_BUTTON_FAIL = 1000;
    static constexpr int IDC_BUTTON_CANCEL = 560;
    static constexpr int IDC_CLOSE = 559;
    static constexpr int IDC_MAIN_IMAGE = 1041;
    static constexpr unsigned WM_NO_PROGRESS_TIMEOUT = libLumo::WM_USER + 1;
    static constexpr unsigned WM_NO_NEW_READINGS_TIMEOUT = libLumo::WM_USER + 2;
    static constexpr unsigned WM_SENSOR_READING = libLumo::WM_USER + 3;
    static constexpr unsigned WM_SENSOR_ERROR = libLumo::WM_USER + 4;

    ProximitySensorTestDlg(QWidget* parent, const vek::String& osLocator,
                           std::uint32_t numPhaseOneReadings, std::uint32_t phase1ThresholdPercent,
                           std::uint32_t phase2ThresholdPercent, bool includeFailButton,
                           bool useTimeoutPrompt, std::uint32_t timeoutPromptIntervalSeconds,
                           std::uint32_t sensorNoDataTimeoutSeconds);
    ~ProximitySensorTestDlg() override;

    kiva5::TestResult getTestResult() const;
    std::int32_t phase() const { return phases_.phase; }
    const std::deque<std::uint32_t>& readings() const { return phases_.readings; }
    const QString& instructionText() const { return instructionText_; }
    // The picture the main image shows now.
    const QImage& mainImage() const;
    std::uint32_t promptCount() const { return promptCount_; }
    TimeoutPromptDlg* promptDlg() const { return promptDlg_.get(); }

    // The bridge's callbacks: post to the live dialog, if there is one. Any thread.
    static void onReading(bool objectDetected, unsigned int distance);
    static void onError();

protected:
    bool OnInitDialog() override;
    QAbstractButton* operatorControl(const std::string& press) override;
    // A stop request ends the test as the Cancel button does: USERABORTED.
    void OnStopRequest() override { onClickCancel(); }
    void paintEvent(QPaintEvent* event) override;
    void customEvent(QEvent* event) override;

private:
    void initStrings();
    void onIncomingSensorReading(std::uintptr_t wParam, std::intptr_t lParam);
    void newReading(bool objectDetected, std::uint32_t distance);
    void setNewTestPhase(std::int32_t phase, bool updateUi);
    void restartTest();
    void exitTest(const kiva5::TestResult& result);
    void onClickFail();
    void onClickCancel();
    void onSensorError();
    void onNoProgressTimeout();
    void onNoNewReadingsTimeout();

    ProximityPhases phases_;
    vek::String osLocator_;
    kiva5::TestResult result_ = kiva5::TestResult::USERABORTED();
    std::unique_ptr<PostMessageTimer> promptTimer_, noDataTimer_;
    std::unique_ptr<TimeoutPromptDlg> promptDlg_;
    bool includeFailButton_, useTimeoutPrompt_;
    std::uint32_t timeoutPromptIntervalSeconds_, sensorNoDataTimeoutSeconds_;
    std::uint32_t promptCount_ = 0;
    std::unique_ptr<libLumo::StringRenderer> titleRenderer_, instructionRenderer_;
    int titleHeight_ = 21;
    vek::String fontName_;
    QString instructionText_;
    QRect instructionRect_;
    QImage holdSteadyImage_, nowMoveImage_, cantSeeImage_;
    libLumo::PngControl* mainImage_ = nullptr;
    libLumo::PngControl* closeControl_ = nullptr;
};

}  // namespace vekrsensors
