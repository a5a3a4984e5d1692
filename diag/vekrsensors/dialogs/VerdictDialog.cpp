#include "VerdictDialog.h"

#include <QAbstractButton>
#include <QIcon>

#include "LocalizedText.h"
#include "vek/Logging.h"
#include "vek/Resource.h"
#include "vekrsensors.h"

namespace vekrsensors {

VerdictDialog::VerdictDialog(const libLumo::DialogTemplate& dialog, QWidget* parent,
                             std::string operatorName, std::vector<libLumo::CanvasImage> images,
                             std::atomic<vek::Logger*>& logger, const char* loggerName,
                             const kiva5::LocalizedString* title)
    : libLumo::CanvasDialog(dialog, parent, std::move(operatorName), std::move(images), logger,
                            loggerName),
      title_(title) {
    // Icon 102 of the module; the window manager's default when the file is missing.
    if (auto icon = vek::Resource::resolve("resources/vekrsensors/vekrsensors_icon.png"))
        setWindowIcon(QIcon(QString::fromStdString(icon->string())));
    if (QAbstractButton* fail = GetDlgItem(IDC_BUTTON_FAIL))
        QObject::connect(fail, &QAbstractButton::clicked, this,
                         [this] { OnBnClickedButtonFail(); });
    if (QAbstractButton* cancel = GetDlgItem(IDC_BUTTON_CANCEL)) {
        QObject::connect(cancel, &QAbstractButton::clicked, this,
                         [this] { OnBnClickedButtonCancel(); });
    }
}

bool VerdictDialog::OnInitDialog() {
    SetWindowText(title_->localizedString());
    SetDlgItemText(IDC_BUTTON_FAIL, strFailButton->localizedString());
    SetDlgItemText(IDC_BUTTON_CANCEL, strCancelButton->localizedString());
    // For screen readers, in the run's language: the buttons say what they end the test as,
    // the picture is named after the test and described by the dialog (pictureDescription).
    for (auto [id, key] : {std::pair(IDC_BUTTON_FAIL, "FailButtonDescription"),
                           std::pair(IDC_BUTTON_CANCEL, "CancelButtonDescription")}) {
        if (QAbstractButton* button = GetDlgItem(id))
            button->setAccessibleDescription(localizedText(key));
    }
    canvas()->setAccessibleName(libLumo::toQString(title_->localizedString()));
    canvas()->setAccessibleDescription(pictureDescription());
    // Keyboard: the focus starts on the first control, Fail, as a dialog whose OnInitDialog
    // returns true has it; Tab moves between the buttons, Space presses the one with focus,
    // Escape cancels.
    if (QAbstractButton* fail = GetDlgItem(IDC_BUTTON_FAIL))
        fail->setFocus();
    activateWindow();
    raise();
    return true;
}

void VerdictDialog::OnBnClickedButtonFail() {
    result_ = kiva5::TestResult::FAIL();
    EndDialog(IDC_BUTTON_FAIL);
}

void VerdictDialog::OnBnClickedButtonCancel() {
    result_ = kiva5::TestResult::USERABORTED();
    EndDialog(IDC_BUTTON_CANCEL);
}

void VerdictDialog::Close() {
    VEK_TRACE(logger_, loggerName_, "Close");
    if (IsWindow())
        EndDialog(IDC_BUTTON_FAIL);
}

kiva5::TestResult runDialogWithWorker(VerdictDialog& dialog, vek::ManagedThread::Function worker,
                                      const char* threadName, const WorkerHandOff& handOff) {
    vek::ManagedThread thread(worker, &dialog);
    thread.run(vek::String(threadName));
    dialog.DoModal();

    VEK_LOG(handOff.logger, handOff.loggerName, 1,
            "Modal UI completed, shutting down background thread");
    handOff.runFlag.exchange(false);
    thread.join();
    handOff.runFlag.exchange(true);

    int code = 0;
    const bool valid = thread.getExitCode(&code);
    VEK_LOG(handOff.logger, handOff.loggerName, 1,
            "Result from background thread is: " << code << " (Valid code: " << valid << ")");
    if (valid && code == 1)
        return handOff.result;
    const kiva5::TestResult result = dialog.getResult();
    if (result == kiva5::TestResult::FAIL())
        kiva5::DiagModule::error(evUserClickedFail, handOff.sourceFile, handOff.sourceLine);
    return result;
}

}  // namespace vekrsensors
