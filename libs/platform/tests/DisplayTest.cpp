#include <gtest/gtest.h>

#include "platform/Display.h"

namespace {

using platform::DEVMODEW;
using platform::DWORD;
using platform::enumCurrentSettings;
using platform::EnumDisplaySettingsW;

TEST(Display, RotationIsReadableOnlyThroughAProvider) {
    DEVMODEW dm{};
    dm.dmSize = sizeof dm;
    platform::setRotationProvider(nullptr);
    EXPECT_EQ(EnumDisplaySettingsW(nullptr, enumCurrentSettings, &dm), 0) << "no display";

    platform::setRotationProvider([] { return std::optional<DWORD>(platform::dmdo::deg270); });
    ASSERT_EQ(EnumDisplaySettingsW(nullptr, enumCurrentSettings, &dm), 1);
    EXPECT_EQ(dm.dmFields & platform::dm::displayOrientation, platform::dm::displayOrientation);
    EXPECT_EQ(dm.dmDisplayOrientation, platform::dmdo::deg270);
    EXPECT_EQ(EnumDisplaySettingsW(L"\\\\.\\DISPLAY2", enumCurrentSettings, &dm), 0);
    EXPECT_EQ(EnumDisplaySettingsW(nullptr, 0, &dm), 0) << "only the current settings";

    platform::setRotationProvider([] { return std::optional<DWORD>(); });
    ASSERT_EQ(EnumDisplaySettingsW(nullptr, enumCurrentSettings, &dm), 1);
    EXPECT_EQ(dm.dmFields & platform::dm::displayOrientation, 0u)
        << "rotation unknown: no orientation";
    platform::setRotationProvider(nullptr);
}

}  // namespace
