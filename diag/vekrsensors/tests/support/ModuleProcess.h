#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// A child's environment: this process's, with `own` ("NAME=value") in place of the variables
// of the same names, and without the variables named in `cleared`.
std::vector<std::string> childEnvironment(const std::vector<std::string>& own,
                                          const std::vector<std::string>& cleared = {});
// Pointers to `strings` and a null, as posix_spawn takes its arguments and environment.
std::vector<char*> nullTerminated(std::vector<std::string>& strings);

// Starts `argv` with its output and errors in `log` (appended to, or from empty), `env` in
// place of the inherited variables of the same names, in a process group of its own where
// asked (so that the whole group can be ended); -1 when it cannot be started. Descriptors
// without close-on-exec stay open in it.
struct SpawnLog {
    bool append = false;
    bool ownGroup = false;
};
pid_t spawnLogged(std::vector<std::string> argv, const std::string& log,
                  const std::vector<std::string>& env = {}, SpawnLog how = {});

// Runs the module executable with arguments in a working directory and collects what a host
// would see.
struct ModuleOutcome {
    int exitCode = -1;  // 128 + the signal's number when a signal ended it
    std::string out;
    std::string err;
};

// One running module, for cases that act while it runs (signals, progress).
class ModuleRun {
public:
    struct Start {
        std::vector<std::string> env;  // added, in place of inherited ones of the same name
        // nullopt collects stdout through a pipe; "" starts with stdout closed; any other
        // text is a file stdout is opened onto (e.g. /dev/full).
        std::optional<std::string> stdoutTo;
        // A SIGTERM is already waiting when the program starts (blocked, and pending before
        // the module's first instruction), as when a host stops it in its first instant.
        bool termWaiting = false;
        // Run as the user nobody when the tests run as root (setpriv), so that the kernel
        // checks the module's file permissions.
        bool unprivileged = false;
    };
    ModuleRun(const std::vector<std::string>& args, const std::string& workDir, const Start& start);
    ~ModuleRun();
    ModuleRun(const ModuleRun&) = delete;
    ModuleRun& operator=(const ModuleRun&) = delete;

    // Collects output until stdout and stderr hold `text` `times` times; false when the module
    // ended or `limit` passed first.
    bool waitFor(const std::string& text, std::chrono::milliseconds limit, int times = 1);
    // Collects output until `done` holds; false when the module ended or `limit` passed first.
    bool waitUntil(const std::function<bool(const ModuleOutcome&)>& done,
                   std::chrono::milliseconds limit);
    void signal(int sig) const;
    // Collects the rest and waits for the end.
    ModuleOutcome finish();

private:
    bool pump(int timeoutMs);

    pid_t pid_ = -1;
    int fds_[2] = {-1, -1};
    ModuleOutcome outcome_;
};
