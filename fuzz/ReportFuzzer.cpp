// Builds a report from arbitrary bytes (device locator and name, parameter values, notes,
// event variables) and writes it: the JSON must always parse back, every text in it is valid
// UTF-8, and each escaped copy gives back the original bytes.
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "kiva5/Report.h"
#include "vek/String.h"

namespace {

// Reverses vek::escapeInvalidUtf8: "\\\\" is a backslash, "\\xHH" a byte.
std::string unescape(const std::string& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            out.push_back(text[i]);
        } else if (i + 1 < text.size() && text[i + 1] == '\\') {
            out.push_back('\\');
            ++i;
        } else if (i + 3 < text.size() && text[i + 1] == 'x') {
            out.push_back(static_cast<char>(std::stoi(text.substr(i + 2, 2), nullptr, 16)));
            i += 3;
        } else {
            std::abort();  // an escape the writer never makes
        }
    }
    return out;
}

void expectKept(const nlohmann::json& object, const std::string& key, const std::string& bytes) {
    const std::string escaped = key + "Escaped";
    if (object.contains(escaped) && unescape(object[escaped].get<std::string>()) != bytes)
        std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Up to four texts separated by NUL: locator, name, parameter value, note.
    std::vector<std::string> parts(4);
    std::size_t part = 0;
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] == 0 && part + 1 < parts.size())
            ++part;
        else
            parts[part].push_back(static_cast<char>(data[i]));
    }
    kiva5::Report report;
    report.moduleFile = "vekrsensors.vkm";
    report.backend = "iio";
    kiva5::RunRecord run;
    run.test = "AccelerometerTest";
    run.device.emplace(kiva5::DeviceCapability::Accelerometer(), kiva5::KivaString(parts[0]),
                       kiva5::KivaString(parts[1]));
    run.parameters.emplace_back("AccelerometerTarget", parts[2]);
    run.notes.push_back(parts[3]);
    run.details.emplace_back("last", kiva5::Value(parts[2], kiva5::DataType::DOUBLE()));
    run.details.emplace_back("unit", kiva5::Value(parts[3]));
    kiva5::EventRecord event;
    event.name = "Sensor_Timeout";
    event.variables.emplace_back(parts[1], kiva5::Value(parts[3]));
    run.events.push_back(event);
    run.result = kiva5::TestResult::FAIL();  // a failure carries every text into the XML
    report.runs.push_back(run);
    report.settleResult();

    const auto doc = nlohmann::json::parse(report.toJson(), nullptr, false);
    if (doc.is_discarded())
        std::abort();
    const auto& written = doc["runs"][0];
    expectKept(written["device"], "locator", parts[0]);
    expectKept(written["device"], "name", parts[1]);
    if (written.contains("parametersEscaped") &&
        unescape(written["parametersEscaped"]["AccelerometerTarget"].get<std::string>()) !=
            parts[2]) {
        std::abort();
    }
    // JUnit XML: only markup starts with '<', and no character XML 1.0 forbids.
    const std::string xml = report.toJUnitXml();
    if (!vek::isValidUtf8(xml))
        std::abort();
    for (std::size_t i = 0; i < xml.size(); ++i) {
        const auto b = static_cast<unsigned char>(xml[i]);
        if (b < 0x20 && b != '\t' && b != '\n' && b != '\r')
            std::abort();
        if (b == '<' && (i + 1 == xml.size() || !(std::isalpha(static_cast<unsigned char>(
                                                     xml[i + 1])) ||
                                                 xml[i + 1] == '/' || xml[i + 1] == '?')))
            std::abort();
    }
    std::ostringstream summary;
    report.printSummary(summary, "", report.result.value());
    return 0;
}
