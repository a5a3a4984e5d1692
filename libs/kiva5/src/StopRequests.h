#pragma once

#include <string>

// The system's side of StopFlag (src/posix/ or src/windows/StopRequests.cpp, one compiled),
// kept apart from the framework's headers so that it may include the system's own. Called by
// StopFlag on the main thread; `note` is then called from the system's handler.
namespace kiva5::stops {

// Notes a request (a nonzero code); false when one had come already. Lock-free.
using Note = bool (*)(int code);
// Turns the system's stop requests into calls of `note`; a second request ends the process.
void install(Note note);
// How a report names the request with this code ("SIGINT", "Ctrl-C"); "" for 0.
std::string name(int code);

}  // namespace kiva5::stops
