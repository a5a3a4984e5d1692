#pragma once

#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kiva5/DiagDevice.h"
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
struct RunRecord {
    std::string test;
    std::optional<DiagDevice> device;
    std::vector<std::pair<std::string, std::string>> parameters;  // the test's set parameters
    TestResult result;
    double seconds = 0.0;
    std::vector<EventRecord> events;
    std::vector<std::string> notes;  // the host's own remarks (bad parameter, not started, ...)
    std::vector<std::pair<std::string, Value>> details;  // measurements beside the verdict
};

struct Report {
    std::string moduleFile;
    std::string version;  // "6.5"
    std::string build;
    std::string backend;
    std::vector<RunRecord> runs;
    TestResult result;  // the worst of the runs; NODEVICE when nothing ran

    void settleResult();
    std::string toJson() const;
    // Writes the JSON document whole or not at all (temporary file, flush, rename).
    // Throws KivaException naming the file on failure.
    void write(const std::filesystem::path& file) const;
    void printSummary(std::ostream& out) const;
};

}  // namespace kiva5
