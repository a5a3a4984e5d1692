#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "Capture.h"
#include "DisplayRotation.h"
#include "ScratchDir.h"
#include "platform/Environment.h"
#include "platform/WindowsNames.h"
#include "vek/DynamicLibrary.h"

namespace {

std::atomic<vek::Logger*> s_logger{nullptr};

struct TurnRow {
    std::optional<DWORD> rotation;  // nullopt: unreadable
    double in[3];
    double out[3];
    bool fixed;
};

void PrintTo(const TurnRow& r, std::ostream* os) {
    *os << (r.rotation ? std::to_string(*r.rotation) : "unreadable") << " (" << r.in[0] << ","
        << r.in[1] << "," << r.in[2] << ")";
}

class FixDataOrientation : public ::testing::TestWithParam<TurnRow> {
protected:
    void TearDown() override { platform::setRotationProvider(nullptr); }
};

TEST_P(FixDataOrientation, TurnsIntoTheDisplaysFrameWithADeadBand) {
    const auto& row = GetParam();
    const auto rotation = row.rotation;
    if (rotation) {
        platform::setRotationProvider([rotation] { return rotation; });
    } else {
        platform::setRotationProvider([] { return std::optional<DWORD>(); });
    }
    vekrsensors::DisplayRotation helper(s_logger, "GyrometerTest");
    double x = row.in[0], y = row.in[1], z = row.in[2];
    EXPECT_EQ(helper.fixDataOrientation(x, y, z), row.fixed);
    EXPECT_DOUBLE_EQ(x, row.out[0]);
    EXPECT_DOUBLE_EQ(y, row.out[1]);
    EXPECT_DOUBLE_EQ(z, row.out[2]);
}

INSTANTIATE_TEST_SUITE_P(
    Table, FixDataOrientation,
    ::testing::Values(TurnRow{0u, {0.5, -0.99, 1.0}, {0.0, 0.0, 1.0}, true},
                      TurnRow{0u, {-1.0, 1.0, -0.999}, {-1.0, 1.0, 0.0}, true},
                      TurnRow{1u, {5, 2, 0}, {2, -5, 0}, true},
                      TurnRow{2u, {5, 2, 0}, {-5, -2, 0}, true},
                      TurnRow{3u, {5, 2, 0}, {-2, 5, 0}, true},
                      TurnRow{7u, {5, 0.3, 0}, {5, 0, 0}, true},
                      TurnRow{std::nullopt, {0.3, 5, -0.2}, {0.3, 5, -0.2}, false}));

TEST(DisplayRotation, PreferenceKeepsTheCurrentOrientation) {
    const std::pair<std::uint32_t, int> rows[] = {{0, 1}, {1, 2}, {2, 4}, {3, 8}, {4, 0}};
    for (const auto& [rotation, preference] : rows) {
        EXPECT_EQ(vekrsensors::DisplayRotation::orientationPreference(rotation), preference);
    }
}

TEST(DisplayRotation, NoDisplayMeansUnreadableAndNoLock) {
    platform::setRotationProvider(nullptr);
    vekrsensors::DisplayRotation helper(s_logger, "MagnetometerTest");
    std::uint32_t rotation = 42;
    EXPECT_FALSE(helper.getDisplayRotation(rotation));
    EXPECT_EQ(rotation, 42u);
    unsetenv("DISPLAY");
    unsetenv("WAYLAND_DISPLAY");
    EXPECT_FALSE(vekrsensors::DisplayRotation::isWindows8OrLater());
    // Without a desktop the lock is skipped before the rotation is asked for, which would fail
    // here and say so in the log.
    vekr::testing::LogCapture log;
    helper.lockAutoRotation();
    EXPECT_EQ(log.text(), "");
}

// The lock is offered only in a desktop session, by the host's rule: an empty DISPLAY names no
// display. A stand-in gsettings answers for GNOME's orientation-lock key.
TEST(DisplayRotation, LockIsOfferedOnlyWhereTheHostSeesADesktop) {
    vekr::testing::ScratchDir bin{"vekr-gsettings"};
    bin.write("gsettings", "#!/bin/sh\necho false\n");
    std::filesystem::permissions(bin / "gsettings", std::filesystem::perms::owner_all);
    const std::string path = std::getenv("PATH");
    setenv("PATH", (bin.path().string() + ":" + path).c_str(), 1);
    vek::DynamicLibrary user32("user32.dll");
    ASSERT_TRUE(user32.load()) << user32.lastError();
    auto available = reinterpret_cast<int (*)()>(user32.getSymbol("VekrRotationLockAvailable"));
    ASSERT_NE(available, nullptr);
    struct Row {
        const char* display;  // null: unset
        const char* wayland;
        int offered;
    };
    for (const Row& row : {Row{"", nullptr, 0}, Row{nullptr, "", 0}, Row{"", "", 0},
                           Row{":0", nullptr, 1}, Row{nullptr, "wayland-0", 1}}) {
        row.display ? setenv("DISPLAY", row.display, 1) : unsetenv("DISPLAY");
        row.wayland ? setenv("WAYLAND_DISPLAY", row.wayland, 1) : unsetenv("WAYLAND_DISPLAY");
        EXPECT_EQ(available(), row.offered)
            << "DISPLAY=" << (row.display ? row.display : "(unset)")
            << " WAYLAND_DISPLAY=" << (row.wayland ? row.wayland : "(unset)");
        EXPECT_EQ(platform::desktopSession(), row.offered == 1);
    }
    setenv("PATH", path.c_str(), 1);
    unsetenv("DISPLAY");
    unsetenv("WAYLAND_DISPLAY");
}

TEST(DisplayRotation, PlatformUser32ExportsTheEntryPoints) {
    vek::DynamicLibrary user32("user32.dll");
    ASSERT_TRUE(user32.load()) << user32.lastError();
    EXPECT_NE(user32.getSymbol("SetDisplayAutoRotationPreferences"), nullptr);
    EXPECT_NE(user32.getSymbol("VekrRotationLockAvailable"), nullptr);
}

}  // namespace
