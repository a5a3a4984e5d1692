#pragma once

// The module's code and libraries are written with the Windows names (HRESULT, S_OK,
// SUCCEEDED, ISensor, SENSOR_STATE_READY, EnumDisplaySettingsW, DEVMODEW, CWinApp, ...) and
// include this header for them. The platform's own headers declare everything inside
// namespace platform, with names of their own where the Windows headers have macros, so that
// they can stand beside <windows.h> in one file.

#include "platform/CWinApp.h"
#include "platform/Com.h"
#include "platform/Display.h"
#include "platform/Hresult.h"
#include "platform/Sensors.h"

// The same on Linux and on Windows: the module's code runs against the platform's
// declarations, so it behaves alike on both. The Windows build does not take these names from
// <windows.h>: a source that talks to Windows itself (src/windows/, the Sensor API backend)
// includes <windows.h> in its own .cpp, does not include this header, and names the platform's
// types qualified (platform::ISensor).
//
// The platform's declarations under their Windows names, in the global namespace. Where
// Windows has a macro the name is a constant or a function here; they behave alike for the
// module's uses and need no casts.

// Result codes.
using platform::HRESULT;
inline constexpr HRESULT S_OK = platform::hr::ok;
inline constexpr HRESULT S_FALSE = platform::hr::okFalse;
inline constexpr HRESULT E_FAIL = platform::hr::fail;
inline constexpr HRESULT E_NOINTERFACE = platform::hr::noInterface;
inline constexpr HRESULT E_POINTER = platform::hr::badPointer;
inline constexpr HRESULT E_INVALIDARG = platform::hr::invalidArg;
inline constexpr HRESULT E_ACCESSDENIED = platform::hr::accessDenied;
inline constexpr HRESULT CO_E_NOTINITIALIZED = platform::hr::notInitialized;
inline constexpr HRESULT RPC_E_CHANGED_MODE = platform::hr::changedMode;
inline constexpr HRESULT HRESULT_FILE_NOT_FOUND = platform::hr::fileNotFound;
inline constexpr HRESULT WINCODEC_ERR_COMPONENTNOTFOUND = platform::hr::noDecoder;
inline constexpr HRESULT WINCODEC_ERR_BADIMAGE = platform::hr::badImage;

constexpr bool SUCCEEDED(HRESULT hr) {
    return platform::succeeded(hr);
}
constexpr bool FAILED(HRESULT hr) {
    return platform::failed(hr);
}

// COM.
using platform::GUID;
using platform::IID;
using REFIID = const IID&;
using platform::COINIT;
using platform::COINIT_APARTMENTTHREADED;
using platform::COINIT_MULTITHREADED;
using platform::CoInitialize;
using platform::CoInitializeEx;
using platform::CoUninitialize;
using platform::IID_IUnknown;
using platform::IUnknown;
using platform::ULONG;

// Sensors.
using platform::IID_ISensorEvents;
using platform::ISensor;
using platform::ISensorDataReport;
using platform::ISensorEvents;
using platform::SENSOR_STATE_ACCESS_DENIED;
using platform::SENSOR_STATE_ERROR;
using platform::SENSOR_STATE_INITIALIZING;
using platform::SENSOR_STATE_NO_DATA;
using platform::SENSOR_STATE_NOT_AVAILABLE;
using platform::SENSOR_STATE_READY;
using platform::SensorState;

// Display settings.
using platform::DWORD;
inline constexpr DWORD ENUM_CURRENT_SETTINGS = platform::enumCurrentSettings;
inline constexpr DWORD DM_DISPLAYORIENTATION = platform::dm::displayOrientation;
inline constexpr DWORD DMDO_DEFAULT = platform::dmdo::deg0;
inline constexpr DWORD DMDO_90 = platform::dmdo::deg90;
inline constexpr DWORD DMDO_180 = platform::dmdo::deg180;
inline constexpr DWORD DMDO_270 = platform::dmdo::deg270;
using platform::DEVMODEW;
using platform::EnumDisplaySettingsW;

// The application framework.
using BOOL = int;
inline constexpr BOOL TRUE = 1;
inline constexpr BOOL FALSE = 0;
using platform::AfxWinMain;
using platform::CCommandLineInfo;
using platform::CWinApp;
using platform::CWnd;
