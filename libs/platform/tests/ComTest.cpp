#include <gtest/gtest.h>

#include <thread>

#include "platform/Com.h"
#include "platform/Display.h"

namespace {

TEST(Apartment, AnswersAsComDoesAndBalancesPerThread) {
    std::thread([] {
        EXPECT_EQ(CoInitialize(nullptr), S_OK);
        EXPECT_EQ(CoInitialize(nullptr), S_FALSE) << "already initialised on this thread";
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), RPC_E_CHANGED_MODE);
        EXPECT_EQ(platform::comInitCountForTesting(), 2) << "a mismatch takes no reference";
        CoUninitialize();
        CoUninitialize();
        EXPECT_EQ(platform::comInitCountForTesting(), 0);
        CoUninitialize();  // unbalanced: ignored
        EXPECT_EQ(platform::comInitCountForTesting(), 0);
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK) << "model free again";
        CoUninitialize();
    }).join();
}

TEST(Apartment, EachThreadHasItsOwn) {
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    std::thread([] {
        EXPECT_EQ(CoInitialize(nullptr), S_OK) << "another thread, another apartment";
        CoUninitialize();
    }).join();
    CoUninitialize();
}

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
