#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>

#include <QTimer>
#include <thread>

#include "TableRows.h"
#include "kiva5/DiagModule.h"
#include "libLumo/GdiResourceManager.h"
#include "libOrra/Records.h"
#include "libOrra/SimBackend.h"
#include "vek/Clock.h"
#include "vek/ManagedThread.h"

namespace vekr::testing {

// The rows of a worker table in worker_tables.json: the scenario, the device's locator (the
// first sensor's unless given), when the person closes the dialog (0: never), and how the
// worker must end (the event "" unless given).
inline std::vector<TableRow> workerRows(const char* table) {
    auto rows = tableRows(VEKR_SOURCE_DIR "/diag/vekrsensors/tests/worker_tables.json", table,
                          VEKR_SOURCE_DIR "/diag/vekrsensors/tests/fixtures/scenarios.json");
    for (TableRow& row : rows) {
        if (!row.entry.contains("locator"))
            row.entry["locator"] = row.entry.at("scenario").at("sensors").at(0).at("locator");
        row.entry.emplace("event", "");
    }
    return rows;
}

// The result a row names, or `otherwise` for a name that is not a result (e.g. "untouched").
inline kiva5::TestResult resultNamed(const nlohmann::json& name, kiva5::TestResult otherwise) {
    return kiva5::TestResult::fromName(name.get<std::string>()).value_or(otherwise);
}

// Runs a dialog test's background worker on a simulated machine whose clock is manual: every
// pause of the worker moves it, so seconds of sensor time take milliseconds. Events raised
// during the run are kept in run().
class WorkerHarness : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(gui_.ready());
        vek::Clock::installForTesting(&clock_);
        kiva5::DiagModule::captureEventsForTesting(&run_);
    }
    void TearDown() override {
        kiva5::DiagModule::captureEventsForTesting(nullptr);
        vek::Clock::installForTesting(nullptr);
        if (machine_)
            machine_->testFinished();
        inUse_.reset();
    }

    // Puts the machine (a scenario) in use and starts its clocks.
    void machine(const nlohmann::json& scenario, const std::string& name) {
        inUse_.reset();
        machine_ =
            std::make_shared<libOrra::SimBackend>(libOrra::parseScenario(scenario.dump(), name));
        inUse_.emplace(machine_);
        machine_->testStarting();
    }

    // Checks how the worker ended against a table row: its exit code, the result it settled
    // (`settled`; a row's name that is not a result stands for `unsettled`) and the one event
    // it raised, if any, from the row's "eventFile" or `sourceFile`.
    void expectEnding(const nlohmann::json& row, int exitCode, const kiva5::TestResult& settled,
                      const kiva5::TestResult& unsettled, const std::string& sourceFile) {
        EXPECT_EQ(exitCode, row.at("exitCode").get<int>());
        EXPECT_EQ(settled, resultNamed(row.at("result"), unsettled)) << settled.name();
        const std::string event = row.at("event");
        if (event.empty()) {
            EXPECT_TRUE(events().empty());
            return;
        }
        ASSERT_EQ(events(), std::vector<std::string>{event});
        EXPECT_EQ(run_.events[0].file, row.value("eventFile", sourceFile));
    }

    // Runs `worker` with `dialog` as its context to the end. With `uiClosesAt` > 0 the person
    // closes the dialog at that sensor time: the run flag is cleared, as the test function
    // does, and set again after the join. A worker that should end on its own and is still
    // running after two minutes of sensor time fails the row and is closed the same way, so
    // a fault shows as a failure, not as a hang. Returns the exit code (-1 when there is none).
    int runWorker(vek::ManagedThread::Function worker, void* dialog, std::atomic<bool>& runFlag,
                  double uiClosesAt) {
        vek::ManagedThread thread(worker, dialog);
        EXPECT_TRUE(thread.run(vek::String("worker-test")));
        int code = -1;
        const double closeAt = uiClosesAt > 0 ? uiClosesAt : 120.0;
        // The sensor clock moves only while the worker pauses: stop waiting once it has ended.
        while (std::chrono::duration<double>(clock_.now()).count() < closeAt &&
               !thread.getExitCode(&code))
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        EXPECT_TRUE(uiClosesAt > 0 || thread.getExitCode(&code)) << "the worker never ended";
        runFlag.exchange(false);
        thread.join();
        runFlag.exchange(true);
        return thread.getExitCode(&code) ? code : -1;
    }

    // The event names raised during the run.
    std::vector<std::string> events() const {
        std::vector<std::string> names;
        for (const auto& e : run_.events)
            names.push_back(e.name);
        return names;
    }

    // However a worker ends, its dialog must close: DoModal returns `expected` (a watchdog that
    // only a dialog that never closes meets ends it with -1 after a minute).
    template <typename Dialog>
    void expectDialogCloses(Dialog& dialog, int expected) {
        QTimer::singleShot(60'000, &dialog, [&dialog] { dialog.EndDialog(-1); });
        EXPECT_EQ(dialog.DoModal(), expected) << "the dialog stayed open";
    }

    libLumo::GdiResourceManager gui_;
    vek::ManualClock clock_;
    std::shared_ptr<libOrra::SimBackend> machine_;
    std::optional<libOrra::SensorsInUse> inUse_;
    kiva5::RunRecord run_;
};

}  // namespace vekr::testing
