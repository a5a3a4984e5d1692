#include "Sink.h"

namespace kiva5 {
namespace {

// The report, written whole once the runs are over: as JSON (--report) or as JUnit XML
// (--junit, for CI servers and test-management systems).
class ReportSink final : public Sink {
public:
    ReportSink(ReportDestination to, std::string (Report::*format)() const)
        : to_(std::move(to)), format_(format) {}
    bool needsMachineIdentity() const override { return true; }
    bool writesToStdout() const override { return to_.kind() == ReportDestination::Kind::Stdout; }
    bool keepsTheReport() const override { return true; }
    bool finish(const Report& report, int, SinkContext& context) override {
        const std::string problem = to_.write((report.*format_)(), context.out);
        if (!problem.empty())
            context.say(problem);
        return problem.empty();
    }

private:
    ReportDestination to_;
    std::string (Report::*format_)() const;
};

}  // namespace

std::unique_ptr<Sink> makeReportSink(ReportDestination to) {
    return std::make_unique<ReportSink>(std::move(to), &Report::toJson);
}

std::unique_ptr<Sink> makeJUnitSink(ReportDestination to) {
    return std::make_unique<ReportSink>(std::move(to), &Report::toJUnitXml);
}

}  // namespace kiva5
