#include "SapiSensors.h"

// clang-format off
#include <windows.h>
#include <objbase.h>
#include <propvarutil.h>
#include <sensorsapi.h>
#include <sensors.h>
// clang-format on

#include <atomic>

namespace libOrra::sapi {
namespace {

// Releases a COM pointer when it goes out of scope.
template <typename T>
struct Held {
    T* p = nullptr;
    Held() = default;
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    ~Held() {
        if (p)
            p->Release();
    }
    T** out() { return &p; }
};

// The calling thread's membership in COM's multithreaded apartment: entered on first use,
// left as the thread ends when the entry succeeded. One per thread, used by that thread only.
class ComThread {
public:
    ComThread() : hr_(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
    ~ComThread() {
        // RPC_E_CHANGED_MODE is not balanced: the thread's own single-threaded apartment stays.
        if (SUCCEEDED(hr_))
            CoUninitialize();
    }
    ComThread(const ComThread&) = delete;
    ComThread& operator=(const ComThread&) = delete;
    HRESULT result() const { return hr_; }

private:
    HRESULT hr_;
};

std::string utf8(const wchar_t* text) {
    if (!text || !*text)
        return {};
    const int n = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (n <= 1)
        return {};
    std::string out(static_cast<std::size_t>(n), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, out.data(), n, nullptr, nullptr);
    out.resize(static_cast<std::size_t>(n - 1));
    return out;
}

const GUID& typeGuid(SapiType type) {
    switch (type) {
        case SapiType::Accelerometer3D:
            return SENSOR_TYPE_ACCELEROMETER_3D;
        case SapiType::AmbientLight:
            return SENSOR_TYPE_AMBIENT_LIGHT;
        case SapiType::Gyrometer3D:
            return SENSOR_TYPE_GYROMETER_3D;
        case SapiType::Compass3D:
            break;
    }
    return SENSOR_TYPE_COMPASS_3D;
}

// The sensor's device path, or its ID as a GUID string where it has none.
std::string locatorOf(ISensor* sensor) {
    PROPVARIANT path;
    PropVariantInit(&path);
    std::string out;
    if (SUCCEEDED(sensor->GetProperty(SENSOR_PROPERTY_DEVICE_PATH, &path)) && path.vt == VT_LPWSTR)
        out = utf8(path.pwszVal);
    PropVariantClear(&path);
    if (!out.empty())
        return out;
    SENSOR_ID id{};
    wchar_t text[64] = {};
    if (SUCCEEDED(sensor->GetID(&id)) && StringFromGUID2(id, text, 64) > 0)
        out = utf8(text);
    return out;
}

std::string nameOf(ISensor* sensor) {
    BSTR name = nullptr;
    std::string out;
    if (SUCCEEDED(sensor->GetFriendlyName(&name)))
        out = utf8(name);
    SysFreeString(name);
    return out;
}

// One numeric value of a report, as the driver typed it (a double or a float).
bool value(ISensorDataReport* report, const PROPERTYKEY& key, double& out) {
    PROPVARIANT v;
    PropVariantInit(&v);
    bool ok = SUCCEEDED(report->GetSensorValue(key, &v));
    if (ok && v.vt == VT_R8)
        out = v.dblVal;
    else if (ok && v.vt == VT_R4)
        out = v.fltVal;
    else
        ok = false;
    PropVariantClear(&v);
    return ok;
}

bool values(ISensorDataReport* report, SapiType type, SapiReading& out) {
    double lux = 0.0;
    switch (type) {
        case SapiType::Accelerometer3D:
            return value(report, SENSOR_DATA_TYPE_ACCELERATION_X_G, out.x) &&
                   value(report, SENSOR_DATA_TYPE_ACCELERATION_Y_G, out.y) &&
                   value(report, SENSOR_DATA_TYPE_ACCELERATION_Z_G, out.z);
        case SapiType::AmbientLight:
            if (!value(report, SENSOR_DATA_TYPE_LIGHT_LEVEL_LUX, lux))
                return false;
            out.lux = static_cast<float>(lux);
            return true;
        case SapiType::Gyrometer3D:
            return value(report, SENSOR_DATA_TYPE_ANGULAR_VELOCITY_X_DEGREES_PER_SECOND, out.x) &&
                   value(report, SENSOR_DATA_TYPE_ANGULAR_VELOCITY_Y_DEGREES_PER_SECOND, out.y) &&
                   value(report, SENSOR_DATA_TYPE_ANGULAR_VELOCITY_Z_DEGREES_PER_SECOND, out.z);
        case SapiType::Compass3D:
            break;
    }
    // A compass without tilt compensation still gives its plain heading.
    out.headingValid =
        value(report, SENSOR_DATA_TYPE_MAGNETIC_HEADING_COMPENSATED_MAGNETIC_NORTH_DEGREES,
              out.heading) ||
        value(report, SENSOR_DATA_TYPE_MAGNETIC_HEADING_MAGNETIC_NORTH_DEGREES, out.heading);
    return out.headingValid;
}

// The ISensorEvents attached to a sensor for its life: called on the Sensor API's threads, it
// only leaves what happened in the sensor's mailbox. Counted by COM; shares the mailbox with
// the sensor that made it, so either may go first.
// COM objects are freed by Release(), never deleted through the interface, so COM's interfaces
// have no virtual destructor.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
class EventRelay final : public ISensorEvents {
public:
    explicit EventRelay(std::shared_ptr<SapiMailbox> mailbox) : mailbox_(std::move(mailbox)) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override {
        if (!ppv)
            return E_POINTER;
        if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_ISensorEvents)) {
            *ppv = static_cast<ISensorEvents*>(this);
            AddRef();
            return S_OK;
        }
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --refs_;
        if (left == 0)
            delete this;
        return left;
    }
    HRESULT STDMETHODCALLTYPE OnStateChanged(ISensor*, SensorState state) override {
        mailbox_->stateChanged(static_cast<std::int32_t>(state));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE OnDataUpdated(ISensor*, ISensorDataReport*) override {
        mailbox_->dataUpdated();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE OnEvent(ISensor*, REFGUID, IPortableDeviceValues*) override {
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE OnLeave(REFSENSOR_ID) override {
        mailbox_->left();
        return S_OK;
    }

private:
    ~EventRelay() = default;
    std::atomic<ULONG> refs_{1};
    std::shared_ptr<SapiMailbox> mailbox_;
};
#pragma GCC diagnostic pop

}  // namespace

std::int32_t enterComOnThisThread() {
    thread_local ComThread thread;
    return thread.result();
}

// ---- SapiSensor

struct SapiSensor::Impl {
    SapiType type;
    ISensor* sensor = nullptr;    // one reference
    EventRelay* relay = nullptr;  // one reference, attached to `sensor`
    std::shared_ptr<SapiMailbox> mailbox = std::make_shared<SapiMailbox>();
    std::string locator;
    std::string name;

    Impl(SapiType t, ISensor* s) : type(t), sensor(s) {
        sensor->AddRef();
        locator = locatorOf(sensor);
        name = nameOf(sensor);
        relay = new EventRelay(mailbox);
        sensor->SetEventSink(relay);
    }
    ~Impl() {
        enterComOnThisThread();
        // Detached first: the sensor then calls the relay no more and gives back its reference.
        sensor->SetEventSink(nullptr);
        relay->Release();
        sensor->Release();
    }
};

SapiSensor::SapiSensor(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
SapiSensor::~SapiSensor() = default;

SapiType SapiSensor::type() const {
    return impl_->type;
}
const std::string& SapiSensor::locator() const {
    return impl_->locator;
}
const std::string& SapiSensor::name() const {
    return impl_->name;
}
SapiMailbox& SapiSensor::mailbox() {
    return *impl_->mailbox;
}

std::int32_t SapiSensor::state(std::int32_t* out) {
    if (impl_->mailbox->hasLeft()) {
        *out = kNotAvailable;
        return S_OK;
    }
    enterComOnThisThread();
    SensorState state = SENSOR_STATE_ERROR;
    const HRESULT hr = impl_->sensor->GetState(&state);
    if (SUCCEEDED(hr))
        *out = static_cast<std::int32_t>(state);
    return hr;
}

bool SapiSensor::read(SapiReading& out) {
    if (impl_->mailbox->hasLeft())
        return false;
    enterComOnThisThread();
    Held<ISensorDataReport> report;
    if (FAILED(impl_->sensor->GetData(report.out())) || !report.p)
        return false;
    SapiReading reading;
    if (!values(report.p, impl_->type, reading))
        return false;
    out = reading;
    return true;
}

// ---- SapiManager

struct SapiManager::Impl {
    ISensorManager* manager = nullptr;  // one reference
    ~Impl() {
        if (manager) {
            enterComOnThisThread();
            manager->Release();
        }
    }
};

SapiManager::SapiManager(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
SapiManager::~SapiManager() = default;

std::shared_ptr<SapiManager> SapiManager::open(std::int32_t* hr) {
    enterComOnThisThread();
    auto impl = std::make_unique<Impl>();
    const HRESULT made =
        CoCreateInstance(CLSID_SensorManager, nullptr, CLSCTX_INPROC_SERVER, IID_ISensorManager,
                         reinterpret_cast<void**>(&impl->manager));
    if (hr)
        *hr = made;
    if (FAILED(made) || !impl->manager)
        return nullptr;
    return std::make_shared<SapiManager>(std::move(impl));
}

bool SapiManager::sensors(SapiType type, std::vector<std::unique_ptr<SapiSensor>>& out,
                          std::int32_t* hr) {
    out.clear();
    enterComOnThisThread();
    Held<ISensorCollection> found;
    const HRESULT got = impl_->manager->GetSensorsByType(typeGuid(type), found.out());
    if (hr)
        *hr = got;
    // "Not found" is how the API says that the machine has no sensor of the type.
    if (got == HRESULT_FROM_WIN32(ERROR_NOT_FOUND))
        return true;
    if (FAILED(got) || !found.p)
        return false;
    ULONG count = 0;
    if (FAILED(found.p->GetCount(&count)))
        return false;
    for (ULONG i = 0; i < count; ++i) {
        Held<ISensor> sensor;
        if (FAILED(found.p->GetAt(i, sensor.out())) || !sensor.p)
            continue;
        out.push_back(
            std::make_unique<SapiSensor>(std::make_unique<SapiSensor::Impl>(type, sensor.p)));
    }
    return true;
}

}  // namespace libOrra::sapi
