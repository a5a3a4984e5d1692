#include "TestHelper.h"

#include "vek/Logging.h"
#include "vek/Stopwatch.h"
#include "vek/System.h"
#include "vek/VekValue.h"
#include "vekrsensors.h"

namespace {
std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "TestHelper";
}  // namespace

#define LOG(priority, expr) VEK_LOG(s_logger, kLoggerName, priority, expr)
#define TRACE(name) VEK_TRACE(s_logger, kLoggerName, name)

kiva5::TestResult checkSensorState(libOrra::SensorRecord& sensor) {
    TRACE("checkSensorState");
    // The HRESULT is not examined: the state field keeps whatever the call left there.
    sensor.m_pSensor->GetState(reinterpret_cast<SensorState*>(&sensor.m_state));
    SensorState state = static_cast<SensorState>(sensor.m_state);
    LOG(1, "Current sensor state: " << vek::VekValue(state).toHexString(true));
    // Not available, no data and initialising may pass on their own: wait for them.
    if (state >= SENSOR_STATE_NOT_AVAILABLE && state <= SENSOR_STATE_INITIALIZING) {
        pollSensor(sensor, state);
    }
    return checkSensorStateWorker(state);
}

void pollSensor(libOrra::SensorRecord& sensor, SensorState& state) {
    TRACE("pollSensor");
    const double timeout = vekrsensors::paramSensorStateTimeout->value().valueDouble();
    LOG(1, "Running delay timer, SensorStateTimeout = " << timeout);
    vek::Stopwatch watch;
    state = SENSOR_STATE_NO_DATA;
    // A negative (or not-a-number) timeout asks nothing more.
    if (!(timeout >= 0.0))
        return;
    do {
        vek::System::mssleep(100);
        sensor.m_pSensor->GetState(reinterpret_cast<SensorState*>(&sensor.m_state));
        state = static_cast<SensorState>(sensor.m_state);
        if (state == SENSOR_STATE_READY)
            return;
        LOG(1, "Next  sensor state: " << vek::VekValue(state).toHexString(true));
    } while (timeout >= watch.getElapsed());
}

kiva5::TestResult checkSensorStateWorker(const SensorState& state) {
    TRACE("checkSensorStateWorker");
    using kiva5::DiagModule;
    using kiva5::TestResult;
    switch (state) {
        case SENSOR_STATE_READY:
            return TestResult::PASS();
        case SENSOR_STATE_NOT_AVAILABLE:
            DiagModule::error(vekrsensors::evSensorStateNotAvailable, __FILE__, __LINE__);
            return TestResult::TIMEDOUT();
        case SENSOR_STATE_NO_DATA:
            DiagModule::error(vekrsensors::evSensorNoData, __FILE__, __LINE__);
            return TestResult::FAIL();
        case SENSOR_STATE_INITIALIZING:
            DiagModule::error(vekrsensors::evSensorStateInvalid, __FILE__, __LINE__);
            return TestResult::TIMEDOUT();
        case SENSOR_STATE_ACCESS_DENIED:
            DiagModule::error(vekrsensors::evSensorStateAccessDenied, __FILE__, __LINE__);
            return TestResult::CANNOTRUN();
        case SENSOR_STATE_ERROR:
            DiagModule::error(vekrsensors::evSensorStateError, __FILE__, __LINE__);
            return TestResult::FAIL();
    }
    return TestResult::FAIL();  // a state this module does not know
}

namespace vekrsensors {

SensorEventSink::SensorEventSink(ISensor* sensor) : sensor_(sensor) {
    TRACE("SensorEventSink");
    if (sensor_)
        sensor_->AddRef();
}

SensorEventSink::~SensorEventSink() {
    TRACE("~SensorEventSink");
    if (sensor_) {
        sensor_->SetEventSink(nullptr);
        sensor_->Release();
    }
}

HRESULT SensorEventSink::QueryInterface(REFIID riid, void** ppv) {
    TRACE("SensorEventSink::QI");
    if (!ppv)
        return E_POINTER;
    if (riid == IID_IUnknown || riid == IID_ISensorEvents) {
        *ppv = this;
        AddRef();
        return S_OK;
    }
    return E_NOINTERFACE;
}

ULONG SensorEventSink::AddRef() {
    TRACE("SensorEventSink::AddRef");
    return refCount_.fetch_add(1) + 1;
}

// Never deletes: the sink lives on its owner's stack, not by its reference count.
ULONG SensorEventSink::Release() {
    TRACE("SensorEventSink::Release");
    return refCount_.fetch_sub(1) - 1;
}

HRESULT SensorEventSink::OnStateChanged(ISensor*, SensorState) {
    TRACE("SensorEventSink::OnStateChanged");
    return S_OK;
}

HRESULT SensorEventSink::OnDataUpdated(ISensor* sensor, ISensorDataReport* newData) {
    TRACE("SensorEventSink::OnDataUpdated");
    if (!sensor || !newData)
        return E_INVALIDARG;
    dataUpdateCount_.fetch_add(1);
    return S_OK;
}

HRESULT SensorEventSink::OnEvent(ISensor*, const GUID&, void*) {
    TRACE("SensorEventSink::OnEvent");
    return S_OK;
}

HRESULT SensorEventSink::OnLeave(const GUID&) {
    TRACE("SensorEventSink::OnLeave");
    return S_OK;
}

std::uint32_t SensorEventSink::getDataUpdateCount() {
    TRACE("SensorEventSink::getDataUpdateCount");
    return dataUpdateCount_.load();
}

}  // namespace vekrsensors
