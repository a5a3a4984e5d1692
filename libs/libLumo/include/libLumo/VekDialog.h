#pragma once

#include <QDialog>
#include <QElapsedTimer>
#include <atomic>
#include <functional>
#include <map>
#include <string>

#include "libLumo/DialogTemplate.h"
#include "vek/String.h"

class QAbstractButton;

namespace libLumo {

// The module's dialog base: a modal QDialog laid out from a dialog template (ids and dialog
// units), with the dialog calls the module's code is written against. Built, run and
// destroyed on the main thread. When the simulated operator has presses scripted for this
// dialog's name, DoModal schedules them as the dialog opens.
class VekDialog : public QDialog {
public:
    static constexpr int IDCANCEL = 2;

    VekDialog(const DialogTemplate& dialog, QWidget* parent, std::string operatorName);
    ~VekDialog() override;

    // Shows the dialog and runs its loop; returns the code given to EndDialog (IDCANCEL for
    // Escape and the window's close button).
    int DoModal();
    void EndDialog(int code);
    // The control with this id, or null.
    QAbstractButton* GetDlgItem(int id) const;
    // Sets a control's text; an id without a control is skipped.
    void SetDlgItemText(int id, const vek::String& text);
    void SetWindowText(const vek::String& text);
    // True from construction until the dialog has ended. Any thread.
    bool IsWindow() const { return open_.load(); }

    int resourceId() const { return resourceId_; }
    const DialogBaseUnits& baseUnits() const { return units_; }
    // Client area in pixels.
    QSize clientSize() const { return clientSize_; }
    const std::string& operatorName() const { return operatorName_; }

    // Asked every 100 ms while any dialog is open: true ends the dialog along its cancel path
    // (OnStopRequest). The module points it at the framework's stop request, so a SIGTERM
    // closes what a person would otherwise have to close. Set before any dialog opens.
    static void setStopCheck(std::function<bool()> check);

    // What a scripted press does: "Escape", "Enter" and "Space" send the key to the control with
    // the focus; "Close" closes the window unless the dialog names a close control of its own;
    // any other name clicks the control that operatorControl() names, when it is visible and
    // enabled.
    void pressAsOperator(const std::string& control);

protected:
    // Called by DoModal before the dialog shows. Return value as the original's (true).
    virtual bool OnInitDialog() { return true; }
    // Called by DoModal once the dialog has ended.
    virtual void OnDestroy() {}
    // Escape and the close button; the default ends with IDCANCEL.
    virtual void OnCancel() { EndDialog(IDCANCEL); }
    // A stop request while the dialog is open; the default is what Escape does.
    virtual void OnStopRequest() { OnCancel(); }
    // The button a scripted press names: "Fail" is control 1000 and "Cancel" 1001.
    virtual QAbstractButton* operatorControl(const std::string& press);

    void reject() override { OnCancel(); }
    // Escape and the window's close are presses too, for a recording of the run.
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    // Tells platform::logPress of each press of a control the person can make, with its time
    // since the dialog opened; connected on the first DoModal.
    void logPresses();
    double secondsOpen() const;

    QElapsedTimer opened_;
    bool pressesLogged_ = false;
    int resourceId_;
    std::string operatorName_;
    DialogBaseUnits units_;
    QSize clientSize_;
    std::map<int, QAbstractButton*> controls_;
    std::atomic<bool> open_{true};
};

// vek::String to QString and back, for the texts the framework supplies.
QString toQString(const vek::String& text);

}  // namespace libLumo
