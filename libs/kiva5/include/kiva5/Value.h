#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "kiva5/DataType.h"

namespace kiva5 {

// A typed value: parameters hold the caller's text, event variables hold what the test set.
// Text is read in the C locale: numbers with a decimal point, booleans as true/false or 1/0.
class Value {
public:
    Value() : type_(&DataType::STRING()) {}
    Value(const char* text) : text_(text ? text : ""), type_(&DataType::STRING()) {}  // NOLINT
    explicit Value(std::string text) : text_(std::move(text)), type_(&DataType::STRING()) {}
    Value(double value, const DataType& type);
    Value(std::string text, const DataType& type) : text_(std::move(text)), type_(&type) {}

    // The value read as each type. Text that does not parse gives 0.0, false or 0; the
    // framework checks every value it hands to a test beforehand (isValid).
    double valueDouble() const;
    bool valueBool() const;
    std::int32_t valueInt32() const;

    const std::string& text() const { return text_; }
    const DataType& type() const { return *type_; }
    // True when the text parses as the value's type (finite for DOUBLE); STRING always.
    bool isValid() const;

    static std::optional<double> parseDouble(std::string_view text);
    static std::optional<bool> parseBool(std::string_view text);
    static std::optional<std::int32_t> parseInt32(std::string_view text);
    // Shortest C-locale text that reads back as the same double.
    static std::string formatDouble(double v);

private:
    std::string text_;
    const DataType* type_;
};

}  // namespace kiva5
