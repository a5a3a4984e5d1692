#pragma once

#include <chrono>
#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kiva5/DiagDevice.h"
#include "kiva5/MachineIdentity.h"
#include "kiva5/TestResult.h"
#include "kiva5/Value.h"

namespace kiva5 {

struct EventRecord {
    std::string name;
    std::string severity;  // "error" or "warning"
    std::string file;      // base name of the raising source file
    int line = 0;
    std::vector<std::pair<std::string, Value>> variables;
    std::vector<std::string> tips;
};

// One call of a test function (or a test that could not be called, with a note saying why).
// A run's key measurement, typed, as the test that took it words it: what was measured, the
// value in the unit the test speaks, and how a collector gets it in its base unit. The
// summary, JUnit and the metrics read it as it is, never from the text of the details.
struct KeyMeasurement {
    std::string quantity;     // "acceleration": names the metric with `baseUnit`
    std::string description;  // "The accelerometer's last reading's magnitude in the run."
    double value = 0.0;       // in `unit`
    std::string unit;         // "g"
    std::string baseUnit;     // "meters_per_second_squared"
    double toBase = 1.0;      // value * toBase is in baseUnit
};

struct RunRecord {
    std::string test;
    std::optional<DiagDevice> device;
    std::vector<std::pair<std::string, std::string>> parameters;  // the test's set parameters
    TestResult result;
    std::chrono::system_clock::time_point started;  // when the host called (or refused) it
    double seconds = 0.0;
    std::vector<EventRecord> events;
    std::vector<std::string> notes;  // the host's own remarks (bad parameter, not started, ...)
    std::vector<std::pair<std::string, Value>> details;  // measurements beside the verdict
    std::optional<KeyMeasurement> key;                   // the one the verdict was judged by
};

struct Report {
    // The report's layout, for the programs that collect reports: raised when a field changes
    // meaning or goes away (new fields may be added within a version). docs/report.schema.json
    // describes it.
    static constexpr int kFormat = 2;

    std::string moduleFile;
    std::string version;  // "6.5"
    std::string build;
    std::string backend;
    std::string language;                  // the string table the texts came from
    std::vector<std::string> profiles;     // the profile files read, in the order laid over
    std::vector<std::string> commandLine;  // as the module received it, program first
    std::optional<MachineIdentity> machine;
    std::chrono::system_clock::time_point started;
    std::chrono::system_clock::time_point ended;
    std::vector<RunRecord> runs;
    TestResult result;  // the worst of the runs; NODEVICE when nothing ran

    void settleResult();
    std::string toJson() const;
    // The runs as JUnit XML, as CI servers and test-management systems read it: one testsuite,
    // one testcase per run (classname the test, name the device). FAIL and TIMEDOUT are
    // failures, EXITEDABNORMALLY and BADPARAMS errors, CANNOTRUN, NODEVICE and USERABORTED
    // skipped; PASS and WARN pass, a warning's events in system-out. Messages carry the key
    // measurement, the body the events and notes.
    std::string toJUnitXml() const;
    // `t` as ISO 8601 in UTC with milliseconds: "2026-11-23T15:04:05.123Z".
    static std::string utcText(std::chrono::system_clock::time_point t);
    // The readable summary; its last line names the overall result, what went wrong after the
    // tests (`trouble`, e.g. an unwritten report) and the process's exit code.
    void printSummary(std::ostream& out, const std::string& trouble, int exitCode) const;
    // What a threshold test measured, beside the rule it was held to ("3.00 g, wanted
    // 1 +/- 0.1"), from the run's details; "" when the run has none.
    static std::string keyMeasurement(const RunRecord& run);
};

}  // namespace kiva5
