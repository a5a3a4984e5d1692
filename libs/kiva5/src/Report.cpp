#include "kiva5/Report.h"

#include "vek/String.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <ostream>
#include <sstream>


namespace kiva5 {
namespace {

nlohmann::json valueJson(const Value& v) {
    if (v.type() == DataType::DOUBLE()) {
        if (auto d = Value::parseDouble(v.text()))
            return *d;
        return v.text();  // NaN or infinity stays readable as text
    }
    if (v.type() == DataType::BOOLEAN()) {
        if (auto b = Value::parseBool(v.text()))
            return *b;
    }
    if (v.type() == DataType::INT32()) {
        if (auto i = Value::parseInt32(v.text()))
            return *i;
    }
    return v.text();
}

nlohmann::json pairsJson(const std::vector<std::pair<std::string, Value>>& pairs) {
    nlohmann::json out = nlohmann::json::object();
    for (const auto& [name, value] : pairs) {
        const nlohmann::json v = valueJson(value);
        out[vek::toValidUtf8(name)] =
            v.is_string() ? nlohmann::json(vek::toValidUtf8(v.get<std::string>())) : v;
    }
    return out;
}

// Sets `key` to the text as valid UTF-8; when the bytes were not, `key` + "Escaped" keeps
// them (see vek::escapeInvalidUtf8) for a host that must match what the device reported.
void setText(nlohmann::ordered_json& object, const std::string& key, const std::string& text) {
    object[key] = vek::toValidUtf8(text);
    if (!vek::isValidUtf8(text))
        object[key + "Escaped"] = vek::escapeInvalidUtf8(text);
}

std::vector<std::string> validTexts(const std::vector<std::string>& texts) {
    std::vector<std::string> out;
    for (const auto& t : texts)
        out.push_back(vek::toValidUtf8(t));
    return out;
}

}  // namespace

void Report::settleResult() {
    if (runs.empty()) {
        result = TestResult::NODEVICE();
        return;
    }
    result = TestResult::PASS();
    for (const auto& run : runs)
        result = TestResult::worse(result, run.result);
}

std::string Report::toJson() const {
    nlohmann::ordered_json doc;
    doc["module"] = {{"file", moduleFile}, {"version", version}, {"build", build}};
    doc["backend"] = backend;
    doc["language"] = language;
    doc["profiles"] = validTexts(profiles);
    doc["runs"] = nlohmann::ordered_json::array();
    for (const auto& run : runs) {
        nlohmann::ordered_json r;
        r["test"] = run.test;
        if (run.device) {
            nlohmann::ordered_json device = nlohmann::ordered_json::object();
            setText(device, "locator", run.device->osLocator().str());
            setText(device, "name", run.device->name().str());
            r["device"] = std::move(device);
        } else {
            r["device"] = nullptr;
        }
        nlohmann::ordered_json parameters = nlohmann::ordered_json::object();
        nlohmann::ordered_json escaped = nlohmann::ordered_json::object();
        for (const auto& [name, text] : run.parameters) {
            parameters[name] = vek::toValidUtf8(text);
            if (!vek::isValidUtf8(text))
                escaped[name] = vek::escapeInvalidUtf8(text);
        }
        r["parameters"] = std::move(parameters);
        if (!escaped.empty())
            r["parametersEscaped"] = std::move(escaped);
        r["result"] = std::string(run.result.name());
        r["code"] = run.result.value();
        r["seconds"] = std::round(run.seconds * 1000.0) / 1000.0;
        r["events"] = nlohmann::ordered_json::array();
        for (const auto& e : run.events) {
            r["events"].push_back({{"name", e.name},
                                   {"severity", e.severity},
                                   {"source", {{"file", e.file}, {"line", e.line}}},
                                   {"variables", pairsJson(e.variables)},
                                   {"tips", e.tips}});
        }
        if (!run.details.empty())
            r["details"] = pairsJson(run.details);
        if (!run.notes.empty())
            r["notes"] = validTexts(run.notes);
        doc["runs"].push_back(std::move(r));
    }
    doc["result"] = std::string(result.name());
    doc["code"] = result.value();
    // Every text above is valid UTF-8 already; replacing is the last guard, never a throw.
    return doc.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

std::string Report::keyMeasurement(const RunRecord& run) {
    const auto detail = [&](const char* name) -> const Value* {
        for (const auto& [key, value] : run.details) {
            if (key == name)
                return &value;
        }
        return nullptr;
    };
    std::string text;
    const Value* last = detail("last");
    const Value* unit = detail("unit");
    const Value* readings = detail("readings");
    if (last && unit) {
        if (const auto v = Value::parseDouble(last->text())) {
            std::ostringstream fixed;
            fixed << std::fixed << std::setprecision(2) << *v << " " << unit->text();
            text = fixed.str();
        }
    } else if (readings && readings->text() == "0") {
        text = "no readings";
    }
    if (const Value* wanted = detail("wanted"))
        text += (text.empty() ? "" : ", ") + std::string("wanted ") + wanted->text();
    return text;
}

void Report::printSummary(std::ostream& out, const std::string& trouble, int exitCode) const {
    out << moduleFile << " " << version << " (build " << build << "), backend " << backend << "\n";
    // Columns as wide as their widest entry, so long IIO paths never run into the verdict.
    std::size_t testWidth = 0, deviceWidth = 0, resultWidth = 0;
    const auto deviceOf = [](const RunRecord& run) {
        return run.device ? run.device->osLocator().str() : std::string("(no device)");
    };
    for (const auto& run : runs) {
        testWidth = std::max(testWidth, run.test.size());
        deviceWidth = std::max(deviceWidth, deviceOf(run).size());
        resultWidth = std::max(resultWidth, run.result.name().size());
    }
    for (const auto& run : runs) {
        std::ostringstream line;
        line << "  " << std::left << std::setw(static_cast<int>(testWidth)) << run.test << "  "
             << std::setw(static_cast<int>(deviceWidth)) << deviceOf(run) << "  "
             << std::setw(static_cast<int>(resultWidth)) << run.result.name() << "  " << std::right
             << std::fixed << std::setprecision(2) << std::setw(7) << run.seconds << " s";
        if (const std::string measured = keyMeasurement(run); !measured.empty())
            line << "  " << measured;
        out << line.str() << "\n";
        for (const auto& e : run.events) {
            out << "      " << e.severity << ": " << e.name;
            for (const auto& [name, value] : e.variables)
                out << " " << name << "=" << value.text();
            if (!e.tips.empty()) {
                out << " (tip:";
                for (const auto& t : e.tips)
                    out << " " << t;
                out << ")";
            }
            out << "\n";
        }
        for (const auto& n : run.notes)
            out << "      note: " << n << "\n";
    }
    out << "Result: " << result.name() << (trouble.empty() ? "" : ", " + trouble) << " (exit code "
        << exitCode << ")\n";
    out.flush();
}

}  // namespace kiva5
