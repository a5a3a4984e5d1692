#include "kiva5/Report.h"

#include "vek/CalendarTime.h"
#include "vek/String.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ctime>
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
    if (v.type() == DataType::JSON())
        return nlohmann::json::parse(v.text(), nullptr, false);
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

nlohmann::ordered_json optionalText(const std::optional<std::string>& text) {
    return text ? nlohmann::ordered_json(vek::toValidUtf8(*text)) : nlohmann::ordered_json();
}

double roundedSeconds(double seconds) {
    return std::round(seconds * 1000.0) / 1000.0;
}

// "error: Sensor_Timeout Name=value (tip: Key)": one event as people read it.
std::string eventText(const EventRecord& e) {
    std::string text = e.severity + ": " + e.name;
    for (const auto& [name, value] : e.variables)
        text += " " + name + "=" + value.text();
    if (!e.tips.empty()) {
        text += " (tip:";
        for (const auto& t : e.tips)
            text += " " + t;
        text += ")";
    }
    return text;
}

// Text as XML 1.0 character data or attribute value: markup escaped, and the characters XML
// cannot carry at all (control characters other than tab and line breaks, text that is not
// UTF-8) replaced, so any parser reads the file.
std::string xmlText(const std::string& raw) {
    const std::string text = vek::toValidUtf8(raw);
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        const auto b = static_cast<unsigned char>(c);
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            case '\'':
                out += "&apos;";
                break;
            default:
                if (b < 0x20 && c != '\t' && c != '\n' && c != '\r')
                    out += "\xef\xbf\xbd";  // U+FFFD
                else
                    out += c;
        }
    }
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
    doc["format"] = kFormat;
    doc["module"] = {{"file", moduleFile}, {"version", version}, {"build", build}};
    nlohmann::ordered_json host = nlohmann::ordered_json::object();
    if (machine) {
        host["name"] = vek::toValidUtf8(machine->hostName);
        host["vendor"] = optionalText(machine->vendor);
        host["product"] = optionalText(machine->product);
        host["serial"] = optionalText(machine->serial);
        host["machineId"] = optionalText(machine->machineId);
    }
    doc["host"] = std::move(host);
    doc["commandLine"] = validTexts(commandLine);
    if (!std::all_of(commandLine.begin(), commandLine.end(), vek::isValidUtf8)) {
        std::vector<std::string> escaped;
        for (const auto& a : commandLine)
            escaped.push_back(vek::escapeInvalidUtf8(a));
        doc["commandLineEscaped"] = escaped;
    }
    doc["started"] = utcText(started);
    doc["ended"] = utcText(ended);
    doc["seconds"] = roundedSeconds(std::chrono::duration<double>(ended - started).count());
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
        r["started"] = utcText(run.started);
        r["seconds"] = roundedSeconds(run.seconds);
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

std::string Report::utcText(std::chrono::system_clock::time_point t) {
    const auto ms = std::chrono::floor<std::chrono::milliseconds>(t).time_since_epoch().count();
    const std::time_t secs = static_cast<std::time_t>(ms / 1000 - (ms % 1000 < 0 ? 1 : 0));
    const auto millis = static_cast<int>((ms % 1000 + 1000) % 1000);
    const std::tm utc = vek::utcCalendarTime(secs);
    char text[40];
    const std::size_t n = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &utc);
    std::ostringstream out;
    out << std::string(text, n) << "." << std::setw(3) << std::setfill('0') << millis << "Z";
    return out.str();
}

namespace {

// How JUnit counts a verdict.
enum class JUnitKind { Pass, Failure, Error, Skipped };

JUnitKind junitKindOf(const TestResult& r) {
    if (r == TestResult::PASS() || r == TestResult::WARN())
        return JUnitKind::Pass;
    if (r == TestResult::FAIL() || r == TestResult::TIMEDOUT())
        return JUnitKind::Failure;
    if (r == TestResult::EXITEDABNORMALLY() || r == TestResult::BADPARAMS())
        return JUnitKind::Error;
    return JUnitKind::Skipped;
}

// One run as a <testcase> of the suite `stem`.
void writeJUnitCase(std::ostream& x, const RunRecord& run, const std::string& stem) {
    const std::string device =
        run.device ? run.device->osLocator().str() : std::string("(no device)");
    x << "    <testcase classname=\"" << xmlText(stem + "." + run.test) << "\" name=\""
      << xmlText(device) << "\" time=\"" << roundedSeconds(run.seconds) << "\"";
    std::string body;
    for (const auto& e : run.events)
        body += eventText(e) + "\n";
    for (const auto& n : run.notes)
        body += "note: " + n + "\n";
    const JUnitKind k = junitKindOf(run.result);
    if (k == JUnitKind::Pass && body.empty()) {
        x << "/>\n";
        return;
    }
    x << ">\n";
    std::string message = std::string(run.result.name());
    if (const std::string measured = Report::keyMeasurement(run); !measured.empty())
        message += ": " + measured;
    else if (!run.notes.empty())
        message += ": " + run.notes.front();
    const char* element = k == JUnitKind::Failure   ? "failure"
                          : k == JUnitKind::Error   ? "error"
                          : k == JUnitKind::Skipped ? "skipped"
                                                    : nullptr;
    if (element) {
        x << "      <" << element << " message=\"" << xmlText(message) << "\" type=\""
          << run.result.name() << "\">" << xmlText(body) << "</" << element << ">\n";
    } else {
        x << "      <system-out>" << xmlText(message + "\n" + body) << "</system-out>\n";
    }
    x << "    </testcase>\n";
}

}  // namespace

std::string Report::toJUnitXml() const {
    std::size_t failures = 0, errors = 0, skipped = 0;
    double seconds = 0;
    for (const auto& run : runs) {
        const JUnitKind k = junitKindOf(run.result);
        failures += k == JUnitKind::Failure;
        errors += k == JUnitKind::Error;
        skipped += k == JUnitKind::Skipped;
        seconds += run.seconds;
    }
    const std::string stem = std::filesystem::path(moduleFile).stem().string();
    std::ostringstream x;
    x << std::fixed << std::setprecision(3);
    x << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    x << "<testsuites name=\"" << xmlText(stem) << "\" tests=\"" << runs.size() << "\" failures=\""
      << failures << "\" errors=\"" << errors << "\" skipped=\"" << skipped << "\" time=\""
      << seconds << "\">\n";
    x << "  <testsuite name=\"" << xmlText(stem) << "\" tests=\"" << runs.size() << "\" failures=\""
      << failures << "\" errors=\"" << errors << "\" skipped=\"" << skipped << "\" time=\""
      << seconds << "\" timestamp=\"" << xmlText(utcText(started)) << "\"";
    if (machine)
        x << " hostname=\"" << xmlText(machine->hostName) << "\"";
    x << ">\n";
    x << "    <properties>\n";
    const auto property = [&](const std::string& name, const std::string& value) {
        x << "      <property name=\"" << xmlText(name) << "\" value=\"" << xmlText(value)
          << "\"/>\n";
    };
    property("module", moduleFile + " " + version + " (build " + build + ")");
    property("backend", backend);
    property("language", language);
    if (machine && machine->product)
        property("product", *machine->product);
    if (machine && machine->serial)
        property("serial", *machine->serial);
    if (machine && machine->machineId)
        property("machineId", *machine->machineId);
    x << "    </properties>\n";
    for (const auto& run : runs)
        writeJUnitCase(x, run, stem);
    x << "  </testsuite>\n</testsuites>\n";
    return x.str();
}

std::string Report::keyMeasurement(const RunRecord& run) {
    const auto detail = [&](const char* name) -> const Value* {
        for (const auto& [key, value] : run.details) {
            if (key == name)
                return &value;
        }
        return nullptr;
    };
    // A check that words its own finding (the orientation check's axes and proposal).
    if (const Value* finding = detail("finding"))
        return finding->text();
    std::string text;
    const Value* readings = detail("readings");
    if (run.key) {
        std::ostringstream fixed;
        fixed << std::fixed << std::setprecision(2) << run.key->value << " " << run.key->unit;
        text = fixed.str();
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
        for (const auto& e : run.events)
            out << "      " << eventText(e) << "\n";
        for (const auto& n : run.notes)
            out << "      note: " << n << "\n";
    }
    out << "Result: " << result.name() << (trouble.empty() ? "" : ", " + trouble) << " (exit code "
        << exitCode << ")\n";
    out.flush();
}

}  // namespace kiva5
