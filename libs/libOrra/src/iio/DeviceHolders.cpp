#include "DeviceHolders.h"

#include <sys/stat.h>

#include <fstream>
#include <system_error>

namespace fs = std::filesystem;

namespace libOrra::iio {

namespace {

// The same file: one character device (whatever path reaches it), or one inode.
bool sameFile(const struct stat& a, const struct stat& b) {
    if (S_ISCHR(a.st_mode) || S_ISCHR(b.st_mode))
        return S_ISCHR(a.st_mode) && S_ISCHR(b.st_mode) && a.st_rdev == b.st_rdev;
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

}  // namespace

// Compared by identity rather than by path: the node may be reached through a link, and no
// path needs resolving (umockdev's realpath, which a resolved path would call, overruns its
// buffer).
std::vector<Holder> findHolders(const fs::path& node) {
    std::vector<Holder> out;
    struct stat wanted {};
    if (stat(node.c_str(), &wanted) != 0)
        return out;
    std::error_code ec;
    for (fs::directory_iterator proc("/proc", ec), end; !ec && proc != end; proc.increment(ec)) {
        const std::string pid = proc->path().filename().string();
        if (pid.empty() || pid.find_first_not_of("0123456789") != std::string::npos)
            continue;
        std::error_code fdEc;
        for (fs::directory_iterator fd(proc->path() / "fd", fdEc), fdEnd; !fdEc && fd != fdEnd;
             fd.increment(fdEc)) {
            struct stat opened {};
            if (stat(fd->path().c_str(), &opened) != 0 || !sameFile(opened, wanted))
                continue;
            Holder h;
            h.pid = std::stol(pid);
            std::ifstream(proc->path() / "comm") >> h.command;
            out.push_back(std::move(h));
            break;
        }
    }
    return out;
}

std::string busyNote(const std::string& device, const std::string& name, const fs::path& node,
                     const std::vector<Holder>& holders) {
    std::string note = device + " (" + name + ") is busy: its buffer is enabled by another " +
                       "program, and the driver answers direct reads with EBUSY meanwhile; ";
    if (holders.empty()) {
        note += "no process could be seen holding " + node.string() +
                " (run as root to see every process)";
    } else {
        note += "held through " + node.string() + " by";
        for (std::size_t i = 0; i < holders.size(); ++i) {
            note += (i ? ", " : " ") + holders[i].command + " (pid " +
                    std::to_string(holders[i].pid) + ")";
        }
    }
    note +=
        ". Free it by stopping that program (for iio-sensor-proxy: systemctl stop "
        "iio-sensor-proxy) and run the test again; restart it afterwards.";
    return note;
}

}  // namespace libOrra::iio
