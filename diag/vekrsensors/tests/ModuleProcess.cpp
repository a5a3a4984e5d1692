#include "ModuleProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

extern char** environ;

ModuleOutcome runModule(const std::vector<std::string>& args, const std::string& workDir,
                        const std::vector<std::string>& extraEnv) {
    ModuleOutcome outcome;
    int outPipe[2], errPipe[2];
    if (pipe(outPipe) != 0 || pipe(errPipe) != 0)
        return outcome;

    std::vector<std::string> argStore{VEKR_MODULE_PATH};
    argStore.insert(argStore.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& a : argStore)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    std::vector<std::string> envStore;
    // No screen unless a test gives one: the simulated machine's dialogs then run offscreen,
    // whatever session the tests were started from.
    for (char** e = environ; *e; ++e) {
        const std::string entry(*e);
        if (entry.rfind("DISPLAY=", 0) != 0 && entry.rfind("WAYLAND_DISPLAY=", 0) != 0 &&
            entry.rfind("QT_QPA_PLATFORM=", 0) != 0) {
            envStore.push_back(entry);
        }
    }
    envStore.insert(envStore.end(), extraEnv.begin(), extraEnv.end());
    std::vector<char*> envp;
    for (auto& e : envStore)
        envp.push_back(e.data());
    envp.push_back(nullptr);

    // posix_spawn has no portable chdir action on glibc 2.36; run through a tiny shell line.
    const std::string cd = "cd \"$0\" && exec \"$@\"";
    std::vector<char*> shArgv{const_cast<char*>("/bin/sh"), const_cast<char*>("-c"),
                              const_cast<char*>(cd.c_str()), const_cast<char*>(workDir.c_str())};
    shArgv.insert(shArgv.end(), argv.begin(), argv.end());

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, outPipe[1], 1);
    posix_spawn_file_actions_adddup2(&actions, errPipe[1], 2);
    posix_spawn_file_actions_addclose(&actions, outPipe[0]);
    posix_spawn_file_actions_addclose(&actions, errPipe[0]);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    pid_t pid = -1;
    const int rc = posix_spawn(&pid, "/bin/sh", &actions, nullptr, shArgv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    close(outPipe[1]);
    close(errPipe[1]);
    if (rc != 0)
        return outcome;

    pollfd fds[2] = {{outPipe[0], POLLIN, 0}, {errPipe[0], POLLIN, 0}};
    std::string* sinks[2] = {&outcome.out, &outcome.err};
    int open = 2;
    char buf[4096];
    while (open > 0) {
        if (poll(fds, 2, -1) < 0 && errno != EINTR)
            break;
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP)))
                continue;
            const ssize_t n = read(fds[i].fd, buf, sizeof buf);
            if (n > 0) {
                sinks[i]->append(buf, static_cast<std::size_t>(n));
            } else {
                close(fds[i].fd);
                fds[i].fd = -1;
                --open;
            }
        }
    }
    int status = 0;
    waitpid(pid, &status, 0);
    outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return outcome;
}
