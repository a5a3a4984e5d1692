#pragma once

#include <filesystem>
#include <optional>

// What vek asks of the operating system about the running process; src/posix/Process.cpp and
// src/windows/Process.cpp, one compiled. Plain functions; any thread.
namespace vek::process {

// The running executable's own file, or nothing when the system does not say.
std::optional<std::filesystem::path> executablePath();
// The calling thread's id as the system's tools show it (Linux's tid, Windows' thread id).
long currentThreadId();

}  // namespace vek::process
