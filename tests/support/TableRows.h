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

// The rows of the array in `file`, or in its member `key`.
inline std::vector<TableRow> tableRows(const std::filesystem::path& file,
                                       const char* key = nullptr) {
    const auto all = nlohmann::json::parse(std::ifstream(file));
    std::vector<TableRow> rows;
    for (const auto& entry : key ? all.at(key) : all)
        rows.push_back({entry.at("label"), entry});
    return rows;
}

// Names a parameterised case after its row.
inline std::string rowLabel(const ::testing::TestParamInfo<TableRow>& info) {
    return info.param.label;
}

}  // namespace vekr::testing
