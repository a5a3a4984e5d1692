#pragma once

// Linux: the names <windows.h> declares, imitated the way mingw-w64 declares them.

#include <cstdint>

typedef long HRESULT;
typedef int WINBOOL;
typedef unsigned long DWORD;
typedef unsigned long ULONG;
struct GUID {
    unsigned long Data1;
    unsigned short Data2;
    unsigned short Data3;
    unsigned char Data4[8];
};
typedef GUID IID;
struct IUnknown {};
struct ISensor {};
struct ISensorEvents {};
struct ISensorDataReport {};
struct DEVMODEW {};
class CWinApp {};
class CCommandLineInfo {};
enum SensorState { SENSOR_STATE_READY = 0, SENSOR_STATE_ERROR = 5 };
enum COINIT { COINIT_APARTMENTTHREADED = 0x2, COINIT_MULTITHREADED = 0x0 };
extern "C" HRESULT CoInitialize(void* reserved);
extern "C" void CoUninitialize();
extern "C" WINBOOL EnumDisplaySettingsW(const wchar_t* device, DWORD mode, DEVMODEW* devMode);

#define _HRESULT_TYPEDEF_(_sc) ((HRESULT)_sc)
#define SUCCEEDED(hr) ((HRESULT)(hr) >= 0)
#define FAILED(hr) ((HRESULT)(hr) < 0)
#define S_OK ((HRESULT)0x00000000)
#define S_FALSE ((HRESULT)0x00000001)
#define E_FAIL _HRESULT_TYPEDEF_(0x80004005)
#define E_NOINTERFACE _HRESULT_TYPEDEF_(0x80004002)
#define E_POINTER _HRESULT_TYPEDEF_(0x80004003)
#define E_INVALIDARG _HRESULT_TYPEDEF_(0x80070057)
#define E_ACCESSDENIED _HRESULT_TYPEDEF_(0x80070005)
#define CO_E_NOTINITIALIZED _HRESULT_TYPEDEF_(0x800401F0)
#define RPC_E_CHANGED_MODE _HRESULT_TYPEDEF_(0x80010106)
#define WINCODEC_ERR_COMPONENTNOTFOUND _HRESULT_TYPEDEF_(0x88982f50)
#define WINCODEC_ERR_BADIMAGE _HRESULT_TYPEDEF_(0x88982f60)
#define FALSE 0
#define TRUE 1
#define BOOL WINBOOL
#define REFIID const IID&
#define __MSABI_LONG(x) x##l
#define ENUM_CURRENT_SETTINGS ((DWORD)-1)
#define DM_DISPLAYORIENTATION __MSABI_LONG(0x00000080)
#define DMDO_DEFAULT 0
#define DMDO_90 1
#define DMDO_180 2
#define DMDO_270 3
#define EnumDisplaySettings EnumDisplaySettingsW
#define interface struct
