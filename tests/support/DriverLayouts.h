#pragma once

#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

// Attribute sets of real IIO drivers, as their channel definitions in drivers/iio/ publish
// them (info_mask_separate gives <channel>_<info>, shared_by_type in_<type>_<info>,
// shared_by_dir in_<info>, shared_by_all plain <info>), with the values a device lying flat
// shows. They are data: tests/fixtures/driver_layouts.json, each with the driver it copies
// ("why"). The expected readings live beside the tests that use them, written out.
struct DriverLayout {
    std::string name;
    std::map<std::string, std::string> attributes;
};

namespace layouts {

// The layout of that key in driver_layouts.json (e.g. "hidAccel3d"); throws for an unknown
// key, so a table naming a layout that does not exist fails loudly.
inline const DriverLayout& named(const std::string& key) {
    static const std::map<std::string, DriverLayout> all = [] {
        std::map<std::string, DriverLayout> out;
        const auto file =
            nlohmann::json::parse(std::ifstream(VEKR_TEST_FIXTURES_DIR "/driver_layouts.json"));
        for (const auto& [k, v] : file.items()) {
            out[k] = {v.at("name"), v.at("attributes").get<std::map<std::string, std::string>>()};
        }
        return out;
    }();
    const auto it = all.find(key);
    if (it == all.end())
        throw std::invalid_argument("no driver layout " + key);
    return it->second;
}

}  // namespace layouts
