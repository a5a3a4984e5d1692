#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>

#include "libOrra/Scenario.h"
#include "libOrra/SensorBackend.h"

namespace libOrra {

// The simulated machine: sensors, display and stop request scripted by a scenario. Time lines
// run on vek::Clock::current() from the start of each test. Thread-safe; shared by the
// records it opens.
class SimBackend : public SensorBackend, public std::enable_shared_from_this<SimBackend> {
public:
    explicit SimBackend(Scenario scenario);
    ~SimBackend() override;

    // SensorBackend
    std::string name() const override { return "sim"; }
    std::vector<SensorInfo> sensors() override;
    bool open(SensorKind kind, std::vector<std::unique_ptr<SensorDevice>>& devices,
              std::vector<SensorInfo>& infos) override;
    std::unique_ptr<ProximityStream> openProximity(const std::string& locator) override;
    std::vector<DeviceEntry> devices() override;
    void testStarting() override;
    bool stopDue() const override;
    std::string lookedIn() const override { return "the scenario"; }
    std::optional<Mounting> mounting(const std::string& locator) override;
    std::vector<std::string> explain(SensorKind, const std::string&) override {
        return {"simulated: its states and readings come from the scenario"};
    }

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
};

}  // namespace libOrra
