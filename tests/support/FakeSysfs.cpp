#include "FakeSysfs.h"

#include <sys/stat.h>

#include <fstream>
#include <sstream>

std::filesystem::path FakeSysfs::addDevice(int n, const std::string& name,
                                           const std::map<std::string, std::string>& attributes) {
    const auto dir = device(n);
    std::filesystem::create_directories(dir);
    std::ofstream(dir / "name") << name << "\n";
    for (const auto& [attr, text] : attributes)
        set(n, attr, text);
    return dir;
}

void FakeSysfs::set(int n, const std::string& attribute, const std::string& text) {
    const auto file = device(n) / attribute;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << text << "\n";
}

void FakeSysfs::addBuffer(int n, const std::string& name, const std::string& bytes) {
    const auto trigger = dir_ / ("bus/iio/devices/trigger" + std::to_string(n));
    std::filesystem::create_directories(trigger);
    std::ofstream(trigger / "name") << name << "-dev" << n << "\n";
    std::filesystem::create_directories(devRoot());
    std::ofstream(devRoot() / ("iio:device" + std::to_string(n)), std::ios::binary) << bytes;
}

std::filesystem::path FakeSysfs::makeSilent(int n, const std::string& attribute) {
    const auto file = device(n) / attribute;
    std::filesystem::remove(file);
    ::mkfifo(file.c_str(), 0644);
    return file;
}

std::string FakeSysfs::read(int n, const std::string& attribute) const {
    std::ifstream in(device(n) / attribute);
    std::string line;
    std::getline(in, line);
    return line;
}
