#pragma once

#include <atomic>
#include <chrono>
#include <mutex>

#include "platform/ComPtr.h"
#include "platform/WindowsNames.h"

namespace libOrra {

// The backends hold their sensor objects by ComPtr.
using platform::ComPtr;

// The COM face shared by the backends' sensors: a heap object counted by AddRef/Release, with
// one attachable event sink. Subclasses say what the state is; notifyData() hands a data
// report to the attached sink, from whichever thread the backend reads on.
class SensorObject : public ISensor {
public:
    HRESULT QueryInterface(REFIID riid, void** ppv) override;
    ULONG AddRef() override { return refs_.fetch_add(1) + 1; }
    ULONG Release() override;
    HRESULT SetEventSink(ISensorEvents* sink) override;

    bool hasSink() const;
    void notifyData();

protected:
    SensorObject() = default;
    virtual ~SensorObject();
    // Called when a sink is attached (true) or detached (false), outside the sink lock.
    virtual void sinkChanged(bool /*attached*/) {}

private:
    std::atomic<ULONG> refs_{1};
    mutable std::mutex sinkMutex_;
    ISensorEvents* sink_ = nullptr;
};

// A data report that only carries its time.
class DataReport final : public ISensorDataReport {
public:
    HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG AddRef() override { return 1; }
    ULONG Release() override { return 1; }
    std::int64_t timestampNanoseconds() const override { return stamp_; }

private:
    std::int64_t stamp_ = std::chrono::duration_cast<std::chrono::nanoseconds>(
                              std::chrono::steady_clock::now().time_since_epoch())
                              .count();
};

}  // namespace libOrra
