#pragma once

#include <cstdint>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace libOrra::scenario {

using Json = nlohmann::json;

// Reads the values of one scenario document, naming the place of every fault: each check
// throws ScenarioError "scenario FILE: at POINTER: expected WHAT". Made by parseScenario for
// one document and handed to every section's reader; no state beside the file's name, so any
// thread may use its own.
class Reader {
public:
    explicit Reader(std::string file) : file_(std::move(file)) {}

    [[noreturn]] void fail(const std::string& where, const std::string& expected) const;

    const Json& object(const Json& v, const std::string& where) const;
    const Json& array(const Json& v, const std::string& where) const;
    double number(const Json& v, const std::string& where) const;
    double seconds(const Json& v, const std::string& where) const;
    bool boolean(const Json& v, const std::string& where) const;
    std::string text(const Json& v, const std::string& where) const;
    // A whole number in [min, max]; large unsigned values are compared, never wrapped.
    long long integer(const Json& v, const std::string& where, long long min, long long max,
                      const std::string& expected) const;
    // Text that must be one of `names` (a misspelt name would otherwise never match).
    std::string oneOf(const Json& v, const std::string& where,
                      std::initializer_list<std::string_view> names) const;
    // Only these keys may appear: a misspelt key would otherwise be silently ignored.
    void keys(const Json& obj, const std::string& where,
              std::initializer_list<std::string_view> allowed) const;

    // Calls f(item, pointer) for each item of the array `v` at `where`.
    template <typename F>
    void each(const Json& v, const std::string& where, F&& f) const {
        const Json& a = array(v, where);
        for (std::size_t i = 0; i < a.size(); ++i)
            f(a[i], where + "/" + std::to_string(i));
    }

private:
    std::string file_;
};

}  // namespace libOrra::scenario
