#pragma once

#include <sys/types.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

// A system bus of a case's own, with the desktop's sensor reader on it, as iio-sensor-proxy's
// integration tests run it: Debian's dbus-daemon with a configuration that lets anyone own any
// name, and on it, from the case's "systemBus" description, one of
//   {"reader": "iio-sensor-proxy", "device": "fixtures/x.umockdev",
//    "live": {"in_accel_x_raw": ["-906", "-904"]}}
//       Debian's iio-sensor-proxy under umockdev-run against the recorded device; the module
//       reads the same testbed (environment() sets VEKR_SYSFS_ROOT and VEKR_DEV_ROOT), and the
//       device's attributes in "live" keep changing as a live sensor's do (the values of
//       one attribute of one length: they are written in place)
//   {"reader": "dbusmock", "answers": {"has_accelerometer": true, ...}}
//       python3-dbusmock's iio-sensors-proxy template with those answers, for what the real
//       daemon cannot be made to say
//   {} the bus alone.
// available() once the reader's name is on the bus (waited for, at most a minute); else
// output() says why. Owned by the case; stops everything it started when destroyed.
class TestSystemBus {
public:
    TestSystemBus(const nlohmann::json& description, const std::filesystem::path& sourceDir);
    ~TestSystemBus();
    TestSystemBus(const TestSystemBus&) = delete;
    TestSystemBus& operator=(const TestSystemBus&) = delete;

    // False when a program it needs is not installed (output() names it).
    bool installed() const { return installed_; }
    bool available() const { return available_; }
    // The bus's and the reader's output so far, and what failed.
    std::string output() const;
    // DBUS_SYSTEM_BUS_ADDRESS, and for the real daemon the testbed's roots.
    std::vector<std::string> environment() const;

private:
    bool startBus();
    bool waitForName(const std::string& name);
    void keepChanging(const nlohmann::json& live);

    bool installed_ = true;
    bool available_ = false;
    std::filesystem::path dir_;
    std::string address_;
    std::filesystem::path testbed_;
    std::string why_;
    std::vector<pid_t> groups_;  // process groups it started: the bus, the reader
    std::atomic<bool> stop_{false};
    std::thread writer_;
};
