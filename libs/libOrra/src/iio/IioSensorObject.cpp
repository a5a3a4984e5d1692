#include "IioSensorObject.h"

#include <chrono>
#include <cmath>
#include <filesystem>
#include <system_error>

#include "../SensorObject.h"
#include "../StoppableThread.h"
#include "BoundedReader.h"

namespace fs = std::filesystem;

namespace libOrra::iio {
namespace {

// An IIO sensor's COM face. Held by ComPtr (the device, stream or one-off reading that made it)
// and by whoever took a reference through AddRef, such as the record. Any thread may call it:
// each reading runs on its reader thread within readTimeout(). While a sink is attached a
// thread of its own reads at the device's sampling frequency and reports each sample to it.
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

// A record's IIO sensor: owned by the record that represents it, read from the thread that owns
// the record. When it goes, the device is put back as it was found (a buffer it enabled).
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
// Owned by whoever opened it (the proximity bridge), started and stopped from the owner's
// thread; readings and errors come from the stream's own thread.
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

std::unique_ptr<SensorDevice> openDevice(std::shared_ptr<Channels> channels) {
    return std::make_unique<IioDevice>(std::move(channels));
}

std::unique_ptr<ProximityStream> openProximityStream(std::shared_ptr<Channels> channels) {
    return std::make_unique<IioProximityStream>(std::move(channels));
}

std::optional<bool> sampleOnce(const std::shared_ptr<Channels>& channels, Sample& out) {
    const auto sensor = IioSensorObject::create(channels);
    const auto read = sensor->sample(out);
    sensor->close();
    return read;
}

}  // namespace libOrra::iio
