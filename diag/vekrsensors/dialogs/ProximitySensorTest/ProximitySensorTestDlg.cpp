#include "ProximitySensorTestDlg.h"

#include <QAbstractButton>
#include <QApplication>
#include <QPainter>
#include <mutex>

#include "LocalizedText.h"
#include "libLumo/CanvasDialog.h"
#include "libTarra/Proximity.h"
#include "vek/Logging.h"
#include "vek/Resource.h"
#include "vekrsensors.h"

namespace vekrsensors {
namespace {

std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "vekrsensors.ProximitySensorTestDlg";
#define TRACE(name) VEK_TRACE(s_logger, kLoggerName, name)

// The one live dialog, for the bridge's callbacks. Cleared by the dialog's destructor, so a
// reading that comes later goes nowhere, like a message to a closed window. The lock outlives
// every static (the bridge may still deliver while the process exits).
std::mutex& liveLock() {
    static auto* lock = new std::mutex;
    return *lock;
}
ProximitySensorTestDlg* s_live = nullptr;

// Guards the reading handler against running again lower on its own stack (a nested loop).
std::mutex& readingLock() {
    static auto* lock = new std::mutex;
    return *lock;
}

const QColor& textColour() {
    static const QColor colour(77, 77, 75, 255);
    return colour;
}

// Dialog resource 555: 530 x 368 units, no caption; Fail and Cancel at the bottom right.
libLumo::DialogTemplate dialogTemplate() {
    libLumo::DialogTemplate t;
    t.id = ProximitySensorTestDlg::IDD;
    t.cx = 530;
    t.cy = 368;
    t.buttons = {{ProximitySensorTestDlg::IDC_BUTTON_FAIL, "Fail", {329, 340, 92, 19}, true},
                 {ProximitySensorTestDlg::IDC_BUTTON_CANCEL, "Cancel", {430, 340, 92, 19}}};
    return t;
}

// The 2x rendition on a screen above 100 %: the picture control scales it down to its size.
QImage loadImage(const char* path) {
    QImage image;
    if (const auto file = libLumo::resolveImage(path, qApp ? qApp->devicePixelRatio() : 1.0))
        image.load(QString::fromStdString(file->string()));
    if (image.isNull())
        VEK_LOG(s_logger, kLoggerName, 4, "Could not load bitmap '" << path << "'");
    return image;
}

}  // namespace

ProximitySensorTestDlg::ProximitySensorTestDlg(QWidget* parent, const vek::String& osLocator,
                                               std::uint32_t numPhaseOneReadings,
                                               std::uint32_t phase1ThresholdPercent,
                                               std::uint32_t phase2ThresholdPercent,
                                               bool includeFailButton, bool useTimeoutPrompt,
                                               std::uint32_t timeoutPromptIntervalSeconds,
                                               std::uint32_t sensorNoDataTimeoutSeconds)
    : libLumo::CustomToolbarDialog(dialogTemplate(), parent, 50, "ProximitySensorTest"),
      phases_({numPhaseOneReadings, phase1ThresholdPercent, phase2ThresholdPercent}),
      osLocator_(osLocator),
      includeFailButton_(includeFailButton),
      useTimeoutPrompt_(useTimeoutPrompt),
      timeoutPromptIntervalSeconds_(timeoutPromptIntervalSeconds),
      sensorNoDataTimeoutSeconds_(sensorNoDataTimeoutSeconds) {
    TRACE("ProximitySensorTestDlg");
    instructionText_ = libLumo::toQString(strSensorCantSeeYou->localizedString());
    holdSteadyImage_ = loadImage("Resources//vekrsensors//proxHoldSteady.png");
    nowMoveImage_ = loadImage("Resources//vekrsensors//proxNowMove.png");
    cantSeeImage_ = loadImage("Resources//vekrsensors//proxCantSee.png");

    // The two statics of the resource: the close image at the top right, the main picture.
    const auto place = [this](QWidget* w, libLumo::DialogUnitRect du) {
        const libLumo::PixelRect r = libLumo::mapDialogRect(du, baseUnits());
        w->setGeometry(r.x, r.y, r.width, r.height);
    };
    closeControl_ = new libLumo::PngControl(this, IDC_CLOSE, true);
    place(closeControl_, {509, 0, 21, 19});
    mainImage_ = new libLumo::PngControl(this, IDC_MAIN_IMAGE, false);
    place(mainImage_, {148, 116, 225, 192});

    setAutoFillBackground(false);
    if (QAbstractButton* fail = GetDlgItem(IDC_BUTTON_FAIL))
        QObject::connect(fail, &QAbstractButton::clicked, this, [this] { onClickFail(); });
    if (QAbstractButton* cancel = GetDlgItem(IDC_BUTTON_CANCEL))
        QObject::connect(cancel, &QAbstractButton::clicked, this, [this] { onClickCancel(); });
    QObject::connect(closeControl_, &QAbstractButton::clicked, this, [this] { onClickCancel(); });

    std::lock_guard lock(liveLock());
    s_live = this;
}

ProximitySensorTestDlg::~ProximitySensorTestDlg() {
    {
        std::lock_guard lock(liveLock());
        if (s_live == this)
            s_live = nullptr;
    }
    // The countdowns stop and join with their owners.
    promptTimer_.reset();
    noDataTimer_.reset();
}

kiva5::TestResult ProximitySensorTestDlg::getTestResult() const {
    VEK_TRACE(s_logger, kLoggerName, "getTestResult");
    return result_;
}

const QImage& ProximitySensorTestDlg::mainImage() const {
    return mainImage_->image();
}

void ProximitySensorTestDlg::onReading(bool objectDetected, unsigned int distance) {
    std::lock_guard lock(liveLock());
    if (s_live) {
        libLumo::PostMessageA(s_live, WM_SENSOR_READING, objectDetected ? 1 : 0,
                              static_cast<std::intptr_t>(distance));
    }
}

void ProximitySensorTestDlg::onError() {
    std::lock_guard lock(liveLock());
    if (s_live)
        libLumo::PostMessageA(s_live, WM_SENSOR_ERROR, 0, 0);
}

bool ProximitySensorTestDlg::OnInitDialog() {
    TRACE("OnInitDialog");
    SetWindowText(strProximitySensorTestTitle->localizedString());
    CustomToolbarDialog::OnInitDialog();
    initStrings();
    closeControl_->SetImage(vek::String("Resources/vekrsensors/close.png"), true, false, false);
    libTarra::ProximitySensorRunner::runSensorAsync(osLocator_, &ProximitySensorTestDlg::onReading,
                                                    &ProximitySensorTestDlg::onError);
    mainImage_->SetImage(cantSeeImage_, true, false, false);
    mainImage_->setAccessibleName(
        libLumo::toQString(strProximitySensorTestTitle->localizedString()));
    mainImage_->setAccessibleDescription(instructionText_);
    for (auto [id, key] : {std::pair(IDC_BUTTON_FAIL, "FailButtonDescription"),
                           std::pair(IDC_BUTTON_CANCEL, "CancelButtonDescription")}) {
        if (QAbstractButton* button = GetDlgItem(id))
            button->setAccessibleDescription(localizedText(key));
    }
    setFocus();
    if (QAbstractButton* cancel = GetDlgItem(IDC_BUTTON_CANCEL))
        cancel->setFocus();
    if (useTimeoutPrompt_) {
        promptTimer_ = std::make_unique<PostMessageTimer>(this, WM_NO_PROGRESS_TIMEOUT,
                                                          timeoutPromptIntervalSeconds_);
        promptTimer_->start();
    }
    noDataTimer_ = std::make_unique<PostMessageTimer>(this, WM_NO_NEW_READINGS_TIMEOUT,
                                                      sensorNoDataTimeoutSeconds_);
    noDataTimer_->start();
    if (!includeFailButton_) {
        if (QAbstractButton* fail = GetDlgItem(IDC_BUTTON_FAIL))
            fail->hide();
    }
    return false;  // the focus was set by hand
}

void ProximitySensorTestDlg::initStrings() {
    TRACE("initStrings");
    fontName_ = vek::String(font().family().toStdString());
    const int w = clientSize().width();
    const QRectF instruction(25, 80, w - 50, 50);
    instructionRenderer_ = std::make_unique<libLumo::StringRenderer>(instruction, fontName_);
    instructionRect_ = QRect(QPoint(25, 80), QPoint(25 + w - 50, 80 + 50));
    titleRenderer_ =
        std::make_unique<libLumo::StringRenderer>(QRectF(20, 10, w, titleHeight_), fontName_);
    SetDlgItemText(IDC_BUTTON_FAIL, strFailButton->localizedString());
    SetDlgItemText(IDC_BUTTON_CANCEL, strCancelButton->localizedString());
}

QAbstractButton* ProximitySensorTestDlg::operatorControl(const std::string& press) {
    if (press == "Fail")
        return GetDlgItem(IDC_BUTTON_FAIL);
    if (press == "Cancel")
        return GetDlgItem(IDC_BUTTON_CANCEL);
    if (press == "Close")
        return closeControl_;
    return nullptr;
}

void ProximitySensorTestDlg::paintEvent(QPaintEvent*) {
    TRACE("OnPaint");
    QPainter painter(this);
    painter.fillRect(rect(), Qt::white);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    if (!instructionRenderer_ || !titleRenderer_)
        return;  // not initialised yet
    instructionRenderer_->setString(painter, vek::String(instructionText_.toStdString()), false);
    instructionRenderer_->renderString(painter, Qt::AlignHCenter, textColour());
    titleRenderer_->setString(painter, strProximitySensorTestTitle->localizedString(), false);
    titleRenderer_->renderString(painter, Qt::AlignLeft, textColour());
}

void ProximitySensorTestDlg::customEvent(QEvent* event) {
    auto* message = dynamic_cast<libLumo::PostedMessage*>(event);
    if (!message) {
        CustomToolbarDialog::customEvent(event);
        return;
    }
    // Once the dialog has ended its verdict stands: a reading or an error posted before the
    // end but delivered after it is dropped, as a modal loop that has stopped would.
    if (!IsWindow()) {
        VEK_LOG(s_logger, kLoggerName, 1,
                "Message " << message->message() << " after the end dropped");
        return;
    }
    switch (message->message()) {
        case WM_NO_PROGRESS_TIMEOUT:
            onNoProgressTimeout();
            break;
        case WM_NO_NEW_READINGS_TIMEOUT:
            onNoNewReadingsTimeout();
            break;
        case WM_SENSOR_READING:
            onIncomingSensorReading(message->wParam(), message->lParam());
            break;
        case WM_SENSOR_ERROR:
            onSensorError();
            break;
        default:
            CustomToolbarDialog::customEvent(event);
    }
}

void ProximitySensorTestDlg::onIncomingSensorReading(std::uintptr_t wParam, std::intptr_t lParam) {
    TRACE("onIncomingSensorReading");
    std::unique_lock lock(readingLock(), std::try_to_lock);
    if (!lock.owns_lock()) {
        VEK_LOG(s_logger, kLoggerName, 1, "A sensor reading message was discarded");
        return;
    }
    newReading(wParam != 0, static_cast<std::uint32_t>(lParam));
}

void ProximitySensorTestDlg::newReading(bool objectDetected, std::uint32_t distance) {
    TRACE("newReading");
    VEK_LOG(s_logger, kLoggerName, 1,
            "Proximity sensor reading: objDetected[" << objectDetected << "], reading[" << distance
                                                     << "mm]");
    if (noDataTimer_)
        noDataTimer_->resetCountdown();
    const ProximityPhases::Effects fx = phases_.newReading(objectDetected, distance);
    if (fx.resetPromptCountdown && useTimeoutPrompt_ && promptTimer_)
        promptTimer_->resetCountdown();
    if (fx.enter)
        setNewTestPhase(*fx.enter, true);
    if (fx.pass)
        exitTest(kiva5::TestResult::PASS());
}

void ProximitySensorTestDlg::setNewTestPhase(std::int32_t phase, bool updateUi) {
    TRACE("setNewTestPhase");
    phases_.phase = phase;
    if (!updateUi)
        return;
    const kiva5::LocalizedString* text = nullptr;
    const QImage* image = nullptr;
    switch (phase) {
        case ProximityPhases::HoldSteady:
            text = strPleaseHoldSteady, image = &holdSteadyImage_;
            break;
        case ProximityPhases::CantSeeYou:
        case ProximityPhases::Lost:
            text = strSensorCantSeeYou, image = &cantSeeImage_;
            break;
        case ProximityPhases::MoveNow:
            text = strMoveTowardOrAway, image = &nowMoveImage_;
            break;
        default:
            break;
    }
    if (text) {
        instructionText_ = libLumo::toQString(text->localizedString());
        mainImage_->SetImage(*image, true, false, false);
        // A screen reader says what the picture asks for.
        mainImage_->setAccessibleDescription(instructionText_);
    }
    update(instructionRect_);
}

void ProximitySensorTestDlg::restartTest() {
    TRACE("restartTest");
    phases_.readings.clear();
    if (useTimeoutPrompt_ && promptTimer_)
        promptTimer_->start();
    if (noDataTimer_)
        noDataTimer_->start();
    setNewTestPhase(ProximityPhases::HoldSteady, true);
}

void ProximitySensorTestDlg::exitTest(const kiva5::TestResult& result) {
    TRACE("exitTest");
    result_ = result;
    if (noDataTimer_)
        noDataTimer_->stop();
    if (useTimeoutPrompt_ && promptTimer_)
        promptTimer_->stop();
    libTarra::ProximitySensorRunner::stopSensor();
    if (promptDlg_ && promptDlg_->isOpen())
        promptDlg_->closeFromOwner();
    EndDialog(0);
}

void ProximitySensorTestDlg::onClickFail() {
    kiva5::DiagModule::error(evUserClickedFail, __FILE__, __LINE__);
    exitTest(kiva5::TestResult::FAIL());
}

void ProximitySensorTestDlg::onClickCancel() {
    exitTest(kiva5::TestResult::USERABORTED());
}

void ProximitySensorTestDlg::onSensorError() {
    kiva5::DiagModule::error(evSensorStateNotAvailable, __FILE__, __LINE__);
    exitTest(kiva5::TestResult::FAIL());
}

void ProximitySensorTestDlg::onNoProgressTimeout() {
    TRACE("onNoProgressTimeout");
    if (!useTimeoutPrompt_)
        return;
    setNewTestPhase(ProximityPhases::Prompt, false);
    if (noDataTimer_)
        noDataTimer_->stop();
    // The prompt is offered once per run; the second time without progress fails the test.
    if (promptCount_ != 0) {
        exitTest(kiva5::TestResult::FAIL());
        return;
    }
    promptCount_ = 1;
    promptDlg_.reset();
    promptDlg_ = std::make_unique<TimeoutPromptDlg>(
        TimeoutPromptDlg::IDD, this, strTimeoutPromptText->localizedString(),
        strButtonRestartTest->localizedString(), strButtonExitTest->localizedString(),
        strTimeoutPromptTitle->localizedString());
    promptDlg_->DoModal();
    if (promptDlg_->restartChosen())
        restartTest();
    else
        exitTest(kiva5::TestResult::USERABORTED());
}

void ProximitySensorTestDlg::onNoNewReadingsTimeout() {
    TRACE("onNoNewReadingsTimeout");
    kiva5::DiagModule::error(evSensorNoData, __FILE__, __LINE__);
    exitTest(kiva5::TestResult::TIMEDOUT());
}

}  // namespace vekrsensors
