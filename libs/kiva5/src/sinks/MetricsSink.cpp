#include "Sink.h"
#include "kiva5/Metrics.h"

namespace kiva5 {
namespace {

// The run in Prometheus' text format (--metrics), with every sensor of the machine read once
// beside the tests' verdicts; written last, so that it carries the exit code.
class MetricsSink final : public Sink {
public:
    explicit MetricsSink(ReportDestination to) : to_(std::move(to)) {}
    bool finish(const Report& report, int exitCode, SinkContext& context) override {
        std::vector<SensorHealth> health;
        for (const DiagDevice& d : context.devices) {
            const auto kind = libOrra::kindFromCapability(d.capability().name());
            health.push_back({std::string(d.capability().name()), d.osLocator().str(),
                              d.name().str(),
                              kind && context.machine.readable(*kind, d.osLocator().str())});
        }
        const std::string problem = to_.write(metricsText(report, health, exitCode), context.out);
        if (!problem.empty())
            context.say(problem);
        return problem.empty();
    }

private:
    ReportDestination to_;
};

}  // namespace

std::unique_ptr<Sink> makeMetricsSink(ReportDestination to) {
    return std::make_unique<MetricsSink>(std::move(to));
}

}  // namespace kiva5
