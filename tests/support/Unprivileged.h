#pragma once

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

namespace vekr::testing {

// The user and group "nobody" has on Debian: a user the kernel checks permissions for.
constexpr uid_t kNobody = 65534;

// Runs `body` as a user the kernel checks file permissions for, and returns its answer
// (0..255): here when this process is not root, else in a child that gives up root for the
// user nobody first, since root reads and writes every file. -1 when the child could not
// drop its privileges or died. Call it while the process has no other threads.
inline int asUnprivileged(const std::function<int()>& body) {
    if (::geteuid() != 0)
        return body();
    const pid_t pid = ::fork();
    if (pid == 0) {
        const bool dropped =
            ::setgroups(0, nullptr) == 0 && ::setgid(kNobody) == 0 && ::setuid(kNobody) == 0;
        ::_exit(dropped ? body() & 0xff : 255);
    }
    int status = 0;
    if (pid < 0 || ::waitpid(pid, &status, 0) != pid || !WIFEXITED(status) ||
        WEXITSTATUS(status) == 255)
        return -1;
    return WEXITSTATUS(status);
}

}  // namespace vekr::testing
