// Start to verdict: the whole module process for an in-band accelerometer on a fake HID tree,
// against a bare program that only opens and reads the same attributes.
#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include "FakeAccelTree.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

extern char** environ;
namespace fs = std::filesystem;

namespace {

int spawnAndWait(std::vector<std::string> args) {
    std::vector<char*> argv;
    for (auto& a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    std::vector<std::string> envStore{"VEKR_SYSFS_ROOT=" + FakeAccelTree::root().string()};
    std::vector<char*> envp{envStore[0].data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), envp.data()) != 0)
        return -1;
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string beside(const char* name) {
    return (fs::read_symlink("/proc/self/exe").parent_path() / name).string();
}

void BM_ModuleStartToVerdict(benchmark::State& state) {
    const std::vector<std::string> args{beside("vekrsensors.vkm"), "--backend", "iio", "--test",
                                        "AccelerometerTest"};
    for (auto _ : state) {
        if (spawnAndWait(args) != 0)
            state.SkipWithError("the accelerometer did not pass");
    }
}
BENCHMARK(BM_ModuleStartToVerdict)->Unit(benchmark::kMillisecond);

void BM_BareAttributeReader(benchmark::State& state) {
    const std::vector<std::string> args{beside("bare_accel_reader")};
    for (auto _ : state) {
        if (spawnAndWait(args) != 0)
            state.SkipWithError("the bare reader failed");
    }
}
BENCHMARK(BM_BareAttributeReader)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
