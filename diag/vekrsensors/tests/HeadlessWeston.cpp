#include "HeadlessWeston.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <stdlib.h>

#include <chrono>
#include <thread>
#include <vector>

extern char** environ;

HeadlessWeston::HeadlessWeston() {
    const char* weston = "/usr/bin/weston";
    char folder[] = "/tmp/vekr-wl-XXXXXX";  // made 0700, as a runtime folder must be
    std::error_code ec;
    if (!std::filesystem::exists(weston) || !mkdtemp(folder))
        return;
    dir_ = folder;
    std::vector<std::string> env{"XDG_RUNTIME_DIR=" + dir_.string()};
    for (char** e = environ; *e; ++e) {
        if (std::string(*e).rfind("XDG_RUNTIME_DIR=", 0) != 0)
            env.emplace_back(*e);
    }
    std::vector<char*> envp;
    for (auto& e : env)
        envp.push_back(e.data());
    envp.push_back(nullptr);
    std::string socketArg = "--socket=" + socket();
    char* argv[] = {const_cast<char*>(weston), const_cast<char*>("--backend=headless-backend.so"),
                    socketArg.data(), const_cast<char*>("--idle-time=0"), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    const int rc = posix_spawn(&pid_, weston, &actions, nullptr, argv, envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (rc != 0) {
        pid_ = -1;
        return;
    }
    // Weston creates its socket once it listens; a compositor that takes a minute is broken.
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!std::filesystem::exists(dir_ / socket(), ec) &&
           std::chrono::steady_clock::now() < end && waitpid(pid_, nullptr, WNOHANG) == 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    ready_ = std::filesystem::exists(dir_ / socket(), ec);
}

HeadlessWeston::~HeadlessWeston() {
    if (pid_ > 0) {
        kill(pid_, SIGTERM);
        waitpid(pid_, nullptr, 0);
    }
    std::error_code ec;
    if (!dir_.empty())
        std::filesystem::remove_all(dir_, ec);
}
