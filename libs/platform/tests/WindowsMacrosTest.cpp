// The platform's headers compiled after the names the Windows headers declare, declared the way
// mingw-w64 declares them: global types, and macros for the result codes, SUCCEEDED and FAILED,
// BOOL, TRUE and FALSE, REFIID, the display settings' constants and EnumDisplaySettings. A
// platform header that declared one of these names, in the global namespace or its own, fails
// to compile here. Then the platform's values are checked against the system's.

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

#include "platform/CWinApp.h"
#include "platform/Com.h"
#include "platform/Display.h"
#include "platform/Environment.h"
#include "platform/Hresult.h"
#include "platform/Screen.h"
#include "platform/Sensors.h"

namespace {

// Compared as the 32 bits they are on Windows (long is wider here).
constexpr bool same(std::int64_t ours, long theirs) {
    return static_cast<std::uint32_t>(ours) == static_cast<std::uint32_t>(theirs);
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"
static_assert(same(platform::hr::ok, S_OK) && same(platform::hr::okFalse, S_FALSE));
static_assert(same(platform::hr::fail, E_FAIL) && same(platform::hr::noInterface, E_NOINTERFACE));
static_assert(same(platform::hr::badPointer, E_POINTER));
static_assert(same(platform::hr::invalidArg, E_INVALIDARG));
static_assert(same(platform::hr::accessDenied, E_ACCESSDENIED));
static_assert(same(platform::hr::notInitialized, CO_E_NOTINITIALIZED));
static_assert(same(platform::hr::changedMode, RPC_E_CHANGED_MODE));
static_assert(same(platform::hr::noDecoder, WINCODEC_ERR_COMPONENTNOTFOUND));
static_assert(same(platform::hr::badImage, WINCODEC_ERR_BADIMAGE));
static_assert(SUCCEEDED(platform::hr::okFalse) == platform::succeeded(platform::hr::okFalse));
static_assert(FAILED(platform::hr::fail) == platform::failed(platform::hr::fail));
static_assert(same(platform::enumCurrentSettings, static_cast<long>(ENUM_CURRENT_SETTINGS)));
static_assert(platform::dm::displayOrientation == DM_DISPLAYORIENTATION);
static_assert(platform::dmdo::deg0 == DMDO_DEFAULT && platform::dmdo::deg90 == DMDO_90);
static_assert(platform::dmdo::deg180 == DMDO_180 && platform::dmdo::deg270 == DMDO_270);
static_assert(static_cast<int>(platform::COINIT_APARTMENTTHREADED) ==
              static_cast<int>(COINIT_APARTMENTTHREADED));
static_assert(static_cast<int>(platform::SENSOR_STATE_ERROR) ==
              static_cast<int>(SENSOR_STATE_ERROR));
#pragma GCC diagnostic pop

}  // namespace
