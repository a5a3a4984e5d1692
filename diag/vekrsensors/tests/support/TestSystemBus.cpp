#include "TestSystemBus.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>

#include "ModuleProcess.h"

namespace fs = std::filesystem;

namespace {

// A bus or a daemon that takes longer than this to come up is broken, not slow.
constexpr auto kStartLimit = std::chrono::seconds(60);

bool executable(const char* path) {
    return access(path, X_OK) == 0;
}

}  // namespace

TestSystemBus::TestSystemBus(const nlohmann::json& description, const fs::path& sourceDir) {
    const std::string reader = description.value("reader", "");
    const char* needs = reader == "iio-sensor-proxy" ? "/usr/sbin/iio-sensor-proxy"
                        : reader == "dbusmock"       ? "/usr/bin/python3"
                                                     : "/usr/bin/dbus-daemon";
    for (const char* p : {"/usr/bin/dbus-daemon", "/usr/bin/umockdev-run", needs}) {
        if (!executable(p) &&
            (p != std::string("/usr/bin/umockdev-run") || reader == "iio-sensor-proxy")) {
            installed_ = false;
            why_ = std::string(p) + " is not installed";
            return;
        }
    }
    char folder[] = "/tmp/vekr-bus-XXXXXX";  // short: a socket's path has at most 107 bytes
    if (!mkdtemp(folder))
        return;
    dir_ = folder;
    if (!startBus())
        return;
    if (reader == "iio-sensor-proxy") {
        // umockdev-run makes the testbed and says where only to its child: the child writes
        // it down for the module, then becomes the daemon.
        const std::string script = "echo \"$UMOCKDEV_DIR\" > " + (dir_ / "testbed").string() +
                                   " && exec /usr/sbin/iio-sensor-proxy -v";
        groups_.push_back(spawnLogged(
            {"/usr/bin/umockdev-run", "--device",
             (sourceDir / description.at("device").get<std::string>()).string(), "--", "/bin/sh",
             "-c", script},
            (dir_ / "reader.log").string(), {"DBUS_SYSTEM_BUS_ADDRESS=" + address_}, {true, true}));
        available_ = waitForName("net.hadess.SensorProxy");
        std::ifstream in(dir_ / "testbed");
        std::string testbed;
        std::getline(in, testbed);
        testbed_ = testbed;
        if (available_ && testbed_.empty())
            available_ = false, why_ = "umockdev-run did not say where its testbed is";
        if (available_ && description.contains("live"))
            keepChanging(description["live"]);
    } else if (reader == "dbusmock") {
        groups_.push_back(spawnLogged(
            {"/usr/bin/python3", "-m", "dbusmock", "--system", "-t", "iio-sensors-proxy", "-p",
             description.value("answers", nlohmann::json::object()).dump()},
            (dir_ / "reader.log").string(), {"DBUS_SYSTEM_BUS_ADDRESS=" + address_}, {true, true}));
        available_ = waitForName("net.hadess.SensorProxy");
    } else {
        available_ = true;
    }
}

// Debian's dbus-daemon as a system bus that lets anyone own and call anything, listening in the
// case's folder; it writes its address to --print-address once it accepts clients.
bool TestSystemBus::startBus() {
    std::ofstream(dir_ / "bus.conf")
        << "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
           " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
           "<busconfig>\n  <type>system</type>\n  <listen>unix:path="
        << (dir_ / "bus").string()
        << "</listen>\n  <auth>EXTERNAL</auth>\n"
           "  <policy context=\"default\">\n    <allow user=\"*\"/>\n    <allow own=\"*\"/>\n"
           "    <allow send_destination=\"*\"/>\n    <allow receive_sender=\"*\"/>\n"
           "  </policy>\n</busconfig>\n";
    int ready[2];
    if (pipe2(ready, O_CLOEXEC) != 0)
        return false;
    const int childEnd = dup(ready[1]);  // without close-on-exec: the bus keeps it
    groups_.push_back(
        spawnLogged({"/usr/bin/dbus-daemon", "--config-file=" + (dir_ / "bus.conf").string(),
                     "--nofork", "--print-address=" + std::to_string(childEnd)},
                    (dir_ / "bus.log").string(), {}, {true, true}));
    close(childEnd);
    close(ready[1]);
    pollfd pfd{ready[0], POLLIN, 0};
    char c = 0;
    const int limitMs = std::chrono::milliseconds(kStartLimit).count();
    while (groups_.back() > 0 && poll(&pfd, 1, limitMs) > 0 && read(ready[0], &c, 1) == 1 &&
           c != '\n')
        address_ += c;
    close(ready[0]);
    if (address_.empty())
        why_ = "dbus-daemon did not start";
    return !address_.empty();
}

// Asks the bus, every 50 ms for at most kStartLimit, whether `name` has an owner.
bool TestSystemBus::waitForName(const std::string& name) {
    const auto end = std::chrono::steady_clock::now() + kStartLimit;
    while (std::chrono::steady_clock::now() < end) {
        sd_bus* bus = nullptr;
        int has = 0;
        if (sd_bus_new(&bus) >= 0 && sd_bus_set_address(bus, address_.c_str()) >= 0 &&
            sd_bus_set_bus_client(bus, 1) >= 0 && sd_bus_start(bus) >= 0) {
            sd_bus_message* reply = nullptr;
            if (sd_bus_call_method(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                   "org.freedesktop.DBus", "NameHasOwner", nullptr, &reply, "s",
                                   name.c_str()) >= 0) {
                sd_bus_message_read(reply, "b", &has);
            }
            sd_bus_message_unref(reply);
        }
        sd_bus_flush_close_unref(bus);
        if (has)
            return true;
        if (groups_.back() <= 0 || waitpid(groups_.back(), nullptr, WNOHANG) != 0) {
            why_ = name + "'s program ended before it took its name";
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    why_ = name + " did not appear on the bus within a minute";
    return false;
}

// Writes the testbed device's attributes in turn through their values, as a live sensor's
// change, until the case ends.
void TestSystemBus::keepChanging(const nlohmann::json& live) {
    std::error_code ec;
    fs::path device;
    for (const auto& e : fs::directory_iterator(testbed_ / "sys/bus/iio/devices", ec))
        device = fs::canonical(e.path(), ec);
    writer_ = std::thread([this, device, live] {
        for (std::size_t turn = 0; !stop_; ++turn) {
            // Overwritten in place, not truncated: the module holds its attributes open, and a
            // reader never sees the file empty. The values of an attribute are of one length.
            for (const auto& [attribute, values] : live.items()) {
                std::ofstream(device / attribute, std::ios::in | std::ios::out)
                    << values[turn % values.size()].get<std::string>();
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    });
}

std::string TestSystemBus::output() const {
    std::string out = why_;
    for (const char* log : {"bus.log", "reader.log"}) {
        std::ifstream in(dir_ / log);
        out.append("\n").append(log).append(":\n");
        out.append(std::istreambuf_iterator<char>(in), {});
    }
    return out;
}

std::vector<std::string> TestSystemBus::environment() const {
    std::vector<std::string> env{"DBUS_SYSTEM_BUS_ADDRESS=" + address_};
    if (!testbed_.empty()) {
        env.push_back("VEKR_SYSFS_ROOT=" + (testbed_ / "sys").string());
        env.push_back("VEKR_DEV_ROOT=" + (testbed_ / "dev").string());
    }
    return env;
}

TestSystemBus::~TestSystemBus() {
    stop_ = true;
    if (writer_.joinable())
        writer_.join();
    // The reader first, then the bus it is on.
    for (auto it = groups_.rbegin(); it != groups_.rend(); ++it) {
        if (*it <= 0)
            continue;
        kill(-*it, SIGTERM);
        waitpid(*it, nullptr, 0);
    }
    std::error_code ec;
    if (!dir_.empty())
        fs::remove_all(dir_, ec);
}
