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
#include "IioSensorChannels.h"
#include "SysfsFile.h"
#include "UdevProperties.h"
#include "libOrra/IioAttribute.h"
#include "vek/CallWithin.h"
#include "vek/Logging.h"

namespace fs = std::filesystem;

namespace libOrra {

using iio::Channels;
using iio::channelsFor;
using iio::errorText;
using iio::listFiles;
using iio::readTimeout;
using iio::stateFromErrno;

namespace {

std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "libOrra.iio";
#define LOG(priority, expr) VEK_LOG(s_logger, kLoggerName, priority, expr)

// An IIO sensor's COM face. While a sink is attached a thread of its own reads at the
// device's sampling frequency and reports each sample to the sink.
class IioSensorObject final : public SensorObject {
public:
    // A new sensor object over `channels`, held by the one reference it starts with.
    static ComPtr<IioSensorObject> create(std::shared_ptr<Channels> channels) {
        return ComPtr<IioSensorObject>::adopt(new IioSensorObject(std::move(channels)));
    }
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
    explicit IioSensorObject(std::shared_ptr<Channels> channels) : channels_(std::move(channels)) {}

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
        : sensor_(IioSensorObject::create(std::move(channels))) {}
    ~IioDevice() override { sensor_->close(); }
    ISensor* sensor() override { return sensor_.get(); }
    bool read(Sample& out) override { return sensor_->sample(out).value_or(false); }

private:
    ComPtr<IioSensorObject> sensor_;
};

// Proximity from IIO: a time-of-flight ranger gives millimetres and sees something while the
// distance is within reach; a unitless channel sees something at or above its near level.
class IioProximityStream final : public ProximityStream {
public:
    explicit IioProximityStream(std::shared_ptr<Channels> ch)
        : sensor_(IioSensorObject::create(std::move(ch))) {}
    ~IioProximityStream() override {
        stop();
        sensor_->close();
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
    ComPtr<IioSensorObject> sensor_;
    StoppableThread thread_;  // last member: stopped before the sensor goes
};

}  // namespace

std::optional<bool> iio::sampleOnce(const std::shared_ptr<Channels>& channels, Sample& out) {
    const auto sensor = IioSensorObject::create(channels);
    const auto read = sensor->sample(out);
    sensor->close();
    return read;
}

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
        devices.push_back(std::make_unique<IioDevice>(
            channelsFor(f.dir, f.locator, f.name, f.node, f.plan, notes_)));
        infos.push_back({f.kind, f.locator, f.name, f.label});
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

}  // namespace libOrra
