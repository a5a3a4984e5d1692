#pragma once

#include <filesystem>
#include <map>
#include <string>

#include "ScratchDir.h"

// A fake sysfs tree: bus/iio/devices/iio:deviceN folders with attribute files, shaped like
// what the kernel's drivers create.
class FakeSysfs {
public:
    FakeSysfs() : dir_("vekr-sysfs") {}
    const std::filesystem::path& root() const { return dir_.path(); }
    std::filesystem::path device(int n) const {
        return dir_ / ("bus/iio/devices/iio:device" + std::to_string(n));
    }
    // Creates iio:device<n> with a name and attributes.
    std::filesystem::path addDevice(int n, const std::string& name,
                                    const std::map<std::string, std::string>& attributes);
    void set(int n, const std::string& attribute, const std::string& text);

    // Trees as real sensor hubs and chips present them.
    void addHidAccel3d(int n);  // milli-g raw with scale 0.009806650 m/s^2
    void addHidGyro3d(int n);
    void addHidMagn3d(int n);
    void addHidAls(int n);
    void addVl53l0x(int n);

private:
    vekr::testing::ScratchDir dir_;
};
