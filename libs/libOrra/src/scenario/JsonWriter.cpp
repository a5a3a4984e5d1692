#include "JsonWriter.h"

namespace libOrra::scenario {

std::string compact(const Json& j) {
    return j.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void add(std::string& out, std::initializer_list<std::string_view> pieces) {
    for (std::string_view p : pieces)
        out.append(p);
}

void Members::add(std::string_view key, std::string_view jsonText) {
    scenario::add(out_, {continued_ ? ",\n" : "\n", indent_, "\"", key, "\": ", jsonText});
    continued_ = true;
}

}  // namespace libOrra::scenario
