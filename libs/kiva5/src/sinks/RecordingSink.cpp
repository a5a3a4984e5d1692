#include <nlohmann/json.hpp>

#include "Sink.h"
#include "libOrra/Recorder.h"

namespace kiva5 {
namespace {

// What a recording says about itself: the module, the backend, the command line, and each run
// so far with its parameters and verdict. Replay runs the tests and device the command line
// chose and leaves the rest alone; no host identity, so a recording can be shared.
std::string recordingBlock(const Report& report) {
    nlohmann::json block;
    block["module"] = report.moduleFile + " " + report.version + " (build " + report.build + ")";
    block["backend"] = report.backend;
    block["commandLine"] = report.commandLine;
    nlohmann::json runs = nlohmann::json::array();
    for (const RunRecord& run : report.runs) {
        nlohmann::json r{{"test", run.test}, {"result", run.result.name()}};
        if (run.device)
            r["device"] = run.device->osLocator().str();
        nlohmann::json parameters = nlohmann::json::object();
        for (const auto& [name, value] : run.parameters)
            parameters[name] = value;
        r["parameters"] = std::move(parameters);
        nlohmann::json events = nlohmann::json::array();
        for (const auto& e : run.events)
            events.push_back(e.name);
        r["events"] = std::move(events);
        if (const std::string key = Report::keyMeasurement(run); !key.empty())
            r["key"] = key;
        runs.push_back(std::move(r));
    }
    block["runs"] = std::move(runs);
    return block.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

// The run as a scenario (--record), rewritten whole after every run (a regular file
// atomically), so a stop leaves one that replays up to it and a crash loses at most one test.
// A write that fails is said once; the run then exits abnormally.
class RecordingSink final : public Sink {
public:
    explicit RecordingSink(ReportDestination to) : to_(std::move(to)) {}
    bool needsRecording() const override { return true; }
    void runEnded(const Report& report, SinkContext& context) override {
        const libOrra::Recorder* recorder = context.machine.recorder();
        if (!recorder)
            return;
        const std::string problem =
            to_.write(recorder->scenarioText(recordingBlock(report)), context.out);
        if (!problem.empty() && kept_) {
            context.say(problem);
            kept_ = false;
        }
    }
    bool finish(const Report&, int, SinkContext&) override { return kept_; }

private:
    ReportDestination to_;
    bool kept_ = true;
};

}  // namespace

std::unique_ptr<Sink> makeRecordingSink(ReportDestination to) {
    return std::make_unique<RecordingSink>(std::move(to));
}

}  // namespace kiva5
