#include <ostream>

#include "Sink.h"
#include "kiva5/CommandLine.h"

namespace kiva5 {

void SinkContext::say(const std::string& problem) const {
    err << moduleFile << ": " << problem << "\n";
}

std::vector<std::unique_ptr<Sink>> makeSinks(const CommandLine& o, std::string& problem) {
    struct Wanted {
        bool given;
        const char* option;
        const std::string& name;
        std::unique_ptr<Sink> (*make)(ReportDestination);
    };
    const Wanted wanted[] = {{o.reportGiven, "--report", o.report, makeReportSink},
                             {o.junitGiven, "--junit", o.junit, makeJUnitSink},
                             {o.hwdbGiven, "--hwdb", o.hwdb, makeHwdbSink},
                             {o.recordGiven, "--record", o.record, makeRecordingSink},
                             {o.metricsGiven, "--metrics", o.metrics, makeMetricsSink}};
    std::vector<std::unique_ptr<Sink>> sinks;
    for (const Wanted& w : wanted) {
        if (!w.given)
            continue;
        std::optional<ReportDestination> to = ReportDestination::check(w.option, w.name, problem);
        if (!to)
            return {};
        sinks.push_back(w.make(std::move(*to)));
    }
    return sinks;
}

}  // namespace kiva5
