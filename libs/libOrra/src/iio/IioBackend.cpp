#include "libOrra/IioBackend.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <iomanip>
#include <map>
#include <mutex>
#include <sstream>
#include <system_error>
#include <thread>

#include "../SensorObject.h"
#include "../StoppableThread.h"
#include "BoundedReader.h"
#include "BufferStream.h"
#include "DeviceHolders.h"
#include "IioChannels.h"
#include "SysfsFile.h"
#include "UdevProperties.h"
#include "libOrra/IioAttribute.h"
#include "vek/CallWithin.h"
#include "vek/Logging.h"

namespace fs = std::filesystem;

namespace libOrra {
namespace iio {

// Notes about devices, posted from the sensors' reader threads and taken by the host after
// each run. Shared by the backend and every sensor it opened.
class NoteBoard {
public:
    void add(const std::string& locator, DeviceNote note) {
        std::lock_guard lock(mutex_);
        auto& list = notes_[locator];
        for (const auto& n : list) {
            if (n.text == note.text)
                return;
        }
        list.push_back(std::move(note));
    }
    std::vector<DeviceNote> take(const std::string& locator) {
        std::lock_guard lock(mutex_);
        auto it = notes_.find(locator);
        if (it == notes_.end())
            return {};
        auto out = std::move(it->second);
        notes_.erase(it);
        return out;
    }

private:
    std::mutex mutex_;
    std::map<std::string, std::vector<DeviceNote>> notes_;
};

}  // namespace iio

namespace {

std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "libOrra.iio";
#define LOG(priority, expr) VEK_LOG(s_logger, kLoggerName, priority, expr)

std::atomic<long> s_readTimeoutMs{1000};

std::chrono::milliseconds readTimeout() {
    return std::chrono::milliseconds(s_readTimeoutMs.load());
}

std::string errorText(int err) {
    return err == EINVAL ? "not a finite number" : std::generic_category().message(err);
}

// A unitless proximity channel (reflected light: larger is nearer) reports a relative
// distance, kRelativeScale / value clamped to 1..kReachMm: a hand that moves makes it change
// in the same proportion as the raw value, which is all the test's band needs.
constexpr double kReachMm = 2000.0;
constexpr double kRelativeScale = 100000.0;

// The names in a device folder, and those of its buffer's channels as "scan_elements/<name>".
// Listing a sysfs folder never reaches the driver, so it needs no bound.
iio::FileNames listFiles(const fs::path& dir) {
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

// The live channels of one sensor. Opened and read only on the sensor's reader thread (a
// stuck read may outlive the sensor object, hence shared); `frequency` is also read by the
// event thread.
struct Channels {
    struct Axis {
        iio::SysfsFile value;
        double scale = 1.0;
        double offset = 0.0;
    };
    fs::path dir;
    std::string locator;
    std::string name;
    fs::path node;
    iio::ChannelPlan plan;
    std::shared_ptr<iio::NoteBoard> notes;

    bool opened = false;
    std::vector<Axis> axes;
    std::unique_ptr<iio::BufferStream> buffer;
    iio::Matrix3 mount = iio::kIdentity;
    std::string mountSource;  // where `mount` came from, for the device report
    std::optional<double> nearLevel;
    std::string nearSource;
    std::atomic<double> frequency{10.0};
    int lastError = 0;
    std::string lastLogged;
    bool busyNoted = false;

    std::string device() const { return dir.filename().string(); }

    // Records why the sensor cannot be read now: the errno that its state reflects, one log
    // line per new cause, and for EBUSY a note for the report naming who holds the device.
    bool fail(int err, const fs::path& file) {
        lastError = err;
        const std::string cause = file.string() + ": " + errorText(err);
        if (cause != lastLogged) {
            LOG(vek::kLogError, device() << " (" << name << "): " << cause);
            lastLogged = cause;
        }
        if (err == EBUSY && !busyNoted) {
            busyNoted = true;
            notes->add(locator,
                       {iio::busyNote(device(), name, node, iio::findHolders(node)), true});
        }
        return false;
    }

    // A number attribute that must be usable when it is present.
    bool readInfo(const std::string& attribute, double& out) {
        if (attribute.empty())
            return true;
        iio::SysfsFile f(dir / attribute);
        const auto v = f.readNumber();
        if (!v)
            return fail(f.error(), f.path());
        out = *v;
        return true;
    }

    bool open() {
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
            if (a.raw && (!readInfo(a.scale, axis.scale) || !readInfo(a.offset, axis.offset)))
                return false;
            axes.push_back(std::move(axis));
        }
        mount = chooseMountMatrix();
        if (plan.frequency) {
            int err = 0;
            const auto text = iio::readAttribute(dir / *plan.frequency, err);
            const auto f = text ? iio::parseNumber(*text) : std::nullopt;
            if (f && *f > 0)
                frequency.store(std::clamp(*f, 1.0, 100.0));
        }
        if (plan.row->role == iio::Role::Presence && !chooseNearLevel())
            return false;
        opened = true;
        return true;
    }

    // For accelerometers udev's ACCEL_MOUNT_MATRIX first: systemd's hwdb sets it for machines
    // whose firmware matrix is wrong, and documents it as replacing the kernel's (as
    // iio-sensor-proxy reads it). Then the driver's matrix by the kernel's names, best first.
    // A matrix that cannot be read, does not parse or is degenerate is passed over for the
    // next; none gives the identity.
    iio::Matrix3 chooseMountMatrix() {
        mountSource = "none (identity)";
        if (plan.axes.size() != 3)
            return iio::kIdentity;
        if (plan.row->kind == SensorKind::Accelerometer) {
            if (auto text = iio::udevProperty(locator, "ACCEL_MOUNT_MATRIX")) {
                if (auto m = iio::parseMountMatrix(*text)) {
                    mountSource = "udev ACCEL_MOUNT_MATRIX \"" + *text + "\"";
                    return *m;
                }
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
            if (auto m = iio::parseMountMatrix(*text)) {
                mountSource = candidate + " \"" + *text + "\"";
                return *m;
            }
            LOG(vek::kLogWarning, device() << ": " << candidate << " \"" << *text
                                           << "\" is not a usable mount matrix; passed over");
        }
        return iio::kIdentity;
    }

    // The axis whose reading made most of corrected axis `i` (the matrix mixes them).
    std::size_t sourceAxis(std::size_t i, const double (&unmounted)[3]) const {
        if (axes.size() != 3)
            return 0;
        std::size_t best = 0;
        for (std::size_t c = 1; c < 3; ++c) {
            if (std::abs(mount[i * 3 + c] * unmounted[c]) >
                std::abs(mount[i * 3 + best] * unmounted[best])) {
                best = c;
            }
        }
        return best;
    }

    // A reading that no part of its kind can give: the update fails as for a number that is
    // not finite. The log names the attribute, the raw value, the scale and offset and the
    // result, once per attribute; the run's note says it in a technician's words.
    bool implausible(double value, std::size_t axis, const double (&raw)[3]) {
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
            from << a.scale << " " << axes[axis].scale;
        else
            from << a.value << " " << raw[axis];
        std::ostringstream line;
        line << device() << " (" << name << "): " << a.value << " " << raw[axis];
        if (a.raw && !a.offset.empty())
            line << " + " << a.offset << " " << axes[axis].offset;
        if (scaled)
            line << " x " << a.scale << " " << axes[axis].scale;
        line << " gives " << result.str() << ", outside " << bounds.low << ".." << bounds.high
             << ": readings not used";
        LOG(vek::kLogError, line.str());
        notes->add(locator,
                   {device() + " (" + name + "): the driver" + (scaled ? "'s scale" : "") +
                        " gives " + result.str() + " (" + from.str() + "): readings not used",
                    false});
        return false;
    }

    // The driver's near level, else udev's PROXIMITY_NEAR_LEVEL; without either the sensor
    // sees something above zero, and the report says so.
    bool chooseNearLevel() {
        nearLevel.reset();
        nearSource = "none (anything above 0 is near)";
        if (plan.nearLevel) {
            double level = 0.0;
            if (!readInfo(*plan.nearLevel, level))
                return false;
            nearLevel = level;
            nearSource = *plan.nearLevel + (plan.nearLevel->starts_with("in_proximity_") ? " (type)"
                                            : plan.nearLevel->starts_with("in_") ? " (channel)"
                                                                                 : " (shared)");
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
        notes->add(locator, {device() + " (" + name + ") has no near level from its driver or " +
                                 "from udev (PROXIMITY_NEAR_LEVEL): any reading above 0 " +
                                 "counted as near",
                             false});
        return true;
    }

    // Reads one sample; false (with lastError) when the sensor cannot be read.
    bool read(Sample& out) {
        if (!opened && !open())
            return false;
        double raw[3] = {0, 0, 0};
        double v[3] = {0, 0, 0};
        if (buffer) {
            std::vector<std::int64_t> scan;
            int err = 0;
            if (!buffer->latest(scan, readTimeout() / 2, err))
                return fail(err, node);
            for (std::size_t i = 0; i < axes.size() && i < 3; ++i) {
                raw[i] = static_cast<double>(scan[i]);
                v[i] = (raw[i] + axes[i].offset) * axes[i].scale;
            }
        } else {
            for (std::size_t i = 0; i < axes.size() && i < 3; ++i) {
                const auto value = axes[i].value.readNumber();
                if (!value)
                    return fail(axes[i].value.error(), axes[i].value.path());
                raw[i] = *value;
                v[i] = plan.axes[i].raw ? (*value + axes[i].offset) * axes[i].scale : *value;
            }
        }
        for (std::size_t i = 0; i < axes.size() && i < 3; ++i) {
            if (!std::isfinite(v[i]))
                return fail(EINVAL, dir / plan.axes[i].value);
        }
        const double unmounted[3] = {v[0], v[1], v[2]};
        if (axes.size() == 3) {
            double m[3];
            for (int r = 0; r < 3; ++r) {
                m[r] = mount[r * 3] * v[0] + mount[r * 3 + 1] * v[1] + mount[r * 3 + 2] * v[2];
            }
            std::copy(m, m + 3, v);
        }
        const iio::Plausible& bounds = plan.row->plausible;
        for (std::size_t i = 0; i < axes.size() && i < 3; ++i) {
            const double value = v[i] * plan.row->factor;
            if (value < bounds.low || value > bounds.high)
                return implausible(value, sourceAxis(i, unmounted), raw);
        }
        lastError = 0;
        lastLogged.clear();
        const double factor = plan.row->factor;
        switch (plan.row->role) {
            case iio::Role::Vector:
                out.x = v[0] * factor, out.y = v[1] * factor, out.z = v[2] * factor;
                out.kind = 2;
                break;
            case iio::Role::Heading: {
                const double h = std::fmod(v[0] * factor, 360.0);
                out.heading = h < 0 ? h + 360.0 : h;
                out.headingValid = true;
                break;
            }
            case iio::Role::Field: {
                // Device flat, y up the screen: the heading of the y axis from magnetic north.
                const double h = std::atan2(-v[0], v[1]) * 180.0 / 3.14159265358979323846;
                out.heading = h < 0 ? h + 360.0 : h;
                out.headingValid = v[0] != 0.0 || v[1] != 0.0;
                out.x = v[0], out.y = v[1], out.z = v[2];
                break;
            }
            case iio::Role::Lux:
                out.lux = static_cast<float>(v[0] * factor);
                break;
            case iio::Role::Distance: {
                const double mm = v[0] * factor;
                out.detected = mm > 0.0 && mm <= kReachMm;
                out.x = out.detected ? mm : 0.0;
                break;
            }
            case iio::Role::Presence:
                out.detected = nearLevel ? v[0] >= *nearLevel : v[0] > 0.0;
                out.x = out.detected ? std::clamp(kRelativeScale / v[0], 1.0, kReachMm) : 0.0;
                break;
        }
        return true;
    }
};

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

// An IIO sensor's COM face. While a sink is attached a thread of its own reads at the
// device's sampling frequency and reports each sample to the sink.
class IioSensorObject final : public SensorObject {
public:
    explicit IioSensorObject(std::shared_ptr<Channels> channels) : channels_(std::move(channels)) {}
    ~IioSensorObject() override { stopEvents(); }

    HRESULT GetState(::SensorState* state) override {
        if (!state)
            return E_POINTER;
        std::error_code ec;
        if (!fs::exists(channels_->dir, ec)) {
            *state = SENSOR_STATE_NOT_AVAILABLE;
            return S_OK;
        }
        Sample s;
        const auto ok = sample(s);
        // A read that is still under way: the hub is waking up.
        *state = !ok ? SENSOR_STATE_INITIALIZING : stateFromErrno(lastError_.load());
        return S_OK;
    }

    // One bounded reading: nullopt when it took too long, else whether it succeeded.
    std::optional<bool> sample(Sample& out) {
        auto ch = channels_;
        auto result = std::make_shared<Sample>();
        auto error = std::make_shared<int>(0);
        const auto ok = reader_.run(
            [ch, result, error] {
                const bool good = ch->read(*result);
                *error = ch->lastError;
                return good;
            },
            readTimeout());
        if (!ok)
            return std::nullopt;
        lastError_.store(*error);
        if (*ok)
            out = *result;
        return *ok;
    }

    // Puts the device back as it was found (a buffer it enabled), within the read bound.
    void close() {
        auto ch = channels_;
        reader_.run(
            [ch] {
                ch->buffer.reset();
                ch->opened = false;
                return true;
            },
            readTimeout());
    }

    double frequency() const { return channels_->frequency.load(); }

protected:
    void sinkChanged(bool attached) override {
        if (attached) {
            startEvents();
        } else {
            stopEvents();
        }
    }

private:
    void startEvents() {
        if (events_.running())
            return;
        events_.start([this](StoppableThread& self) {
            do {
                Sample s;
                if (sample(s).value_or(false))
                    notifyData();
            } while (self.waitFor(std::chrono::duration<double>(1.0 / frequency())));
        });
    }
    void stopEvents() { events_.stop(); }

    std::shared_ptr<Channels> channels_;
    iio::BoundedReader reader_;
    std::atomic<int> lastError_{0};
    StoppableThread events_;  // last member: stopped before the rest goes
};

class IioDevice final : public SensorDevice {
public:
    explicit IioDevice(std::shared_ptr<Channels> channels)
        : sensor_(new IioSensorObject(std::move(channels))) {}
    ~IioDevice() override {
        sensor_->close();
        sensor_->Release();
    }
    ISensor* sensor() override { return sensor_; }
    bool read(Sample& out) override { return sensor_->sample(out).value_or(false); }

private:
    IioSensorObject* sensor_;
};

// Proximity from IIO: a time-of-flight ranger gives millimetres and sees something while the
// distance is within reach; a unitless channel sees something at or above its near level.
class IioProximityStream final : public ProximityStream {
public:
    explicit IioProximityStream(std::shared_ptr<Channels> ch)
        : sensor_(new IioSensorObject(std::move(ch))) {}
    ~IioProximityStream() override {
        stop();
        sensor_->close();
        sensor_->Release();
    }

    bool start(ReadingFn onReading, ErrorFn onError) override {
        thread_.start([this, onReading = std::move(onReading),
                       onError = std::move(onError)](StoppableThread& self) {
            do {
                Sample s;
                const auto ok = sensor_->sample(s);
                if (ok && !*ok) {
                    onError();
                    return;
                }
                if (ok) {
                    onReading(s.detected,
                              s.detected ? static_cast<std::uint32_t>(std::lround(s.x)) : 0);
                }
            } while (self.waitFor(std::chrono::duration<double>(1.0 / sensor_->frequency())));
        });
        return true;
    }
    void stop() override { thread_.stop(); }

private:
    IioSensorObject* sensor_;
    StoppableThread thread_;
};

}  // namespace

struct IioBackend::Found {
    SensorKind kind;
    fs::path dir;
    std::string locator;
    std::string name;
    fs::path node;
    iio::ChannelPlan plan;
};

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
    s_readTimeoutMs.store(static_cast<long>(timeout.count()));
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
        if (identity && !identity->second.empty())
            name += " (" + identity->second + ")";
        for (auto& [kind, plan] : plans)
            found.push_back({kind, dir, locator, name, node, std::move(plan)});
    }
    return found;
}

std::vector<SensorInfo> IioBackend::sensors() {
    std::vector<SensorInfo> out;
    for (const auto& f : scan())
        out.push_back({f.kind, f.locator, f.name});
    return out;
}

namespace {
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
}  // namespace

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
        devices.push_back(std::make_unique<IioDevice>(
            channelsFor(f.dir, f.locator, f.name, f.node, f.plan, notes_)));
        infos.push_back({f.kind, f.locator, f.name});
    }
    return true;
}

std::unique_ptr<ProximityStream> IioBackend::openProximity(const std::string& locator) {
    for (const auto& f : scan()) {
        if (f.kind == SensorKind::Proximity && f.locator == locator) {
            return std::make_unique<IioProximityStream>(
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

namespace {

// Where an info attribute sits in the kernel's naming (`info` is "scale", "offset",
// "sampling_frequency", "nearlevel"): the channel's own, its type's, its direction's, or one
// shared by all channels.
std::string origin(const std::string& attribute, const iio::ChannelRow& row, const char* info) {
    if (attribute.empty())
        return "none";
    const std::string type = "in_" + std::string(row.type) + "_" + info;
    const std::string where = attribute == type                        ? "type"
                              : attribute == std::string("in_") + info ? "direction"
                              : attribute == info                      ? "shared"
                                                                       : "channel";
    return attribute + " (" + where + ")";
}

std::string number(double v) {
    std::ostringstream out;
    out << std::setprecision(6) << v;
    return out.str();
}

std::string readingText(const iio::ChannelRow& row, const Sample& s) {
    std::ostringstream out;
    out << std::setprecision(4);
    switch (row.role) {
        case iio::Role::Vector:
            out << s.x << " " << s.y << " " << s.z << " " << row.plausible.unit;
            break;
        case iio::Role::Heading:
            out << "heading " << s.heading << " degrees";
            break;
        case iio::Role::Field:
            out << s.x << " " << s.y << " " << s.z << " gauss, heading " << s.heading << " degrees";
            break;
        case iio::Role::Lux:
            out << s.lux << " lux";
            break;
        case iio::Role::Distance:
        case iio::Role::Presence:
            out << (s.detected ? "near, " + number(std::round(s.x)) + " mm" : "nothing near");
            break;
    }
    return out.str();
}

}  // namespace

std::vector<std::string> IioBackend::explain(SensorKind kind, const std::string& locator) {
    std::vector<std::string> lines;
    for (const auto& f : scan()) {
        if (f.kind != kind || f.locator != locator)
            continue;
        auto ch = channelsFor(f.dir, f.locator, f.name, f.node, f.plan, notes_);
        auto* sensor = new IioSensorObject(ch);  // counted: Release() below deletes it
        Sample s;
        const auto read = sensor->sample(s);
        const iio::ChannelRow& row = *f.plan.row;
        lines.push_back("device " + f.dir.filename().string() + ", driver " + f.name);
        static constexpr const char* kAxes[] = {"x", "y", "z"};
        for (std::size_t i = 0; i < f.plan.axes.size(); ++i) {
            const iio::AxisPlan& a = f.plan.axes[i];
            std::string line = f.plan.axes.size() == 3 ? std::string(kAxes[i]) + ": " : "value: ";
            line += f.plan.buffered ? "buffer scan_elements/" + a.value : a.value;
            if (a.raw) {
                line += ", scale " + origin(a.scale, row, "scale");
                if (read && !a.scale.empty())
                    line += " " + number(ch->axes[i].scale);
                line += ", offset " + origin(a.offset, row, "offset");
                if (read && !a.offset.empty())
                    line += " " + number(ch->axes[i].offset);
            }
            lines.push_back(line);
        }
        if (f.plan.axes.size() == 3)
            lines.push_back("mount matrix: " + (read ? ch->mountSource : std::string("not read")));
        lines.push_back(
            "sampling frequency: " +
            (f.plan.frequency ? origin(*f.plan.frequency, row, "sampling_frequency") : "none") +
            (read ? ", reads at " + number(ch->frequency.load()) + " Hz" : ""));
        if (row.role == iio::Role::Presence)
            lines.push_back("near level: " + (read ? ch->nearSource : std::string("not read")) +
                            (read && ch->nearLevel ? " " + number(*ch->nearLevel) : ""));
        if (!read) {
            lines.push_back("reading: none within " +
                            number(std::chrono::duration<double>(readTimeout()).count()) + " s");
        } else if (*read) {
            lines.push_back("reading: " + readingText(row, s) + ", plausible");
        } else {
            std::string why = errorText(ch->lastError);
            for (const auto& n : notes_->take(locator))
                why = n.text;
            lines.push_back("reading: none: " + why);
        }
        const auto holders = iio::findHolders(f.node);
        for (const auto& h : holders)
            lines.push_back("held by: " + h.command + " (pid " + std::to_string(h.pid) + ")");
        sensor->close();
        sensor->Release();
    }
    return lines;
}

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
        auto* sensor = new IioSensorObject(ch);  // counted: Release() below deletes it
        Sample s;
        const bool read = sensor->sample(s).has_value();
        sensor->close();
        sensor->Release();
        Mounting m;
        if (read) {
            m.applied = ch->mount;
            m.source = ch->mountSource;
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
