#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <sstream>
#include <system_error>

#include "Facts.h"
#include "vek/CallWithin.h"

namespace fs = std::filesystem;

namespace doctor {
namespace {

// A firmware method behind an attribute (ACPI's _STA) may take a while; never for ever.
constexpr std::chrono::milliseconds kReadBound{1000};

std::optional<fs::path> linkTarget(const fs::path& link) {
    std::error_code ec;
    const fs::path target = fs::canonical(link, ec);
    return ec ? std::nullopt : std::optional(target);
}

// ACPI devices whose _HID the table knows, enabled or not.
void acpiSensors(const Roots& roots, std::vector<FirmwareDevice>& out) {
    for (const fs::path& dir : entries(roots.sysfs / "bus/acpi/devices")) {
        const auto hid = readText(dir / "hid");
        if (!hid)
            continue;
        auto known = knownSensors(true, *hid);
        if (known.empty())
            continue;
        FirmwareDevice d;
        d.name = dir.filename().string();
        d.path = dir;
        d.id = *hid;
        d.known = std::move(known);
        if (const auto status = readText(dir / "status")) {
            char* end = nullptr;
            const unsigned long v = std::strtoul(status->c_str(), &end, 10);
            if (end != status->c_str())
                d.status = static_cast<unsigned>(v);
        }
        d.modalias = readText(dir / "modalias").value_or("");
        d.physicalNode = linkTarget(dir / "physical_node");
        out.push_back(std::move(d));
    }
}

// Device-tree nodes: each bus device whose of_node's "compatible" the table knows.
void deviceTreeSensors(const Roots& roots, std::vector<FirmwareDevice>& out) {
    for (const char* bus : {"i2c", "spi", "platform"}) {
        for (const fs::path& dev : entries(roots.sysfs / "bus" / bus / "devices")) {
            const auto compatible = readText(dev / "of_node/compatible");
            if (!compatible)
                continue;
            // The property is a list of NUL-separated strings, the most specific first.
            const std::string first(compatible->c_str());
            auto known = knownSensors(false, first);
            if (known.empty())
                continue;
            FirmwareDevice d;
            d.name = dev.filename().string();
            d.path = dev / "of_node";
            d.acpi = false;
            d.id = first;
            d.known = std::move(known);
            d.modalias = readText(dev / "modalias").value_or("");
            d.physicalNode = linkTarget(dev);
            out.push_back(std::move(d));
        }
    }
}

// Whether a HID report descriptor declares the sensor usage page (0x20), walking its items as
// HID report descriptors lay them out: a prefix byte, then 0, 1, 2 or 4 bytes of data (a long
// item is skipped whole).
bool declaresSensors(const std::string& descriptor) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(descriptor.data());
    for (std::size_t i = 0; i < descriptor.size();) {
        const unsigned prefix = bytes[i];
        if (prefix == 0xFE) {  // long item: size, tag, data
            i += 3 + (i + 1 < descriptor.size() ? bytes[i + 1] : 0u);
            continue;
        }
        const std::size_t size = (prefix & 3u) == 3u ? 4 : (prefix & 3u);
        if ((prefix & 0xFCu) == 0x04u && size > 0 && i + size < descriptor.size()) {
            unsigned page = 0;
            for (std::size_t b = size; b > 0; --b)
                page = (page << 8) | bytes[i + b];
            if (page == 0x20)
                return true;
        }
        i += 1 + size;
    }
    return false;
}

// HID devices that carry sensors (an ISH's or a USB sensor hub's, whatever bus they sit on).
void hidSensorHubs(const Roots& roots, std::vector<SensorHub>& out) {
    for (const fs::path& dev : entries(roots.sysfs / "bus/hid/devices")) {
        std::ifstream in(dev / "report_descriptor", std::ios::binary);
        const std::string descriptor{std::istreambuf_iterator<char>(in), {}};
        if (declaresSensors(descriptor))
            out.push_back({"HID sensor hub", dev, "hid-sensor-hub"});
    }
}

}  // namespace

std::optional<std::string> readText(const fs::path& file, std::string* why) {
    const auto read = vek::callWithin(kReadBound, [file] {
        std::ifstream in(file);
        std::optional<std::string> text;
        if (in) {
            std::ostringstream all;
            all << in.rdbuf();
            text = all.str();
            while (!text->empty() && std::isspace(static_cast<unsigned char>(text->back())))
                text->pop_back();
        }
        return std::make_pair(std::move(text), in ? 0 : errno);
    });
    if (!read) {
        if (why)
            *why = "no answer within " + std::to_string(kReadBound.count()) + " ms";
        return std::nullopt;
    }
    if (!read->first && why)
        *why = std::strerror(read->second);
    return read->first;
}

std::string boundDriver(const fs::path& node) {
    const auto target = linkTarget(node / "driver");
    return target ? target->filename().string() : std::string();
}

std::vector<FirmwareDevice> declaredSensors(const Roots& roots) {
    std::vector<FirmwareDevice> out;
    acpiSensors(roots, out);
    deviceTreeSensors(roots, out);
    return out;
}

std::vector<fs::path> entries(const fs::path& folder) {
    std::vector<fs::path> out;
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec))
        out.push_back(it->path());
    std::sort(out.begin(), out.end());
    return out;
}

std::vector<SensorHub> sensorHubs(const Roots& roots) {
    struct Kind {
        const char* vendor;
        std::vector<const char*> devices;
        const char* what;
        const char* driver;
    };
    // PCI IDs from the kernel's drivers/hid/intel-ish-hid/ipc/hw-ish.h and
    // drivers/hid/amd-sfh-hid/amd_sfh_common.h; the drivers' names as /sys/bus/pci/drivers has
    // them.
    static const Kind kHubs[] = {
        {"0x8086",
         {"0x22d8", "0x0aa2", "0x1aa2", "0x5aa2", "0x9d35", "0x9dfc", "0x31a2", "0xa37c", "0x34fc",
          "0xa135", "0x02fc", "0x06fc", "0x4bb3", "0xa0fc", "0x43fc", "0x7af8", "0x51fc", "0x54fc",
          "0x7a78", "0x7e45", "0x7745", "0x7f78", "0xa845", "0xe345", "0xe445", "0x4d45"},
         "Intel Integrated Sensor Hub",
         "intel_ish_ipc"},
        {"0x1022", {"0x15e4", "0x164a"}, "AMD Sensor Fusion Hub", "pcie_mp2_amd"},
    };
    std::vector<SensorHub> out;
    hidSensorHubs(roots, out);
    // The ChromeOS EC (drivers/platform/chrome/cros_ec_lpc.c: ACPI GOOG0004, its driver
    // cros_ec_lpcs), whose motion sensors reach IIO through the EC's sensor hub.
    for (const fs::path& dir : entries(roots.sysfs / "bus/acpi/devices")) {
        if (readText(dir / "hid").value_or("") != "GOOG0004")
            continue;
        if (const auto node = linkTarget(dir / "physical_node"))
            out.push_back({"ChromeOS Embedded Controller", *node, "cros_ec_lpcs"});
    }
    for (const fs::path& dev : entries(roots.sysfs / "bus/pci/devices")) {
        const auto vendor = readText(dev / "vendor");
        const auto device = readText(dev / "device");
        if (!vendor || !device)
            continue;
        for (const Kind& k : kHubs) {
            if (*vendor == k.vendor &&
                std::find(k.devices.begin(), k.devices.end(), *device) != k.devices.end()) {
                out.push_back({k.what, dev, k.driver});
            }
        }
    }
    return out;
}

}  // namespace doctor
