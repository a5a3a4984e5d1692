#include "libOrra/IioBackend.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <condition_variable>
#include <cstdlib>
#include <fstream>
#include <thread>

#include "../SensorObject.h"
#include "../StoppableThread.h"
#include "BoundedReader.h"
#include "IioChannels.h"
#include "libOrra/IioAttribute.h"

namespace fs = std::filesystem;

namespace libOrra {
namespace {

std::atomic<long> s_readTimeoutMs{1000};

std::chrono::milliseconds readTimeout() {
    return std::chrono::milliseconds(s_readTimeoutMs.load());
}

// One sysfs attribute kept open and re-read with pread: sysfs regenerates the text on every
// read from offset 0, so the descriptor never needs reopening while the device lives.
class Attribute {
public:
    Attribute() = default;
    explicit Attribute(const fs::path& path) {
        fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        error_ = fd_ < 0 ? errno : 0;
    }
    ~Attribute() {
        if (fd_ >= 0)
            ::close(fd_);
    }
    Attribute(Attribute&& o) noexcept : fd_(o.fd_), error_(o.error_) { o.fd_ = -1; }
    Attribute& operator=(Attribute&&) = delete;

    bool isOpen() const { return fd_ >= 0; }
    // The number the attribute holds; on failure error() tells why (EINVAL for garbage).
    std::optional<double> read() {
        if (fd_ < 0)
            return std::nullopt;
        char buf[64];
        const ssize_t n = ::pread(fd_, buf, sizeof buf - 1, 0);
        if (n < 0) {
            error_ = errno;
            return std::nullopt;
        }
        const auto v = iio::parseNumber(std::string_view(buf, static_cast<std::size_t>(n)));
        error_ = v ? 0 : EINVAL;
        return v;
    }
    int error() const { return error_; }

private:
    int fd_ = -1;
    int error_ = ENOENT;
};

std::optional<std::string> readText(const fs::path& p) {
    std::ifstream in(p);
    if (!in)
        return std::nullopt;
    std::string s;
    std::getline(in, s);
    return s;
}

std::optional<double> readNumberOnce(const fs::path& p) {
    const auto t = readText(p);
    return t ? iio::parseNumber(*t) : std::nullopt;
}

// The first of the row's value attributes that the device has for `axis`.
std::optional<std::string> findValue(const fs::path& dir, const iio::ChannelRow& row,
                                     std::string_view axis) {
    std::error_code ec;
    for (auto pattern : row.values) {
        const std::string name = iio::expand(pattern, axis);
        if (fs::exists(dir / name, ec))
            return name;
    }
    return std::nullopt;
}

bool rowMatches(const fs::path& dir, const iio::ChannelRow& row) {
    const bool axes = row.role == iio::Role::Vector || row.role == iio::Role::Field;
    return findValue(dir, row, axes ? "x" : "").has_value();
}

// The live channels of one sensor, shared with the bounded reader (a stuck read may outlive
// the sensor object).
struct Channels {
    struct Axis {
        Attribute value;
        bool raw = false;
        double scale = 1.0;
        double offset = 0.0;
    };
    fs::path dir;
    iio::Role role = iio::Role::Vector;
    double factor = 1.0;
    std::vector<Axis> axes;
    iio::Matrix3 mount = iio::kIdentity;
    double nearLevel = 0.0;
    double frequency = 10.0;
    int lastError = 0;

    // Reads one sample; false (with lastError) when any axis cannot be read.
    bool read(Sample& out) {
        double v[3] = {0, 0, 0};
        for (std::size_t i = 0; i < axes.size() && i < 3; ++i) {
            const auto value = axes[i].value.read();
            if (!value) {
                lastError = axes[i].value.error();
                return false;
            }
            v[i] = axes[i].raw ? (*value + axes[i].offset) * axes[i].scale : *value;
        }
        lastError = 0;
        if (axes.size() == 3) {
            double m[3];
            for (int r = 0; r < 3; ++r) {
                m[r] = mount[r * 3] * v[0] + mount[r * 3 + 1] * v[1] + mount[r * 3 + 2] * v[2];
            }
            std::copy(m, m + 3, v);
        }
        switch (role) {
            case iio::Role::Vector:
                out.x = v[0] * factor, out.y = v[1] * factor, out.z = v[2] * factor;
                out.kind = 2;
                break;
            case iio::Role::Heading:
                out.heading = std::fmod(v[0] * factor + 360.0, 360.0);
                out.headingValid = true;
                break;
            case iio::Role::Field: {
                // Device flat, y up the screen: the heading of the y axis from magnetic north.
                double h = std::atan2(-v[0], v[1]) * 180.0 / 3.14159265358979323846;
                out.heading = h < 0 ? h + 360.0 : h;
                out.headingValid = v[0] != 0.0 || v[1] != 0.0;
                out.x = v[0], out.y = v[1], out.z = v[2];
                break;
            }
            case iio::Role::Lux:
                out.lux = static_cast<float>(v[0] * factor);
                break;
            case iio::Role::Presence:
            case iio::Role::Distance:
                out.x = v[0] * factor;
                break;
        }
        return true;
    }
};

std::shared_ptr<Channels> bind(const fs::path& dir, const iio::ChannelRow& row) {
    auto ch = std::make_shared<Channels>();
    ch->dir = dir;
    ch->role = row.role;
    ch->factor = row.factor;
    const bool threeAxes = row.role == iio::Role::Vector || row.role == iio::Role::Field;
    const std::string_view axisNames[] = {"x", "y", "z"};
    const std::string typeScale = "in_" + std::string(row.type) + "_scale";
    const std::string typeOffset = "in_" + std::string(row.type) + "_offset";
    for (int i = 0; i < (threeAxes ? 3 : 1); ++i) {
        const auto name = findValue(dir, row, threeAxes ? axisNames[i] : "");
        if (!name)
            return nullptr;
        Channels::Axis axis{Attribute(dir / *name), iio::isRaw(*name), 1.0, 0.0};
        if (axis.raw) {
            const std::string stem(iio::stemOf(*name));
            // Per channel first, then per channel type; absent means 1 and 0.
            axis.scale = readNumberOnce(dir / (stem + "_scale"))
                             .value_or(readNumberOnce(dir / typeScale).value_or(1.0));
            axis.offset = readNumberOnce(dir / (stem + "_offset"))
                              .value_or(readNumberOnce(dir / typeOffset).value_or(0.0));
        }
        ch->axes.push_back(std::move(axis));
    }
    for (const std::string& mount :
         {"in_" + std::string(row.type) + "_mount_matrix", std::string("mount_matrix")}) {
        if (auto text = readText(dir / mount)) {
            if (auto m = iio::parseMountMatrix(*text))
                ch->mount = *m;
            break;
        }
    }
    for (const std::string& freq : {"in_" + std::string(row.type) + "_sampling_frequency",
                                    std::string("sampling_frequency")}) {
        if (auto f = readNumberOnce(dir / freq); f && *f > 0) {
            ch->frequency = std::clamp(*f, 1.0, 100.0);
            break;
        }
    }
    for (const char* near : {"in_proximity_nearlevel", "in_proximity0_nearlevel"}) {
        if (auto n = readNumberOnce(dir / near)) {
            ch->nearLevel = *n;
            break;
        }
    }
    return ch;
}

SensorState stateFromErrno(int err) {
    switch (err) {
        case 0:
            return SENSOR_STATE_READY;
        case EACCES:
        case EPERM:
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
            const auto period = std::chrono::duration<double>(1.0 / channels_->frequency);
            do {
                Sample s;
                if (sample(s).value_or(false))
                    notifyData();
            } while (self.waitFor(period));
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
    ~IioDevice() override { sensor_->Release(); }
    ISensor* sensor() override { return sensor_; }
    bool read(Sample& out) override { return sensor_->sample(out).value_or(false); }

private:
    IioSensorObject* sensor_;
};

// Proximity from IIO: a time-of-flight ranger gives millimetres and sees something while the
// distance is within reach. A unitless proximity channel (reflected light: larger is nearer)
// sees something at or above its near level, or above zero without one, and reports a
// relative distance, kRelativeScale / value clamped to 1..kReachMm: a hand that moves makes it
// change in the same proportion as the raw value, which is all the test's band needs. A
// sensor that only says 0 or 1 reports a constant while near.
class IioProximityStream final : public ProximityStream {
public:
    explicit IioProximityStream(std::shared_ptr<Channels> ch)
        : sensor_(new IioSensorObject(ch)), channels_(std::move(ch)) {}
    ~IioProximityStream() override {
        stop();
        sensor_->Release();
    }
    static constexpr double kReachMm = 2000.0;
    static constexpr double kRelativeScale = 100000.0;

    bool start(ReadingFn onReading, ErrorFn onError) override {
        thread_.start([this, onReading = std::move(onReading),
                       onError = std::move(onError)](StoppableThread& self) {
            const auto period = std::chrono::duration<double>(1.0 / channels_->frequency);
            do {
                Sample s;
                const auto ok = sensor_->sample(s);
                if (ok && !*ok) {
                    onError();
                    return;
                }
                if (ok)
                    deliver(s, onReading);
            } while (self.waitFor(period));
        });
        return true;
    }
    void stop() override { thread_.stop(); }

private:
    void deliver(const Sample& s, const ReadingFn& onReading) const {
        if (channels_->role == iio::Role::Distance) {
            const bool seen = s.x > 0.0 && s.x <= kReachMm;
            onReading(seen, seen ? static_cast<std::uint32_t>(std::lround(s.x)) : 0);
        } else {
            const bool seen = channels_->nearLevel > 0 ? s.x >= channels_->nearLevel : s.x > 0.0;
            const double relative = std::clamp(kRelativeScale / s.x, 1.0, kReachMm);
            onReading(seen, seen ? static_cast<std::uint32_t>(std::lround(relative)) : 0);
        }
    }

    IioSensorObject* sensor_;
    std::shared_ptr<Channels> channels_;
    StoppableThread thread_;
};

}  // namespace

IioBackend::IioBackend(fs::path sysfsRoot) : root_(std::move(sysfsRoot)) {}

fs::path IioBackend::defaultSysfsRoot() {
    const char* root = std::getenv("VEKR_SYSFS_ROOT");
    return root && *root ? fs::path(root) : fs::path("/sys");
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
        std::error_code e;
        const fs::path canonical = fs::canonical(dir, e);
        const std::string locator = e ? dir.string() : canonical.string();
        const std::string name = readText(dir / "name").value_or(dir.filename().string());
        for (SensorKind kind : kAllSensorKinds) {
            for (const auto& row : iio::channelTable()) {
                if (row.kind == kind && rowMatches(dir, row)) {
                    found.push_back({kind, dir, locator, name});
                    break;
                }
            }
        }
    }
    return found;
}

std::vector<SensorInfo> IioBackend::sensors() {
    std::vector<SensorInfo> out;
    for (const auto& f : scan())
        out.push_back({f.kind, f.locator, f.name});
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
        for (const auto& row : iio::channelTable()) {
            if (row.kind != kind || !rowMatches(f.dir, row))
                continue;
            if (auto ch = bind(f.dir, row)) {
                devices.push_back(std::make_unique<IioDevice>(std::move(ch)));
                infos.push_back({f.kind, f.locator, f.name});
            }
            break;
        }
    }
    return true;
}

std::unique_ptr<ProximityStream> IioBackend::openProximity(const std::string& locator) {
    for (const auto& f : scan()) {
        if (f.kind != SensorKind::Proximity || f.locator != locator)
            continue;
        for (const auto& row : iio::channelTable()) {
            if (row.kind == SensorKind::Proximity && rowMatches(f.dir, row)) {
                if (auto ch = bind(f.dir, row))
                    return std::make_unique<IioProximityStream>(ch);
            }
        }
    }
    return nullptr;
}

}  // namespace libOrra
