#pragma once

#include <functional>
#include <string>

#include "kiva5/Catalogue.h"
#include "kiva5/HostHooks.h"
#include "kiva5/Report.h"

namespace kiva5 {

// The run that is in progress, where error() and warning() record their events. Set by the
// host on the main thread around each test call; events may arrive from a test's worker
// threads too, so every access is locked.
class RunContext {
public:
    static void begin(RunRecord* run);
    static void end();
    // Records `event` (with its pending variables and its tips) on the current run. Outside a
    // run the event is only logged.
    static void raise(Event* event, const char* severity, const char* file, int line);
    static void addDetail(const std::string& name, const Value& value);
    static void setKey(const KeyMeasurement& key);
    static void addNote(const std::string& text);
    // Where a running test's words to the person go (the host's progress lines; null: none).
    static void setSpeaker(std::function<void(const std::string&)> speaker);
    static void say(const std::string& text);
};

// Stop requests: the system's (SIGINT, SIGTERM and SIGHUP on Linux; Ctrl-C, Ctrl-Break and
// closing the console on Windows) and the framework's own. Any thread; the system's side is
// async-signal-safe. The system's side is in src/posix/ or src/windows/StopRequests.cpp.
class StopFlag {
public:
    static bool isSet();
    static void set();
    // Forgets the framework's own requests. A system request is never forgotten: one that came
    // while the command line was read still stops the run.
    static void clear();
    // The first system request asks to stop; a second one, of any of these kinds, ends the
    // process the system's default way at once, so a person is never stuck behind a test that
    // does not look at the request. On Linux SIGPIPE is ignored: a closed terminal pipe becomes
    // a failed write, and the report is still written.
    static void installSignalHandlers();
    // The system request that asked to stop (a signal number on Linux, the console event + 1
    // on Windows), or 0.
    static int signalNumber();
    // How the report names that request ("SIGINT", "Ctrl-C"); "" when there was none.
    static std::string requestName();
    // Notes a system request from the handler; false when one had come already. Lock-free.
    static bool noteSystemRequest(int code);
};

}  // namespace kiva5
