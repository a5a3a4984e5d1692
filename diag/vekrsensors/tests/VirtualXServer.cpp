#include "VirtualXServer.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

extern char** environ;

VirtualXServer::VirtualXServer() {
    const char* xvfb = "/usr/bin/Xvfb";
    if (!std::filesystem::exists(xvfb))
        return;
    // Xvfb picks a free display number itself and writes it to -displayfd once it accepts
    // connections, so there is neither a race for a number nor a wait for start-up.
    int ready[2];
    if (pipe(ready) != 0)
        return;
    const std::string fd = std::to_string(ready[1]);
    char* argv[] = {const_cast<char*>(xvfb),
                    const_cast<char*>("-displayfd"),
                    const_cast<char*>(fd.c_str()),
                    const_cast<char*>("-screen"),
                    const_cast<char*>("0"),
                    const_cast<char*>("1280x800x24"),
                    const_cast<char*>("-nolisten"),
                    const_cast<char*>("tcp"),
                    nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addclose(&actions, ready[0]);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    const int rc = posix_spawn(&pid_, xvfb, &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ready[1]);
    if (rc != 0) {
        pid_ = -1;
        close(ready[0]);
        return;
    }
    std::string number;
    pollfd pfd{ready[0], POLLIN, 0};
    char c = 0;
    while (poll(&pfd, 1, 10000) > 0 && read(ready[0], &c, 1) == 1 && c != '\n')
        number += c;
    close(ready[0]);
    if (!number.empty())
        display_ = ":" + number;
}

VirtualXServer::~VirtualXServer() {
    if (pid_ > 0) {
        kill(pid_, SIGTERM);
        waitpid(pid_, nullptr, 0);
    }
}
