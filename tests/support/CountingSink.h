#pragma once

#include <atomic>

#include "platform/WindowsNames.h"

namespace vekr::testing {

// An event sink that counts what reaches it; callbacks may come from any thread.
class CountingSink final : public ISensorEvents {
public:
    virtual ~CountingSink() = default;
    HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG AddRef() override { return refs.fetch_add(1) + 1; }
    ULONG Release() override { return refs.fetch_sub(1) - 1; }
    HRESULT OnStateChanged(ISensor*, SensorState) override { return S_OK; }
    HRESULT OnDataUpdated(ISensor* sensor, ISensorDataReport* report) override {
        if (sensor && report)
            reports.fetch_add(1);
        return S_OK;
    }
    HRESULT OnEvent(ISensor*, const GUID&, void*) override { return S_OK; }
    HRESULT OnLeave(const GUID&) override { return S_OK; }

    std::atomic<ULONG> refs{0};
    std::atomic<int> reports{0};
};

}  // namespace vekr::testing
