#include "libTarra/Proximity.h"

#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "libOrra/SensorBackend.h"

namespace libTarra {
namespace {
std::mutex s_mutex;
std::unique_ptr<libOrra::ProximityStream> s_running;

// References held by sensor lookups that finished after their caller gave up. Never freed: the
// list and its lock outlive every static destructor a late lookup could race with.
void parkLateBackend(std::shared_ptr<libOrra::SensorBackend> backend) {
    static auto* mutex = new std::mutex;
    static auto* parked = new std::vector<std::shared_ptr<libOrra::SensorBackend>>;
    std::lock_guard lock(*mutex);
    parked->push_back(std::move(backend));
}
}  // namespace

std::vector<vek::String> ProximitySensorEnumerator::getOsLocators(unsigned int timeoutMs) {
    auto backend = libOrra::installedBackend();
    if (!backend)
        return {};
    // Enumeration walks sysfs; a wedged device must not hold the caller past its time-out. The
    // walk runs on a thread of its own that is left to finish alone when it is late (a
    // std::async future would wait for it on destruction).
    //
    // The walking thread never drops the last reference to the backend: on time it lets go of
    // its reference before publishing, while the caller still holds one; late, it parks the
    // reference for the rest of the process. A late walk may end while the process exits, and
    // destroying a backend then would touch hooks that exit has already torn down.
    struct Lookup {
        std::mutex mutex;
        bool abandoned = false;
        std::promise<std::vector<libOrra::SensorInfo>> listed;
    };
    auto lookup = std::make_shared<Lookup>();
    std::future<std::vector<libOrra::SensorInfo>> result = lookup->listed.get_future();
    std::thread([mine = backend, lookup]() mutable {
        std::vector<libOrra::SensorInfo> sensors;
        std::exception_ptr failure;
        try {
            sensors = mine->sensors();
        } catch (...) {
            failure = std::current_exception();
        }
        std::lock_guard lock(lookup->mutex);
        if (lookup->abandoned) {
            parkLateBackend(std::move(mine));
            return;
        }
        mine.reset();
        if (failure)
            lookup->listed.set_exception(failure);
        else
            lookup->listed.set_value(std::move(sensors));
    }).detach();
    if (result.wait_for(std::chrono::milliseconds(timeoutMs)) != std::future_status::ready) {
        std::lock_guard lock(lookup->mutex);
        lookup->abandoned = true;
        return {};
    }
    std::vector<libOrra::SensorInfo> sensors;
    try {
        sensors = result.get();
    } catch (...) {
        return {};  // a list that could not be made is an empty one
    }
    std::vector<vek::String> out;
    for (const auto& s : sensors) {
        if (s.kind == libOrra::SensorKind::Proximity)
            out.emplace_back(std::string_view(s.locator));
    }
    return out;
}

bool ProximitySensorRunner::runSensorAsync(const vek::String& osLocator,
                                           std::function<void(bool, unsigned int)> onReading,
                                           std::function<void()> onError) {
    stopSensor();
    auto backend = libOrra::installedBackend();
    if (!backend)
        return false;
    auto stream = backend->openProximity(osLocator.toStdString());
    if (!stream)
        return false;
    if (!stream->start(std::move(onReading), std::move(onError)))
        return false;
    std::lock_guard lock(s_mutex);
    s_running = std::move(stream);
    return true;
}

void ProximitySensorRunner::stopSensor() {
    std::unique_ptr<libOrra::ProximityStream> stream;
    {
        std::lock_guard lock(s_mutex);
        stream = std::move(s_running);
    }
    if (stream)
        stream->stop();
}

}  // namespace libTarra
