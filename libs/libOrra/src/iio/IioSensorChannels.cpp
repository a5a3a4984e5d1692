#include "IioSensorChannels.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <system_error>

#include "DeviceHolders.h"
#include "IioConversion.h"
#include "UdevProperties.h"
#include "libOrra/IioAttribute.h"
#include "vek/Logging.h"

namespace libOrra::iio {
namespace {

std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "libOrra.iio";
#define LOG(priority, expr) VEK_LOG(s_logger, kLoggerName, priority, expr)

std::atomic<long> s_readTimeoutMs{1000};

}  // namespace

std::chrono::milliseconds readTimeout() {
    return std::chrono::milliseconds(s_readTimeoutMs.load());
}

std::string errorText(int err) {
    return err == EINVAL ? "not a finite number" : std::generic_category().message(err);
}

// The names in a device folder, and those of its buffer's channels as "scan_elements/<name>".
// Listing a sysfs folder never reaches the driver, so it needs no bound.
FileNames listFiles(const fs::path& dir) {
    iio::FileNames names;
    std::error_code ec;
    for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec))
        names.insert(it->path().filename().string());
    for (fs::directory_iterator it(dir / "scan_elements", ec), end; !ec && it != end;
         it.increment(ec)) {
        names.insert("scan_elements/" + it->path().filename().string());
    }
    return names;
}

void setReadTimeout(std::chrono::milliseconds timeout) {
    s_readTimeoutMs.store(static_cast<long>(timeout.count()));
}

SensorState stateFromErrno(int err) {
    switch (err) {
        case 0:
            return SENSOR_STATE_READY;
        case EACCES:
        case EPERM:
        // Another program holds the device (its buffer is enabled): access is denied to us
        // for as long as it does; the note says who and how to free it.
        case EBUSY:
            return SENSOR_STATE_ACCESS_DENIED;
        case ENOENT:
        case ENODEV:
        case ENXIO:
            return SENSOR_STATE_NOT_AVAILABLE;
        default:
            return SENSOR_STATE_ERROR;
    }
}

bool Channels::fail(int err, const fs::path& file) {
    lastError = err;
    const std::string cause = file.string() + ": " + errorText(err);
    if (cause != lastLogged) {
        LOG(vek::kLogError, device() << " (" << name << "): " << cause);
        lastLogged = cause;
    }
    if (err == EBUSY && !busyNoted) {
        busyNoted = true;
        notes->add(locator, {iio::busyNote(device(), name, node, iio::findHolders(node)), true});
    }
    return false;
}

bool Channels::readInfo(const std::string& attribute, double& out) {
    if (attribute.empty())
        return true;
    iio::SysfsFile f(dir / attribute);
    const auto v = f.readNumber();
    if (!v)
        return fail(f.error(), f.path());
    out = *v;
    return true;
}

bool Channels::open() {
    axes.clear();
    buffer.reset();
    if (plan.buffered) {
        std::vector<std::string> names;
        for (const auto& a : plan.axes)
            names.push_back(a.value);
        buffer = std::make_unique<iio::BufferStream>(dir, node, names);
        int err = 0;
        std::string file;
        if (!buffer->start(err, file)) {
            buffer.reset();
            return fail(err, file);
        }
    }
    for (const auto& a : plan.axes) {
        Axis axis{plan.buffered ? iio::SysfsFile() : iio::SysfsFile(dir / a.value), 1.0, 0.0};
        if (!plan.buffered && !axis.value.open())
            return fail(axis.value.error(), axis.value.path());
        if (a.raw &&
            (!readInfo(a.scale.name, axis.scale) || !readInfo(a.offset.name, axis.offset))) {
            return false;
        }
        axes.push_back(std::move(axis));
    }
    mount = chooseMountMatrix();
    if (!plan.frequency.empty()) {
        int err = 0;
        const auto text = iio::readAttribute(dir / plan.frequency.name, err);
        const auto f = text ? iio::parseNumber(*text) : std::nullopt;
        if (f && *f > 0)
            frequency.store(std::clamp(*f, 1.0, 100.0));
    }
    if (plan.row->role == iio::Role::Presence && !chooseNearLevel())
        return false;
    opened = true;
    return true;
}

Sourced<iio::Matrix3> Channels::chooseMountMatrix() {
    const Sourced<iio::Matrix3> none{iio::kIdentity, "none (identity)"};
    if (plan.axes.size() != 3)
        return none;
    if (plan.row->kind == SensorKind::Accelerometer) {
        if (auto text = iio::udevProperty(locator, "ACCEL_MOUNT_MATRIX")) {
            if (auto m = iio::parseMountMatrix(*text))
                return {*m, "udev ACCEL_MOUNT_MATRIX \"" + *text + "\""};
            LOG(vek::kLogWarning, device() << ": udev ACCEL_MOUNT_MATRIX \"" << *text
                                           << "\" is not a usable mount matrix; passed over");
        }
    }
    for (const auto& candidate : plan.mountMatrices) {
        int err = 0;
        const auto text = iio::readAttribute(dir / candidate, err);
        if (!text) {
            LOG(vek::kLogWarning, device() << ": " << candidate << ": " << errorText(err));
            continue;
        }
        if (auto m = iio::parseMountMatrix(*text))
            return {*m, candidate + " \"" + *text + "\""};
        LOG(vek::kLogWarning, device() << ": " << candidate << " \"" << *text
                                       << "\" is not a usable mount matrix; passed over");
    }
    return none;
}

std::size_t Channels::sourceAxis(std::size_t i, const std::array<double, 3>& unmounted) const {
    if (axes.size() != 3)
        return 0;
    std::size_t best = 0;
    for (std::size_t c = 1; c < 3; ++c) {
        if (std::abs(mount.value[i * 3 + c] * unmounted[c]) >
            std::abs(mount.value[i * 3 + best] * unmounted[best])) {
            best = c;
        }
    }
    return best;
}

bool Channels::implausible(double value, std::size_t axis, double raw) {
    lastError = ERANGE;
    const iio::AxisPlan& a = plan.axes[axis];
    const iio::Plausible& bounds = plan.row->plausible;
    const std::string cause = "implausible " + a.value;
    if (cause == lastLogged)
        return false;
    lastLogged = cause;
    std::ostringstream result, from;
    result << std::setprecision(4) << bounds.quantity << " of " << value << " " << bounds.unit;
    const bool scaled = a.raw && !a.scale.empty();
    if (scaled)
        from << a.scale.name << " " << axes[axis].scale;
    else
        from << a.value << " " << raw;
    std::ostringstream line;
    line << device() << " (" << name << "): " << a.value << " " << raw;
    if (a.raw && !a.offset.empty())
        line << " + " << a.offset.name << " " << axes[axis].offset;
    if (scaled)
        line << " x " << a.scale.name << " " << axes[axis].scale;
    line << " gives " << result.str() << ", outside " << bounds.low << ".." << bounds.high
         << ": readings not used";
    LOG(vek::kLogError, line.str());
    notes->add(locator, {device() + " (" + name + "): the driver" + (scaled ? "'s scale" : "") +
                             " gives " + result.str() + " (" + from.str() + "): readings not used",
                         false});
    return false;
}

bool Channels::chooseNearLevel() {
    nearLevel.reset();
    nearSource = "none (anything above 0 is near)";
    if (!plan.nearLevel.empty()) {
        double level = 0.0;
        if (!readInfo(plan.nearLevel.name, level))
            return false;
        nearLevel = level;
        nearSource = plan.nearLevel.source();
        return true;
    }
    if (auto text = iio::udevProperty(locator, "PROXIMITY_NEAR_LEVEL")) {
        if (auto level = iio::parseNumber(*text)) {
            nearLevel = *level;
            nearSource = "udev PROXIMITY_NEAR_LEVEL";
            return true;
        }
        LOG(vek::kLogWarning,
            device() << ": udev PROXIMITY_NEAR_LEVEL \"" << *text << "\" is not a number");
    }
    notes->add(locator,
               {device() + " (" + name + ") has no near level from its driver or " +
                    "from udev (PROXIMITY_NEAR_LEVEL): any reading above 0 " + "counted as near",
                false});
    return true;
}

bool Channels::readNumbers(std::array<AxisNumbers, 3>& out) {
    std::vector<std::int64_t> scan;
    int err = 0;
    if (buffer && !buffer->latest(scan, readTimeout() / 2, err))
        return fail(err, node);
    for (std::size_t i = 0; i < axes.size() && i < 3; ++i) {
        double value = 0.0;
        if (buffer) {
            value = static_cast<double>(scan[i]);
        } else if (const auto v = axes[i].value.readNumber()) {
            value = *v;
        } else {
            return fail(axes[i].value.error(), axes[i].value.path());
        }
        // A buffered axis is raw by its plan: the scan holds the device's counts.
        out[i] = {value, plan.axes[i].raw, axes[i].scale, axes[i].offset};
    }
    return true;
}

bool Channels::read(Sample& out) {
    if (!opened && !open())
        return false;
    std::array<AxisNumbers, 3> numbers;
    if (!readNumbers(numbers))
        return false;
    const std::size_t count = std::min<std::size_t>(axes.size(), 3);
    const Conversion c =
        convert(*plan.row, std::span(numbers).first(count), mount.value, nearLevel);
    for (std::size_t i = 0; i < count; ++i) {
        if (!std::isfinite(c.channel[i]))
            return fail(EINVAL, dir / plan.axes[i].value);
    }
    const iio::Plausible& bounds = plan.row->plausible;
    for (std::size_t i = 0; i < count; ++i) {
        if (c.module[i] < bounds.low || c.module[i] > bounds.high) {
            const std::size_t from = sourceAxis(i, c.channel);
            return implausible(c.module[i], from, numbers[from].value);
        }
    }
    lastError = 0;
    lastLogged.clear();
    out = c.sample;
    return true;
}

std::shared_ptr<Channels> channelsFor(const fs::path& dir, const std::string& locator,
                                      const std::string& name, const fs::path& node,
                                      const iio::ChannelPlan& plan,
                                      std::shared_ptr<iio::NoteBoard> notes) {
    auto ch = std::make_shared<Channels>();
    ch->dir = dir;
    ch->locator = locator;
    ch->name = name;
    ch->node = node;
    ch->plan = plan;
    ch->notes = std::move(notes);
    return ch;
}

}  // namespace libOrra::iio
