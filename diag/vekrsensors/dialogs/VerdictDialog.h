#pragma once

#include <atomic>

#include "kiva5/Catalogue.h"
#include "kiva5/TestResult.h"
#include "libLumo/CanvasDialog.h"
#include "vek/ManagedThread.h"

namespace vekrsensors {

// A drawing dialog that holds the user's verdict: Fail (control 1000) and Cancel (1001) under
// the canvas, the module's icon, a localized caption. The result starts USERABORTED (also what
// Escape and the window's close button leave); Close() ends the dialog for a worker that has
// finished, leaving the result as it is. Main thread only.
class VerdictDialog : public libLumo::CanvasDialog {
public:
    static constexpr int IDC_BUTTON_FAIL = 1000;
    static constexpr int IDC_BUTTON_CANCEL = 1001;

    VerdictDialog(const libLumo::DialogTemplate& dialog, QWidget* parent, std::string operatorName,
                  std::vector<libLumo::CanvasImage> images, std::atomic<vek::Logger*>& logger,
                  const char* loggerName, const kiva5::LocalizedString* title);

    kiva5::TestResult getResult() const { return result_; }
    void setResult(const kiva5::TestResult& result) { result_ = result; }

    void OnBnClickedButtonFail();
    void OnBnClickedButtonCancel();
    void Close();

protected:
    bool OnInitDialog() override;
    // What the picture shows now, for a screen reader, in the run's language.
    virtual QString pictureDescription() const { return {}; }

private:
    kiva5::TestResult result_ = kiva5::TestResult::USERABORTED();
    const kiva5::LocalizedString* title_;
};

// What a test function and its background worker share for one run.
struct WorkerHandOff {
    std::atomic<bool>& runFlag;         // cleared to ask the worker to stop
    const kiva5::TestResult& result;    // the worker's verdict when it settled one
    std::atomic<vek::Logger*>& logger;  // the test's logger
    const char* loggerName;
    const char* sourceFile;  // where UserClickedFail is raised from
    int sourceLine;
};

// Runs `dialog` modally while `worker` runs on a thread of its own. When the dialog has
// closed: clears the run flag, joins the worker, sets the flag again, and returns the
// worker's result when it settled one (exit code 1), otherwise the dialog's (raising
// UserClickedFail when that is FAIL).
kiva5::TestResult runDialogWithWorker(VerdictDialog& dialog, vek::ManagedThread::Function worker,
                                      const char* threadName, const WorkerHandOff& handOff);

}  // namespace vekrsensors
