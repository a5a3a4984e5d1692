#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <thread>

#include "Facts.h"
#include "libOrra/IioBackend.h"
#include "platform/Sensors.h"

namespace fs = std::filesystem;

namespace doctor {
namespace {

// About a second of readings, taken as a poller would.
constexpr int kReadings = 20;
constexpr std::chrono::milliseconds kBetween{50};

std::string canonicalText(const fs::path& p) {
    std::error_code ec;
    const fs::path c = fs::canonical(p, ec);
    return ec ? p.string() : c.string();
}

// Three axes carry a real sensor's noise; a light or proximity sensor may hold one value for
// as long as nothing moves in front of it.
bool noisy(libOrra::SensorKind kind) {
    return kind == libOrra::SensorKind::Accelerometer || kind == libOrra::SensorKind::Gyrometer ||
           kind == libOrra::SensorKind::Magnetometer;
}

Link readingsLink(libOrra::SensorDevice& device, libOrra::SensorKind kind,
                  const std::string& locator) {
    Link link{"readings", Link::State::Ok, "", locator};
    std::vector<std::array<double, 5>> seen;
    int failed = 0;
    for (int i = 0; i < kReadings; ++i) {
        libOrra::Sample s;
        if (device.read(s))
            seen.push_back({s.x, s.y, s.z, s.lux, s.heading});
        else
            ++failed;
        std::this_thread::sleep_for(kBetween);
    }
    if (seen.empty()) {
        link.state = Link::State::Broken;
        link.fact = "none of " + std::to_string(kReadings) + " readings could be taken";
        return link;
    }
    const bool frozen =
        noisy(kind) && seen.size() >= 5 &&
        std::all_of(seen.begin(), seen.end(), [&](const auto& v) { return v == seen.front(); });
    if (frozen) {
        link.state = Link::State::Broken;
        link.fact = "frozen: " + std::to_string(seen.size()) +
                    " readings over about a second are all identical (x " +
                    std::to_string(seen.front()[0]) + ")";
        return link;
    }
    if (failed > 0) {
        link.state = Link::State::Warn;
        link.fact = std::to_string(failed) + " of " + std::to_string(kReadings) +
                    " readings failed or were implausible";
        return link;
    }
    link.fact = std::to_string(seen.size()) + " plausible readings" +
                (noisy(kind) ? ", changing as a live sensor's do" : "");
    return link;
}

std::string hertz(double v) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f Hz", v);
    return text;
}

// The published rate, judged only where the buffer gives each scan its own time: the measured
// rate within 90-220 % of the sampling frequency and no gap over 1.8 periods, as Android's
// sensor tests judge. A rate out of range is a warning, never a break.
void judgeRate(Link& link, const libOrra::IioBackend::BufferTimes& t) {
    if (t.nanoseconds.size() < 3 || !t.frequency) {
        link.fact +=
            "; rate not judged: " +
            (t.why.empty() ? std::string("too few timed scans or no published rate") : t.why);
        return;
    }
    const double seconds = static_cast<double>(t.nanoseconds.back() - t.nanoseconds.front()) * 1e-9;
    const double rate = seconds > 0 ? static_cast<double>(t.nanoseconds.size() - 1) / seconds : 0;
    const double period = 1e9 / *t.frequency;
    int gaps = 0;
    for (std::size_t i = 1; i < t.nanoseconds.size(); ++i)
        gaps += static_cast<double>(t.nanoseconds[i] - t.nanoseconds[i - 1]) > 1.8 * period;
    const double share = rate / *t.frequency;
    link.fact += "; " + hertz(rate) + " measured from the buffer's own times against " +
                 hertz(*t.frequency) + " published";
    if (gaps > 0)
        link.fact += ", " + std::to_string(gaps) + " gaps over 1.8 periods";
    if ((share < 0.9 || share > 2.2 || gaps > 0) && link.state == Link::State::Ok)
        link.state = Link::State::Warn;
}

}  // namespace

std::vector<Link> iioAndReadings(const Roots& roots, libOrra::SensorKind kind,
                                 const std::vector<fs::path>& iioDevices) {
    const std::string kindText(libOrra::kindName(kind));
    Link iio{"iio", Link::State::Broken, "", ""};
    if (iioDevices.empty()) {
        iio.fact = "the driver made no IIO device";
        return {iio, {"readings", Link::State::Skipped, "", ""}};
    }
    iio.source = iioDevices.front().string();
    std::vector<std::string> wanted;
    for (const fs::path& d : iioDevices)
        wanted.push_back(canonicalText(d));
    libOrra::IioBackend backend(roots.sysfs, roots.dev);
    std::vector<std::unique_ptr<libOrra::SensorDevice>> devices;
    std::vector<libOrra::SensorInfo> infos;
    backend.open(kind, devices, infos);
    for (std::size_t i = 0; i < devices.size() && i < infos.size(); ++i) {
        if (std::find(wanted.begin(), wanted.end(), canonicalText(infos[i].locator)) ==
            wanted.end()) {
            continue;
        }
        iio.source = infos[i].locator;
        platform::SensorState state = platform::SENSOR_STATE_ERROR;
        devices[i]->sensor()->GetState(&state);
        const auto notes = backend.takeNotes(infos[i].locator);
        if (state == platform::SENSOR_STATE_ACCESS_DENIED) {
            iio.state = Link::State::Warn;
            iio.fact = infos[i].name + ": its values may not be read by this user";
            return {iio, {"readings", Link::State::Unknown, "access denied", iio.source}};
        }
        if (!notes.empty() && notes.front().heldElsewhere) {
            iio.state = Link::State::Warn;
            iio.fact = notes.front().text;
            return {iio, {"readings", Link::State::Unknown, "held by another program", ""}};
        }
        iio.state = Link::State::Ok;
        iio.fact = infos[i].name + " carries the " + kindText + "'s channels";
        Link readings = readingsLink(*devices[i], kind, infos[i].locator);
        devices.clear();  // the buffer is read on its own, after the polled readings
        if (readings.state != Link::State::Broken)
            judgeRate(readings, backend.bufferTimes(infos[i].locator, std::chrono::seconds(1)));
        return {iio, readings};
    }
    iio.fact = "its IIO devices carry no " + kindText + " channels the module can read";
    return {iio, {"readings", Link::State::Skipped, "", ""}};
}

}  // namespace doctor
