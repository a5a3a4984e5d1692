#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace vekr::testing {

// One row of a data table: a JSON object with a "label", which names the test case.
struct TableRow {
    std::string label;
    nlohmann::json entry;
};

inline void PrintTo(const TableRow& r, std::ostream* os) {
    *os << r.label;
}

// The rows of the array in `file`, or in its member `key`. Two shorthands keep tables short:
//   "scenario": "name" or {"use": "name", ...}   a scenario named in the file `scenarios`, with
//                                                the row's keys laid over it (JSON merge patch);
//                                                its "sensor" is laid over its first sensor
//   "each": {"suffix": {...}, ...}               one row per entry: the entry laid over the row,
//                                                the suffix added to its label
inline std::vector<TableRow> tableRows(const std::filesystem::path& file,
                                       const char* key = nullptr,
                                       const std::filesystem::path& scenarios = {}) {
    using nlohmann::json;
    const json all = json::parse(std::ifstream(file));
    const json named = scenarios.empty() ? json::object() : json::parse(std::ifstream(scenarios));
    std::vector<TableRow> rows;
    for (json entry : key ? all.at(key) : all) {
        if (entry.contains("scenario") && entry["scenario"].is_string())
            entry["scenario"] = json{{"use", entry["scenario"]}};
        if (entry.contains("scenario") && entry["scenario"].contains("use")) {
            json scenario = named.at(entry["scenario"]["use"].get<std::string>());
            entry["scenario"].erase("use");
            if (entry["scenario"].contains("sensor")) {
                scenario["sensors"][0].merge_patch(entry["scenario"]["sensor"]);
                entry["scenario"].erase("sensor");
            }
            scenario.merge_patch(entry["scenario"]);
            entry["scenario"] = scenario;
        }
        const json each = entry.value("each", json::object({{"", json::object()}}));
        entry.erase("each");
        for (const auto& [suffix, patch] : each.items()) {
            json row = entry;
            row.merge_patch(patch);
            std::string label = row.at("label");
            rows.push_back({suffix.empty() ? label : label + "_" + suffix, row});
        }
    }
    return rows;
}

// Names a parameterised case after its row.
inline std::string rowLabel(const ::testing::TestParamInfo<TableRow>& info) {
    return info.param.label;
}

}  // namespace vekr::testing
