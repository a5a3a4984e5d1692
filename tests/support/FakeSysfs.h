#pragma once

#include <filesystem>
#include <map>
#include <string>

#include "DriverLayouts.h"
#include "ScratchDir.h"

// A fake sysfs tree: bus/iio/devices/iio:deviceN folders with attribute files, shaped like
// what the kernel's drivers create, and a folder for their device nodes.
class FakeSysfs {
public:
    // `prefix` names the tree's folder, e.g. with bytes that are not UTF-8.
    explicit FakeSysfs(const std::string& prefix = "vekr-sysfs") : dir_(prefix) {}
    const std::filesystem::path& root() const { return dir_.path(); }
    std::filesystem::path devRoot() const { return dir_ / "dev"; }
    std::filesystem::path device(int n) const {
        return dir_ / ("bus/iio/devices/iio:device" + std::to_string(n));
    }
    // Creates iio:device<n> with a name and attributes (names may contain a folder).
    std::filesystem::path addDevice(int n, const std::string& name,
                                    const std::map<std::string, std::string>& attributes);
    std::filesystem::path add(int n, const DriverLayout& layout) {
        return addDevice(n, layout.name, layout.attributes);
    }
    void set(int n, const std::string& attribute, const std::string& text);
    // The device's trigger ("<name>-dev<n>") and its node under devRoot() holding `bytes`.
    void addBuffer(int n, const std::string& name, const std::string& bytes);
    // Replaces the attribute with a FIFO that nobody writes: opening or reading it blocks.
    std::filesystem::path makeSilent(int n, const std::string& attribute);
    std::string read(int n, const std::string& attribute) const;

private:
    vekr::testing::ScratchDir dir_;
};
