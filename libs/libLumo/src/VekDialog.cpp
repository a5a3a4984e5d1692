#include "libLumo/VekDialog.h"

#include <QApplication>
#include <QFontMetrics>
#include <QKeyEvent>
#include <QPushButton>
#include <QTimer>
#include <atomic>
#include <cmath>

#include "platform/Screen.h"
#include "vek/Logging.h"

namespace libLumo {
namespace {
std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "libLumo";
constexpr int kStopCheckMs = 100;

std::function<bool()>& stopCheck() {
    static std::function<bool()> check;
    return check;
}
}  // namespace

void VekDialog::setStopCheck(std::function<bool()> check) {
    stopCheck() = std::move(check);
}

QString toQString(const vek::String& text) {
    return QString::fromUtf16(text.units().data(), static_cast<qsizetype>(text.length()));
}

VekDialog::VekDialog(const DialogTemplate& dialog, QWidget* parent, std::string operatorName)
    : QDialog(parent), resourceId_(dialog.id), operatorName_(std::move(operatorName)) {
    setObjectName(QString::number(dialog.id));
    setWindowTitle(QString::fromStdString(dialog.caption));
    if (dialog.topmost)
        setWindowFlag(Qt::WindowStaysOnTopHint);
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);

    // The template's units follow the dialog font: the platform's default UI font.
    const QFontMetrics metrics(font());
    units_ = baseUnitsFromFont(metrics.horizontalAdvance(QStringLiteral(
                                   "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz")),
                               metrics.height());
    const PixelRect client = mapDialogRect({0, 0, dialog.cx, dialog.cy}, units_);
    clientSize_ = QSize(client.width, client.height);
    setFixedSize(clientSize_);

    for (const ButtonTemplate& b : dialog.buttons) {
        auto* button = new QPushButton(QString::fromStdString(b.text), this);
        button->setObjectName(QString::number(b.id));
        button->setAutoDefault(false);
        button->setDefault(b.isDefault);
        const PixelRect r = mapDialogRect(b.rect, units_);
        button->setGeometry(r.x, r.y, r.width, r.height);
        controls_[b.id] = button;
    }
}

VekDialog::~VekDialog() = default;

int VekDialog::DoModal() {
    open_ = true;
    opened_.start();
    logPresses();
    OnInitDialog();
    for (const platform::OperatorPress& press : platform::operatorPresses(operatorName_)) {
        const int ms = static_cast<int>(std::lround(press.at * 1000.0));
        QTimer::singleShot(ms, Qt::PreciseTimer, this, [this, control = press.control] {
            if (open_)
                pressAsOperator(control);
        });
    }
    QTimer* watch = nullptr;
    if (stopCheck()) {
        watch = new QTimer(this);
        QObject::connect(watch, &QTimer::timeout, this, [this, watch] {
            // The innermost dialog answers first; its owner follows along its own path.
            if (!open_ || QApplication::activeModalWidget() != this || !stopCheck()())
                return;
            watch->stop();
            VEK_LOG(s_logger, kLoggerName, 1, "Stop requested: closing " << operatorName_);
            OnStopRequest();
        });
        watch->start(kStopCheckMs);
    }
    // Said once the dialog's loop runs, so that a host (and a test) can act on an open dialog.
    QTimer::singleShot(
        0, this, [this] { VEK_LOG(s_logger, kLoggerName, 1, "Dialog open: " << operatorName_); });
    const int code = exec();
    delete watch;
    open_ = false;
    OnDestroy();
    return code;
}

void VekDialog::EndDialog(int code) {
    open_ = false;
    done(code);
}

QAbstractButton* VekDialog::GetDlgItem(int id) const {
    const auto it = controls_.find(id);
    return it == controls_.end() ? nullptr : it->second;
}

void VekDialog::SetDlgItemText(int id, const vek::String& text) {
    if (QAbstractButton* control = GetDlgItem(id))
        control->setText(toQString(text));
}

void VekDialog::SetWindowText(const vek::String& text) {
    setWindowTitle(toQString(text));
}

void VekDialog::logPresses() {
    if (pressesLogged_)
        return;
    pressesLogged_ = true;
    for (const char* press : {"Fail", "Cancel", "Restart", "Exit", "Close"}) {
        if (QAbstractButton* button = operatorControl(press)) {
            QObject::connect(button, &QAbstractButton::clicked, this, [this, press] {
                platform::logPress(operatorName_, press, secondsOpen());
            });
        }
    }
}

double VekDialog::secondsOpen() const {
    return opened_.isValid() ? static_cast<double>(opened_.elapsed()) / 1000.0 : 0.0;
}

void VekDialog::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && open_)
        platform::logPress(operatorName_, "Escape", secondsOpen());
    QDialog::keyPressEvent(event);
}

void VekDialog::closeEvent(QCloseEvent* event) {
    if (open_ && isVisible())
        platform::logPress(operatorName_, "Close", secondsOpen());
    QDialog::closeEvent(event);
}

QAbstractButton* VekDialog::operatorControl(const std::string& press) {
    if (press == "Fail")
        return GetDlgItem(1000);
    if (press == "Cancel")
        return GetDlgItem(1001);
    return nullptr;
}

void VekDialog::pressAsOperator(const std::string& control) {
    VEK_LOG(s_logger, kLoggerName, 1, "Operator presses " << control << " on " << operatorName_);
    if (control == "Close" && !operatorControl(control)) {
        close();  // the window's own close button
        return;
    }
    if (control == "Escape" || control == "Enter" || control == "Space") {
        // Keys go where a person's would: to the control with the focus, which hands Escape and
        // Enter on to the dialog (Enter presses the default button).
        const Qt::Key key = control == "Escape"  ? Qt::Key_Escape
                            : control == "Enter" ? Qt::Key_Return
                                                 : Qt::Key_Space;
        QWidget* target = focusWidget() ? focusWidget() : this;
        QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, control == "Space" ? " " : "");
        QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, control == "Space" ? " " : "");
        QApplication::sendEvent(target, &press);
        if (open_)
            QApplication::sendEvent(target, &release);
        return;
    }
    QAbstractButton* button = operatorControl(control);
    if (button && button->isVisible() && button->isEnabled()) {
        button->click();
    } else {
        VEK_LOG(s_logger, kLoggerName, 2,
                "Operator cannot press " << control << ": no such control in view");
    }
}

}  // namespace libLumo
