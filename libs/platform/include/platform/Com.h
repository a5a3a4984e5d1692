#pragma once

#include <cstdint>

#include "platform/Hresult.h"

// The slice of COM the module uses: interface identities, IUnknown, and per-thread apartments.

namespace platform {

struct GUID {
    std::uint32_t data1;
    std::uint16_t data2;
    std::uint16_t data3;
    std::uint8_t data4[8];
    bool operator==(const GUID& other) const = default;
};
using IID = GUID;
using ULONG = std::uint32_t;

extern const IID IID_IUnknown;

// QueryInterface takes the identity as REFIID (a macro in the Windows headers), spelled out.
class IUnknown {
public:
    virtual HRESULT QueryInterface(const IID& riid, void** ppv) = 0;
    virtual ULONG AddRef() = 0;
    virtual ULONG Release() = 0;

protected:
    ~IUnknown() = default;
};

enum COINIT : std::uint32_t {
    COINIT_APARTMENTTHREADED = 0x2,
    COINIT_MULTITHREADED = 0x0,
};

// Each thread has its own apartment: the first successful initialisation answers hr::ok,
// every further one with the same model hr::okFalse (and must be balanced by CoUninitialize),
// one with the other model hr::changedMode (not to be balanced). CoUninitialize without a
// matching successful initialisation is ignored.
HRESULT CoInitialize(void* reserved);
HRESULT CoInitializeEx(void* reserved, std::uint32_t model);
void CoUninitialize();

}  // namespace platform
