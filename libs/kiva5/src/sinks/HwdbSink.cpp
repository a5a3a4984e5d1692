#include "Sink.h"

namespace kiva5 {
namespace {

// The hwdb entry a run proposes (--hwdb, with --orientation): its "hwdb" detail, written when
// a run has one and left alone (not created) when none has.
class HwdbSink final : public Sink {
public:
    explicit HwdbSink(ReportDestination to) : to_(std::move(to)) {}
    bool finish(const Report& report, int, SinkContext& context) override {
        bool kept = true;
        for (const RunRecord& run : report.runs) {
            for (const auto& [name, value] : run.details) {
                if (name != "hwdb")
                    continue;
                if (const std::string problem = to_.write(value.text(), context.out);
                    !problem.empty()) {
                    context.say(problem);
                    kept = false;
                }
            }
        }
        return kept;
    }

private:
    ReportDestination to_;
};

}  // namespace

std::unique_ptr<Sink> makeHwdbSink(ReportDestination to) {
    return std::make_unique<HwdbSink>(std::move(to));
}

}  // namespace kiva5
