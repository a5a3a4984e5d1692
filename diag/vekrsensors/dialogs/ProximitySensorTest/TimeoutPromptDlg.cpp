#include "TimeoutPromptDlg.h"

#include <QAbstractButton>
#include <QLabel>

namespace vekrsensors {
namespace {

// Dialog resource 112: 195 x 78 units; the question above Restart (the default) and Exit.
libLumo::DialogTemplate promptTemplate(int id) {
    libLumo::DialogTemplate t;
    t.id = id;
    t.caption = "Detection Problem";
    t.cx = 195;
    t.cy = 78;
    t.buttons = {{TimeoutPromptDlg::IDC_BUTTON_EXIT, "Exit Test", {128, 58, 58, 14}},
                 {TimeoutPromptDlg::IDC_BUTTON_RESTART, "Restart Test", {64, 58, 60, 14}, true}};
    return t;
}

}  // namespace

TimeoutPromptDlg::TimeoutPromptDlg(int resourceId, QWidget* parent, const vek::String& text,
                                   const vek::String& restartLabel, const vek::String& exitLabel,
                                   const vek::String& title)
    : libLumo::VekDialog(promptTemplate(resourceId), parent, "DetectionProblem"),
      text_(text),
      restartLabel_(restartLabel),
      exitLabel_(exitLabel),
      title_(title) {
    label_ = new QLabel(
        QStringLiteral("The sensor is having difficulty detecting you.  Would you like to "
                       "restart the test?"),
        this);
    label_->setWordWrap(true);
    const libLumo::PixelRect r = libLumo::mapDialogRect({20, 17, 166, 29}, baseUnits());
    label_->setGeometry(r.x, r.y, r.width, r.height);
    if (QAbstractButton* restart = GetDlgItem(IDC_BUTTON_RESTART))
        QObject::connect(restart, &QAbstractButton::clicked, this, [this] { choose(true); });
    if (QAbstractButton* exit = GetDlgItem(IDC_BUTTON_EXIT))
        QObject::connect(exit, &QAbstractButton::clicked, this, [this] { choose(false); });
}

bool TimeoutPromptDlg::OnInitDialog() {
    label_->setText(libLumo::toQString(text_));
    SetDlgItemText(IDC_BUTTON_RESTART, restartLabel_);
    SetDlgItemText(IDC_BUTTON_EXIT, exitLabel_);
    SetWindowText(title_);
    if (QAbstractButton* restart = GetDlgItem(IDC_BUTTON_RESTART))
        restart->setFocus();
    isOpen_ = true;
    return true;
}

void TimeoutPromptDlg::choose(bool restart) {
    restartChosen_ = restart;
    if (isOpen_) {
        isOpen_ = false;
        EndDialog(0);
    }
}

void TimeoutPromptDlg::closeFromOwner() {
    isOpen_ = false;
    EndDialog(0);
}

QString TimeoutPromptDlg::text() const {
    return label_->text();
}

QAbstractButton* TimeoutPromptDlg::operatorControl(const std::string& press) {
    if (press == "Restart")
        return GetDlgItem(IDC_BUTTON_RESTART);
    if (press == "Exit")
        return GetDlgItem(IDC_BUTTON_EXIT);
    return nullptr;
}

}  // namespace vekrsensors
