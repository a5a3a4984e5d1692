#include "ResultsWindow.h"

#include <QAbstractButton>
#include <QHeaderView>
#include <QLabel>
#include <QTableWidget>

#include "LocalizedText.h"
#include "libLumo/GdiResourceManager.h"
#include "vek/Logging.h"

namespace vekrsensors {
namespace {

std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "vekrsensors.ResultsWindow";

// 420 x 240 units: the table, the report's path, the two buttons; 60 x 18 units is about
// 90 x 30 pixels, a finger's width.
libLumo::DialogTemplate dialogTemplate() {
    libLumo::DialogTemplate t;
    t.id = ResultsWindow::IDD;
    t.caption = localizedText("ResultsTitle").toStdString();
    t.cx = 420;
    t.cy = 240;
    t.buttons = {{ResultsWindow::IDC_BUTTON_RUN_AGAIN,
                  localizedText("RunAgainButton").toStdString(),
                  {284, 216, 62, 18}},
                 {ResultsWindow::IDC_BUTTON_CLOSE,
                  localizedText("CloseButton").toStdString(),
                  {352, 216, 60, 18},
                  true}};
    return t;
}

QColor colourOf(const std::string& result) {
    if (result == "PASS")
        return {46, 125, 50};
    if (result == "WARN")
        return {176, 120, 0};
    return {190, 40, 40};
}

}  // namespace

ResultsWindow::ResultsWindow(QWidget* parent, const ResultsView& view)
    : libLumo::VekDialog(dialogTemplate(), parent, "Results"),
      table_(new QTableWidget(static_cast<int>(view.rows.size()), 4, this)) {
    const QSize client = clientSize();
    table_->setHorizontalHeaderLabels(
        {localizedText("ResultsColumnTest"), localizedText("ResultsColumnResult"),
         localizedText("ResultsColumnMeasured"), localizedText("ResultsColumnAdvice")});
    table_->verticalHeader()->hide();
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->setWordWrap(true);
    table_->horizontalHeader()->setStretchLastSection(true);
    for (int r = 0; r < static_cast<int>(view.rows.size()); ++r) {
        const ResultRow& row = view.rows[static_cast<std::size_t>(r)];
        auto* test = new QTableWidgetItem(QString::fromStdString(row.test + "\n" + row.device));
        auto* result = new QTableWidgetItem(QString::fromStdString(row.result));
        result->setForeground(colourOf(row.result));
        QFont bold = result->font();
        bold.setBold(true);
        result->setFont(bold);
        table_->setItem(r, 0, test);
        table_->setItem(r, 1, result);
        table_->setItem(r, 2, new QTableWidgetItem(QString::fromStdString(row.measurement)));
        table_->setItem(r, 3, new QTableWidgetItem(QString::fromStdString(row.advice)));
    }
    table_->setGeometry(10, 10, client.width() - 20, client.height() - 90);
    table_->resizeColumnsToContents();
    table_->resizeRowsToContents();
    table_->setAccessibleName(localizedText("ResultsTitle"));
    table_->setAccessibleDescription(localizedText("ResultsDescription"));
    auto* saved = new QLabel(
        view.reportPath.empty()
            ? localizedText("ReportNotSaved")
            : localizedText("ReportSavedIn").arg(QString::fromStdString(view.reportPath)),
        this);
    saved->setTextInteractionFlags(Qt::TextSelectableByMouse);
    saved->setWordWrap(true);
    saved->setGeometry(10, client.height() - 76, client.width() - 20, 40);
    if (QAbstractButton* again = GetDlgItem(IDC_BUTTON_RUN_AGAIN)) {
        again->setAccessibleDescription(localizedText("RunAgainButtonDescription"));
        QObject::connect(again, &QAbstractButton::clicked, this,
                         [this] { EndDialog(IDC_BUTTON_RUN_AGAIN); });
    }
    if (QAbstractButton* close = GetDlgItem(IDC_BUTTON_CLOSE)) {
        close->setAccessibleDescription(localizedText("CloseButtonDescription"));
        close->setFocus();
        QObject::connect(close, &QAbstractButton::clicked, this,
                         [this] { EndDialog(IDC_BUTTON_CLOSE); });
    }
    VEK_LOG(s_logger, kLoggerName, 1,
            "Results window: " << view.rows.size() << " runs, report "
                               << (view.reportPath.empty() ? "not saved" : view.reportPath));
}

QAbstractButton* ResultsWindow::operatorControl(const std::string& press) {
    if (press == "Restart")
        return GetDlgItem(IDC_BUTTON_RUN_AGAIN);
    if (press == "Close")
        return GetDlgItem(IDC_BUTTON_CLOSE);
    return VekDialog::operatorControl(press);
}

bool showResults(const ResultsView& view) {
    libLumo::GdiResourceManager gui;
    if (!gui.ready())
        return false;
    ResultsWindow window(VekrGetCUIHandle(), view);
    return window.DoModal() == ResultsWindow::IDC_BUTTON_RUN_AGAIN;
}

}  // namespace vekrsensors
