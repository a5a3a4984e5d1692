#include "vek/DynamicLibrary.h"

#include <dlfcn.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <system_error>

#include "../Process.h"

namespace vek {
namespace {

// A Windows library name ("user32.dll") stands for the platform's own stand-in,
// libvekr-user32.so, beside the running executable.
std::string platformFileName(const std::string& name) {
    std::string lower = name;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (lower.size() <= 4 || lower.compare(lower.size() - 4, 4, ".dll") != 0)
        return name;
    const std::string so = "libvekr-" + lower.substr(0, lower.size() - 4) + ".so";
    const std::string beside = DynamicLibrary::besideExecutable(so);
    std::error_code ec;
    return std::filesystem::exists(beside, ec) ? beside : so;
}

}  // namespace

std::string DynamicLibrary::besideExecutable(const std::string& name) {
    const auto exe = process::executablePath();
    return exe ? (exe->parent_path() / name).string() : name;
}

DynamicLibrary::~DynamicLibrary() {
    if (handle_)
        dlclose(handle_);
}

bool DynamicLibrary::load() {
    if (handle_)
        return true;
    handle_ = dlopen(platformFileName(fileName_).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle_) {
        const char* err = dlerror();
        lastError_ = err ? err : "unknown dlopen error";
    }
    return handle_ != nullptr;
}

void* DynamicLibrary::getSymbol(const char* name) const {
    if (!handle_ || !name)
        return nullptr;
    dlerror();
    void* symbol = dlsym(handle_, name);
    if (!symbol) {
        const char* err = dlerror();
        lastError_ = err ? err : "symbol is null";
    }
    return symbol;
}

}  // namespace vek
