#include "platform/Display.h"

#include <mutex>

namespace {
std::mutex s_mutex;
platform::RotationProvider s_provider;
unsigned s_token = 0;
}  // namespace

unsigned platform::setRotationProvider(RotationProvider provider) {
    std::lock_guard lock(s_mutex);
    s_provider = std::move(provider);
    return ++s_token;
}

void platform::clearRotationProvider(unsigned token) {
    std::lock_guard lock(s_mutex);
    if (token == s_token)
        s_provider = nullptr;
}

bool platform::hasRotationProvider() {
    std::lock_guard lock(s_mutex);
    return static_cast<bool>(s_provider);
}

int EnumDisplaySettingsW(const wchar_t* deviceName, DWORD modeNum, DEVMODEW* mode) {
    if (deviceName || modeNum != ENUM_CURRENT_SETTINGS || !mode)
        return 0;
    platform::RotationProvider provider;
    {
        std::lock_guard lock(s_mutex);
        provider = s_provider;
    }
    if (!provider)
        return 0;
    const std::optional<DWORD> rotation = provider();
    mode->dmFields = 0;
    if (rotation) {
        mode->dmFields = DM_DISPLAYORIENTATION;
        mode->dmDisplayOrientation = *rotation;
    }
    return 1;
}
