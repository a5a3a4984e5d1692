#include "../Process.h"

#include <windows.h>

#include <string>

namespace vek::process {

std::optional<std::filesystem::path> executablePath() {
    // The buffer grows until the whole path fits (long paths exceed MAX_PATH).
    std::wstring buffer(MAX_PATH, L'\0');
    for (;;) {
        const DWORD n =
            GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
        if (n == 0)
            return std::nullopt;
        if (n < buffer.size()) {
            buffer.resize(n);
            return std::filesystem::path(buffer);
        }
        if (buffer.size() >= 32768)
            return std::nullopt;
        buffer.resize(buffer.size() * 2);
    }
}

long currentThreadId() {
    return static_cast<long>(GetCurrentThreadId());
}

}  // namespace vek::process
