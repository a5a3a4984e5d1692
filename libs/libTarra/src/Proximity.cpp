#include "libTarra/Proximity.h"

#include <chrono>
#include <memory>
#include <mutex>

#include "libOrra/Records.h"
#include "vek/CallWithin.h"

namespace libTarra {
namespace {
std::mutex s_mutex;
std::unique_ptr<libOrra::ProximityStream> s_running;
}  // namespace

std::vector<vek::String> ProximitySensorEnumerator::getOsLocators(unsigned int timeoutMs) {
    auto backend = libOrra::SensorsInUse::current();
    if (!backend)
        return {};
    // Enumeration walks sysfs; a wedged device must not hold the caller past its time-out.
    const auto sensors = vek::callWithin(std::chrono::milliseconds(timeoutMs),
                                         [backend] { return backend->sensors(); });
    if (!sensors)
        return {};  // late, or a list that could not be made: an empty one
    std::vector<vek::String> out;
    for (const auto& s : *sensors) {
        if (s.kind == libOrra::SensorKind::Proximity)
            out.emplace_back(std::string_view(s.locator));
    }
    return out;
}

bool ProximitySensorRunner::runSensorAsync(const vek::String& osLocator,
                                           std::function<void(bool, unsigned int)> onReading,
                                           std::function<void()> onError) {
    stopSensor();
    auto backend = libOrra::SensorsInUse::current();
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
