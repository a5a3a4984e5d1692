#pragma once

#include <cstdint>

// COM result codes as the module's code expects them: negative values are failures.
//
// The Windows headers define the codes and SUCCEEDED/FAILED as macros, so here they carry
// names of their own (the Windows name beside each) and stay usable in a file that also
// includes <windows.h>. platform/WindowsNames.h gives the module the Windows names.

namespace platform {

using HRESULT = std::int32_t;

namespace hr {
inline constexpr HRESULT ok = 0;                                              // S_OK
inline constexpr HRESULT okFalse = 1;                                         // S_FALSE
inline constexpr HRESULT fail = static_cast<HRESULT>(0x80004005u);            // E_FAIL
inline constexpr HRESULT noInterface = static_cast<HRESULT>(0x80004002u);     // E_NOINTERFACE
inline constexpr HRESULT badPointer = static_cast<HRESULT>(0x80004003u);      // E_POINTER
inline constexpr HRESULT invalidArg = static_cast<HRESULT>(0x80070057u);      // E_INVALIDARG
inline constexpr HRESULT accessDenied = static_cast<HRESULT>(0x80070005u);    // E_ACCESSDENIED
inline constexpr HRESULT notInitialized = static_cast<HRESULT>(0x800401F0u);  // CO_E_NOTINITIALIZED
inline constexpr HRESULT changedMode = static_cast<HRESULT>(0x80010106u);     // RPC_E_CHANGED_MODE
// The system's "file not found" as an HRESULT.
inline constexpr HRESULT fileNotFound = static_cast<HRESULT>(0x80070002u);
// Imaging: no decoder for the data (WINCODEC_ERR_COMPONENTNOTFOUND), and data the decoder
// cannot read (WINCODEC_ERR_BADIMAGE).
inline constexpr HRESULT noDecoder = static_cast<HRESULT>(0x88982F50u);
inline constexpr HRESULT badImage = static_cast<HRESULT>(0x88982F60u);
}  // namespace hr

constexpr bool succeeded(HRESULT result) {
    return result >= 0;
}
constexpr bool failed(HRESULT result) {
    return result < 0;
}

}  // namespace platform
