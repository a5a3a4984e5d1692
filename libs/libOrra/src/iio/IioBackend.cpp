#include "libOrra/IioBackend.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>

#include "IioChannels.h"
#include "IioSensorChannels.h"
#include "IioSensorObject.h"
#include "SysfsFile.h"
#include "vek/CallWithin.h"
#include "vek/Logging.h"

namespace fs = std::filesystem;

namespace libOrra {

using iio::channelsFor;
using iio::listFiles;
using iio::readTimeout;

namespace {

std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "libOrra.iio";
#define LOG(priority, expr) VEK_LOG(s_logger, kLoggerName, priority, expr)

}  // namespace

IioBackend::IioBackend(fs::path sysfsRoot, fs::path devRoot)
    : root_(std::move(sysfsRoot)),
      devRoot_(std::move(devRoot)),
      notes_(std::make_shared<iio::NoteBoard>()) {}

IioBackend::~IioBackend() = default;

fs::path IioBackend::defaultSysfsRoot() {
    const char* root = std::getenv("VEKR_SYSFS_ROOT");
    return root && *root ? fs::path(root) : fs::path("/sys");
}

fs::path IioBackend::defaultDevRoot() {
    const char* root = std::getenv("VEKR_DEV_ROOT");
    return root && *root ? fs::path(root) : fs::path("/dev");
}

void IioBackend::setReadTimeout(std::chrono::milliseconds timeout) {
    iio::setReadTimeout(timeout);
}

std::vector<IioBackend::Found> IioBackend::scan() const {
    std::vector<Found> found;
    const fs::path bus = root_ / "bus/iio/devices";
    std::error_code ec;
    std::vector<fs::path> dirs;
    for (fs::directory_iterator it(bus, ec), end; !ec && it != end; it.increment(ec)) {
        const std::string name = it->path().filename().string();
        if (name.rfind("iio:device", 0) == 0)
            dirs.push_back(it->path());
    }
    // iio:device2 before iio:device10: number order, as the kernel numbered them.
    std::sort(dirs.begin(), dirs.end(), [](const fs::path& a, const fs::path& b) {
        const auto num = [](const fs::path& p) {
            return std::atol(p.filename().string().substr(10).c_str());
        };
        return num(a) < num(b);
    });
    for (const auto& dir : dirs) {
        const iio::FileNames files = listFiles(dir);
        const fs::path node = devRoot_ / dir.filename();
        std::error_code e;
        const bool hasNode = fs::exists(node, e);
        std::vector<std::pair<SensorKind, iio::ChannelPlan>> plans;
        for (SensorKind kind : kAllSensorKinds) {
            if (auto plan = iio::planSensor(kind, files, hasNode))
                plans.emplace_back(kind, std::move(*plan));
        }
        if (plans.empty())
            continue;
        const fs::path canonical = fs::canonical(dir, e);
        const std::string locator = e ? dir.string() : canonical.string();
        // The driver's name, and the label that tells two alike sensors apart (accel-display,
        // accel-base on a convertible); a driver that does not answer keeps the folder name.
        const auto identity = vek::callWithin(readTimeout(), [dir] {
            int err = 0;
            return std::make_pair(iio::readAttribute(dir / "name", err).value_or(""),
                                  iio::readAttribute(dir / "label", err).value_or(""));
        });
        if (!identity)
            LOG(vek::kLogError, dir.filename().string() << ": name and label did not answer");
        std::string name =
            identity && !identity->first.empty() ? identity->first : dir.filename().string();
        const std::string label = identity ? identity->second : "";
        if (!label.empty())
            name += " (" + label + ")";
        for (auto& [kind, plan] : plans)
            found.push_back({kind, dir, locator, name, node, std::move(plan), label});
    }
    return found;
}

std::vector<SensorInfo> IioBackend::sensors() {
    std::vector<SensorInfo> out;
    for (const auto& f : scan())
        out.push_back({f.kind, f.locator, f.name, f.label});
    return out;
}

bool IioBackend::open(SensorKind kind, std::vector<std::unique_ptr<SensorDevice>>& devices,
                      std::vector<SensorInfo>& infos) {
    std::error_code ec;
    if (!fs::is_directory(root_ / "bus/iio/devices", ec)) {
        // No IIO bus at all: a machine without sensors, not a failed enumeration.
        return true;
    }
    for (const auto& f : scan()) {
        if (f.kind != kind)
            continue;
        devices.push_back(
            iio::openDevice(channelsFor(f.dir, f.locator, f.name, f.node, f.plan, notes_)));
        infos.push_back({f.kind, f.locator, f.name, f.label});
    }
    return true;
}

std::unique_ptr<SensorDevice> IioBackend::openThroughBuffer(SensorKind kind,
                                                            const std::string& locator) {
    for (const auto& f : scan()) {
        if (f.kind != kind || f.locator != locator || f.plan.buffered)
            continue;
        std::error_code ec;
        auto plan = iio::planBuffered(kind, listFiles(f.dir), fs::exists(f.node, ec));
        if (!plan || plan->row != f.plan.row)
            return nullptr;
        return iio::openDevice(channelsFor(f.dir, f.locator, f.name, f.node, *plan, notes_));
    }
    return nullptr;
}

std::unique_ptr<ProximityStream> IioBackend::openProximity(const std::string& locator) {
    for (const auto& f : scan()) {
        if (f.kind == SensorKind::Proximity && f.locator == locator) {
            return iio::openProximityStream(
                channelsFor(f.dir, f.locator, f.name, f.node, f.plan, notes_));
        }
    }
    return nullptr;
}

std::vector<DeviceNote> IioBackend::takeNotes(const std::string& locator) {
    return notes_->take(locator);
}

std::string IioBackend::lookedIn() const {
    return (root_ / "bus/iio/devices").string();
}

}  // namespace libOrra
