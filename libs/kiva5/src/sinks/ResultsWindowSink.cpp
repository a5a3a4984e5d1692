#include "Sink.h"

namespace kiva5 {
namespace {

// The window a run started from the desktop ends on: shown after the summary, with the
// report's path where the report was kept; the person's Run again is the host's to read.
class ResultsWindowSink final : public Sink {
public:
    ResultsWindowSink(ResultsWindow window, std::function<std::string()> problem,
                      std::string reportPath, bool& runAgain)
        : window_(std::move(window)),
          problem_(std::move(problem)),
          reportPath_(std::move(reportPath)),
          runAgain_(runAgain) {}
    bool showsTheRun() const override { return true; }
    bool finish(const Report& report, int, SinkContext& context) override {
        const std::string problem = problem_();
        if (problem.empty())
            runAgain_ = window_(report, context.reportKept ? reportPath_ : std::string());
        else
            context.say("no results window: " + problem);
        return true;
    }

private:
    ResultsWindow window_;
    std::function<std::string()> problem_;
    std::string reportPath_;
    bool& runAgain_;
};

}  // namespace

std::unique_ptr<Sink> makeResultsWindowSink(ResultsWindow window,
                                            std::function<std::string()> problem,
                                            std::string reportPath, bool& runAgain) {
    return std::make_unique<ResultsWindowSink>(std::move(window), std::move(problem),
                                               std::move(reportPath), runAgain);
}

}  // namespace kiva5
