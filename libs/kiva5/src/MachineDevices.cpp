#include <stdexcept>

#include "kiva5/HostHooks.h"
#include "kiva5/KivaException.h"
#include "libOrra/Scenario.h"

namespace kiva5 {

std::unique_ptr<libOrra::Machine> openMachine(const libOrra::MachineChoice& choice) {
    try {
        return libOrra::makeMachine(choice);
    } catch (const libOrra::ScenarioError& e) {
        throw InputError(e.what());
    } catch (const std::invalid_argument& e) {
        throw KivaException(e.what());
    }
}

std::vector<DiagDevice> devicesOf(libOrra::Machine& machine) {
    std::vector<DiagDevice> out;
    for (const auto& d : machine.sensors().devices()) {
        if (auto cap = DeviceCapability::fromName(d.capability))
            out.emplace_back(*cap, KivaString(d.locator), KivaString(d.name), d.label);
    }
    return out;
}

}  // namespace kiva5
