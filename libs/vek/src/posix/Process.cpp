#include "../Process.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <system_error>

namespace vek::process {

std::optional<std::filesystem::path> executablePath() {
    std::error_code ec;
    std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe", ec);
    if (ec)
        return std::nullopt;
    return exe;
}

long currentThreadId() {
    return syscall(SYS_gettid);
}

}  // namespace vek::process
