#include "vek/DynamicLibrary.h"

#include <windows.h>

#include <string>

#include "../Process.h"

namespace vek {
namespace {

std::wstring wide(const std::string& utf8) {
    if (utf8.empty())
        return {};
    const int n = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()),
                                      nullptr, 0);
    std::wstring out(static_cast<std::size_t>(n), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), out.data(), n);
    return out;
}

std::string narrow(const std::wstring& text) {
    if (text.empty())
        return {};
    const int n = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                      nullptr, 0, nullptr, nullptr);
    std::string out(static_cast<std::size_t>(n), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), out.data(), n,
                        nullptr, nullptr);
    return out;
}

// The system's text for GetLastError's code, with the code itself (Wine has few texts).
std::string lastErrorText() {
    const DWORD code = GetLastError();
    wchar_t* text = nullptr;
    const DWORD n = FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
            FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, code, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    std::string message = n ? narrow(std::wstring(text, n)) : std::string();
    if (text)
        LocalFree(text);
    while (!message.empty() && (message.back() == '\n' || message.back() == '\r' ||
                                message.back() == ' ' || message.back() == '.'))
        message.pop_back();
    return (message.empty() ? "error" : message) + " (" + std::to_string(code) + ")";
}

}  // namespace

std::string DynamicLibrary::besideExecutable(const std::string& name) {
    const auto exe = process::executablePath();
    return exe ? (exe->parent_path() / name).string() : name;
}

DynamicLibrary::~DynamicLibrary() {
    if (handle_)
        FreeLibrary(static_cast<HMODULE>(handle_));
}

// A system library ("user32.dll") is the system's own; a path is loaded from there.
bool DynamicLibrary::load() {
    if (handle_)
        return true;
    handle_ = LoadLibraryW(wide(fileName_).c_str());
    if (!handle_)
        lastError_ = fileName_ + ": " + lastErrorText();
    return handle_ != nullptr;
}

void* DynamicLibrary::getSymbol(const char* name) const {
    if (!handle_ || !name)
        return nullptr;
    const FARPROC symbol = GetProcAddress(static_cast<HMODULE>(handle_), name);
    if (!symbol) {
        lastError_ = std::string(name) + ": " + lastErrorText();
        return nullptr;
    }
    return reinterpret_cast<void*>(symbol);
}

}  // namespace vek
