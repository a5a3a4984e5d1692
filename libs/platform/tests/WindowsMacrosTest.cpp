// The platform's headers compiled after the names the Windows headers declare: on Windows the
// system's own headers, on Linux an imitation of them as mingw-w64 declares them
// (SystemWindowsNames.h from windows/ or posix/, chosen by CMake): global types, and macros for
// the result codes, SUCCEEDED and FAILED, BOOL, TRUE and FALSE, REFIID, the display settings'
// constants and EnumDisplaySettings. A platform header that declared one of these names, in
// the global namespace or its own, fails to compile here. Then the platform's values are
// checked against the system's.

#include "SystemWindowsNames.h"

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
