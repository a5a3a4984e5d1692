#include "libTarra/Proximity.h"

#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <thread>

#include "libOrra/SensorBackend.h"

namespace libTarra {
namespace {
std::mutex s_mutex;
std::unique_ptr<libOrra::ProximityStream> s_running;
}  // namespace

std::vector<vek::String> ProximitySensorEnumerator::getOsLocators(unsigned int timeoutMs) {
    auto backend = libOrra::installedBackend();
    if (!backend)
        return {};
    // Enumeration walks sysfs; a wedged device must not hold the caller past its time-out. The
    // walk runs on a thread of its own that is left to finish alone when it is late (a
    // std::async future would wait for it on destruction).
    auto listed = std::make_shared<std::promise<std::vector<libOrra::SensorInfo>>>();
    std::future<std::vector<libOrra::SensorInfo>> result = listed->get_future();
    std::thread([backend, listed] {
        try {
            listed->set_value(backend->sensors());
        } catch (...) {
            listed->set_exception(std::current_exception());
        }
    }).detach();
    if (result.wait_for(std::chrono::milliseconds(timeoutMs)) != std::future_status::ready) {
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
