#include "SensorObject.h"

namespace libOrra {

SensorObject::~SensorObject() = default;

HRESULT SensorObject::QueryInterface(REFIID riid, void** ppv) {
    if (!ppv)
        return E_POINTER;
    if (riid == IID_IUnknown) {
        *ppv = static_cast<IUnknown*>(this);
        AddRef();
        return S_OK;
    }
    return E_NOINTERFACE;
}

ULONG SensorObject::Release() {
    const ULONG left = refs_.fetch_sub(1) - 1;
    if (left == 0)
        delete this;
    return left;
}

HRESULT SensorObject::SetEventSink(ISensorEvents* sink) {
    ISensorEvents* old = nullptr;
    {
        std::lock_guard lock(sinkMutex_);
        old = sink_;
        sink_ = sink;
        if (sink_)
            sink_->AddRef();
    }
    if (old)
        old->Release();
    sinkChanged(sink != nullptr);
    return S_OK;
}

bool SensorObject::hasSink() const {
    std::lock_guard lock(sinkMutex_);
    return sink_ != nullptr;
}

void SensorObject::notifyData() {
    // The lock is held across the call so that a sink is never called after SetEventSink
    // (nullptr) returned: the sink lives on its owner's stack.
    std::lock_guard lock(sinkMutex_);
    if (!sink_)
        return;
    DataReport report;
    sink_->OnDataUpdated(this, &report);
}

}  // namespace libOrra
