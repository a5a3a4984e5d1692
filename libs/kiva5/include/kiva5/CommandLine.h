#pragma once

#include <string>
#include <vector>

namespace kiva5 {

// What the host was asked to do, as read from the command line. Checks that need no file or
// catalogue are made here (option syntax, value forms, combinations); names of tests and
// parameters are checked by the host against its catalogue.
struct CommandLine {
    bool list = false;
    bool devices = false;
    bool verbose = false;  // with --devices: where each value comes from, one reading
    bool quiet = false;
    bool doctor = false;       // the sensors' chains from the firmware on, instead of the tests
    bool orientation = false;  // the orientation check instead of the catalogue's tests
    std::string hwdb;          // where a proposed hwdb entry goes
    bool hwdbGiven = false;
    std::string record;  // where the run's sensor data goes, as a scenario
    bool recordGiven = false;
    bool fast = false;
    bool window = false;        // end on a results window (started from the desktop)
    std::string metrics;        // the run for Prometheus' textfile collector
    bool metricsGiven = false;  // a replay's sensor time ten times faster
    std::vector<std::string> tests;
    std::string device;
    std::vector<std::string> params;
    std::string profile;
    std::string backend;
    std::string scenario;
    std::string lang;
    std::string report;
    bool reportGiven = false;
    std::string junit;
    bool junitGiven = false;
    std::string log;
    int logLevel = 0;

    // The outcome of reading: either options to obey, or an exit code with what to print
    // (help or version on stdout, one line naming the problem on stderr).
    struct Reading {
        bool settled = false;  // help, version or an error: exit with `exitCode`
        int exitCode = 0;
        std::string out;
        std::string error;  // one line without the program's name, e.g. "unknown option --x"
    };

    // `text` with every control character (a newline in an argument, an escape sequence)
    // shown as \xHH, so a message quoting it stays one line and cannot drive the terminal.
    static std::string printable(const std::string& text);

    // `args` as main() has them (the first is the program). No side effects.
    static Reading read(const std::vector<std::string>& args, const std::string& moduleFile,
                        const std::string& versionLine, CommandLine& into);
};

}  // namespace kiva5
