#include "kiva5/MachineIdentity.h"

#include <unistd.h>

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <filesystem>

#include "vek/DynamicLibrary.h"
#include "vek/Json.h"

#include "../MachineIdentityText.h"

namespace kiva5 {
namespace {

std::optional<std::string> dmi(const char* attribute) {
    const char* root = std::getenv("VEKR_SYSFS_ROOT");
    const std::filesystem::path file =
        std::filesystem::path(root && *root ? root : "/sys") / "class/dmi/id" / attribute;
    auto text = vek::readTextFile(file, nullptr);
    if (!text)
        return std::nullopt;
    return firmwareText(*text);
}

// systemd's sd_id128_t and the one call we need, taken from libsystemd when it is there: the
// module does not link it, so a run without a report never loads it.
struct Id128 {
    std::uint8_t bytes[16];
};
using AppSpecificFn = int (*)(Id128 app, Id128* out);

// This module's application key for the hash (generated once, never to change).
constexpr Id128 kAppKey{{0x70, 0x9f, 0x12, 0xfe, 0x81, 0x0b, 0x4b, 0xd6, 0xac, 0x35, 0x7f, 0x52,
                         0xa0, 0x29, 0x03, 0x72}};

std::optional<std::string> appSpecificMachineId() {
    static vek::DynamicLibrary* systemd = new vek::DynamicLibrary("libsystemd.so.0");
    if (!systemd->load())
        return std::nullopt;
    const auto fn =
        reinterpret_cast<AppSpecificFn>(systemd->getSymbol("sd_id128_get_machine_app_specific"));
    Id128 id{};
    if (!fn || fn(kAppKey, &id) < 0)
        return std::nullopt;
    return hexText(id.bytes, sizeof id.bytes);
}

}  // namespace

MachineIdentity MachineIdentity::read() {
    MachineIdentity m;
    char name[HOST_NAME_MAX + 1] = {};
    if (gethostname(name, sizeof name - 1) == 0)
        m.hostName = name;
    m.vendor = dmi("sys_vendor");
    m.product = dmi("product_name");
    m.serial = dmi("product_serial");
    m.machineId = appSpecificMachineId();
    return m;
}

}  // namespace kiva5
