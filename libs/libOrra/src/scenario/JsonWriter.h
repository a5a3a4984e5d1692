#pragma once

#include <initializer_list>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace libOrra::scenario {

using Json = nlohmann::json;

// The text of a scenario as recordings lay it out: small values compact on one line, long
// lists an item to a line, so a long run stays readable and diffs well.

// One line, no spaces; text that is not UTF-8 is replaced, never thrown on.
std::string compact(const Json& j);

// Appends each piece. (Piecewise, not by operator+: g++ 12 at -O3 misreads a chain of
// std::string temporaries as an overlapping copy, GCC bug 105329.)
void add(std::string& out, std::initializer_list<std::string_view> pieces);

// `items` as a JSON array, each (as toJson makes it) on a line of its own after `indent`; the
// closing bracket two spaces to the left of them.
template <typename Range, typename ToJson>
std::string lines(const Range& items, std::string_view indent, ToJson toJson) {
    std::string out = "[";
    bool first = true;
    for (const auto& item : items) {
        add(out, {first ? "\n" : ",\n", indent, compact(toJson(item))});
        first = false;
    }
    if (!first)
        add(out, {"\n", indent.substr(2)});
    out += ']';
    return out;
}

// The members of a JSON object being written to `out`, `"key": value` each on a line of its own
// after `indent`; with `continued` the first follows members already written. Made on the
// stack by the writer of one object and handed to its sections' writers; one thread.
class Members {
public:
    Members(std::string& out, std::string_view indent, bool continued)
        : out_(out), indent_(indent), continued_(continued) {}
    // A member whose value is JSON text as it is to appear.
    void add(std::string_view key, std::string_view jsonText);
    // A member whose value is written compact.
    void addCompact(std::string_view key, const Json& value) { add(key, compact(value)); }

private:
    std::string& out_;
    std::string_view indent_;
    bool continued_;
};

}  // namespace libOrra::scenario
