#include <gtest/gtest.h>

#include "platform/Display.h"

namespace {

TEST(Display, RotationIsReadableOnlyThroughAProvider) {
    DEVMODEW dm{};
    dm.dmSize = sizeof dm;
    platform::setRotationProvider(nullptr);
    EXPECT_EQ(EnumDisplaySettingsW(nullptr, ENUM_CURRENT_SETTINGS, &dm), 0) << "no display";

    platform::setRotationProvider([] { return std::optional<DWORD>(DMDO_270); });
    ASSERT_EQ(EnumDisplaySettingsW(nullptr, ENUM_CURRENT_SETTINGS, &dm), 1);
    EXPECT_EQ(dm.dmFields & DM_DISPLAYORIENTATION, DM_DISPLAYORIENTATION);
    EXPECT_EQ(dm.dmDisplayOrientation, DMDO_270);
    EXPECT_EQ(EnumDisplaySettingsW(L"\\\\.\\DISPLAY2", ENUM_CURRENT_SETTINGS, &dm), 0);
    EXPECT_EQ(EnumDisplaySettingsW(nullptr, 0, &dm), 0) << "only the current settings";

    platform::setRotationProvider([] { return std::optional<DWORD>(); });
    ASSERT_EQ(EnumDisplaySettingsW(nullptr, ENUM_CURRENT_SETTINGS, &dm), 1);
    EXPECT_EQ(dm.dmFields & DM_DISPLAYORIENTATION, 0u) << "rotation unknown: no orientation";
    platform::setRotationProvider(nullptr);
}

}  // namespace
