#pragma once

// The module's code and libraries are written with the Windows names (HRESULT, S_OK,
// SUCCEEDED, ISensor, SENSOR_STATE_READY, EnumDisplaySettingsW, DEVMODEW, CWinApp, ...) and
// include this header for them.

#include "platform/CWinApp.h"
#include "platform/Com.h"
#include "platform/Display.h"
#include "platform/Hresult.h"
#include "platform/Sensors.h"
