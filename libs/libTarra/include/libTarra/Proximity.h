#pragma once

#include <functional>
#include <vector>

#include "vek/String.h"

namespace libTarra {

class ProximitySensorEnumerator {
public:
    // The locator of every proximity sensor present. `timeoutMs` bounds how long the look-up
    // may take.
    static std::vector<vek::String> getOsLocators(unsigned int timeoutMs);
};

// Runs one proximity sensor at a time: readings and errors arrive from a thread of the
// bridge's own until stopSensor().
class ProximitySensorRunner {
public:
    static bool runSensorAsync(const vek::String& osLocator,
                               std::function<void(bool, unsigned int)> onReading,
                               std::function<void()> onError);
    // Stops the running sensor and waits for its thread; no callback runs afterwards.
    static void stopSensor();
};

}  // namespace libTarra
