#include "FakeScript.h"

#include <sstream>

namespace fake {
namespace {

std::optional<Type> typeNamed(const std::string& word) {
    if (word == "accelerometer")
        return Type::Accelerometer;
    if (word == "light")
        return Type::Light;
    if (word == "gyrometer")
        return Type::Gyrometer;
    if (word == "compass")
        return Type::Compass;
    return std::nullopt;
}

std::optional<int> stateNamed(const std::string& word) {
    static const char* const names[] = {"READY",        "NOT_AVAILABLE", "NO_DATA",
                                        "INITIALIZING", "ACCESS_DENIED", "ERROR"};
    for (int i = 0; i < 6; ++i) {
        if (word == names[i])
            return i;
    }
    return std::nullopt;
}

std::string rest(std::istringstream& in) {
    std::string text;
    std::getline(in >> std::ws, text);
    while (!text.empty() && (text.back() == '\r' || text.back() == ' '))
        text.pop_back();
    return text;
}

// One line into the sensor being read; false when it is not understood.
bool apply(const std::string& key, std::istringstream& in, std::vector<ScriptSensor>& out) {
    if (key == "sensor") {
        std::string word;
        in >> word;
        const auto type = typeNamed(word);
        if (!type)
            return false;
        out.push_back({});
        out.back().type = *type;
        return true;
    }
    if (out.empty())
        return false;
    ScriptSensor& s = out.back();
    if (key == "id") {
        s.id = rest(in);
    } else if (key == "path") {
        s.path = rest(in);
    } else if (key == "name") {
        s.name = rest(in);
    } else if (key == "state") {
        std::string word;
        in >> word;
        const auto state = stateNamed(word);
        if (!state)
            return false;
        s.states.push_back(*state);
    } else if (key == "reading") {
        std::vector<double> values;
        double v = 0.0;
        while (in >> v)
            values.push_back(v);
        if (values.empty() || !in.eof())
            return false;
        s.readings.push_back(values);
    } else if (key == "leave") {
        unsigned n = 0;
        if (!(in >> n))
            return false;
        s.leaveAfter = n;
    } else if (key == "events") {
        if (!(in >> s.events))
            return false;
    } else {
        return false;
    }
    return true;
}

}  // namespace

bool parseScript(const std::string& text, std::vector<ScriptSensor>& out, std::string& error) {
    out.clear();
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        const auto hash = line.find('#');
        // A '#' inside a path is kept: only one at the start of a word begins a comment.
        if (hash != std::string::npos &&
            (hash == 0 || line[hash - 1] == ' ' || line[hash - 1] == '\t'))
            line.erase(hash);
        std::istringstream in(line);
        std::string key;
        if (!(in >> key))
            continue;
        if (!apply(key, in, out)) {
            error = line;
            return false;
        }
    }
    return true;
}

}  // namespace fake
