#include "platform/Com.h"

#include "platform/Sensors.h"

namespace platform {

const IID IID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
const IID IID_ISensorEvents = {
    0x5D8DCC91, 0x4641, 0x47E7, {0xB7, 0xC3, 0xB7, 0x4F, 0x48, 0xA6, 0xC3, 0x91}};

namespace {

// The calling thread's apartment: its model and the unbalanced successful initialisations.
struct Apartment {
    int count = 0;
    std::uint32_t model = 0;
};
thread_local Apartment t_apartment;

}  // namespace

HRESULT CoInitializeEx(void*, std::uint32_t model) {
    model = (model & COINIT_APARTMENTTHREADED) ? COINIT_APARTMENTTHREADED : COINIT_MULTITHREADED;
    if (t_apartment.count == 0) {
        t_apartment.model = model;
        t_apartment.count = 1;
        return hr::ok;
    }
    if (t_apartment.model != model)
        return hr::changedMode;
    ++t_apartment.count;
    return hr::okFalse;
}

HRESULT CoInitialize(void* reserved) {
    return CoInitializeEx(reserved, COINIT_APARTMENTTHREADED);
}

void CoUninitialize() {
    if (t_apartment.count > 0)
        --t_apartment.count;
}

}  // namespace platform
