// Feeds arbitrary bytes to the scenario parser: it must either build a scenario or throw
// ScenarioError, never crash, hang or throw anything else.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "libOrra/Scenario.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const auto scenario = libOrra::parseScenario(text, "fuzz.json");
        (void)scenario;
    } catch (const libOrra::ScenarioError&) {
    }
    return 0;
}
