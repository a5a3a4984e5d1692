#include "doctor/Doctor.h"

#include <sys/utsname.h>

#include <algorithm>
#include <cstdlib>
#include <future>

#include "Consumer.h"
#include "Facts.h"
#include "Mounting.h"
#include "libOrra/IioBackend.h"

namespace fs = std::filesystem;

namespace doctor {
namespace {

using State = Link::State;

// The kind as a person names it.
std::string personsWord(libOrra::SensorKind kind) {
    switch (kind) {
        case libOrra::SensorKind::Light:
            return "ambient light sensor";
        case libOrra::SensorKind::Proximity:
            return "proximity sensor";
        case libOrra::SensorKind::Magnetometer:
            return "compass (magnetometer)";
        default:
            return std::string(libOrra::kindName(kind));
    }
}

fs::path fromEnv(const char* name, const fs::path& otherwise) {
    const char* v = std::getenv(name);
    return v && *v ? fs::path(v) : otherwise;
}

std::vector<fs::path> iioChildren(const std::optional<fs::path>& node) {
    std::vector<fs::path> out;
    std::error_code ec;
    if (!node)
        return out;
    for (fs::directory_iterator it(*node, ec), end; !ec && it != end; it.increment(ec)) {
        if (it->path().filename().string().rfind("iio:device", 0) == 0)
            out.push_back(it->path());
    }
    std::sort(out.begin(), out.end());
    return out;
}

void breakAt(Chain& chain, Link link, std::string remedy) {
    if (!chain.firstBroken) {
        chain.firstBroken = link.name;
        chain.remedy = std::move(remedy);
    }
    chain.links.push_back(std::move(link));
}

// The driver link of a declared device: bound, or why not.
void driverLink(Chain& chain, const FirmwareDevice& d, const KnownSensor& k,
                const KernelModules& modules, const KernelLog& log) {
    const fs::path node = d.physicalNode.value_or(d.path);
    if (const std::string bound = boundDriver(node); !bound.empty()) {
        chain.links.push_back(
            {"driver", State::Ok, "bound to " + bound, (node / "driver").string()});
        return;
    }
    const std::string module(k.module);
    if (!modules.readable()) {
        chain.links.push_back({"driver", State::Unknown, "no driver bound; " + modules.why(),
                               (node / "driver").string()});
        return;
    }
    const std::string found = modules.moduleFor(d.modalias);
    const std::string source = (modules.folder() / "modules.alias").string();
    if (found.empty() && !modules.builtIn(module)) {
        breakAt(chain,
                {"driver", State::Broken,
                 "no driver bound, and this kernel has no module for " + d.modalias +
                     " (the kernel drives it with " + module + ")",
                 source},
                "Use a kernel built with the " + module + " driver (drivers/" +
                    std::string(k.source) +
                    "), e.g. your distribution's newer kernel, or ask "
                    "its maintainers to enable it.");
        return;
    }
    const std::string name = found.empty() ? module : found;
    const std::string problem = log.problemNaming(node.filename().string());
    if (!problem.empty()) {
        breakAt(chain,
                {"driver", State::Broken, name + " failed to start it: " + problem,
                 log.source().string()},
                "The driver found the device but could not start it. Send this report and "
                "the kernel log to the " +
                    name + " driver's maintainers (linux-iio).");
        return;
    }
    if (!modules.loaded(name) && !modules.builtIn(name)) {
        breakAt(chain,
                {"driver", State::Broken, "module " + name + " is in this kernel but not loaded",
                 source},
                "Load it (sudo modprobe " + name +
                    ") and look at the kernel log for why it "
                    "was not loaded at boot.");
        return;
    }
    breakAt(chain,
            {"driver", State::Broken,
             name + " is loaded but did not bind; the kernel log " +
                 (log.readable() ? "names no problem" : "could not be read: " + log.why()),
             log.source().string()},
            "Rebind the driver or reboot; if it stays unbound, report it with the kernel log.");
}

Chain declaredChain(const FirmwareDevice& d, const KnownSensor& k) {
    Chain chain;
    chain.kind = k.kind;
    chain.locator = d.path.string();
    chain.name = std::string(k.chip) + " (" + d.name + ")";
    const std::string what = std::string(d.acpi ? "ACPI " : "device tree ") + d.id + ": " +
                             std::string(k.chip) + " " + personsWord(k.kind) + " (kernel drivers/" +
                             std::string(k.source) + ")";
    chain.links.push_back(
        {"firmware", State::Ok, what, (d.path / (d.acpi ? "hid" : "compatible")).string()});
    return chain;
}

// The ChromeOS EC's sensor hub, the platform device its driver adds when the EC has motion
// sensors (drivers/platform/chrome/cros_ec_sensorhub.c): none is no break (a clamshell
// Chromebook has no sensors); one without its driver keeps every sensor from IIO.
std::optional<Link> ecSensorHubBroken(const Roots& roots, std::string& fact) {
    for (const fs::path& dev : entries(roots.sysfs / "bus/platform/devices")) {
        if (!dev.filename().string().starts_with("cros-ec-sensorhub"))
            continue;
        const std::string bound = boundDriver(dev);
        if (bound == "cros-ec-sensorhub") {
            fact = "; its sensor hub " + dev.filename().string() + " is bound to " + bound;
            return std::nullopt;
        }
        return Link{"driver", State::Broken,
                    "the EC runs, but its sensor hub " + dev.filename().string() +
                        " has no driver (cros-ec-sensorhub): no motion sensor reaches IIO",
                    (dev / "driver").string()};
    }
    fact = "; the EC offers no motion sensors (no cros-ec-sensorhub device)";
    return std::nullopt;
}

void hubChains(const Roots& roots, const KernelLog& log, std::vector<Chain>& out) {
    for (const SensorHub& hub : sensorHubs(roots)) {
        Chain chain;
        chain.hub = true;
        chain.locator = hub.path.string();
        chain.name = hub.what + " (" + hub.path.filename().string() + ")";
        chain.links.push_back({"firmware", State::Ok, hub.what, hub.path.string()});
        const std::string bound = boundDriver(hub.path);
        std::optional<Link> ecLink;
        std::string ecFact;
        if (bound != hub.expectedDriver) {
            breakAt(chain,
                    {"driver", State::Broken,
                     bound.empty() ? "no driver bound"
                                   : "bound to " + bound + ", not " + hub.expectedDriver,
                     (hub.path / "driver").string()},
                    bound.empty()
                        ? "Use a kernel with the " + hub.expectedDriver + " driver for this hub."
                        : "Another driver took the hub, so its sensors never reach "
                          "the " +
                              hub.expectedDriver +
                              " driver: report it to the kernel's "
                              "input maintainers (linux-input) with this report.");
        } else if (hub.expectedDriver == "intel_ish_ipc" && [&] {
                       std::error_code ec;
                       return fs::is_empty(roots.sysfs / "bus/ishtp/devices", ec) || ec;
                   }()) {
            const std::string problem = log.problemNaming("ISH loader");
            breakAt(chain,
                    {"driver", State::Broken,
                     "bound to " + bound +
                         ", but its firmware did not come up: no ISH "
                         "clients" +
                         (problem.empty() ? "" : "; the kernel says: " + problem),
                     (roots.sysfs / "bus/ishtp/devices").string()},
                    "The hub's firmware did not load: update linux-firmware and the kernel; some "
                    "machines need the vendor's signed firmware (intel/ish/ish_*.bin).");
        } else if (hub.expectedDriver == "cros_ec_lpcs" &&
                   (ecLink = ecSensorHubBroken(roots, ecFact))) {
            breakAt(chain, std::move(*ecLink),
                    "This kernel lacks the ChromeOS EC's sensor drivers, or they are not loaded: "
                    "sudo modprobe cros_ec_sensorhub cros_ec_sensors (CONFIG_CROS_EC_SENSORHUB, "
                    "CONFIG_IIO_CROS_EC_SENSORS).");
        } else {
            chain.links.push_back({"driver", State::Ok, "bound to " + bound + ecFact,
                                   (hub.path / "driver").string()});
            chain.links.push_back({"iio", State::Unknown,
                                   "the sensors behind it are followed in chains of their own",
                                   ""});
            chain.links.push_back({"readings", State::Unknown, "", ""});
        }
        out.push_back(std::move(chain));
    }
}

// What to do about a broken iio or readings link.
std::string remedyFor(const Link& link) {
    if (link.name == "iio") {
        return "The driver runs but offers no readable sensor: look in the kernel log for the "
               "driver's messages, and report it to its maintainers (linux-iio).";
    }
    if (link.fact.rfind("frozen", 0) == 0) {
        return "The sensor answers with the same values: power the machine off completely and "
               "on again (a warm reboot can leave a chip stuck); if it stays frozen, report it "
               "to the driver's maintainers (mxc4005, for one, was fixed so: kernel bugzilla "
               "218578).";
    }
    return "The sensor does not answer reads: look in the kernel log for I/O errors, and report "
           "it to the driver's maintainers.";
}

// "kxcjk1013" and "kxcjk_1013" name one driver: sysfs and modules.alias spell it apart.
std::string plain(std::string_view name) {
    std::string out;
    for (char c : name) {
        if (c != '_' && c != '-')
            out += c;
    }
    return out;
}

// The module whose rows describe `d`: where two drivers list its ID (BOSC0200: bmc150 and
// bmi323, whose probe reads the chip's ID to decide), the one bound to it, else the first.
std::string_view claimingModule(const FirmwareDevice& d) {
    const std::string bound = plain(boundDriver(d.physicalNode.value_or(d.path)));
    for (const KnownSensor* k : d.known) {
        if (!bound.empty() && plain(k->module).rfind(bound, 0) == 0)
            return k->module;
    }
    return d.known.front()->module;
}

// The chains of the devices the firmware declares. A disabled device is a fact of its kind's
// chain and breaks it only when no enabled device of that kind exists.
void declaredChains(const Roots& roots, std::vector<Chain>& out,
                    std::vector<std::vector<fs::path>>& iio) {
    const KernelModules modules(roots);
    const KernelLog log(roots);
    const auto devices = declaredSensors(roots);
    const auto enabledOfKind = [&](libOrra::SensorKind kind) {
        return std::any_of(devices.begin(), devices.end(), [kind](const FirmwareDevice& d) {
            return d.enabled() &&
                   std::any_of(d.known.begin(), d.known.end(),
                               [kind](const KnownSensor* k) { return k->kind == kind; });
        });
    };
    std::vector<std::string> disabledFacts;
    for (const FirmwareDevice& d : devices) {
        std::vector<libOrra::SensorKind> kinds;
        const std::string_view module = claimingModule(d);
        for (const KnownSensor* k : d.known) {
            if (k->module != module ||
                std::find(kinds.begin(), kinds.end(), k->kind) != kinds.end()) {
                continue;
            }
            kinds.push_back(k->kind);
            Chain chain = declaredChain(d, *k);
            if (!d.enabled()) {
                const std::string fact = d.name + " is disabled by the firmware (status " +
                                         std::to_string(*d.status) + ")";
                if (enabledOfKind(k->kind)) {
                    disabledFacts.push_back(fact);
                    continue;
                }
                chain.links.clear();
                breakAt(chain, {"firmware", State::Broken, fact, (d.path / "status").string()},
                        "The firmware declares the sensor but turns it off: look for a sensor or "
                        "rotation setting in the firmware setup, or a firmware update.");
            } else {
                driverLink(chain, d, *k, modules, log);
            }
            iio.push_back(chain.firstBroken ? std::vector<fs::path>{}
                                            : iioChildren(d.physicalNode));
            out.push_back(std::move(chain));
        }
    }
    for (Chain& c : out) {
        for (const std::string& f : disabledFacts)
            c.links.front().fact += "; also declared: " + f;
    }
    hubChains(roots, log, out);
    iio.resize(out.size());
}

// The firmware link of an IIO sensor no declared device accounts for: a sensor hub's child
// (its path says which hub), or a device the table does not know.
Link hubOf(const fs::path& dir, const std::string& locator) {
    const std::string path = dir.string();
    if (path.find("HID-SENSOR-") != std::string::npos)
        return {"firmware", State::Ok, "behind a HID sensor hub", locator};
    if (path.find("cros-ec-") != std::string::npos)
        return {"firmware", State::Ok, "behind the ChromeOS EC sensor hub", locator};
    return {"firmware", State::Unknown, "not matched to a device the firmware declares", locator};
}

// IIO sensors no declared device accounts for (behind a sensor hub, or of a chip the table
// does not know): a chain each, from the driver that made them.
void otherSensorChains(const Roots& roots, std::vector<Chain>& out,
                       std::vector<std::vector<fs::path>>& iio) {
    std::vector<std::string> claimed;
    for (const auto& list : iio) {
        for (const fs::path& p : list)
            claimed.push_back(fs::weakly_canonical(p).string());
    }
    libOrra::IioBackend backend(roots.sysfs, roots.dev);
    for (const libOrra::SensorInfo& s : backend.sensors()) {
        const fs::path dir = fs::weakly_canonical(s.locator);
        if (std::find(claimed.begin(), claimed.end(), dir.string()) != claimed.end())
            continue;
        Chain chain;
        chain.kind = s.kind;
        chain.locator = s.locator;
        chain.name = s.name;
        chain.links.push_back(hubOf(dir, s.locator));
        const std::string bound = boundDriver(dir.parent_path());
        chain.links.push_back({"driver", bound.empty() ? State::Unknown : State::Ok,
                               bound.empty() ? "the driver could not be named" : "made by " + bound,
                               (dir.parent_path() / "driver").string()});
        iio.push_back({dir});
        out.push_back(std::move(chain));
    }
}

}  // namespace

Roots Roots::fromEnvironment() {
    Roots r;
    r.sysfs = fromEnv("VEKR_SYSFS_ROOT", "/sys");
    r.dev = fromEnv("VEKR_DEV_ROOT", "/dev");
    r.proc = fromEnv("VEKR_PROC_ROOT", "/proc");
    r.kernelLog = fromEnv("VEKR_KERNEL_LOG", "/dev/kmsg");
    r.journal = fromEnv("VEKR_JOURNAL_DIR", "");
    utsname u{};
    uname(&u);
    r.modules = fromEnv("VEKR_MODULES_DIR", fs::path("/lib/modules") / u.release);
    return r;
}

std::string_view stateName(Link::State state) {
    switch (state) {
        case State::Ok:
            return "ok";
        case State::Warn:
            return "warn";
        case State::Broken:
            return "broken";
        case State::Skipped:
            return "skipped";
        case State::Unknown:
            break;
    }
    return "unknown";
}

std::string_view Chain::what() const {
    return hub ? "SensorHub" : libOrra::capabilityName(kind);
}

std::string_view Chain::verdict() const {
    if (!declared)
        return "NODEVICE";
    if (firstBroken)
        return "FAIL";
    const bool warn = std::any_of(links.begin(), links.end(),
                                  [](const Link& l) { return l.state == State::Warn; });
    return warn ? "WARN" : "PASS";
}

std::vector<Chain> examine(const Roots& roots) {
    std::vector<Chain> chains;
    std::vector<std::vector<fs::path>> iio;
    declaredChains(roots, chains, iio);
    otherSensorChains(roots, chains, iio);
    // The iio and readings links, side by side: about a second of readings each.
    std::vector<std::future<IioReadings>> pending(chains.size());
    std::vector<OwnReadings> own(chains.size());
    for (std::size_t i = 0; i < chains.size(); ++i) {
        if (!chains[i].firstBroken && chains[i].links.size() == 2)
            pending[i] =
                std::async(std::launch::async, iioAndReadings, roots, chains[i].kind, iio[i]);
    }
    for (std::size_t i = 0; i < chains.size(); ++i) {
        Chain& c = chains[i];
        if (pending[i].valid()) {
            IioReadings read = pending[i].get();
            own[i] = {true, read.mean};
            for (Link& l : read.links) {
                if (l.state == State::Broken) {
                    std::string remedy = remedyFor(l);
                    breakAt(c, std::move(l), std::move(remedy));
                } else
                    c.links.push_back(std::move(l));
            }
        }
        for (const char* name : {"driver", "iio", "readings"}) {
            const bool has = std::any_of(c.links.begin(), c.links.end(),
                                         [name](const Link& l) { return l.name == name; });
            if (!has && c.firstBroken)
                c.links.push_back({name, State::Skipped, "", ""});
        }
        if (c.kind == libOrra::SensorKind::Accelerometer && !c.hub)
            addMountingLink(roots, c);  // skipped after a broken link, as the others are
    }
    // What the desktop's reader says, after every reading: a claim makes it read the device.
    consumerLinks(chains, own);
    for (libOrra::SensorKind kind : libOrra::kAllSensorKinds) {
        if (std::none_of(chains.begin(), chains.end(),
                         [kind](const Chain& c) { return c.kind == kind && !c.hub; })) {
            Chain none;
            none.kind = kind;
            none.declared = false;
            none.name = "this machine declares no " + personsWord(kind) +
                        " (looked at the ACPI devices, the device tree, the PCI sensor hubs "
                        "and the IIO devices under " +
                        roots.sysfs.string() + ")";
            chains.push_back(std::move(none));
        }
    }
    return chains;
}

}  // namespace doctor
