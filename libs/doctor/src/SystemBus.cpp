#include <systemd/sd-bus.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "Consumer.h"

namespace doctor {
namespace {

constexpr std::uint64_t kTimeoutUsec =
    std::chrono::duration_cast<std::chrono::microseconds>(SystemBus::kCallTimeout).count();

std::string errnoText(int r) {
    return std::strerror(r < 0 ? -r : r);
}

}  // namespace

struct SystemBus::Bus {
    sd_bus* bus = nullptr;
    bool silent = false;  // a call timed out: the bus or a daemon does not answer
    ~Bus() { sd_bus_flush_close_unref(bus); }
};

// Opens the bus and waits, at most kCallTimeout, for the daemon to accept us: sd-bus
// authenticates and says Hello in the background, and its own first call would wait for that
// without a bound.
SystemBus::SystemBus() {
    const char* env = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    address_ = env ? env : "unix:path=/run/dbus/system_bus_socket";
    auto bus = std::make_unique<Bus>();
    if (const int r = sd_bus_open_system(&bus->bus); r < 0) {
        why_ = "no system bus at " + address_ + ": " + errnoText(r);
        return;
    }
    sd_bus_set_method_call_timeout(bus->bus, kTimeoutUsec);
    const auto deadline = std::chrono::steady_clock::now() + kCallTimeout;
    for (;;) {
        const int ready = sd_bus_is_ready(bus->bus);
        if (ready > 0)
            break;
        const auto left = std::chrono::duration_cast<std::chrono::microseconds>(
            deadline - std::chrono::steady_clock::now());
        int r = ready < 0 ? ready : sd_bus_process(bus->bus, nullptr);
        if (r == 0)
            r = left.count() <= 0 ? -ETIMEDOUT : sd_bus_wait(bus->bus, left.count());
        if (r < 0) {
            why_ = "the system bus at " + address_ +
                   " did not accept a client within 2 s: " + errnoText(r);
            return;
        }
    }
    bus_ = bus.release();
}

SystemBus::~SystemBus() {
    delete bus_;
}

namespace {

// One bounded call that never activates a service; the reply, or null with `why`.
sd_bus_message* call(SystemBus::Bus& bus, const char* dest, const char* path, const char* iface,
                     const char* member, std::string& why, const char* types = nullptr,
                     const char* a = nullptr, const char* b = nullptr) {
    if (bus.silent) {
        why = "the system bus stopped answering: nothing more was asked";
        return nullptr;
    }
    sd_bus_message* m = nullptr;
    sd_bus_message* reply = nullptr;
    sd_bus_error error{};  // SD_BUS_ERROR_NULL, without its C99 compound literal
    int r = sd_bus_message_new_method_call(bus.bus, &m, dest, path, iface, member);
    if (r >= 0)
        r = sd_bus_message_set_auto_start(m, 0);
    if (r >= 0 && types)
        r = b ? sd_bus_message_append(m, types, a, b) : sd_bus_message_append(m, types, a);
    if (r >= 0)
        r = sd_bus_call(bus.bus, m, kTimeoutUsec, &error, &reply);
    bus.silent = r == -ETIMEDOUT;
    if (r < 0) {
        why = std::string(member) +
              " failed: " + (error.message ? error.message : errnoText(r).c_str());
        if (error.name)
            why.append(" (").append(error.name).append(")");
        reply = nullptr;
    }
    sd_bus_error_free(&error);
    sd_bus_message_unref(m);
    return reply;
}

}  // namespace

std::optional<bool> SystemBus::nameHasOwner(const std::string& name) {
    if (!bus_)
        return std::nullopt;
    sd_bus_message* reply = call(*bus_, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                 "org.freedesktop.DBus", "NameHasOwner", why_, "s", name.c_str());
    int has = 0;
    const bool read = reply && sd_bus_message_read(reply, "b", &has) >= 0;
    sd_bus_message_unref(reply);
    return read ? std::optional<bool>(has != 0) : std::nullopt;
}

namespace {

// Reads a property's variant of basic type `type` into `out`.
template <typename T>
bool getProperty(SystemBus::Bus& bus, const char* dest, const char* path, const char* iface,
                 const char* property, char type, T* out, std::string& why) {
    sd_bus_message* reply =
        call(bus, dest, path, "org.freedesktop.DBus.Properties", "Get", why, "ss", iface, property);
    const char signature[2] = {type, 0};
    const bool read = reply && sd_bus_message_enter_container(reply, 'v', signature) >= 0 &&
                      sd_bus_message_read_basic(reply, type, out) >= 0;
    if (reply && !read)
        why = std::string(property) + " is not of type " + signature;
    sd_bus_message_unref(reply);
    return read;
}

}  // namespace

std::optional<bool> SystemBus::getBool(const char* dest, const char* path, const char* iface,
                                       const char* property) {
    int value = 0;
    if (!bus_ || !getProperty(*bus_, dest, path, iface, property, 'b', &value, why_))
        return std::nullopt;
    return value != 0;
}

std::optional<double> SystemBus::getDouble(const char* dest, const char* path, const char* iface,
                                           const char* property) {
    double value = 0;
    if (!bus_ || !getProperty(*bus_, dest, path, iface, property, 'd', &value, why_))
        return std::nullopt;
    return value;
}

std::optional<std::string> SystemBus::getString(const char* dest, const char* path,
                                                const char* iface, const char* property) {
    const char* value = nullptr;
    // The text lives in the reply: copied before the reply goes.
    if (!bus_)
        return std::nullopt;
    sd_bus_message* reply = call(*bus_, dest, path, "org.freedesktop.DBus.Properties", "Get", why_,
                                 "ss", iface, property);
    std::optional<std::string> out;
    if (reply && sd_bus_message_enter_container(reply, 'v', "s") >= 0 &&
        sd_bus_message_read_basic(reply, 's', &value) >= 0 && value) {
        out = value;
    } else if (reply) {
        why_ = std::string(property) + " is not a string";
    }
    sd_bus_message_unref(reply);
    return out;
}

bool SystemBus::callPlain(const char* dest, const char* path, const char* iface,
                          const char* method) {
    if (!bus_)
        return false;
    sd_bus_message* reply = call(*bus_, dest, path, iface, method, why_);
    sd_bus_message_unref(reply);
    return reply != nullptr;
}

std::optional<std::string> SystemBus::unitPath(const std::string& unit) {
    if (!bus_)
        return std::nullopt;
    sd_bus_message* reply =
        call(*bus_, "org.freedesktop.systemd1", "/org/freedesktop/systemd1",
             "org.freedesktop.systemd1.Manager", "GetUnit", why_, "s", unit.c_str());
    const char* path = nullptr;
    std::optional<std::string> out;
    if (reply && sd_bus_message_read(reply, "o", &path) >= 0 && path)
        out = path;
    sd_bus_message_unref(reply);
    return out;
}

}  // namespace doctor
