#include <algorithm>
#include <array>
#include <cctype>
#include <string>

#include "libOrra/SensorBackend.h"

namespace libOrra {

std::string dmiModaliasField(std::string_view modalias, std::string_view prefix) {
    const std::string key = std::string(":").append(prefix);
    const std::size_t at = modalias.find(key);
    if (at == std::string_view::npos)
        return {};
    const std::size_t from = at + key.size();
    return std::string(modalias.substr(from, modalias.find(':', from) - from));
}

bool dmiPlaceholder(std::string_view text) {
    // Compared as the modalias writes them: without spaces, in any case.
    std::string squeezed;
    for (const char c : text) {
        if (c != ' ' && c != ':')
            squeezed += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    // The fillers of AMI's and Insyde's firmware templates, as cheap tablets ship them and
    // systemd's 60-sensor.hwdb meets them.
    static constexpr std::array<std::string_view, 11> kFillers{"",
                                                               "defaultstring",
                                                               "tobefilledbyo.e.m.",
                                                               "systemproductname",
                                                               "oem",
                                                               "systemmanufacturer",
                                                               "o.e.m.",
                                                               "type1productconfigid",
                                                               "notapplicable",
                                                               "none",
                                                               "systemversion"};
    return std::find(kFillers.begin(), kFillers.end(), squeezed) != kFillers.end();
}

std::optional<int> panelTurnsNamed(std::string_view name) {
    static constexpr std::array<std::string_view, 4> kNames{"normal", "right_side_up",
                                                            "upside_down", "left_side_up"};
    const auto at = std::find(kNames.begin(), kNames.end(), name);
    if (at == kNames.end())
        return std::nullopt;
    return static_cast<int>(at - kNames.begin());
}

}  // namespace libOrra
