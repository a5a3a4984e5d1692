#pragma once

#include <cstdint>

#include "platform/Com.h"

// The sensor interfaces the module talks to. Each backend (Linux IIO, the simulated machine)
// implements ISensor; events arrive at the attached ISensorEvents on the backend's own thread.

namespace platform {

enum SensorState : std::int32_t {
    SENSOR_STATE_READY = 0,
    SENSOR_STATE_NOT_AVAILABLE = 1,
    SENSOR_STATE_NO_DATA = 2,
    SENSOR_STATE_INITIALIZING = 3,
    SENSOR_STATE_ACCESS_DENIED = 4,
    SENSOR_STATE_ERROR = 5,
};

extern const IID IID_ISensorEvents;

class ISensorEvents;

// One data report; the module only checks that one arrived.
class ISensorDataReport : public IUnknown {
public:
    virtual std::int64_t timestampNanoseconds() const = 0;

protected:
    ~ISensorDataReport() = default;
};

class ISensor : public IUnknown {
public:
    // The sensor's state now. `state` may hold any 32-bit value the device reports.
    virtual HRESULT GetState(SensorState* state) = 0;
    // Attaches `sink` (nullptr detaches). The sensor holds a reference while attached.
    virtual HRESULT SetEventSink(ISensorEvents* sink) = 0;

protected:
    ~ISensor() = default;
};

class ISensorEvents : public IUnknown {
public:
    virtual HRESULT OnStateChanged(ISensor* sensor, SensorState state) = 0;
    virtual HRESULT OnDataUpdated(ISensor* sensor, ISensorDataReport* newData) = 0;
    virtual HRESULT OnEvent(ISensor* sensor, const GUID& eventId, void* eventData) = 0;
    virtual HRESULT OnLeave(const GUID& sensorId) = 0;

protected:
    ~ISensorEvents() = default;
};

}  // namespace platform
