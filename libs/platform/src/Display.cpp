#include "platform/Display.h"

#include "InstalledHook.h"

namespace {
platform::InstalledHook<platform::RotationProvider> s_provider;
}  // namespace

unsigned platform::setRotationProvider(RotationProvider provider) {
    return s_provider.set(std::move(provider));
}

void platform::clearRotationProvider(unsigned token) {
    s_provider.clear(token);
}

bool platform::hasRotationProvider() {
    return static_cast<bool>(s_provider.get());
}

int platform::EnumDisplaySettingsW(const wchar_t* deviceName, DWORD modeNum, DEVMODEW* mode) {
    if (deviceName || modeNum != enumCurrentSettings || !mode)
        return 0;
    const RotationProvider provider = s_provider.get();
    if (!provider)
        return 0;
    const std::optional<DWORD> rotation = provider();
    mode->dmFields = 0;
    if (rotation) {
        mode->dmFields = dm::displayOrientation;
        mode->dmDisplayOrientation = *rotation;
    }
    return 1;
}
