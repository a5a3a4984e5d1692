#include "kiva5/Report.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <ostream>

#include "kiva5/KivaException.h"

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
    for (const auto& [name, value] : pairs)
        out[name] = valueJson(value);
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
    doc["runs"] = nlohmann::ordered_json::array();
    for (const auto& run : runs) {
        nlohmann::ordered_json r;
        r["test"] = run.test;
        if (run.device) {
            r["device"] = {{"locator", run.device->osLocator().str()},
                           {"name", run.device->name().str()}};
        } else {
            r["device"] = nullptr;
        }
        r["parameters"] = nlohmann::ordered_json::object();
        for (const auto& [name, text] : run.parameters)
            r["parameters"][name] = text;
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
            r["notes"] = run.notes;
        doc["runs"].push_back(std::move(r));
    }
    doc["result"] = std::string(result.name());
    doc["code"] = result.value();
    return doc.dump(2) + "\n";
}

void Report::write(const std::filesystem::path& file) const {
    const std::string text = toJson();
    const std::filesystem::path dir = file.has_parent_path() ? file.parent_path() : ".";
    // A hidden temporary beside the target, so the rename stays on one file system.
    std::string hidden(".");
    hidden.append(file.filename().string()).append(".XXXXXX");
    std::string tmpl = (dir / hidden).string();
    const int fd = mkstemp(tmpl.data());
    auto fail = [&](const char* what, int err) {
        throw KivaException("cannot write report " + file.string() + ": " + what + ": " +
                            std::strerror(err));
    };
    if (fd < 0)
        fail("create", errno);
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            const int err = errno;
            ::close(fd);
            ::unlink(tmpl.c_str());
            fail("write", err);
        }
        done += static_cast<std::size_t>(n);
    }
    // Reports are read by other people's tools: make the file as readable as a normal one.
    ::fchmod(fd, 0644);
    if (::fsync(fd) != 0 || ::close(fd) != 0) {
        const int err = errno;
        ::unlink(tmpl.c_str());
        fail("sync", err);
    }
    if (std::rename(tmpl.c_str(), file.c_str()) != 0) {
        const int err = errno;
        ::unlink(tmpl.c_str());
        fail("rename", err);
    }
}

void Report::printSummary(std::ostream& out) const {
    out << moduleFile << " " << version << " (build " << build << "), backend " << backend << "\n";
    for (const auto& run : runs) {
        const std::string device = run.device ? run.device->osLocator().str() : "(no device)";
        out << "  " << std::left << std::setw(24) << run.test << std::setw(20) << device << " "
            << std::setw(11) << run.result.name() << std::right << std::fixed
            << std::setprecision(2) << run.seconds << " s\n";
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
    out << "Result: " << result.name() << " (exit code " << result.value() << ")\n";
    out.unsetf(std::ios::fixed);
}

}  // namespace kiva5
