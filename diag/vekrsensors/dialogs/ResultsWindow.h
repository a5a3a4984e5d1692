#pragma once

#include "DialogTests.h"
#include "libLumo/VekDialog.h"

class QTableWidget;

namespace vekrsensors {

// The window a run started from the desktop ends on: one row per run with its verdict, the
// key measurement and what to do next, where the report was saved, and Close and Run again,
// large enough for a finger. Built, run and deleted by the plugin's entry on the main thread;
// a stop request closes it like Close.
class ResultsWindow : public libLumo::VekDialog {
public:
    static constexpr int IDD = 150;
    static constexpr int IDC_BUTTON_RUN_AGAIN = 1002;
    static constexpr int IDC_BUTTON_CLOSE = 1003;

    ResultsWindow(QWidget* parent, const ResultsView& view);
    QTableWidget* table() const { return table_; }

protected:
    // "Restart" is Run again, "Close" the Close button.
    QAbstractButton* operatorControl(const std::string& press) override;

private:
    QTableWidget* table_;
};

// Runs the window modally; true when the person chose Run again.
bool showResults(const ResultsView& view);

}  // namespace vekrsensors
