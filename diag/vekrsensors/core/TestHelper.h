#pragma once

#include <atomic>
#include <cstdint>

#include "kiva5/TestResult.h"
#include "libOrra/Records.h"
#include "platform/WindowsNames.h"

// Readiness check that every libOrra-based test runs before it reads data: asks the sensor
// for its state, waits up to SensorStateTimeout seconds for one that is not yet ready, and
// turns the final state into a result, raising the matching event. Runs on the calling test's
// thread (a test function or a background worker) and blocks it in 100 ms steps.
kiva5::TestResult checkSensorState(libOrra::SensorRecord& sensor);
// Waits for READY; `state` is the last state read (NO_DATA when none was read).
void pollSensor(libOrra::SensorRecord& sensor, SensorState& state);
// One state to its result and event.
kiva5::TestResult checkSensorStateWorker(const SensorState& state);

// The first record whose OS locator equals `locator` ignoring case, with its index; null when
// none does (also for an empty list).
template <typename Record>
Record* findSensorByLocator(vek::Array<std::unique_ptr<Record>>& records,
                            const vek::String& locator, std::size_t& index) {
    for (index = 0; index < records.size(); ++index) {
        if (records[index]->osLocator().equalNoCase(locator))
            return records[index].get();
    }
    return nullptr;
}

namespace vekrsensors {

// Counts the data reports a sensor delivers while a test samples it. Lives on the test's
// stack: attached right after construction with ISensor::SetEventSink, detached by its
// destructor. Release never deletes it. The callbacks come on the backend's thread; only the
// two counters change after construction, atomically.
class SensorEventSink final : public ISensorEvents {
public:
    explicit SensorEventSink(ISensor* sensor);
    ~SensorEventSink();
    SensorEventSink(const SensorEventSink&) = delete;
    SensorEventSink& operator=(const SensorEventSink&) = delete;

    // IUnknown
    HRESULT QueryInterface(REFIID riid, void** ppv) override;
    ULONG AddRef() override;
    ULONG Release() override;

    // ISensorEvents
    HRESULT OnStateChanged(ISensor* sensor, SensorState state) override;
    HRESULT OnDataUpdated(ISensor* sensor, ISensorDataReport* newData) override;
    HRESULT OnEvent(ISensor* sensor, const GUID& eventId, void* eventData) override;
    HRESULT OnLeave(const GUID& sensorId) override;

    std::uint32_t getDataUpdateCount();

private:
    std::atomic<std::uint32_t> refCount_{0};
    ISensor* sensor_;
    std::atomic<std::uint32_t> dataUpdateCount_{0};
};

}  // namespace vekrsensors
