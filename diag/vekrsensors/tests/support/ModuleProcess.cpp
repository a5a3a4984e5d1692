#include "ModuleProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

extern char** environ;

std::vector<std::string> childEnvironment(const std::vector<std::string>& own,
                                          const std::vector<std::string>& cleared) {
    const auto named = [&](const std::string& entry) {
        const std::string name = entry.substr(0, entry.find('='));
        for (const std::string& e : own) {
            if (e.substr(0, e.find('=')) == name)
                return true;
        }
        return std::find(cleared.begin(), cleared.end(), name) != cleared.end();
    };
    std::vector<std::string> env = own;
    for (char** e = environ; *e; ++e) {
        if (!named(*e))
            env.emplace_back(*e);
    }
    return env;
}

std::vector<char*> nullTerminated(std::vector<std::string>& strings) {
    std::vector<char*> pointers;
    for (std::string& s : strings)
        pointers.push_back(s.data());
    pointers.push_back(nullptr);
    return pointers;
}

pid_t spawnLogged(std::vector<std::string> argv, const std::string& log,
                  const std::vector<std::string>& env, SpawnLog how) {
    std::vector<std::string> envStore = childEnvironment(env);
    std::vector<char*> args = nullTerminated(argv), envp = nullTerminated(envStore);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, log.c_str(),
                                     O_WRONLY | O_CREAT | (how.append ? O_APPEND : O_TRUNC), 0600);
    posix_spawn_file_actions_adddup2(&actions, 1, 2);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    if (how.ownGroup) {
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
        posix_spawnattr_setpgroup(&attributes, 0);
    }
    pid_t pid = -1;
    const int rc = posix_spawn(&pid, args[0], &actions, &attributes, args.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    return rc == 0 ? pid : -1;
}

ModuleRun::ModuleRun(const std::vector<std::string>& args, const std::string& workDir,
                     const Start& start) {
    int outPipe[2], errPipe[2];
    if (pipe(outPipe) != 0 || pipe(errPipe) != 0)
        return;

    std::vector<std::string> argStore{VEKR_MODULE_PATH};
    if (start.termWaiting) {
        // The shell, with SIGTERM blocked, sends it to itself and becomes the module: the
        // signal is pending at the module's first instruction however the machine schedules
        // us (a kill after the spawn can come after a quick module has already finished).
        argStore = {"/bin/sh", "-c", "kill -s TERM $$ && exec \"$0\" \"$@\"", VEKR_MODULE_PATH};
    }
    argStore.insert(argStore.end(), args.begin(), args.end());
    if (start.unprivileged && geteuid() == 0) {
        argStore.insert(argStore.begin(), {"/usr/bin/setpriv", "--reuid=65534", "--regid=65534",
                                           "--clear-groups", "--"});
    }
    std::vector<char*> argv = nullTerminated(argStore);
    // No screen unless a test gives one: the simulated machine's dialogs then run offscreen,
    // whatever session the tests were started from.
    std::vector<std::string> envStore =
        childEnvironment(start.env, {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"});
    std::vector<char*> envp = nullTerminated(envStore);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, workDir.c_str());
    if (!start.stdoutTo)
        posix_spawn_file_actions_adddup2(&actions, outPipe[1], 1);
    else if (start.stdoutTo->empty())
        posix_spawn_file_actions_addclose(&actions, 1);
    else
        posix_spawn_file_actions_addopen(&actions, 1, start.stdoutTo->c_str(), O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, errPipe[1], 2);
    posix_spawn_file_actions_addclose(&actions, outPipe[0]);
    posix_spawn_file_actions_addclose(&actions, errPipe[0]);
    posix_spawn_file_actions_addclose(&actions, outPipe[1]);
    posix_spawn_file_actions_addclose(&actions, errPipe[1]);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawnattr_t attr;
    posix_spawnattr_init(&attr);
    if (start.termWaiting) {
        sigset_t blocked;
        sigemptyset(&blocked);
        sigaddset(&blocked, SIGTERM);
        posix_spawnattr_setsigmask(&attr, &blocked);
        posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSIGMASK);
    }
    const int rc =
        posix_spawn(&pid_, argStore.front().c_str(), &actions, &attr, argv.data(), envp.data());
    posix_spawnattr_destroy(&attr);
    posix_spawn_file_actions_destroy(&actions);
    close(outPipe[1]);
    close(errPipe[1]);
    fds_[0] = outPipe[0];
    fds_[1] = errPipe[0];
    if (rc != 0)
        pid_ = -1;
}

ModuleRun::~ModuleRun() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        finish();
    }
    for (int fd : fds_) {
        if (fd >= 0)
            close(fd);
    }
}

bool ModuleRun::pump(int timeoutMs) {
    pollfd fds[2] = {{fds_[0], POLLIN, 0}, {fds_[1], POLLIN, 0}};
    std::string* sinks[2] = {&outcome_.out, &outcome_.err};
    if (fds_[0] < 0 && fds_[1] < 0)
        return false;
    if (poll(fds, 2, timeoutMs) < 0 && errno != EINTR)
        return false;
    char buf[4096];
    for (int i = 0; i < 2; ++i) {
        if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP)))
            continue;
        const ssize_t n = read(fds[i].fd, buf, sizeof buf);
        if (n > 0) {
            sinks[i]->append(buf, static_cast<std::size_t>(n));
        } else {
            close(fds_[i]);
            fds_[i] = -1;
        }
    }
    return true;
}

bool ModuleRun::waitFor(const std::string& text, std::chrono::milliseconds limit, int times) {
    return waitUntil(
        [&text, times](const ModuleOutcome& o) {
            int n = 0;
            for (const std::string* in : {&o.out, &o.err}) {
                for (auto at = in->find(text); at != std::string::npos; at = in->find(text, at + 1))
                    ++n;
            }
            return n >= times;
        },
        limit);
}

bool ModuleRun::waitUntil(const std::function<bool(const ModuleOutcome&)>& done,
                          std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!done(outcome_)) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now());
        // Slices: a condition outside the pipes (a file the module writes) is looked at again.
        if (left.count() <= 0 || !pump(static_cast<int>(std::min<long>(left.count(), 50))))
            return done(outcome_);
    }
    return true;
}

void ModuleRun::signal(int sig) const {
    if (pid_ > 0)
        kill(pid_, sig);
}

ModuleOutcome ModuleRun::finish() {
    while (pump(-1)) {
    }
    if (pid_ > 0) {
        int status = 0;
        waitpid(pid_, &status, 0);
        outcome_.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        pid_ = -1;
    }
    return outcome_;
}
