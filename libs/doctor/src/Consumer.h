#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "doctor/Doctor.h"
#include "libOrra/SensorBackend.h"

// The consumer link: what iio-sensor-proxy, the desktop's reader of the sensors, is and says.
// GNOME and KDE learn of the sensors only through it (net.hadess.SensorProxy on the system
// bus), so a sensor the module reads well can still be missing for the desktop.
namespace doctor {

// A connection to the system bus as every client opens it (DBUS_SYSTEM_BUS_ADDRESS, else the
// well-known socket). Every call is bounded (kCallTimeout) and never starts a service. After
// a call times out the bus counts as not answering and every later call fails at once.
// Owned by one examine(); one thread at a time.
class SystemBus {
public:
    static constexpr std::chrono::seconds kCallTimeout{2};

    SystemBus();
    ~SystemBus();
    SystemBus(const SystemBus&) = delete;
    SystemBus& operator=(const SystemBus&) = delete;

    bool usable() const { return bus_ != nullptr; }
    // Why the bus, or the last call, failed.
    const std::string& why() const { return why_; }
    // The address as the client read it, for the facts' sources.
    const std::string& address() const { return address_; }

    std::optional<bool> nameHasOwner(const std::string& name);
    // A property through org.freedesktop.DBus.Properties.Get; nullopt with why().
    std::optional<bool> getBool(const char* dest, const char* path, const char* iface,
                                const char* property);
    std::optional<double> getDouble(const char* dest, const char* path, const char* iface,
                                    const char* property);
    std::optional<std::string> getString(const char* dest, const char* path, const char* iface,
                                         const char* property);
    // A method without arguments or an answer worth reading (Claim*, Release*).
    bool callPlain(const char* dest, const char* path, const char* iface, const char* method);
    // systemd's GetUnit: the unit's object path; nullopt with why() (NoSuchUnit: not loaded).
    std::optional<std::string> unitPath(const std::string& unit);

    struct Bus;  // the sd-bus connection, known to SystemBus.cpp alone

private:
    Bus* bus_ = nullptr;
    std::string why_;
    std::string address_;
};

// The daemon's installation, read once without running it.
struct ProxyInstall {
    std::optional<std::string> program;  // the path of its binary or D-Bus service file
    std::optional<std::string> version;  // as the package database holds it
    std::string versionSource;           // where the version was read
};

ProxyInstall proxyInstall(const std::filesystem::path& root = "/");

// The orientation iio-sensor-proxy derives from a mount-corrected reading in g (IIO's signs),
// as its src/orientation.c (orientation_calc) does from a start with none: "normal",
// "bottom-up", "left-up", "right-up", or "undefined" when the device lies flat or on the
// border of two.
std::string proxyOrientation(const libOrra::Sample& g);

// What the desktop's reader says of every chain, read over one bus connection. Owned by
// examine(); one thread at a time (the calls go one after the other on one connection).
class DesktopReader {
public:
    DesktopReader();
    ~DesktopReader();
    // The consumer link of a chain whose own readings had `mean` (none: not read); `remedy`
    // is set where the link breaks.
    Link link(libOrra::SensorKind kind, const std::optional<libOrra::Sample>& mean,
              std::string& remedy);

private:
    std::optional<Link> commonState();
    Link answers(libOrra::SensorKind kind, const std::optional<libOrra::Sample>& mean,
                 std::string& remedy);

    ProxyInstall install_;
    std::unique_ptr<SystemBus> bus_;
    std::optional<bool> running_;  // the daemon's name has an owner
    std::string service_;          // what systemd says of the unit, with its source
    std::string serviceSource_;
    bool versionBad_ = false;
    std::string versionFact_;
};

// What a chain's own iio and readings links gave the consumer link to compare with.
struct OwnReadings {
    bool read = false;                    // iioAndReadings ran for the chain
    std::optional<libOrra::Sample> mean;  // the mean of its readings, where it took any
};

// Appends the consumer link to every declared chain (`own` is parallel to `chains`): skipped
// behind a broken link, else what the desktop's reader says, compared with `own`. Opens the
// system bus only where some chain asks. Bounded: every call at most kCallTimeout.
void consumerLinks(std::vector<Chain>& chains, const std::vector<OwnReadings>& own);

}  // namespace doctor
