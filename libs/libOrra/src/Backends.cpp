#include "libOrra/Backends.h"

#include <stdexcept>

#include "libOrra/IioBackend.h"
#include "libOrra/SimBackend.h"

namespace libOrra {

std::shared_ptr<SensorBackend> makeBackend(const std::string& name,
                                           const std::optional<std::string>& scenarioFile) {
    if (name == "iio")
        return std::make_shared<IioBackend>();
    if (name == "sim") {
        Scenario scenario = scenarioFile ? loadScenario(*scenarioFile)
                                         : parseScenario(demoScenarioText(), "(embedded demo)");
        return std::make_shared<SimBackend>(std::move(scenario));
    }
    throw std::invalid_argument("unknown sensor backend \"" + name + "\"");
}

}  // namespace libOrra
