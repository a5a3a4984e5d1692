#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <optional>
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

using Values = std::array<double, 6>;  // x, y, z, lux, heading, near (1) or not (0)

Link readingsLink(libOrra::SensorDevice& device, libOrra::SensorKind kind,
                  const std::string& locator, std::vector<Values>& seen) {
    Link link{"readings", Link::State::Ok, "", locator};
    int failed = 0;
    // A device that stalls each read (a buffer that never fills) still ends within the bound.
    const auto deadline = std::chrono::steady_clock::now() + kReadings * kBetween * 3 / 2;
    for (int i = 0; i < kReadings && std::chrono::steady_clock::now() < deadline; ++i) {
        libOrra::Sample s;
        if (device.read(s))
            seen.push_back({s.x, s.y, s.z, s.lux, s.heading, s.detected ? 1.0 : 0.0});
        else
            ++failed;
        std::this_thread::sleep_for(kBetween);
    }
    if (seen.empty()) {
        link.state = Link::State::Broken;
        link.fact = "none of " + std::to_string(failed) + " readings could be taken";
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
        link.fact = std::to_string(failed) + " of " + std::to_string(failed + seen.size()) +
                    " readings failed or were implausible";
        return link;
    }
    link.fact = std::to_string(seen.size()) + " plausible readings" +
                (noisy(kind) ? ", changing as a live sensor's do" : "");
    return link;
}

Values mean(const std::vector<Values>& values) {
    Values m{};
    for (const Values& v : values) {
        for (std::size_t i = 0; i < m.size(); ++i)
            m[i] += v[i] / static_cast<double>(values.size());
    }
    return m;
}

// The readings' mean as a sample; something is near when it was in most readings.
std::optional<libOrra::Sample> meanSample(const std::vector<Values>& seen) {
    if (seen.empty())
        return std::nullopt;
    const Values m = mean(seen);
    libOrra::Sample s;
    s.x = m[0], s.y = m[1], s.z = m[2], s.lux = static_cast<float>(m[3]), s.heading = m[4];
    s.detected = m[5] >= 0.5;
    return s;
}

// How far apart two means may lie and still agree: a hand-held device moves a little between
// the polled second and the buffered one, and two paths round differently; a wrong scale, a
// wrong byte order or a buffer of zeros lands far outside. Nullopt: the kind is not compared.
struct Agreement {
    std::size_t first, count;  // the components compared
    double absolute;           // in the kind's unit
    const char* unit;
};
std::optional<Agreement> agreementFor(libOrra::SensorKind kind) {
    switch (kind) {
        case libOrra::SensorKind::Accelerometer:
            return Agreement{0, 3, 0.1, "g"};
        case libOrra::SensorKind::Gyrometer:
            return Agreement{0, 3, 5.0, "deg/s"};
        case libOrra::SensorKind::Magnetometer:
            return Agreement{0, 3, 0.05, "gauss"};
        case libOrra::SensorKind::Light:
            return Agreement{3, 1, 5.0, "lux"};
        default:
            return std::nullopt;
    }
}

std::string valuesText(const Values& v, const Agreement& a) {
    std::string text;
    for (std::size_t i = a.first; i < a.first + a.count; ++i) {
        char one[32];
        std::snprintf(one, sizeof one, "%s%.3g", text.empty() ? "" : ", ", v[i]);
        text += one;
    }
    return text.append(" ").append(a.unit);
}

// Where the device has both sysfs values and a buffer carrying the same channels, a few
// readings through the buffer, compared with the polled ones: a desktop streaming the buffer
// (iio-sensor-proxy does) sees what the buffer gives. Apart by more than a moving hand would
// make them, or nothing through the buffer, is a warning naming both; a buffer that cannot be
// opened leaves the comparison unknown.
void compareBuffer(Link& link, libOrra::IioBackend& backend, libOrra::SensorKind kind,
                   const std::string& locator, const Values& polled) {
    const auto agreement = agreementFor(kind);
    auto device = agreement ? backend.openThroughBuffer(kind, locator) : nullptr;
    if (!device)
        return;
    std::vector<Values> buffered;
    const auto deadline = std::chrono::steady_clock::now() + kReadings * kBetween / 2;
    for (int i = 0; i < kReadings / 4 && std::chrono::steady_clock::now() < deadline; ++i) {
        libOrra::Sample s;
        if (device->read(s))
            buffered.push_back({s.x, s.y, s.z, s.lux, s.heading, s.detected ? 1.0 : 0.0});
        std::this_thread::sleep_for(kBetween);
    }
    platform::SensorState state = platform::SENSOR_STATE_ERROR;
    device->sensor()->GetState(&state);
    device.reset();
    const auto notes = backend.takeNotes(locator);
    if (buffered.empty() && state == platform::SENSOR_STATE_ACCESS_DENIED) {
        link.fact +=
            "; buffer against sysfs unknown: " +
            (notes.empty() ? std::string("its buffer could not be opened") : notes.front().text);
        return;
    }
    const auto mark = [&link] {
        if (link.state == Link::State::Ok)
            link.state = Link::State::Warn;
    };
    if (buffered.empty()) {
        link.fact +=
            "; its buffer gave no readings while sysfs did: a desktop that streams the "
            "buffer sees nothing";
        return mark();
    }
    const Values through = mean(buffered);
    double apart = 0, size = 0;
    for (std::size_t i = agreement->first; i < agreement->first + agreement->count; ++i) {
        apart += (through[i] - polled[i]) * (through[i] - polled[i]);
        size = std::max({size, std::abs(through[i]), std::abs(polled[i])});
    }
    const bool agree = std::sqrt(apart) <= agreement->absolute + 0.15 * size;
    link.fact += agree ? "; its buffer agrees with sysfs" : "; its buffer disagrees with sysfs";
    link.fact.append(" (buffer ")
        .append(valuesText(through, *agreement))
        .append(", sysfs ")
        .append(valuesText(polled, *agreement))
        .append(")");
    if (!agree)
        mark();
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

IioReadings iioAndReadings(const Roots& roots, libOrra::SensorKind kind,
                           const std::vector<fs::path>& iioDevices) {
    const std::string kindText(libOrra::kindName(kind));
    Link iio{"iio", Link::State::Broken, "", ""};
    if (iioDevices.empty()) {
        iio.fact = "the driver made no IIO device";
        return {{iio, {"readings", Link::State::Skipped, "", ""}}, std::nullopt};
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
            return {{iio, {"readings", Link::State::Unknown, "access denied", iio.source}},
                    std::nullopt};
        }
        if (!notes.empty() && notes.front().heldElsewhere) {
            iio.state = Link::State::Warn;
            iio.fact = notes.front().text;
            return {{iio, {"readings", Link::State::Unknown, "held by another program", ""}},
                    std::nullopt};
        }
        iio.state = Link::State::Ok;
        iio.fact = infos[i].name + " carries the " + kindText + "'s channels";
        std::vector<Values> seen;
        Link readings = readingsLink(*devices[i], kind, infos[i].locator, seen);
        devices.clear();  // the buffer is read on its own, after the polled readings
        if (readings.state != Link::State::Broken) {
            compareBuffer(readings, backend, kind, infos[i].locator, mean(seen));
            judgeRate(readings, backend.bufferTimes(infos[i].locator, std::chrono::seconds(1)));
        }
        return {{iio, readings}, meanSample(seen)};
    }
    iio.fact = "its IIO devices carry no " + kindText + " channels the module can read";
    return {{iio, {"readings", Link::State::Skipped, "", ""}}, std::nullopt};
}

}  // namespace doctor
