// A stand-in for the Windows Sensor API in a test's Wine prefix, which has none: an in-process
// COM server registered there for CLSID_SensorManager. It serves the sensors of the script
// file that VEKR_FAKE_SENSORS names (FakeScript.h), answering only what the module's backend
// asks (E_NOTIMPL for the rest). Events are raised from each sensor's own thread.

// clang-format off
#include <windows.h>
#include <objbase.h>
#include <propvarutil.h>
#include <sensorsapi.h>
#include <sensors.h>
// clang-format on

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstring>
#include <fstream>
#include <mutex>
#include <sstream>
#include <thread>

#include "FakeScript.h"

namespace {

std::wstring wide(const std::string& text) {
    if (text.empty())
        return {};
    const int n = MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, nullptr, 0);
    std::wstring out(static_cast<std::size_t>(n), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, out.data(), n);
    out.resize(static_cast<std::size_t>(n - 1));
    return out;
}

const GUID& typeGuid(fake::Type type) {
    switch (type) {
        case fake::Type::Accelerometer:
            return SENSOR_TYPE_ACCELEROMETER_3D;
        case fake::Type::Light:
            return SENSOR_TYPE_AMBIENT_LIGHT;
        case fake::Type::Gyrometer:
            return SENSOR_TYPE_GYROMETER_3D;
        case fake::Type::Compass:
            break;
    }
    return SENSOR_TYPE_COMPASS_3D;
}

// The reference counting every object here shares; the object is deleted at zero.
template <typename Base>
class Counted : public Base {
public:
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --refs_;
        if (left == 0)
            delete this;
        return left;
    }
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override {
        if (!ppv)
            return E_POINTER;
        *ppv = nullptr;
        if (!IsEqualIID(riid, IID_IUnknown) && !IsEqualIID(riid, __uuidof(Base)))
            return E_NOINTERFACE;
        *ppv = static_cast<Base*>(this);
        AddRef();
        return S_OK;
    }

protected:
    virtual ~Counted() = default;

private:
    std::atomic<ULONG> refs_{1};
};

// One data report: the values of one script reading, named by the sensor's data keys.
class FakeReport final : public Counted<ISensorDataReport> {
public:
    FakeReport(fake::Type type, std::vector<double> values)
        : type_(type), values_(std::move(values)) {
        GetSystemTime(&stamp_);
    }
    HRESULT STDMETHODCALLTYPE GetTimestamp(SYSTEMTIME* out) override {
        if (!out)
            return E_POINTER;
        *out = stamp_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetSensorValue(REFPROPERTYKEY key, PROPVARIANT* out) override {
        if (!out)
            return E_POINTER;
        PropVariantInit(out);
        const int at = index(key);
        if (at < 0 || static_cast<std::size_t>(at) >= values_.size())
            return HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
        // Light comes as a float, as drivers give it; the rest as doubles.
        if (type_ == fake::Type::Light) {
            out->vt = VT_R4;
            out->fltVal = static_cast<float>(values_[static_cast<std::size_t>(at)]);
        } else {
            out->vt = VT_R8;
            out->dblVal = values_[static_cast<std::size_t>(at)];
        }
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetSensorValues(IPortableDeviceKeyCollection*,
                                              IPortableDeviceValues**) override {
        return E_NOTIMPL;
    }

private:
    int index(REFPROPERTYKEY key) const {
        const PROPERTYKEY* keys[3] = {};
        switch (type_) {
            case fake::Type::Accelerometer:
                keys[0] = &SENSOR_DATA_TYPE_ACCELERATION_X_G;
                keys[1] = &SENSOR_DATA_TYPE_ACCELERATION_Y_G;
                keys[2] = &SENSOR_DATA_TYPE_ACCELERATION_Z_G;
                break;
            case fake::Type::Light:
                keys[0] = &SENSOR_DATA_TYPE_LIGHT_LEVEL_LUX;
                break;
            case fake::Type::Gyrometer:
                keys[0] = &SENSOR_DATA_TYPE_ANGULAR_VELOCITY_X_DEGREES_PER_SECOND;
                keys[1] = &SENSOR_DATA_TYPE_ANGULAR_VELOCITY_Y_DEGREES_PER_SECOND;
                keys[2] = &SENSOR_DATA_TYPE_ANGULAR_VELOCITY_Z_DEGREES_PER_SECOND;
                break;
            case fake::Type::Compass:
                keys[0] = &SENSOR_DATA_TYPE_MAGNETIC_HEADING_COMPENSATED_MAGNETIC_NORTH_DEGREES;
                break;
        }
        for (int i = 0; i < 3; ++i) {
            if (keys[i] && IsEqualPropertyKey(*keys[i], key))
                return i;
        }
        return -1;
    }

    fake::Type type_;
    std::vector<double> values_;
    SYSTEMTIME stamp_{};
};

// One scripted sensor. Made once per process and never deleted (its thread may still run as
// the process ends). Its calls come from any thread; its events are raised from its worker
// thread, under its lock, so that none is raised after SetEventSink(nullptr) returned.
class FakeSensor final : public Counted<ISensor> {
public:
    FakeSensor(fake::ScriptSensor script, std::size_t index) : script_(std::move(script)) {
        if (script_.id.empty() || FAILED(CLSIDFromString(wide(script_.id).c_str(), &id_))) {
            id_ = {0x6a0e8f4c, 0x3c5b, 0x4f0a, {0x9d, 0x1e, 0, 0, 0, 0, 0, 0}};
            id_.Data4[7] = static_cast<unsigned char>(index + 1);
        }
    }
    fake::Type type() const { return script_.type; }

    HRESULT STDMETHODCALLTYPE GetID(SENSOR_ID* out) override {
        if (!out)
            return E_POINTER;
        *out = id_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetCategory(SENSOR_CATEGORY_ID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetType(SENSOR_TYPE_ID* out) override {
        if (!out)
            return E_POINTER;
        *out = typeGuid(script_.type);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetFriendlyName(BSTR* out) override {
        if (!out)
            return E_POINTER;
        *out = SysAllocString(wide(script_.name).c_str());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetProperty(REFPROPERTYKEY key, PROPVARIANT* out) override {
        if (!out)
            return E_POINTER;
        PropVariantInit(out);
        if (!IsEqualPropertyKey(key, SENSOR_PROPERTY_DEVICE_PATH) || script_.path.empty())
            return HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
        const std::wstring path = wide(script_.path);
        const std::size_t bytes = (path.size() + 1) * sizeof(wchar_t);
        auto* text = static_cast<wchar_t*>(CoTaskMemAlloc(bytes));
        if (!text)
            return E_OUTOFMEMORY;
        std::memcpy(text, path.c_str(), bytes);
        out->vt = VT_LPWSTR;
        out->pwszVal = text;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetProperties(IPortableDeviceKeyCollection*,
                                            IPortableDeviceValues**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetSupportedDataFields(IPortableDeviceKeyCollection**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE SetProperties(IPortableDeviceValues*,
                                            IPortableDeviceValues**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE SupportsDataField(REFPROPERTYKEY, VARIANT_BOOL*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetState(SensorState* out) override {
        if (!out)
            return E_POINTER;
        std::lock_guard lock(mutex_);
        *out = static_cast<SensorState>(gone_ ? SENSOR_STATE_NOT_AVAILABLE : nextState());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetData(ISensorDataReport** out) override {
        if (!out)
            return E_POINTER;
        *out = nullptr;
        std::lock_guard lock(mutex_);
        if (gone_)
            return HRESULT_FROM_WIN32(ERROR_DEVICE_NOT_CONNECTED);
        if (script_.readings.empty())
            return HRESULT_FROM_WIN32(ERROR_NO_DATA);
        *out = new FakeReport(script_.type, currentReading());
        ++reports_;
        if (script_.leaveAfter && reports_ >= *script_.leaveAfter) {
            gone_ = true;
            leavePending_ = true;
            wake_.notify_all();
        }
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SupportsEvent(REFGUID, VARIANT_BOOL*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetEventInterest(GUID**, ULONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetEventInterest(GUID*, ULONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetEventSink(ISensorEvents* sink) override;

private:
    int nextState() {
        if (script_.states.empty())
            return SENSOR_STATE_READY;
        const std::size_t at = std::min(stateCalls_++, script_.states.size() - 1);
        return script_.states[at];
    }
    std::vector<double> currentReading() const {
        return script_.readings[std::min<std::size_t>(reports_, script_.readings.size() - 1)];
    }
    void run();

    fake::ScriptSensor script_;
    GUID id_{};
    std::mutex mutex_;
    std::condition_variable wake_;
    ISensorEvents* sink_ = nullptr;
    std::thread worker_;
    bool stop_ = false;
    unsigned pendingData_ = 0;
    bool leavePending_ = false;
    bool gone_ = false;
    std::size_t stateCalls_ = 0;
    std::size_t reports_ = 0;
};

HRESULT FakeSensor::SetEventSink(ISensorEvents* sink) {
    std::thread finished;
    {
        std::lock_guard lock(mutex_);
        if (sink)
            sink->AddRef();
        if (sink_)
            sink_->Release();
        sink_ = sink;
        if (sink) {
            pendingData_ += script_.events;
            stop_ = false;
            if (!worker_.joinable())
                worker_ = std::thread([this] { run(); });
        } else {
            stop_ = true;
            finished = std::move(worker_);
        }
        wake_.notify_all();
    }
    if (finished.joinable())
        finished.join();
    return S_OK;
}

// The sensor's event thread: raises the pending data updates, and the leaving once the sensor
// has gone, to the attached sink.
void FakeSensor::run() {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    std::unique_lock lock(mutex_);
    for (;;) {
        wake_.wait(lock, [this] { return stop_ || pendingData_ > 0 || leavePending_; });
        if (stop_)
            break;
        if (pendingData_ > 0 && !gone_ && !script_.readings.empty()) {
            --pendingData_;
            FakeReport* report = new FakeReport(script_.type, currentReading());
            sink_->OnDataUpdated(this, report);
            report->Release();
            continue;
        }
        pendingData_ = 0;
        if (leavePending_) {
            leavePending_ = false;
            sink_->OnStateChanged(this, SENSOR_STATE_NOT_AVAILABLE);
            sink_->OnLeave(id_);
        }
    }
    lock.unlock();
    CoUninitialize();
}

// The sensors of one GetSensorsByType answer; holds a reference on each.
class FakeCollection final : public Counted<ISensorCollection> {
public:
    void add(ISensor* sensor) {
        sensor->AddRef();
        sensors_.push_back(sensor);
    }
    std::size_t size() const { return sensors_.size(); }
    HRESULT STDMETHODCALLTYPE GetAt(ULONG index, ISensor** out) override {
        if (!out)
            return E_POINTER;
        *out = nullptr;
        if (index >= sensors_.size())
            return E_INVALIDARG;
        *out = sensors_[index];
        (*out)->AddRef();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetCount(ULONG* out) override {
        if (!out)
            return E_POINTER;
        *out = static_cast<ULONG>(sensors_.size());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Add(ISensor*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Remove(ISensor*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RemoveByID(REFSENSOR_ID) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clear() override { return E_NOTIMPL; }

private:
    ~FakeCollection() override {
        for (ISensor* s : sensors_)
            s->Release();
    }
    std::vector<ISensor*> sensors_;
};

// The script's sensors, read once per process from VEKR_FAKE_SENSORS; never freed (see
// FakeSensor). An unreadable script serves no sensor and makes every enumeration fail.
struct Served {
    std::vector<FakeSensor*> sensors;
    bool ok = false;
};

const Served& served() {
    static Served* s = [] {
        auto* out = new Served;
        char path[MAX_PATH] = {};
        if (!GetEnvironmentVariableA("VEKR_FAKE_SENSORS", path, MAX_PATH))
            return out;
        std::ifstream in(path);
        std::stringstream text;
        text << in.rdbuf();
        std::vector<fake::ScriptSensor> script;
        std::string error;
        if (!in || !fake::parseScript(text.str(), script, error))
            return out;
        for (std::size_t i = 0; i < script.size(); ++i)
            out->sensors.push_back(new FakeSensor(script[i], i));
        out->ok = true;
        return out;
    }();
    return *s;
}

class FakeManager final : public Counted<ISensorManager> {
public:
    HRESULT STDMETHODCALLTYPE GetSensorsByCategory(REFSENSOR_CATEGORY_ID,
                                                   ISensorCollection**) override {
        return E_NOTIMPL;
    }
    // As the Sensor API: "not found" and no collection where no sensor is of the type.
    HRESULT STDMETHODCALLTYPE GetSensorsByType(REFSENSOR_TYPE_ID type,
                                               ISensorCollection** out) override {
        if (!out)
            return E_POINTER;
        *out = nullptr;
        if (!served().ok)
            return E_FAIL;
        auto* found = new FakeCollection;
        for (FakeSensor* s : served().sensors) {
            if (IsEqualGUID(typeGuid(s->type()), type))
                found->add(s);
        }
        if (found->size() == 0) {
            found->Release();
            return HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
        }
        *out = found;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetSensorByID(REFSENSOR_ID, ISensor**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetEventSink(ISensorManagerEvents*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RequestPermissions(HWND, ISensorCollection*, WINBOOL) override {
        return E_NOTIMPL;
    }
};

// The class object COM asks the DLL for; static, so its count is not kept.
class Factory final : public IClassFactory {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override {
        if (!ppv)
            return E_POINTER;
        *ppv = nullptr;
        if (!IsEqualIID(riid, IID_IUnknown) && !IsEqualIID(riid, IID_IClassFactory))
            return E_NOINTERFACE;
        *ppv = static_cast<IClassFactory*>(this);
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** ppv) override {
        if (!ppv)
            return E_POINTER;
        *ppv = nullptr;
        if (outer)
            return CLASS_E_NOAGGREGATION;
        auto* manager = new FakeManager;
        const HRESULT hr = manager->QueryInterface(riid, ppv);
        manager->Release();
        return hr;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

Factory s_factory;

}  // namespace

// The DLL's two entry points, exported by name (FakeSensorServer.def).
extern "C" HRESULT __stdcall FakeDllGetClassObject(REFCLSID clsid, REFIID riid, void** ppv) {
    if (!ppv)
        return E_POINTER;
    *ppv = nullptr;
    if (!IsEqualCLSID(clsid, CLSID_SensorManager))
        return CLASS_E_CLASSNOTAVAILABLE;
    return s_factory.QueryInterface(riid, ppv);
}

// Never unloaded: its sensors' threads may be running.
extern "C" HRESULT __stdcall FakeDllCanUnloadNow() {
    return S_FALSE;
}
