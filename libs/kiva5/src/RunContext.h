#pragma once

#include "kiva5/Catalogue.h"
#include "kiva5/DeviceSource.h"
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
    // The source asked whether the machine requests a stop (null: none).
    static void setSource(const DeviceSource* source);
    static bool sourceStopDue();
};

// SIGINT/SIGTERM and the framework's own stop requests.
class StopFlag {
public:
    static bool isSet();
    static void set();
    static void clear();
    // First SIGINT/SIGTERM sets the flag; a second one ends the process the default way, so
    // a test that does not look at the flag can still be interrupted.
    static void installSignalHandlers();
};

}  // namespace kiva5
