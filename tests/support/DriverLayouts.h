#pragma once

#include <map>
#include <string>

// Attribute sets of real IIO drivers, as their channel definitions in drivers/iio/ publish
// them (info_mask_separate gives <channel>_<info>, shared_by_type in_<type>_<info>,
// shared_by_dir in_<info>, shared_by_all plain <info>), with the values a device lying flat
// shows. The expected readings live beside the tests that use them, written out.
struct DriverLayout {
    std::string name;
    std::map<std::string, std::string> attributes;
};

namespace layouts {

// hid-sensor-accel-3d: raw milli-g, scale to m/s^2 shared by type.
inline const DriverLayout hidAccel3d{"accel_3d",
                                     {{"in_accel_x_raw", "-906"},
                                      {"in_accel_y_raw", "15"},
                                      {"in_accel_z_raw", "-414"},
                                      {"in_accel_scale", "0.009806650"},
                                      {"in_accel_offset", "0"},
                                      {"in_accel_hysteresis", "0.000000"},
                                      {"in_accel_sampling_frequency", "10.000000"}}};

// hid-sensor-gyro-3d: hundredths of a degree per second, scale to rad/s.
inline const DriverLayout hidGyro3d{"gyro_3d",
                                    {{"in_anglvel_x_raw", "3000"},
                                     {"in_anglvel_y_raw", "-1500"},
                                     {"in_anglvel_z_raw", "0"},
                                     {"in_anglvel_scale", "0.000174532"},
                                     {"in_anglvel_offset", "0"},
                                     {"in_anglvel_sampling_frequency", "10.000000"}}};

// hid-sensor-magn-3d: the field and the hub's tilt-compensated compass heading, whose HID
// usage is in degrees with a unit exponent of -5 (in_rot_scale).
inline const DriverLayout hidMagn3d{"magn_3d",
                                    {{"in_magn_x_raw", "120"},
                                     {"in_magn_y_raw", "-40"},
                                     {"in_magn_z_raw", "300"},
                                     {"in_magn_scale", "0.001000000"},
                                     {"in_magn_offset", "0"},
                                     {"in_rot_from_north_magnetic_tilt_comp_raw", "10190000"},
                                     {"in_rot_scale", "0.000010"},
                                     {"in_rot_offset", "0"},
                                     {"in_rot_sampling_frequency", "10.000000"}}};

// hid-sensor-als since 2014: an illuminance channel beside the older intensity one.
inline const DriverLayout hidAls{"als",
                                 {{"in_illuminance_raw", "2345"},
                                  {"in_illuminance_scale", "0.1"},
                                  {"in_illuminance_offset", "0"},
                                  {"in_intensity_both_raw", "9999"},
                                  {"in_intensity_scale", "0.1"}}};
// hid-sensor-als before: the intensity channel only.
inline const DriverLayout hidAlsOld{"als",
                                    {{"in_intensity_both_raw", "2345"},
                                     {"in_intensity_scale", "0.1"},
                                     {"in_intensity_offset", "0"}}};

// cros_ec_sensors: raw 16-bit values, one scale shared by all channels (range 2 g: 2 * 9.80665
// / 32768), calibration per channel, and a location.
inline const DriverLayout crosEcAccel{"cros-ec-accel",
                                      {{"in_accel_x_raw", "-160"},
                                       {"in_accel_y_raw", "312"},
                                       {"in_accel_z_raw", "16280"},
                                       {"in_accel_x_calibbias", "0"},
                                       {"in_accel_y_calibbias", "0"},
                                       {"in_accel_z_calibbias", "0"},
                                       {"scale", "0.000598550"},
                                       {"sampling_frequency", "10.000000"},
                                       {"location", "lid"},
                                       {"label", "accel-display"}}};
// The same for the gyroscope (range 1000 degrees/s, as the driver computes it).
inline const DriverLayout crosEcGyro{"cros-ec-gyro",
                                     {{"in_anglvel_x_raw", "983"},
                                      {"in_anglvel_y_raw", "-983"},
                                      {"in_anglvel_z_raw", "0"},
                                      {"scale", "0.000547891"},
                                      {"sampling_frequency", "10.000000"},
                                      {"location", "base"}}};
// cros_ec_light_prox: processed lux.
inline const DriverLayout crosEcLight{"cros-ec-light",
                                      {{"in_illuminance_input", "312"},
                                       {"in_illuminance_calibbias", "0"},
                                       {"in_illuminance_calibscale", "1.000000"},
                                       {"sampling_frequency", "0.000000"}}};

// bmc150-accel: scale shared by type, the mount matrix shared by direction.
inline const DriverLayout bmc150{"bmc150_accel",
                                 {{"in_accel_x_raw", "1023"},
                                  {"in_accel_y_raw", "0"},
                                  {"in_accel_z_raw", "0"},
                                  {"in_accel_scale", "0.009582"},
                                  {"in_accel_sampling_frequency", "100.000000"},
                                  {"in_mount_matrix", "0, 1, 0; -1, 0, 0; 0, 0, 1"},
                                  {"label", "accel-base"}}};
// mxc4005: likewise.
inline const DriverLayout mxc4005{"mxc4005",
                                  {{"in_accel_x_raw", "200"},
                                   {"in_accel_y_raw", "-1000"},
                                   {"in_accel_z_raw", "150"},
                                   {"in_accel_scale", "0.009582"},
                                   {"in_mount_matrix", "-1, 0, 0; 0, -1, 0; 0, 0, 1"}}};
// ak8975 family (ak09911): scale per channel, the mount matrix shared by direction; this chip
// sits upside down, turned about y.
inline const DriverLayout ak09911{"ak09911",
                                  {{"in_magn_x_raw", "50"},
                                   {"in_magn_y_raw", "87"},
                                   {"in_magn_z_raw", "-300"},
                                   {"in_magn_x_scale", "0.006000"},
                                   {"in_magn_y_scale", "0.006000"},
                                   {"in_magn_z_scale", "0.006000"},
                                   {"in_mount_matrix", "-1, 0, 0; 0, 1, 0; 0, 0, -1"}}};
// apds9960: colour intensities and a unitless proximity channel without a near level.
inline const DriverLayout apds9960{"apds9960",
                                   {{"in_intensity_clear_raw", "420"},
                                    {"in_intensity_red_raw", "130"},
                                    {"in_intensity_green_raw", "150"},
                                    {"in_intensity_blue_raw", "140"},
                                    {"in_intensity_integration_time", "0.028"},
                                    {"in_proximity_raw", "180"}}};
// isl29018: processed lux on an indexed channel, infrared intensity, unitless proximity.
inline const DriverLayout isl29018{"isl29018",
                                   {{"in_illuminance0_input", "150"},
                                    {"in_illuminance0_calibscale", "1.000000"},
                                    {"in_illuminance0_integration_time", "0.090000"},
                                    {"in_intensity_ir_raw", "12"},
                                    {"in_proximity_raw", "40"}}};
// vl53l0x: time of flight, raw millimetres, scale to metres.
inline const DriverLayout vl53l0x{"vl53l0x",
                                  {{"in_distance_raw", "153"}, {"in_distance_scale", "0.001"}}};

// An accelerometer whose values come only through its buffer (a triggered buffer, no _raw
// attributes): 16-bit little-endian axes and a 64-bit timestamp, as st_sensors and
// bmi160-class drivers describe them under scan_elements/.
inline const DriverLayout bufferOnlyAccel{"bmi160",
                                          {{"in_accel_scale", "0.000598550"},
                                           {"scan_elements/in_accel_x_en", "0"},
                                           {"scan_elements/in_accel_x_index", "0"},
                                           {"scan_elements/in_accel_x_type", "le:s16/16>>0"},
                                           {"scan_elements/in_accel_y_en", "0"},
                                           {"scan_elements/in_accel_y_index", "1"},
                                           {"scan_elements/in_accel_y_type", "le:s16/16>>0"},
                                           {"scan_elements/in_accel_z_en", "0"},
                                           {"scan_elements/in_accel_z_index", "2"},
                                           {"scan_elements/in_accel_z_type", "le:s16/16>>0"},
                                           {"scan_elements/in_timestamp_en", "1"},
                                           {"scan_elements/in_timestamp_index", "3"},
                                           {"scan_elements/in_timestamp_type", "le:s64/64>>0"},
                                           {"buffer/enable", "0"},
                                           {"buffer/length", "128"},
                                           {"trigger/current_trigger", ""}}};

// The layout of that name here (e.g. "hidAccel3d"), for tables kept as data; null if none.
inline const DriverLayout* named(const std::string& name) {
    static const std::map<std::string, const DriverLayout*> all{
        {"hidAccel3d", &hidAccel3d},   {"hidGyro3d", &hidGyro3d},     {"hidMagn3d", &hidMagn3d},
        {"hidAls", &hidAls},           {"hidAlsOld", &hidAlsOld},     {"crosEcAccel", &crosEcAccel},
        {"crosEcGyro", &crosEcGyro},   {"crosEcLight", &crosEcLight}, {"bmc150", &bmc150},
        {"mxc4005", &mxc4005},         {"ak09911", &ak09911},         {"apds9960", &apds9960},
        {"isl29018", &isl29018},       {"vl53l0x", &vl53l0x},         {"bufferOnlyAccel", &bufferOnlyAccel}};
    const auto it = all.find(name);
    return it == all.end() ? nullptr : it->second;
}

}  // namespace layouts
