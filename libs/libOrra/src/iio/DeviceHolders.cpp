#include "DeviceHolders.h"

#include <fstream>
#include <system_error>

namespace fs = std::filesystem;

namespace libOrra::iio {

std::vector<Holder> findHolders(const fs::path& node) {
    std::vector<Holder> out;
    std::error_code ec;
    const fs::path target = fs::weakly_canonical(node, ec);
    for (fs::directory_iterator proc("/proc", ec), end; !ec && proc != end; proc.increment(ec)) {
        const std::string pid = proc->path().filename().string();
        if (pid.empty() || pid.find_first_not_of("0123456789") != std::string::npos)
            continue;
        std::error_code fdEc;
        for (fs::directory_iterator fd(proc->path() / "fd", fdEc), fdEnd; !fdEc && fd != fdEnd;
             fd.increment(fdEc)) {
            std::error_code linkEc;
            const fs::path opened = fs::read_symlink(fd->path(), linkEc);
            if (linkEc || (opened != node && opened != target))
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
