#pragma once

#include <cstdint>

// COM result codes as the module's code expects them: negative values are failures.
using HRESULT = std::int32_t;

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005u);
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002u);
inline constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003u);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057u);
inline constexpr HRESULT E_ACCESSDENIED = static_cast<HRESULT>(0x80070005u);
inline constexpr HRESULT CO_E_NOTINITIALIZED = static_cast<HRESULT>(0x800401F0u);
inline constexpr HRESULT RPC_E_CHANGED_MODE = static_cast<HRESULT>(0x80010106u);
// The system's "file not found" as an HRESULT.
inline constexpr HRESULT HRESULT_FILE_NOT_FOUND = static_cast<HRESULT>(0x80070002u);
// Imaging: no decoder for the data, and data the decoder cannot read.
inline constexpr HRESULT WINCODEC_ERR_COMPONENTNOTFOUND = static_cast<HRESULT>(0x88982F50u);
inline constexpr HRESULT WINCODEC_ERR_BADIMAGE = static_cast<HRESULT>(0x88982F60u);

constexpr bool SUCCEEDED(HRESULT hr) {
    return hr >= 0;
}
constexpr bool FAILED(HRESULT hr) {
    return hr < 0;
}
