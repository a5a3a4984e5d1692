#pragma once

#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "kiva5/HostHooks.h"
#include "kiva5/Report.h"
#include "kiva5/ReportDestination.h"

namespace kiva5 {

struct CommandLine;

// What a sink may use of the run besides the report: the machine and its devices, the stream stdout
// destinations write through, and where problems are said.
struct SinkContext {
    const std::vector<DiagDevice>& devices;
    libOrra::Machine& machine;
    std::ostream& out;
    std::ostream& err;
    std::string moduleFile;
    // Whether the report was kept, as the sinks that keep it have finished.
    bool reportKept = true;

    // One line on `err` naming the module: how a destination that failed is reported.
    void say(const std::string& problem) const;
};

// One place a run's evidence goes: the JSON report, the JUnit XML, the metrics, the hwdb
// proposal, the recording. Made from a destination that was checked before any test ran, told
// of each run as it settles, finished once after the last. Owned by the host for one start();
// main thread only.
class Sink {
public:
    virtual ~Sink() = default;

    // What the sink needs the run to collect for it.
    virtual bool needsMachineIdentity() const { return false; }
    virtual bool needsRecording() const { return false; }
    // True when it writes to stdout: progress and the summary then go to stderr.
    virtual bool writesToStdout() const { return false; }
    // True for the report itself (JSON, JUnit): the summary says when it was not written.
    virtual bool keepsTheReport() const { return false; }
    // True for what shows the finished run to the person (the results window): it finishes
    // after the summary, and only when no test ended by an exception.
    virtual bool showsTheRun() const { return false; }

    // After each run has settled, refused ones too.
    virtual void runEnded(const Report& /*report*/, SinkContext& /*context*/) {}
    // After the last run, with the report settled and the exit code so far. False when the
    // evidence was not kept (said on the context's `err`): the run then exits abnormally.
    virtual bool finish(const Report& report, int exitCode, SinkContext& context) = 0;
};

// The sinks the command line asks for, in the order they finish (the report first, the
// metrics last, so that they carry the exit code the others leave). Empty, with the one-line
// reason in `problem`, when a destination cannot take its output.
std::vector<std::unique_ptr<Sink>> makeSinks(const CommandLine& o, std::string& problem);

// Each sink, made from its checked destination.
std::unique_ptr<Sink> makeReportSink(ReportDestination to);
std::unique_ptr<Sink> makeJUnitSink(ReportDestination to);
std::unique_ptr<Sink> makeHwdbSink(ReportDestination to);
// The results window (--window): `problem` says why it cannot be shown ("" when it can);
// `reportPath` is offered when the report was kept; Run again sets `runAgain`.
std::unique_ptr<Sink> makeResultsWindowSink(ResultsWindow window,
                                            std::function<std::string()> problem,
                                            std::string reportPath, bool& runAgain);
std::unique_ptr<Sink> makeRecordingSink(ReportDestination to);
std::unique_ptr<Sink> makeMetricsSink(ReportDestination to);

}  // namespace kiva5
