#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace libOrra::iio {

// A process that has a file open.
struct Holder {
    long pid = 0;
    std::string command;  // /proc/<pid>/comm
};

// The processes that hold `node` open, found through /proc/<pid>/fd. Processes of other users
// are only visible to root; the list is then empty or partial.
std::vector<Holder> findHolders(const std::filesystem::path& node);

// What a technician reads when a sensor answers EBUSY: which device, that another program has
// enabled its buffer (iio-sensor-proxy does so while a desktop client such as the screen
// rotation has claimed the sensor), who holds it where that can be seen, and how to free it.
std::string busyNote(const std::string& device, const std::string& name,
                     const std::filesystem::path& node, const std::vector<Holder>& holders);

}  // namespace libOrra::iio
