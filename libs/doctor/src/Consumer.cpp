#include "Consumer.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <thread>

namespace fs = std::filesystem;

namespace doctor {
namespace {

using State = Link::State;

constexpr const char* kName = "net.hadess.SensorProxy";
constexpr const char* kPath = "/net/hadess/SensorProxy";
constexpr const char* kUnit = "iio-sensor-proxy.service";
constexpr const char* kDpkgStatus = "var/lib/dpkg/status";
// How long the daemon may take after a claim to publish a value that agrees with ours: it
// polls a sensor at its sampling frequency, or every 700 ms where none is published.
constexpr std::chrono::milliseconds kSettle{2000};

// What the desktop loses when it cannot read the kind.
std::string desktopLoss(libOrra::SensorKind kind) {
    switch (kind) {
        case libOrra::SensorKind::Light:
            return "the brightness will not follow the room";
        case libOrra::SensorKind::Proximity:
            return "the screen will not blank at the ear";
        case libOrra::SensorKind::Magnetometer:
            return "maps get no heading";
        default:
            return "the screen will not turn";
    }
}

std::string throughProxyOnly(libOrra::SensorKind kind) {
    return "GNOME and KDE learn of the sensors only through iio-sensor-proxy: " + desktopLoss(kind);
}

// The Version field of `package`'s stanza in dpkg's status file, where dpkg calls it installed.
std::optional<std::string> dpkgVersion(const fs::path& status, const std::string& package) {
    std::ifstream in(status);
    std::string line, version;
    bool ours = false, installed = false;
    const auto done = [&]() -> std::optional<std::string> {
        if (ours && installed && !version.empty())
            return version;
        return std::nullopt;
    };
    while (std::getline(in, line)) {
        if (line.empty()) {
            if (auto v = done())
                return v;
            ours = installed = false;
            version.clear();
        } else if (line.rfind("Package: ", 0) == 0) {
            ours = line.substr(9) == package;
        } else if (line.rfind("Status: ", 0) == 0) {
            installed = line.find(" installed") != std::string::npos;
        } else if (line.rfind("Version: ", 0) == 0) {
            version = line.substr(9);
        }
    }
    return done();
}

// 3.7 reads buffered sensors wrongly (its buffer regression); a Debian version such as
// "1:3.7-2" carries the upstream one between the epoch and the revision.
bool knownBad(const std::string& version) {
    std::string upstream =
        version.substr(version.find(':') == std::string::npos ? 0 : version.find(':') + 1);
    upstream = upstream.substr(0, upstream.rfind('-'));
    return upstream.rfind("3.7", 0) == 0 &&
           (upstream.size() == 3 || !std::isdigit(static_cast<unsigned char>(upstream[3])));
}

// Reads `get` until `agrees` holds of it or kSettle passes; the last answer.
template <typename T, typename Get, typename Agrees>
std::optional<T> settle(Get get, Agrees agrees) {
    const auto deadline = std::chrono::steady_clock::now() + kSettle;
    std::optional<T> last = get();
    while (last && !agrees(*last) && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        last = get();
    }
    return last;
}

std::string number(double v) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3g", v);
    return text;
}

}  // namespace

ProxyInstall proxyInstall(const fs::path& root) {
    ProxyInstall out;
    for (const char* p : {"usr/libexec/iio-sensor-proxy", "usr/sbin/iio-sensor-proxy",
                          "usr/share/dbus-1/system-services/net.hadess.SensorProxy.service"}) {
        std::error_code ec;
        if (fs::exists(root / p, ec)) {
            out.program = (root / p).string();
            break;
        }
    }
    out.versionSource = (root / kDpkgStatus).string();
    out.version = dpkgVersion(root / kDpkgStatus, "iio-sensor-proxy");
    return out;
}

std::string proxyOrientation(const libOrra::Sample& g) {
    // orientation_calc works on integers where 1 g is 256, after its accelerometer drivers
    // turned x and y around ("to match the Pegatron accelerometer code"); 35 degrees from
    // level tips it to an edge, portrait checked first. With no previous orientation its
    // hysteresis (SAME_AXIS_LIMIT) does not apply.
    constexpr double kOneG = 256.0 * 9.80665 / 9.81;
    const int x = static_cast<int>(-g.x * kOneG);
    const int y = static_cast<int>(-g.y * kOneG);
    const int z = static_cast<int>(g.z * kOneG);
    constexpr double kDegrees = 180.0 / 3.14159265358979323846;
    constexpr int kThreshold = 35;
    const auto tilt = [&](int along, int a, int b) {
        const double across = std::sqrt(static_cast<double>(a) * a + static_cast<double>(b) * b);
        return static_cast<int>(std::round(std::atan(along / across) * kDegrees));
    };
    if (const int portrait = tilt(x, y, z); std::abs(portrait) > kThreshold)
        return portrait < 0 ? "left-up" : "right-up";
    if (const int landscape = tilt(y, x, z); std::abs(landscape) > kThreshold)
        return landscape < 0 ? "bottom-up" : "normal";
    return "undefined";
}

DesktopReader::DesktopReader() : install_(proxyInstall()) {
    if (install_.version && knownBad(*install_.version)) {
        versionBad_ = true;
        versionFact_ = "iio-sensor-proxy " + *install_.version +
                       " has 3.7's buffer regression: sensors it reads through their IIO "
                       "buffer may give the desktop no values; use another release";
    }
    bus_ = std::make_unique<SystemBus>();
    if (!bus_->usable())
        return;
    running_ = bus_->nameHasOwner(kName);
    serviceSource_ = "org.freedesktop.systemd1 on the system bus";
    const auto systemd = bus_->nameHasOwner("org.freedesktop.systemd1");
    if (!systemd || !*systemd) {
        service_ = "no systemd on the system bus: whether its service runs is not known";
        return;
    }
    const auto unit = bus_->unitPath(kUnit);
    const auto state = unit ? bus_->getString("org.freedesktop.systemd1", unit->c_str(),
                                              "org.freedesktop.systemd1.Unit", "ActiveState")
                            : std::nullopt;
    service_ = std::string(kUnit) + (state ? " is " + *state : " is not loaded");
}

DesktopReader::~DesktopReader() = default;

// The installation, the bus and the service, the same for every chain: a link where they
// already decide it, else nullopt and the daemon's answers decide.
std::optional<Link> DesktopReader::commonState() {
    Link link{"consumer", State::Unknown, "", ""};
    if (!install_.program && !install_.version && !(running_ && *running_)) {
        link.fact =
            "iio-sensor-proxy is not installed (no /usr/libexec/iio-sensor-proxy, "
            "/usr/sbin/iio-sensor-proxy or D-Bus service file, nor in the dpkg "
            "database)";
        link.source = install_.versionSource;
        return link;
    }
    link.source = install_.program.value_or(install_.versionSource);
    if (!bus_->usable()) {
        link.fact = "iio-sensor-proxy is installed, but " + bus_->why();
        link.source = bus_->address();
        return link;
    }
    if (!running_) {
        link.fact = "the system bus did not say whether iio-sensor-proxy runs: " + bus_->why();
        link.source = bus_->address();
        return link;
    }
    if (!*running_) {
        link.state = State::Warn;
        link.fact = "iio-sensor-proxy is installed but not on the system bus (" + service_ +
                    "): start it (systemctl start iio-sensor-proxy)";
        link.source = std::string(kName) + " on the system bus";
        return link;
    }
    return std::nullopt;
}

namespace {

std::string propertySource(const char* property) {
    return std::string(kName) + " " + property + " on the system bus";
}

// The daemon's Has<sensor>: nullopt where it has one, else the link it decides. Saying none
// while the module reads one is broken: the desktop sees none.
std::optional<Link> lacks(SystemBus& bus, const char* path, const char* iface, const char* property,
                          const std::optional<libOrra::Sample>& mean, const std::string& what,
                          std::string& remedy) {
    const auto has = bus.getBool(kName, path, iface, property);
    if (has && *has)
        return std::nullopt;
    Link link{"consumer", State::Unknown, "", propertySource(property)};
    if (!has) {
        link.fact = std::string(property) + " could not be read: " + bus.why();
    } else if (!mean) {
        link.fact = "iio-sensor-proxy has no " + what + ", and the module took no readings";
    } else {
        link.state = State::Broken;
        link.fact = std::string("iio-sensor-proxy says ") + property +
                    " false while the module reads one: the desktop sees no " + what;
        remedy =
            "Restart iio-sensor-proxy (systemctl restart iio-sensor-proxy), read its log "
            "(journalctl -u iio-sensor-proxy; or stop it and run "
            "G_MESSAGES_DEBUG=all /usr/sbin/iio-sensor-proxy as root) for why it passed "
            "the sensor over, and check its version: an older release may not know the "
            "driver or its udev rules.";
    }
    return link;
}

// The daemon's value once claimed, against ours: `agrees` and `text` judge and show a value.
template <typename T, typename Read, typename Agrees, typename Text>
Link claimed(SystemBus& bus, const char* sensor, const char* property, Read read,
             const std::optional<T>& ours, Agrees agrees, Text text) {
    Link link{"consumer", State::Unknown, "", propertySource(property)};
    const std::string claim = std::string("Claim") + sensor;
    if (!bus.callPlain(kName, kPath, kName, claim.c_str())) {
        link.fact = claim + " failed: " + bus.why();
        return link;
    }
    const auto says = settle<T>(read, [&](const T& v) { return ours && agrees(v, *ours); });
    bus.callPlain(kName, kPath, kName, (std::string("Release") + sensor).c_str());
    if (!says) {
        link.fact = std::string(property) + " could not be read: " + bus.why();
    } else if (!ours) {
        link.fact = "iio-sensor-proxy says " + text(*says) + "; not compared";
    } else if (agrees(*says, *ours)) {
        link.state = State::Ok;
        link.fact = "iio-sensor-proxy says " + text(*says) + ", as the sensor reads";
    } else {
        link.state = State::Warn;
        link.fact = "iio-sensor-proxy says " + text(*says) + ", the sensor reads " + text(*ours);
    }
    return link;
}

Link accelerometer(SystemBus& bus, const std::optional<libOrra::Sample>& mean) {
    std::optional<std::string> ours;
    if (mean)
        ours = proxyOrientation(*mean);
    if (ours == "undefined") {
        ours.reset();  // flat or between two: the daemon keeps whatever it had before
    }
    return claimed<std::string>(
        bus, "Accelerometer", "AccelerometerOrientation",
        [&] { return bus.getString(kName, kPath, kName, "AccelerometerOrientation"); }, ours,
        [](const std::string& a, const std::string& b) { return a == b; },
        [](const std::string& v) { return v; });
}

Link light(SystemBus& bus, const std::optional<libOrra::Sample>& mean) {
    const auto unit = bus.getString(kName, kPath, kName, "LightLevelUnit");
    std::optional<double> ours;
    if (mean && unit == "lux")
        ours = mean->lux;
    // A room's light flickers and two reads round apart: 5 lux or 15 %, as the buffer check.
    return claimed<double>(
        bus, "Light", "LightLevel",
        [&] { return bus.getDouble(kName, kPath, kName, "LightLevel"); }, ours,
        [](double a, double b) { return std::abs(a - b) <= 5.0 + 0.15 * std::max(a, b); },
        [&](double v) { return number(v) + " " + unit.value_or("(no unit)"); });
}

Link proximity(SystemBus& bus, const std::optional<libOrra::Sample>& mean) {
    std::optional<bool> ours;
    if (mean)
        ours = mean->detected;
    return claimed<bool>(
        bus, "Proximity", "ProximityNear",
        [&] { return bus.getBool(kName, kPath, kName, "ProximityNear"); }, ours,
        [](bool a, bool b) { return a == b; },
        [](bool near) { return std::string(near ? "near" : "nothing near"); });
}

}  // namespace

Link DesktopReader::answers(libOrra::SensorKind kind, const std::optional<libOrra::Sample>& mean,
                            std::string& remedy) {
    SystemBus& bus = *bus_;
    switch (kind) {
        case libOrra::SensorKind::Accelerometer:
            if (auto l =
                    lacks(bus, kPath, kName, "HasAccelerometer", mean, "accelerometer", remedy)) {
                return *l;
            }
            return accelerometer(bus, mean);
        case libOrra::SensorKind::Light:
            if (auto l =
                    lacks(bus, kPath, kName, "HasAmbientLight", mean, "light sensor", remedy)) {
                return *l;
            }
            return light(bus, mean);
        case libOrra::SensorKind::Proximity:
            if (auto l =
                    lacks(bus, kPath, kName, "HasProximity", mean, "proximity sensor", remedy)) {
                return *l;
            }
            return proximity(bus, mean);
        default: {
            const char* path = "/net/hadess/SensorProxy/Compass";
            if (auto l = lacks(bus, path, "net.hadess.SensorProxy.Compass", "HasCompass", mean,
                               "compass", remedy)) {
                return *l;
            }
            return {"consumer", State::Ok,
                    "iio-sensor-proxy offers it as a compass, to geoclue alone: not compared",
                    propertySource("HasCompass")};
        }
    }
}

Link DesktopReader::link(libOrra::SensorKind kind, const std::optional<libOrra::Sample>& mean,
                         std::string& remedy) {
    if (kind == libOrra::SensorKind::Gyrometer) {
        return {"consumer", State::Unknown,
                "iio-sensor-proxy carries no gyrometer: no desktop reads it over the system bus",
                ""};
    }
    if (auto common = commonState()) {
        if (common->state == State::Unknown)
            common->fact.append(": ").append(throughProxyOnly(kind));
        return *common;
    }
    Link link = answers(kind, mean, remedy);
    link.fact.append("; iio-sensor-proxy ")
        .append(install_.version.value_or("of a version the dpkg database does not hold"))
        .append(" (dpkg database ")
        .append(install_.versionSource)
        .append(")");
    if (install_.program)
        link.fact.append(" at ").append(*install_.program);
    if (!service_.empty())
        link.fact.append("; ").append(service_);
    if (versionBad_) {
        if (link.state == State::Ok)
            link.state = State::Warn;
        link.fact.append("; ").append(versionFact_);
    }
    return link;
}

void consumerLinks(std::vector<Chain>& chains, const std::vector<OwnReadings>& own) {
    std::unique_ptr<DesktopReader> reader;
    for (std::size_t i = 0; i < chains.size() && i < own.size(); ++i) {
        Chain& c = chains[i];
        if (!c.declared || c.hub)
            continue;  // a hub's sensors have chains of their own
        if (c.firstBroken || !own[i].read) {
            // Behind a broken link, or nothing read.
            c.links.push_back(
                {"consumer", c.firstBroken ? State::Skipped : State::Unknown, "", ""});
            continue;
        }
        if (!reader)
            reader = std::make_unique<DesktopReader>();
        std::string remedy;
        Link link = reader->link(c.kind, own[i].mean, remedy);
        if (link.state == State::Broken) {
            c.firstBroken = link.name;
            c.remedy = remedy;
        }
        c.links.push_back(std::move(link));
    }
}

}  // namespace doctor
