#include "FakeFirmware.h"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;
using json = nlohmann::json;

namespace {

void write(const fs::path& file, const std::string& text) {
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text << "\n";
}

void link(const fs::path& at, const fs::path& target) {
    fs::create_directories(at.parent_path());
    fs::create_directories(target);
    fs::create_directory_symlink(target, at);
}

}  // namespace

FakeFirmware::FakeFirmware(const fs::path& root, const json& tree) : root_(root) {
    for (const json& d : tree.value("acpi", json::array()))
        addAcpi(d);
    for (const json& d : tree.value("pci", json::array()))
        addPci(d);
    for (const json& d : tree.value("hid", json::array()))
        addHid(d);
    // Platform devices the kernel added, with the driver bound to each where there is one.
    for (const json& d : tree.value("platform", json::array())) {
        const fs::path dev = root_ / "bus/platform/devices" / d["dev"].get<std::string>();
        fs::create_directories(dev);
        if (d.contains("bound"))
            link(dev / "driver", root_ / "bus/platform/drivers" / d["bound"].get<std::string>());
    }
    if (tree.contains("ishtp")) {
        fs::create_directories(root_ / "bus/ishtp/devices");
        for (const json& client : tree["ishtp"])
            fs::create_directories(root_ / "bus/ishtp/devices" / client.get<std::string>());
    }
    const json modules = tree.value("modules", json::object());
    fs::create_directories(root_ / "lib-modules");
    if (modules.contains("alias")) {
        std::ofstream alias(root_ / "lib-modules/modules.alias");
        for (const json& line : modules["alias"])
            alias << "alias " << line.get<std::string>() << "\n";
        std::ofstream builtin(root_ / "lib-modules/modules.builtin");
        for (const json& line : modules.value("builtin", json::array()))
            builtin << line.get<std::string>() << "\n";
    }
    for (const json& name : modules.value("loaded", json::array()))
        fs::create_directories(root_ / "module" / name.get<std::string>());
    // A kernel log this user may not read leaves the messages to the journal, which
    // systemd-journal-remote writes from its export format; without one the journal is empty.
    fs::create_directories(root_ / "journal");
    if (tree.contains("journal")) {
        writeJournal(tree["journal"]);
    } else {
        std::ofstream log(root_ / "kmsg");
        for (const json& record : tree.value("kmsg", json::array()))
            log << record.get<std::string>() << "\n";
    }
    const json dmi = tree.value("dmi", json::object());
    for (const auto& [name, value] : dmi.items())
        write(root_ / "class/dmi/id" / name, value.get<std::string>());
    for (const json& d : tree.value("input", json::array()))
        addInput(d);
    write(root_ / "proc/cmdline", tree.value("cmdline", ""));
    std::vector<std::pair<fs::path, std::vector<std::string>>> live;
    const json changing = tree.value("live", json::object());
    for (const auto& [attribute, values] : changing.items()) {
        const fs::path devices = root_ / "bus/iio/devices";
        live.emplace_back(attribute.starts_with("iio:device") ? devices / attribute
                                                              : devices / "iio:device0" / attribute,
                          values.get<std::vector<std::string>>());
    }
    if (!live.empty())
        keepChanging(std::move(live));
}

FakeFirmware::~FakeFirmware() {
    stop_ = true;
    if (writer_.joinable())
        writer_.join();
}

std::vector<std::string> FakeFirmware::environment() const {
    return {"VEKR_MODULES_DIR=" + (root_ / "lib-modules").string(),
            "VEKR_KERNEL_LOG=" + (root_ / "kmsg").string(),
            "VEKR_PROC_ROOT=" + (root_ / "proc").string(),
            "VEKR_JOURNAL_DIR=" + (root_ / "journal").string()};
}

void FakeFirmware::writeJournal(const json& messages) {
    std::ofstream entries(root_ / "journal.export");
    std::uint64_t at = 1;
    for (const json& m : messages) {
        // "3;text": the priority, then the message, as the kernel logged it.
        const std::string line = m.get<std::string>();
        entries << "__REALTIME_TIMESTAMP=" << 1700000000000000 + at << "\n"
                << "__MONOTONIC_TIMESTAMP=" << at << "\n"
                << "_BOOT_ID=0123456789abcdef0123456789abcdef\n_TRANSPORT=kernel\n"
                << "PRIORITY=" << line.substr(0, line.find(';')) << "\n"
                << "MESSAGE=" << line.substr(line.find(';') + 1) << "\n\n";
        ++at;
    }
    entries.close();
    const std::string command = "/lib/systemd/systemd-journal-remote --output=" +
                                (root_ / "journal/kernel.journal").string() + " " +
                                (root_ / "journal.export").string() + " 2>/dev/null";
    if (std::system(command.c_str()) != 0)
        throw std::runtime_error("systemd-journal-remote could not write the journal");
}

void FakeFirmware::addAcpi(const json& d) {
    const std::string dev = d["dev"];
    const std::string hid = dev.substr(0, dev.find(':'));
    const fs::path acpi = root_ / "bus/acpi/devices" / dev;
    write(acpi / "hid", hid);
    const int status = d.value("status", 15);
    if (d.contains("status"))
        write(acpi / "status", std::to_string(status));
    // A device that is not present gets no modalias and no client (drivers/acpi, i2c-core).
    write(acpi / "modalias", (status & 1) ? "acpi:" + hid + ":" + hid + ":" : "");
    if (!(status & 1))
        return;
    const fs::path client = root_ / "devices/platform/i2c-1" / ("i2c-" + dev);
    link(acpi / "physical_node", client);
    if (d.contains("bound"))
        link(client / "driver", root_ / "bus/i2c/drivers" / d["bound"].get<std::string>());
    for (const json& n : d.value("iio", json::array()))
        link(client / ("iio:device" + std::to_string(n.get<int>())),
             root_ / ("bus/iio/devices/iio:device" + std::to_string(n.get<int>())));
}

void FakeFirmware::addPci(const json& d) {
    const fs::path dev = root_ / "bus/pci/devices" / d["addr"].get<std::string>();
    write(dev / "vendor", d["vendor"]);
    write(dev / "device", d["device"]);
    if (d.contains("bound"))
        link(dev / "driver", root_ / "bus/pci/drivers" / d["bound"].get<std::string>());
}

void FakeFirmware::addHid(const json& d) {
    const fs::path dev = root_ / "bus/hid/devices" / d["dev"].get<std::string>();
    fs::create_directories(dev);
    std::string bytes;
    std::istringstream hex(d["descriptor"].get<std::string>());
    for (unsigned byte = 0; hex >> std::hex >> byte;)
        bytes += static_cast<char>(byte);
    std::ofstream(dev / "report_descriptor", std::ios::binary) << bytes;
    if (d.contains("bound"))
        link(dev / "driver", root_ / "bus/hid/drivers" / d["bound"].get<std::string>());
}

void FakeFirmware::addInput(const json& d) {
    const std::string n = std::to_string(d["n"].get<int>());
    const fs::path input = root_ / "class/input" / ("input" + n);
    write(input / "name", d["name"]);
    write(input / "capabilities/sw", d.value("sw", "0"));
    fs::create_directories(input / ("event" + n));
}

void FakeFirmware::keepChanging(std::vector<std::pair<fs::path, std::vector<std::string>>> live) {
    writer_ = std::thread([this, live = std::move(live)] {
        // Rewritten in place, as sysfs regenerates a value: a reader's pread sees the new text.
        for (std::size_t i = 0; !stop_; ++i) {
            for (const auto& [file, values] : live)
                std::ofstream(file, std::ios::in | std::ios::out)
                    << values[i % values.size()] << "\n";
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    });
}
