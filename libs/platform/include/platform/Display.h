#pragma once

#include <cstdint>
#include <functional>
#include <optional>

// The display settings call the module uses to read the primary screen's rotation.
//
// The Windows headers define the settings' constants and EnumDisplaySettings as macros, so the
// constants carry names of their own here (the Windows name beside each).

namespace platform {

using DWORD = std::uint32_t;

inline constexpr DWORD enumCurrentSettings = 0xFFFFFFFFu;  // ENUM_CURRENT_SETTINGS

namespace dm {
inline constexpr DWORD displayOrientation = 0x00000080u;  // DM_DISPLAYORIENTATION
}  // namespace dm

// The screen's rotation from its natural orientation.
namespace dmdo {
inline constexpr DWORD deg0 = 0;    // DMDO_DEFAULT
inline constexpr DWORD deg90 = 1;   // DMDO_90
inline constexpr DWORD deg180 = 2;  // DMDO_180
inline constexpr DWORD deg270 = 3;  // DMDO_270
}  // namespace dmdo

struct DEVMODEW {
    std::uint16_t dmSize = 0;
    DWORD dmFields = 0;
    DWORD dmDisplayOrientation = 0;
};

// Fills `mode` for the primary display (deviceName must be null) and answers 1, or answers 0
// when there is no display whose rotation can be read. The orientation field is reported only
// when the rotation is known.
int EnumDisplaySettingsW(const wchar_t* deviceName, DWORD modeNum, DEVMODEW* mode);

// Where the rotation comes from: the GUI layer installs the windowing system's view, the
// simulated machine its scenario's. The provider may be called from any thread. Without one
// the rotation is unreadable.
using RotationProvider = std::function<std::optional<DWORD>()>;
// Installs `provider` and returns a token for clearRotationProvider.
unsigned setRotationProvider(RotationProvider provider);
// Removes the provider installed under `token`, unless another one has replaced it since.
void clearRotationProvider(unsigned token);
// True while a provider is installed (the simulated machine's wins over the screen's).
bool hasRotationProvider();

}  // namespace platform
