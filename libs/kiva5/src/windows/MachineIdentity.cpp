#include "kiva5/MachineIdentity.h"

#include <windows.h>
// bcrypt.h after windows.h, which it needs.
#include <bcrypt.h>

#include <cstdint>
#include <vector>

#include "../MachineIdentityText.h"

namespace kiva5 {
namespace {

std::string narrow(const std::wstring& text) {
    if (text.empty())
        return {};
    const int n = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                      nullptr, 0, nullptr, nullptr);
    std::string out(static_cast<std::size_t>(n), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), out.data(), n,
                        nullptr, nullptr);
    return out;
}

std::string computerName() {
    DWORD size = 0;
    GetComputerNameExW(ComputerNameDnsHostname, nullptr, &size);
    std::wstring name(size, L'\0');
    if (size == 0 || !GetComputerNameExW(ComputerNameDnsHostname, name.data(), &size))
        return "";
    name.resize(size);
    return narrow(name);
}

// SMBIOS's System Information structure (type 1): its formatted part, then its strings, each
// NUL-terminated, the set ended by a second NUL. A field holds a string's number (1-based).
struct SystemStrings {
    std::optional<std::string> vendor, product, serial;
};

std::optional<std::string> stringNumber(const std::uint8_t* strings, const std::uint8_t* end,
                                        std::uint8_t number) {
    if (number == 0)
        return std::nullopt;
    const std::uint8_t* p = strings;
    for (std::uint8_t i = 1; p < end && *p; ++i) {
        const std::uint8_t* stop = p;
        while (stop < end && *stop)
            ++stop;
        if (i == number)
            return firmwareText(std::string_view(reinterpret_cast<const char*>(p),
                                                 static_cast<std::size_t>(stop - p)));
        p = stop + 1;
    }
    return std::nullopt;
}

// GetSystemFirmwareTable('RSMB') gives RawSMBIOSData: an 8-byte header, then the table.
SystemStrings smbiosSystem() {
    constexpr DWORD rsmb = 'R' << 24 | 'S' << 16 | 'M' << 8 | 'B';
    const UINT size = GetSystemFirmwareTable(rsmb, 0, nullptr, 0);
    if (size <= 8)
        return {};
    std::vector<std::uint8_t> raw(size);
    if (GetSystemFirmwareTable(rsmb, 0, raw.data(), size) != size)
        return {};
    const std::uint8_t* p = raw.data() + 8;
    const std::uint8_t* end = raw.data() + raw.size();
    while (p + 4 <= end) {
        const std::uint8_t type = p[0], length = p[1];
        if (length < 4 || p + length > end)
            break;
        const std::uint8_t* strings = p + length;
        if (type == 1 && length >= 8) {
            return {stringNumber(strings, end, p[4]), stringNumber(strings, end, p[5]),
                    stringNumber(strings, end, p[7])};
        }
        // The next structure follows the double NUL that ends this one's strings.
        const std::uint8_t* q = strings;
        while (q + 1 < end && !(q[0] == 0 && q[1] == 0))
            ++q;
        p = q + 2;
    }
    return {};
}

// This module's application key for the hash (the same key as on Linux).
constexpr std::uint8_t kAppKey[16] = {0x70, 0x9f, 0x12, 0xfe, 0x81, 0x0b, 0x4b, 0xd6,
                                      0xac, 0x35, 0x7f, 0x52, 0xa0, 0x29, 0x03, 0x72};

// HMAC-SHA256 of the application key under `secret`, its first 16 bytes as hex: systemd's
// scheme for app-specific ids, so a report never carries the machine's own GUID.
std::optional<std::string> appSpecific(const std::string& secret) {
    BCRYPT_ALG_HANDLE alg = nullptr;
    if (BCryptOpenAlgorithmProvider(&alg, BCRYPT_SHA256_ALGORITHM, nullptr,
                                    BCRYPT_ALG_HANDLE_HMAC_FLAG) < 0)
        return std::nullopt;
    std::vector<std::uint8_t> key(secret.begin(), secret.end());
    std::uint8_t digest[32] = {};
    BCRYPT_HASH_HANDLE hash = nullptr;
    bool ok = BCryptCreateHash(alg, &hash, nullptr, 0, key.data(),
                               static_cast<ULONG>(key.size()), 0) >= 0;
    std::uint8_t message[sizeof kAppKey];
    std::copy(std::begin(kAppKey), std::end(kAppKey), message);
    ok = ok && BCryptHashData(hash, message, sizeof message, 0) >= 0 &&
         BCryptFinishHash(hash, digest, sizeof digest, 0) >= 0;
    if (hash)
        BCryptDestroyHash(hash);
    BCryptCloseAlgorithmProvider(alg, 0);
    if (!ok)
        return std::nullopt;
    return hexText(digest, 16);
}

// HKLM\SOFTWARE\Microsoft\Cryptography MachineGuid: set when Windows (or Wine's prefix) was
// installed.
std::optional<std::string> machineGuid() {
    wchar_t value[64] = {};
    DWORD bytes = sizeof value;
    if (RegGetValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Cryptography", L"MachineGuid",
                     RRF_RT_REG_SZ, nullptr, value, &bytes) != ERROR_SUCCESS)
        return std::nullopt;
    const std::string guid = narrow(value);
    if (guid.empty())
        return std::nullopt;
    return guid;
}

}  // namespace

MachineIdentity MachineIdentity::read() {
    MachineIdentity m;
    m.hostName = computerName();
    const SystemStrings system = smbiosSystem();
    m.vendor = system.vendor;
    m.product = system.product;
    m.serial = system.serial;
    if (const auto guid = machineGuid())
        m.machineId = appSpecific(*guid);
    return m;
}

}  // namespace kiva5
