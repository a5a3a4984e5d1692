#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "libOrra/Machine.h"
#include "libOrra/Scenario.h"
#include "libOrra/SensorBackend.h"

namespace libOrra {

class StoppableThread;

// The simulated machine: sensors, display and stop request scripted by a scenario. Time lines
// run on vek::Clock::current() from the start of each test. Thread-safe; shared by the
// records it opens. The scenario's stop time is kept by a timer thread of its own between a
// test's start and its end, which calls the onStopDue() handler.
class SimBackend : public SensorBackend,
                   public DeviceInspector,
                   public MachineListener,
                   public std::enable_shared_from_this<SimBackend> {
public:
    explicit SimBackend(Scenario scenario);
    ~SimBackend() override;

    // SensorBackend
    std::vector<SensorInfo> sensors() override;
    bool open(SensorKind kind, std::vector<std::unique_ptr<SensorDevice>>& devices,
              std::vector<SensorInfo>& infos) override;
    std::unique_ptr<ProximityStream> openProximity(const std::string& locator) override;
    std::vector<DeviceEntry> devices() override;
    // DeviceInspector
    std::string lookedIn() const override { return "the scenario"; }
    std::optional<Mounting> mounting(const std::string& locator) override;
    std::vector<std::string> explain(SensorKind, const std::string&) override {
        return {"simulated: its states and readings come from the scenario"};
    }

    // MachineListener: each test restarts the time lines, and the stop timer where the
    // scenario stops this run.
    void testStarting() override;
    void testFinished() override;
    // Called, on the timer's thread or in testStarting(), when the scenario asks to stop.
    void onStopDue(std::function<void()> handler);

    const Scenario& scenario() const { return scenario_; }
    // Seconds since the current test started.
    double now() const;
    // The target the compass dialog shows; a "follow: target" heading turns toward it.
    void setHeadingTarget(double degrees);

    struct SensorState;  // per-sensor counters, internal

    // For the backend's own sensors.
    std::int32_t nextState(std::size_t index);
    bool nextSample(std::size_t index, Sample& out);

private:
    Scenario scenario_;
    mutable std::mutex mutex_;
    std::vector<std::unique_ptr<SensorState>> states_;
    std::int64_t originNs_ = 0;
    std::optional<double> headingTarget_;
    std::atomic<int> runs_{0};  // test runs started
    unsigned rotationToken_ = 0;
    unsigned operatorToken_ = 0;
    unsigned watcherToken_ = 0;
    std::function<void()> stopDue_;
    std::unique_ptr<StoppableThread> stopTimer_;
};

}  // namespace libOrra
