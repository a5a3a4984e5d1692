#pragma once

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

// A fake HID accelerometer (raw milli-g, scale to m/s^2) in a temporary sysfs tree, removed
// when the benchmark process ends.
class FakeAccelTree {
public:
    static const std::filesystem::path& root() {
        static FakeAccelTree tree;
        return tree.root_;
    }

private:
    FakeAccelTree() {
        root_ =
            std::filesystem::temp_directory_path() / ("vekr-bench-" + std::to_string(::getpid()));
        const auto dev = root_ / "bus/iio/devices/iio:device0";
        std::filesystem::create_directories(dev);
        const std::pair<const char*, const char*> attrs[] = {{"name", "accel_3d"},
                                                             {"in_accel_x_raw", "-906"},
                                                             {"in_accel_y_raw", "15"},
                                                             {"in_accel_z_raw", "-414"},
                                                             {"in_accel_scale", "0.009806650"},
                                                             {"in_accel_offset", "0"}};
        for (const auto& [name, text] : attrs)
            std::ofstream(dev / name) << text << "\n";
    }
    ~FakeAccelTree() { std::filesystem::remove_all(root_); }
    std::filesystem::path root_;
};
