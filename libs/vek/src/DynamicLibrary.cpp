#include "vek/DynamicLibrary.h"

#include <dlfcn.h>

namespace vek {

DynamicLibrary::~DynamicLibrary() {
    if (handle_)
        dlclose(handle_);
}

bool DynamicLibrary::load() {
    if (handle_)
        return true;
    handle_ = dlopen(fileName_.c_str(), RTLD_NOW | RTLD_LOCAL);
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
