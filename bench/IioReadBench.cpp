// One accelerometer reading through libOrra (three held descriptors, pread, parse, scale,
// mount matrix, bounded-read hand-off) against three bare preads of the same attributes: the
// price of the bounded read and the conversion.
#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>
#include "FakeAccelTree.h"

#include <filesystem>
#include <fstream>
#include <memory>

#include "libOrra/IioBackend.h"
#include "libOrra/Records.h"

namespace fs = std::filesystem;

namespace {

void BM_LibOrraAccelerometerUpdate(benchmark::State& state) {
    const libOrra::SensorsInUse inUse(std::make_shared<libOrra::IioBackend>(FakeAccelTree::root()));
    vek::Array<std::unique_ptr<libOrra::Accelerometer>> accels;
    if (!libOrra::getAccelerometers(accels) || accels.size() != 1) {
        state.SkipWithError("no accelerometer in the fake tree");
        return;
    }
    for (auto _ : state) {
        if (!accels[0]->update())
            state.SkipWithError("update failed");
        benchmark::DoNotOptimize(accels[0]->x);
    }
}
BENCHMARK(BM_LibOrraAccelerometerUpdate);

void BM_ThreeBarePreads(benchmark::State& state) {
    const fs::path dev = FakeAccelTree::root() / "bus/iio/devices/iio:device0";
    int fds[3];
    const char* names[] = {"in_accel_x_raw", "in_accel_y_raw", "in_accel_z_raw"};
    for (int i = 0; i < 3; ++i)
        fds[i] = ::open((dev / names[i]).c_str(), O_RDONLY);
    char buf[64];
    for (auto _ : state) {
        for (int fd : fds)
            benchmark::DoNotOptimize(::pread(fd, buf, sizeof buf, 0));
    }
    for (int fd : fds)
        ::close(fd);
}
BENCHMARK(BM_ThreeBarePreads);

}  // namespace

BENCHMARK_MAIN();
