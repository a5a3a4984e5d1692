// How an IIO accelerometer is mounted, for the orientation check: the matrix in force and
// where it came from, the parent device's modalias and the machine's DMI vendor and product,
// which together find or propose its hwdb entry.
#include <cstdlib>

#include "IioSensorChannels.h"
#include "IioSensorObject.h"
#include "SysfsFile.h"
#include "libOrra/IioBackend.h"
#include "libOrra/PanelOrientation.h"
#include "vek/CallWithin.h"

namespace fs = std::filesystem;

namespace libOrra {

using iio::channelsFor;
using iio::readTimeout;

namespace {

// The machine in plain words for a person: the system's vendor and product, or the board's
// where the system's are a firmware placeholder ("Default string").
std::string machineName(const fs::path& dmi) {
    const auto read = [&dmi](const char* name) {
        int err = 0;
        return iio::readAttribute(dmi / name, err).value_or("");
    };
    std::string vendor = read("sys_vendor"), product = read("product_name");
    if (dmiPlaceholder(vendor) || dmiPlaceholder(product)) {
        vendor = read("board_vendor");
        product = read("board_name");
    }
    return vendor.append(vendor.empty() ? "" : " ").append(product);
}

// The built-in panel as the kernel tells it: how it is mounted, its connector and mode.
void panelOf(const fs::path& sysfsRoot, const fs::path& devRoot, Mounting& m) {
    const char* proc = std::getenv("VEKR_PROC_ROOT");
    const PanelOrientation panel = panelOrientation(devRoot, proc && *proc ? proc : "/proc");
    if (panel.rotation)
        m.panelTurns = panelTurnsNamed(panelRotationName(*panel.rotation));
    m.panelSource = panel.rotation ? panel.source : panel.why;
    const PanelMode mode = panelMode(sysfsRoot);
    m.panelConnector = mode.connector;
    m.panelWidth = mode.width;
    m.panelHeight = mode.height;
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
                return std::make_tuple(
                    iio::readAttribute(dir.parent_path() / "modalias", err).value_or(""),
                    iio::readAttribute(root / "class/dmi/id/modalias", err).value_or(""),
                    machineName(root / "class/dmi/id"));
            });
        if (identity) {
            m.parentModalias = std::get<0>(*identity);
            m.dmiModalias = std::get<1>(*identity);
            m.dmiVendor = dmiModaliasField(m.dmiModalias, "svn");
            m.dmiProduct = dmiModaliasField(m.dmiModalias, "pn");
            m.machine = std::get<2>(*identity);
        }
        m.label = f.label;
        panelOf(root_, devRoot_, m);
        m.node = "/dev/" + f.dir.filename().string();
        return m;
    }
    return std::nullopt;
}

}  // namespace libOrra
