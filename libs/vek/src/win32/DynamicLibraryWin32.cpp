#include <windows.h>

#include <string>

#include "vek/DynamicLibrary.h"

// Windows: the system's libraries by their own names (LoadLibraryW, GetProcAddress), so that an
// entry point a Windows release lacks (SetDisplayAutoRotationPreferences before Windows 8, or
// under Wine) is a null lookup at run time rather than a program that does not start.

namespace vek {
namespace {

std::wstring wide(const std::string& text) {
    const int n = MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, nullptr, 0);
    if (n <= 0)
        return {};
    std::wstring out(static_cast<std::size_t>(n), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, out.data(), n);
    out.resize(static_cast<std::size_t>(n - 1));
    return out;
}

std::string narrow(const std::wstring& text) {
    const int n = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
    if (n <= 0)
        return {};
    std::string out(static_cast<std::size_t>(n), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, out.data(), n, nullptr, nullptr);
    out.resize(static_cast<std::size_t>(n - 1));
    return out;
}

std::string systemError(const char* what) {
    return std::string(what) + " failed, error " + std::to_string(GetLastError());
}

}  // namespace

std::string DynamicLibrary::besideExecutable(const std::string& name) {
    wchar_t path[MAX_PATH];
    const DWORD n = GetModuleFileNameW(nullptr, path, MAX_PATH);
    if (n == 0 || n >= MAX_PATH)
        return name;
    std::wstring folder(path, n);
    const auto slash = folder.find_last_of(L"\\/");
    if (slash == std::wstring::npos)
        return name;
    return narrow(folder.substr(0, slash + 1)) + name;
}

DynamicLibrary::~DynamicLibrary() {
    if (handle_)
        FreeLibrary(static_cast<HMODULE>(handle_));
}

bool DynamicLibrary::load() {
    if (handle_)
        return true;
    handle_ = LoadLibraryW(wide(fileName_).c_str());
    if (!handle_)
        lastError_ = systemError("LoadLibraryW");
    return handle_ != nullptr;
}

void* DynamicLibrary::getSymbol(const char* name) const {
    if (!handle_ || !name)
        return nullptr;
    const FARPROC symbol = GetProcAddress(static_cast<HMODULE>(handle_), name);
    if (!symbol)
        lastError_ = systemError("GetProcAddress");
    return reinterpret_cast<void*>(symbol);
}

}  // namespace vek
