// The whole module process: start to verdict for an in-band accelerometer on a fake HID tree,
// against a bare program that only opens and reads the same attributes; and what --record
// adds to the CPU time of the simulated machine's five tests.
#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include "FakeAccelTree.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

extern char** environ;
namespace fs = std::filesystem;

namespace {

struct Ended {
    int exitCode = -1;
    double seconds = 0;
    double cpuSeconds = 0;  // the child's user and system time
    long peakRssKiB = 0;    // the child's own peak resident set
};

Ended spawnAndWait(std::vector<std::string> args,
                   std::vector<std::string> env = {"VEKR_SYSFS_ROOT=" +
                                                   FakeAccelTree::root().string()}) {
    std::vector<char*> argv;
    for (auto& a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    std::vector<char*> envp;
    for (auto& e : env)
        envp.push_back(e.data());
    envp.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    Ended ended;
    const auto start = std::chrono::steady_clock::now();
    pid_t pid = -1;
    const int spawned = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0)
        return ended;
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    ended.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    ended.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    ended.peakRssKiB = usage.ru_maxrss;
    const auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
    };
    ended.cpuSeconds = seconds(usage.ru_utime) + seconds(usage.ru_stime);
    return ended;
}

std::string beside(const char* name) {
    return (fs::read_symlink("/proc/self/exe").parent_path() / name).string();
}

// The module and the bare reader take turns, so both see the same machine load. Counters:
// module and bare wall time per start (ms), their ratio (target: at most 2) and the module's
// peak resident set (MiB, target: at most 12).
void BM_StartToVerdictAgainstBareReader(benchmark::State& state) {
    const std::vector<std::string> module{beside("vekrsensors.vkm"), "--backend", "iio", "--test",
                                          "AccelerometerTest"};
    const std::vector<std::string> bare{beside("bare_accel_reader")};
    double moduleSeconds = 0, bareSeconds = 0;
    long peakKiB = 0;
    for (auto _ : state) {
        const Ended m = spawnAndWait(module);
        const Ended b = spawnAndWait(bare);
        if (m.exitCode != 0 || b.exitCode != 0) {
            state.SkipWithError("the accelerometer did not pass, or the bare reader failed");
            return;
        }
        moduleSeconds += m.seconds;
        bareSeconds += b.seconds;
        peakKiB = std::max(peakKiB, m.peakRssKiB);
    }
    const auto n = static_cast<double>(state.iterations());
    state.counters["module_ms"] = 1000 * moduleSeconds / n;
    state.counters["bare_ms"] = 1000 * bareSeconds / n;
    state.counters["ratio"] = moduleSeconds / bareSeconds;
    state.counters["module_peak_MiB"] = static_cast<double>(peakKiB) / 1024;
}
BENCHMARK(BM_StartToVerdictAgainstBareReader)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// The simulated machine's five tests (dialogs offscreen, the scripted person), with and
// without --record, taking turns. Counters: the CPU time of each (s) and what recording adds
// (percent, target: at most 10).
void BM_RecordingCost(benchmark::State& state) {
    const std::string recording = (fs::temp_directory_path() / "vekr-bench-rec.json").string();
    std::vector<std::string> plain{beside("vekrsensors.vkm"), "--backend", "sim", "--quiet"};
    std::vector<std::string> recorded = plain;
    recorded.insert(recorded.end(), {"--record", recording});
    const std::vector<std::string> env{"QT_QPA_PLATFORM=offscreen"};
    double plainCpu = 0, recordedCpu = 0;
    for (auto _ : state) {
        const Ended p = spawnAndWait(plain, env);
        const Ended r = spawnAndWait(recorded, env);
        if (p.exitCode != 0 || r.exitCode != 0) {
            state.SkipWithError("the simulated machine's tests did not pass");
            return;
        }
        plainCpu += p.cpuSeconds;
        recordedCpu += r.cpuSeconds;
    }
    fs::remove(recording);
    const auto n = static_cast<double>(state.iterations());
    state.counters["plain_cpu_s"] = plainCpu / n;
    state.counters["recorded_cpu_s"] = recordedCpu / n;
    state.counters["added_percent"] = 100 * (recordedCpu - plainCpu) / plainCpu;
}
BENCHMARK(BM_RecordingCost)->Unit(benchmark::kSecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
