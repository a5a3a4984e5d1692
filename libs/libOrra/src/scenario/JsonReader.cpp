#include "JsonReader.h"

#include <cmath>

#include "libOrra/Scenario.h"

namespace libOrra::scenario {

void Reader::fail(const std::string& where, const std::string& expected) const {
    throw ScenarioError("scenario " + file_ + ": at " + (where.empty() ? "/" : where) +
                        ": expected " + expected);
}

const Json& Reader::object(const Json& v, const std::string& where) const {
    if (!v.is_object())
        fail(where, "an object");
    return v;
}

const Json& Reader::array(const Json& v, const std::string& where) const {
    if (!v.is_array())
        fail(where, "an array");
    return v;
}

double Reader::number(const Json& v, const std::string& where) const {
    if (!v.is_number() || !std::isfinite(v.get<double>()))
        fail(where, "a finite number");
    return v.get<double>();
}

double Reader::seconds(const Json& v, const std::string& where) const {
    const double s = number(v, where);
    if (s < 0)
        fail(where, "seconds, 0 or more");
    return s;
}

bool Reader::boolean(const Json& v, const std::string& where) const {
    if (!v.is_boolean())
        fail(where, "true or false");
    return v.get<bool>();
}

std::string Reader::text(const Json& v, const std::string& where) const {
    if (!v.is_string())
        fail(where, "a string");
    return v.get<std::string>();
}

long long Reader::integer(const Json& v, const std::string& where, long long min, long long max,
                          const std::string& expected) const {
    if (v.is_number_unsigned()) {
        const std::uint64_t u = v.get<std::uint64_t>();
        if (u > static_cast<std::uint64_t>(max) || static_cast<long long>(u) < min)
            fail(where, expected);
        return static_cast<long long>(u);
    }
    if (!v.is_number_integer() || v.get<std::int64_t>() < min || v.get<std::int64_t>() > max)
        fail(where, expected);
    return v.get<std::int64_t>();
}

std::string Reader::oneOf(const Json& v, const std::string& where,
                          std::initializer_list<std::string_view> names) const {
    const std::string t = text(v, where);
    std::string list;
    for (auto n : names) {
        if (n == t)
            return t;
        list += (list.empty() ? "" : ", ") + std::string(n);
    }
    fail(where, "one of " + list);
}

void Reader::keys(const Json& obj, const std::string& where,
                  std::initializer_list<std::string_view> allowed) const {
    for (const auto& [k, v] : obj.items()) {
        bool ok = false;
        for (auto a : allowed)
            ok = ok || a == k;
        if (!ok) {
            std::string list;
            for (auto a : allowed)
                list += (list.empty() ? "" : ", ") + std::string(a);
            fail(where + "/" + k, "one of the keys " + list);
        }
    }
}

}  // namespace libOrra::scenario
