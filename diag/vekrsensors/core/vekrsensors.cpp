#include "vekrsensors.h"

#include "DialogsPlugin.h"
#include "Orientation/OrientationCheck.h"
#include "libLumo/CommandLineParser.h"
#include "vek/ErrorStream.h"
#include "vek/Exception.h"
#include "vek/Logging.h"

// Everything below is built by static initialisers, top to bottom: the framework sees the
// declarations in exactly this order, and the application object comes last. Keep the order.

namespace vekrsensors {
namespace {
kiva5::LocalizedString* key(const char* name) {
    return kiva5::DiagModule::createLocalizedString(kiva5::KivaString(name));
}
kiva5::Event* event(const char* name) {
    return kiva5::DiagModule::createEvent(kiva5::KivaString(name));
}
kiva5::Parameter* parameter(const char* name, const kiva5::DataType& type, const char* unit = "") {
    return kiva5::DiagModule::createParameter(kiva5::KivaString(name), type, kiva5::KivaString(""),
                                              false, true)
        ->setUnit(unit);
}
}  // namespace

kiva5::LocalizedString* strTitleGyrometerTest = key("TitleGyrometerTest");
kiva5::LocalizedString* strTitleMagnetometerTest = key("TitleMagnetometerTest");
kiva5::LocalizedString* strProximitySensorTestTitle = key("ProximitySensorTestTitle");
kiva5::LocalizedString* strPleaseHoldSteady = key("PleaseHoldSteady");
kiva5::LocalizedString* strSensorCantSeeYou = key("SensorCantSeeYou");
kiva5::LocalizedString* strMoveTowardOrAway = key("MoveTowardOrAway");
kiva5::LocalizedString* strButtonRestartTest = key("BUTTON_RESTART_TEST");
kiva5::LocalizedString* strButtonExitTest = key("BUTTON_EXIT_TEST");
kiva5::LocalizedString* strTimeoutPromptTitle = key("TIMEOUT_PROMPT_TITLE");
kiva5::LocalizedString* strTimeoutPromptText = key("TIMEOUT_PROMPT_TEXT");

kiva5::Event* evSensorStateNotAvailable = event("SensorState_NotAvailable");
kiva5::Event* evSensorStateInvalid = event("SensorState_Invalid");
kiva5::Event* evSensorStateError = event("SensorState_Error");
kiva5::Event* evSensorStateAccessDenied = event("SensorState_AccessDenied");
kiva5::Event* evSensorTimeout = event("Sensor_Timeout");
kiva5::Event* evSensorInvalidUpdateData = event("Sensor_InvalidUpdateData");
kiva5::Event* evSensorNoData = event("Sensor_NoData");
kiva5::Event* evUserClickedFail = event("UserClickedFail");
kiva5::Event* evBadParametersRange = event("BadParametersRange");

kiva5::Parameter* paramSensorStateTimeout =
    parameter("SensorStateTimeout", kiva5::DataType::DOUBLE(), "s");
kiva5::LocalizedString* strFailButton = key("FailButton");
kiva5::LocalizedString* strCancelButton = key("CancelButton");
kiva5::Parameter* paramLuxValueThreshold =
    parameter("LuxValueThreshold", kiva5::DataType::DOUBLE(), "lux");
kiva5::Parameter* paramLuxValueWaitTime =
    parameter("LuxValueWaitTime", kiva5::DataType::DOUBLE(), "s");
kiva5::Parameter* paramWarnOnBelowThreshold =
    parameter("WarnOnBelowThreshold", kiva5::DataType::BOOLEAN());
kiva5::Parameter* paramAccelerometerThreshold =
    parameter("AccelerometerThreshold", kiva5::DataType::DOUBLE(), "g");
kiva5::Parameter* paramAccelerometerWaitTime =
    parameter("AccelerometerWaitTime", kiva5::DataType::DOUBLE(), "s");
kiva5::Parameter* paramAccelerometerTarget =
    parameter("AccelerometerTarget", kiva5::DataType::DOUBLE(), "g");
kiva5::Parameter* paramDegreesThreshold =
    parameter("DegreesThreshold", kiva5::DataType::DOUBLE(), "degrees");
kiva5::Parameter* paramMagnetometerWaitTime =
    parameter("MagnetometerWaitTime", kiva5::DataType::DOUBLE(), "s");
kiva5::Parameter* paramIncludeFailButton =
    parameter("IncludeFailButton", kiva5::DataType::BOOLEAN());
kiva5::Parameter* paramUseTimeoutPrompt = parameter("UseTimeoutPrompt", kiva5::DataType::BOOLEAN());
kiva5::Parameter* paramTimeoutPromptIntervalSeconds =
    parameter("TimeoutPromptIntervalSeconds", kiva5::DataType::INT32(), "s");
kiva5::Parameter* paramSensorNoDataTimeoutSeconds =
    parameter("SensorNoDataTimeoutSeconds", kiva5::DataType::INT32(), "s");

namespace {
// The tests keep no handle; their chain of settings is made once, here.
const bool s_testsDeclared = [] {
    using kiva5::DeviceCapability;
    using kiva5::DiagModule;
    using kiva5::KivaString;
    DiagModule::createTest(KivaString("AmbientLightSensorTest"),
                           DeviceCapability::AmbientLightSensor(), AmbientLightSensorTest)
        ->addParameter(paramLuxValueThreshold)
        ->addParameter(paramLuxValueWaitTime)
        ->addParameter(paramSensorStateTimeout)
        ->addParameter(paramWarnOnBelowThreshold);
    DiagModule::createTest(KivaString("AccelerometerTest"), DeviceCapability::Accelerometer(),
                           AccelerometerTest)
        ->addParameter(paramAccelerometerThreshold)
        ->addParameter(paramAccelerometerWaitTime)
        ->addParameter(paramAccelerometerTarget)
        ->addParameter(paramSensorStateTimeout);
    DiagModule::createTest(KivaString("MagnetometerTest"), DeviceCapability::Magnetometer(),
                           DialogsPlugin::magnetometerTest)
        ->addParameter(paramDegreesThreshold)
        ->addParameter(paramMagnetometerWaitTime)
        ->addParameter(paramSensorStateTimeout)
        ->setInteractive(true)
        ->setCreatesOwnGUI(true)
        ->setInstruction(strTitleMagnetometerTest);
    DiagModule::createTest(KivaString("GyrometerTest"), DeviceCapability::Gyrometer(),
                           DialogsPlugin::gyrometerTest)
        ->addParameter(paramSensorStateTimeout)
        ->setInteractive(true)
        ->setCreatesOwnGUI(true)
        ->setInstruction(strTitleGyrometerTest);
    // The proximity test sets its flags before its parameters; the order is deliberate.
    DiagModule::createTest(KivaString("ProximitySensorTest"), DeviceCapability::ProximitySensor(),
                           DialogsPlugin::proximitySensorTest)
        ->setInteractive(true)
        ->setCreatesOwnGUI(true)
        ->addParameter(paramIncludeFailButton)
        ->addParameter(paramUseTimeoutPrompt)
        ->addParameter(paramTimeoutPromptIntervalSeconds)
        ->addParameter(paramSensorNoDataTimeoutSeconds)
        ->setInstruction(strPleaseHoldSteady);
    // The interactive tests live in the dialogs plugin, loaded when the first of them runs.
    DiagModule::setInteractiveCheck(DialogsPlugin::check);
    // Beside the catalogue: --orientation.
    DiagModule::setOrientationCheck(&orientationCheck());
    // A run started from the desktop ends on this window (--window).
    DiagModule::setResultsWindow(DialogsPlugin::resultsWindow);
    return true;
}();
}  // namespace

}  // namespace vekrsensors

namespace {
std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "vekrsensors";
}  // namespace

CSensorTestApp::CSensorTestApp() : CWinApp(nullptr) {}

BOOL CSensorTestApp::InitInstance() {
    VEK_TRACE(s_logger, kLoggerName, "InitInstance");
    m_pMainWnd = nullptr;
    return TRUE;
}

int CSensorTestApp::Run() {
    VEK_TRACE(s_logger, kLoggerName, "Run");
    libLumo::CommandLineParser parser(vek::String("vekrsensors.vkm"));
    ParseCommandLine(parser);
    const int argc = parser.argc();
    const std::vector<std::string>& argv = parser.argv();
    int result = 0;
    try {
        kiva5::DiagModule::setCmdLineArgs(argc, argv);
        kiva5::DiagModule::setVersion(6, 5, kiva5::KivaString("000000001"));
        result = kiva5::DiagModule::start();
    } catch (const vek::Exception& e) {
        vek::cerr << "Exception: " << e.toString().getUTF8String().c_str() << vek::endl;
        result = kiva5::TestResult::EXITEDABNORMALLY().value();
    } catch (const kiva5::KivaException& e) {
        vek::cerr << "KivaException: " << e.toString().getUTF8Buffer() << vek::endl;
        result = kiva5::TestResult::EXITEDABNORMALLY().value();
    } catch (...) {
        vek::cerr << "unknown exception" << vek::endl;
        result = kiva5::TestResult::EXITEDABNORMALLY().value();
    }
    return result;
}

// The application object, the last static object of the module.
CSensorTestApp theApp;
