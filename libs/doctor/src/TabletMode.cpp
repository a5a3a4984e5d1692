// The facts of the machine around its accelerometers: the tablet-mode switch its input devices
// report and the chassis type its firmware claims.
#include <fcntl.h>
#include <libevdev/libevdev.h>
#include <linux/input-event-codes.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>

#include "Facts.h"
#include "Mounting.h"

namespace fs = std::filesystem;

namespace doctor {
namespace {

// capabilities/sw is a bitmask printed as hexadecimal words, the most significant first, as
// the input core's sysfs shows it: the last word holds SW_TABLET_MODE's bit.
bool reportsTabletMode(const std::string& bits) {
    const auto space = bits.find_last_of(' ');
    const std::string_view last =
        std::string_view(bits).substr(space == std::string::npos ? 0 : space + 1);
    unsigned long long word = 0;
    const auto [end, ec] = std::from_chars(last.data(), last.data() + last.size(), word, 16);
    return ec == std::errc() && ((word >> SW_TABLET_MODE) & 1u) != 0;
}

// The switch's state through libevdev, or why it cannot be read: the event nodes belong to
// root and the input group.
std::string switchState(const fs::path& node) {
    const int fd = ::open(node.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        if (errno == EACCES || errno == EPERM)
            return "unknown: only root or the input group may read " + node.string();
        return "unknown: " + node.string() + ": " + std::strerror(errno);
    }
    libevdev* dev = nullptr;
    const int rc = libevdev_new_from_fd(fd, &dev);
    std::string state;
    if (rc < 0) {
        state = "unknown: " + node.string() + ": " + std::strerror(-rc);
    } else if (!libevdev_has_event_code(dev, EV_SW, SW_TABLET_MODE)) {
        state = "unknown: " + node.string() + " does not report SW_TABLET_MODE";
    } else {
        state =
            libevdev_get_event_value(dev, EV_SW, SW_TABLET_MODE) ? "tablet mode" : "laptop mode";
    }
    libevdev_free(dev);
    ::close(fd);
    return state;
}

}  // namespace

std::vector<TabletSwitch> tabletSwitches(const Roots& roots) {
    std::vector<TabletSwitch> out;
    std::vector<fs::path> inputs;
    std::error_code ec;
    for (fs::directory_iterator it(roots.sysfs / "class/input", ec), end; !ec && it != end;
         it.increment(ec)) {
        if (it->path().filename().string().starts_with("input"))
            inputs.push_back(it->path());
    }
    std::sort(inputs.begin(), inputs.end());
    for (const fs::path& input : inputs) {
        const fs::path capability = input / "capabilities/sw";
        const auto bits = readText(capability);
        if (!bits || !reportsTabletMode(*bits))
            continue;
        TabletSwitch s{readText(input / "name").value_or("?"), capability, ""};
        std::string event;
        for (fs::directory_iterator it(input, ec), end; !ec && it != end; it.increment(ec)) {
            if (it->path().filename().string().starts_with("event"))
                event = it->path().filename().string();
        }
        s.state = event.empty() ? "unknown: it has no event node"
                                : switchState(roots.dev / "input" / event);
        out.push_back(std::move(s));
    }
    return out;
}

std::optional<int> chassisType(const Roots& roots) {
    const auto text = readText(roots.sysfs / "class/dmi/id/chassis_type");
    int type = 0;
    if (!text || std::from_chars(text->data(), text->data() + text->size(), type).ec != std::errc())
        return std::nullopt;
    return type;
}

std::string chassisName(int type) {
    // SMBIOS's chassis types, as /sys/class/dmi/id/chassis_type gives them.
    static constexpr std::pair<int, const char*> kNames[] = {
        {3, "desktop"},   {8, "portable"},     {9, "laptop"},
        {10, "notebook"}, {11, "hand held"},   {14, "sub notebook"},
        {30, "tablet"},   {31, "convertible"}, {32, "detachable"}};
    for (const auto& [n, name] : kNames) {
        if (n == type)
            return std::string(name) + " (" + std::to_string(type) + ")";
    }
    return "type " + std::to_string(type);
}

}  // namespace doctor
