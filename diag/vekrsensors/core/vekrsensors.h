#pragma once

#include "kiva5/DiagModule.h"
#include "platform/WindowsNames.h"

// The application object: hands the command line and the module's version to the framework
// and runs it. The process has exactly one, built last during static initialisation.
class CSensorTestApp : public CWinApp {
public:
    CSensorTestApp();

    // CWinApp
    BOOL InitInstance() override;
    int Run() override;
};

namespace vekrsensors {

// The module's declarations, created by static initialisers in vekrsensors.cpp in the order
// the framework lists them. Owned by the framework; never freed.
extern kiva5::LocalizedString* strTitleGyrometerTest;
extern kiva5::LocalizedString* strTitleMagnetometerTest;
extern kiva5::LocalizedString* strProximitySensorTestTitle;
extern kiva5::LocalizedString* strPleaseHoldSteady;
extern kiva5::LocalizedString* strSensorCantSeeYou;
extern kiva5::LocalizedString* strMoveTowardOrAway;
extern kiva5::LocalizedString* strButtonRestartTest;
extern kiva5::LocalizedString* strButtonExitTest;
extern kiva5::LocalizedString* strTimeoutPromptTitle;
extern kiva5::LocalizedString* strTimeoutPromptText;
extern kiva5::LocalizedString* strFailButton;
extern kiva5::LocalizedString* strCancelButton;

extern kiva5::Event* evSensorStateNotAvailable;
extern kiva5::Event* evSensorStateInvalid;
extern kiva5::Event* evSensorStateError;
extern kiva5::Event* evSensorStateAccessDenied;
extern kiva5::Event* evSensorTimeout;
extern kiva5::Event* evSensorInvalidUpdateData;
extern kiva5::Event* evSensorNoData;
extern kiva5::Event* evUserClickedFail;
extern kiva5::Event* evBadParametersRange;

extern kiva5::Parameter* paramSensorStateTimeout;
extern kiva5::Parameter* paramLuxValueThreshold;
extern kiva5::Parameter* paramLuxValueWaitTime;
extern kiva5::Parameter* paramWarnOnBelowThreshold;
extern kiva5::Parameter* paramAccelerometerThreshold;
extern kiva5::Parameter* paramAccelerometerWaitTime;
extern kiva5::Parameter* paramAccelerometerTarget;
extern kiva5::Parameter* paramDegreesThreshold;
extern kiva5::Parameter* paramMagnetometerWaitTime;
extern kiva5::Parameter* paramIncludeFailButton;
extern kiva5::Parameter* paramUseTimeoutPrompt;
extern kiva5::Parameter* paramTimeoutPromptIntervalSeconds;
extern kiva5::Parameter* paramSensorNoDataTimeoutSeconds;

}  // namespace vekrsensors

// The test functions the framework calls, one device at a time, on the main thread. The three
// interactive ones are in the dialogs plugin; the catalogue reaches them through DialogsPlugin.
kiva5::TestResult AmbientLightSensorTest(const kiva5::DiagDevice& device);
kiva5::TestResult AccelerometerTest(const kiva5::DiagDevice& device);
kiva5::TestResult MagnetometerTest(const kiva5::DiagDevice& device);
kiva5::TestResult GyrometerTest(const kiva5::DiagDevice& device);
kiva5::TestResult ProximitySensorTest(const kiva5::DiagDevice& device);
