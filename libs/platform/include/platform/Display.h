#pragma once

#include <cstdint>
#include <functional>
#include <optional>

// The display settings call the module uses to read the primary screen's rotation.

using DWORD = std::uint32_t;

inline constexpr DWORD ENUM_CURRENT_SETTINGS = 0xFFFFFFFFu;
inline constexpr DWORD DM_DISPLAYORIENTATION = 0x00000080u;
inline constexpr DWORD DMDO_DEFAULT = 0;
inline constexpr DWORD DMDO_90 = 1;
inline constexpr DWORD DMDO_180 = 2;
inline constexpr DWORD DMDO_270 = 3;

struct DEVMODEW {
    std::uint16_t dmSize = 0;
    DWORD dmFields = 0;
    DWORD dmDisplayOrientation = 0;
};

// Fills `mode` for the primary display (deviceName must be null) and answers 1, or answers 0
// when there is no display whose rotation can be read. The orientation field is reported only
// when the rotation is known.
int EnumDisplaySettingsW(const wchar_t* deviceName, DWORD modeNum, DEVMODEW* mode);

namespace platform {

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
