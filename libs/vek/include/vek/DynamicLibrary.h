#pragma once

#include <string>

namespace vek {

// A shared library opened on demand with dlopen (LoadLibraryW on Windows). Built without
// loading; used by one thread. On Linux a Windows name such as "user32.dll" loads the
// platform's stand-in libvekr-user32.so from beside the executable; Windows loads its own.
class DynamicLibrary {
public:
    explicit DynamicLibrary(std::string fileName) : fileName_(std::move(fileName)) {}
    ~DynamicLibrary();
    DynamicLibrary(const DynamicLibrary&) = delete;
    DynamicLibrary& operator=(const DynamicLibrary&) = delete;

    // Opens the library; true when it is (now) loaded.
    bool load();
    bool isLoaded() const { return handle_ != nullptr; }
    // The address of `name`, or null when the library is not loaded or has no such symbol.
    void* getSymbol(const char* name) const;
    const std::string& fileName() const { return fileName_; }
    // `name` in the running executable's folder (just `name` when that cannot be read): where
    // the module's own libraries and plugins are, in the build tree and installed.
    static std::string besideExecutable(const std::string& name);
    // dlerror's text (the system error on Windows) after a failed load or lookup.
    const std::string& lastError() const { return lastError_; }

private:
    std::string fileName_;
    void* handle_ = nullptr;
    mutable std::string lastError_;
};

}  // namespace vek
