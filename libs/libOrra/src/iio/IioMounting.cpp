// How an IIO accelerometer is mounted, for the orientation check: the matrix in force and
// where it came from, the parent device's modalias and the machine's DMI vendor and product,
// which together find or propose its hwdb entry.
#include "IioSensorChannels.h"
#include "IioSensorObject.h"
#include "SysfsFile.h"
#include "libOrra/IioBackend.h"
#include "vek/CallWithin.h"

namespace fs = std::filesystem;

namespace libOrra {

using iio::channelsFor;
using iio::readTimeout;

namespace {

// A field of the firmware's DMI modalias ("dmi:bvn...:svnASUSTeKCOMPUTERINC.:pnT100TA:..."),
// which is what the hwdb's "dmi:" part is matched against: the kernel has already dropped the
// spaces and colons of the plain attributes there.
std::string dmiField(const std::string& modalias, const std::string& prefix) {
    std::size_t at = 0;
    while ((at = modalias.find(":" + prefix, at)) != std::string::npos) {
        at += 1 + prefix.size();
        return modalias.substr(at, modalias.find(':', at) - at);
    }
    return {};
}

}  // namespace

std::optional<Mounting> IioBackend::mounting(const std::string& locator) {
    for (const auto& f : scan()) {
        if (f.kind != SensorKind::Accelerometer || f.locator != locator)
            continue;
        auto ch = channelsFor(f.dir, f.locator, f.name, f.node, f.plan, notes_);
        Sample s;
        const bool read = iio::sampleOnce(ch, s).has_value();
        Mounting m;
        if (read) {
            m.applied = ch->mount.value;
            m.source = ch->mount.source;
        }
        const auto identity =
            vek::callWithin(readTimeout(), [dir = fs::path(f.locator), root = root_] {
                int err = 0;
                return std::make_pair(
                    iio::readAttribute(dir.parent_path() / "modalias", err).value_or(""),
                    iio::readAttribute(root / "class/dmi/id/modalias", err).value_or(""));
            });
        if (identity) {
            m.parentModalias = identity->first;
            m.dmiVendor = dmiField(identity->second, "svn");
            m.dmiProduct = dmiField(identity->second, "pn");
        }
        m.node = "/dev/" + f.dir.filename().string();
        return m;
    }
    return std::nullopt;
}

}  // namespace libOrra
