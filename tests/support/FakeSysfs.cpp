#include "FakeSysfs.h"

#include <fstream>

std::filesystem::path FakeSysfs::addDevice(int n, const std::string& name,
                                           const std::map<std::string, std::string>& attributes) {
    const auto dir = device(n);
    std::filesystem::create_directories(dir);
    std::ofstream(dir / "name") << name << "\n";
    for (const auto& [attr, text] : attributes)
        set(n, attr, text);
    return dir;
}

void FakeSysfs::set(int n, const std::string& attribute, const std::string& text) {
    std::ofstream(device(n) / attribute) << text << "\n";
}

void FakeSysfs::addHidAccel3d(int n) {
    addDevice(n, "accel_3d",
              {{"in_accel_x_raw", "-906"},
               {"in_accel_y_raw", "15"},
               {"in_accel_z_raw", "-414"},
               {"in_accel_scale", "0.009806650"},
               {"in_accel_offset", "0"},
               {"in_accel_sampling_frequency", "10.000000"}});
}

void FakeSysfs::addHidGyro3d(int n) {
    // Raw in hundredths of a degree per second, scale to rad/s.
    addDevice(n, "gyro_3d",
              {{"in_anglvel_x_raw", "3000"},
               {"in_anglvel_y_raw", "-1500"},
               {"in_anglvel_z_raw", "0"},
               {"in_anglvel_scale", "0.000174532"}});
}

void FakeSysfs::addHidMagn3d(int n) {
    addDevice(n, "magn_3d",
              {{"in_magn_x_raw", "120"},
               {"in_magn_y_raw", "-40"},
               {"in_magn_z_raw", "300"},
               {"in_magn_scale", "0.001000000"},
               {"in_rot_from_north_magnetic_tilt_comp_raw", "9000"},
               {"in_rot_scale", "0.000174532"}});
}

void FakeSysfs::addHidAls(int n) {
    addDevice(n, "als", {{"in_illuminance_raw", "2345"}, {"in_illuminance_scale", "0.1"}});
}

void FakeSysfs::addVl53l0x(int n) {
    addDevice(n, "vl53l0x", {{"in_distance_raw", "153"}, {"in_distance_scale", "0.001"}});
}
