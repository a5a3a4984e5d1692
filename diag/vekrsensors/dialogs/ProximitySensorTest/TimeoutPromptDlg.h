#pragma once

#include "libLumo/VekDialog.h"

class QLabel;

namespace vekrsensors {

// The "Detection Problem" prompt: the sensor has not seen a steady hand for a while; restart
// the test or exit it. Modal over the proximity dialog, on its thread.
class TimeoutPromptDlg : public libLumo::VekDialog {
public:
    static constexpr int IDD = 112;
    static constexpr int IDC_BUTTON_RESTART = 2043;
    static constexpr int IDC_BUTTON_EXIT = 2044;

    TimeoutPromptDlg(int resourceId, QWidget* parent, const vek::String& text,
                     const vek::String& restartLabel, const vek::String& exitLabel,
                     const vek::String& title);

    bool restartChosen() const { return restartChosen_; }
    bool isOpen() const { return isOpen_; }
    // Marks the prompt closed and ends it, for the dialog that owns it.
    void closeFromOwner();
    QString text() const;

protected:
    bool OnInitDialog() override;
    QAbstractButton* operatorControl(const std::string& press) override;

private:
    void choose(bool restart);

    bool restartChosen_ = false;
    bool isOpen_ = false;
    vek::String text_, restartLabel_, exitLabel_, title_;
    QLabel* label_ = nullptr;
};

}  // namespace vekrsensors
