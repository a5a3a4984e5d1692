#pragma once

#include <atomic>
#include <cstdint>

#include "vek/DynamicLibrary.h"
#include "vek/Logging.h"

namespace vekrsensors {

// Keeping the screen still while the user turns the device, and turning readings into the
// display's frame. Each interactive test unit owns one (with its own logger, its own
// "user32.dll" and its own entry point), used from that test's UI thread for the lock and
// from its worker for the correction.
class DisplayRotation {
public:
    DisplayRotation(std::atomic<vek::Logger*>& logger, const char* loggerName)
        : logger_(logger), loggerName_(loggerName) {}

    // True where the desktop offers an auto-rotation lock (on the original platform: Windows 8
    // or later).
    static bool isWindows8OrLater();
    // The primary display's rotation code 0..3; false (rotation untouched) when unreadable.
    bool getDisplayRotation(std::uint32_t& rotation);
    // Turns x and y by the display's rotation and zeroes values strictly inside (-1, 1) on all
    // three axes. False, reading untouched, when the rotation is unreadable.
    bool fixDataOrientation(double& x, double& y, double& z);
    // Locks auto-rotation to the current orientation; never undone by the module. Throws
    // vek::DynamicLookupFailed when the entry point is missing.
    void lockAutoRotation();

    // Preference that keeps the screen as it stands for each rotation code.
    static int orientationPreference(std::uint32_t rotation);

private:
    std::atomic<vek::Logger*>& logger_;
    const char* loggerName_;
    vek::DynamicLibrary user32_{"user32.dll"};
    int (*setPreferences_)(int) = nullptr;
};

}  // namespace vekrsensors
