// The doctor on a machine with ten sensors: ten bmc150 accelerometers as the firmware
// declares them (ACPI BOSC0200:0N, bound, each with its IIO device). Counter `seconds` is one
// whole examination; target at most 5 s, the readings of all ten taken side by side.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "doctor/Doctor.h"

namespace fs = std::filesystem;

namespace {

void write(const fs::path& file, const std::string& text) {
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text << "\n";
}

// The tree, removed when the benchmark ends.
struct TenSensors {
    fs::path root = fs::temp_directory_path() / ("vekr-doctor-bench-" + std::to_string(getpid()));
    TenSensors() {
        for (int n = 0; n < 10; ++n) {
            const std::string id = "BOSC0200:0" + std::to_string(n);
            const fs::path acpi = root / "sys/bus/acpi/devices" / id;
            write(acpi / "hid", "BOSC0200");
            write(acpi / "status", "15");
            write(acpi / "modalias", "acpi:BOSC0200:BOSC0200:");
            const fs::path client = root / "sys/devices/platform/i2c-1" / ("i2c-" + id);
            const fs::path iio = root / "sys/bus/iio/devices" / ("iio:device" + std::to_string(n));
            fs::create_directories(client);
            fs::create_directories(root / "sys/bus/i2c/drivers/bmc150_accel_i2c");
            fs::create_directory_symlink(client, acpi / "physical_node");
            fs::create_directory_symlink(root / "sys/bus/i2c/drivers/bmc150_accel_i2c",
                                         client / "driver");
            for (const auto& [name, text] : {std::pair{"name", "bmc150_accel"},
                                             {"in_accel_x_raw", "1023"},
                                             {"in_accel_y_raw", "0"},
                                             {"in_accel_z_raw", "0"},
                                             {"in_accel_scale", "0.009582"}})
                write(iio / name, text);
            fs::create_directory_symlink(iio, client / iio.filename());
        }
        fs::create_directories(root / "dev");
        fs::create_directories(root / "proc");
        fs::create_directories(root / "journal");
    }
    ~TenSensors() { fs::remove_all(root); }
};

void BM_DoctorOnTenSensors(benchmark::State& state) {
    static const TenSensors tree;
    doctor::Roots roots;
    roots.sysfs = tree.root / "sys";
    roots.dev = tree.root / "dev";
    roots.modules = tree.root / "modules";
    roots.proc = tree.root / "proc";
    roots.kernelLog = tree.root / "kmsg";
    roots.journal = tree.root / "journal";
    // No system bus: the desktop's side is unknown at once, as on a machine without one.
    setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + (tree.root / "no-bus").string()).c_str(), 1);
    std::size_t chains = 0;
    for (auto _ : state)
        chains = doctor::examine(roots).size();
    state.counters["seconds"] =
        benchmark::Counter(static_cast<double>(state.iterations()),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    state.counters["chains"] = static_cast<double>(chains);
}
BENCHMARK(BM_DoctorOnTenSensors)->Unit(benchmark::kSecond)->Iterations(1)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
