#include "kiva5/ReportDestination.h"

#include <windows.h>

#include <fstream>
#include <ostream>
#include <system_error>

namespace kiva5 {
namespace {

namespace fs = std::filesystem;

// The system's text for an error code, with the code (Wine has few texts).
std::string describe(DWORD code) {
    return std::system_category().message(static_cast<int>(code)) + " (" +
           std::to_string(code) + ")";
}

std::string folderProblem(const fs::path& folder) {
    std::error_code ec;
    const auto status = fs::status(folder, ec);
    if (ec)
        return "folder " + folder.string() + ": " + ec.message();
    if (!fs::is_directory(status))
        return folder.string() + " is not a folder";
    return "";
}

// Windows' device names (NUL, CON, COM1, ...) are not files: written in place.
bool isDevice(const std::string& name) {
    const fs::path stem = fs::path(name).stem();
    std::string upper;
    for (const char c : stem.string())
        upper += static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
    return upper == "NUL" || upper == "CON" || upper.rfind("COM", 0) == 0 ||
           upper.rfind("LPT", 0) == 0;
}

}  // namespace

std::optional<ReportDestination> ReportDestination::check(const std::string& option,
                                                          const std::string& name,
                                                          std::string& problem) {
    const auto refuse = [&](const std::string& why) -> std::optional<ReportDestination> {
        problem = option.substr(option.find_first_not_of('-')) + " " + name + ": " + why;
        return std::nullopt;
    };
    if (name.empty()) {
        problem = option + " needs a file name (- for standard output)";
        return std::nullopt;
    }
    if (name == "-")
        return ReportDestination(Kind::Stdout, name, {});
    if (isDevice(name))
        return ReportDestination(Kind::Special, name, name);
    std::error_code ec;
    const fs::path path(name);
    const auto status = fs::status(path, ec);
    if (fs::exists(status)) {
        if (fs::is_directory(status))
            return refuse("is a folder");
        if (!fs::is_regular_file(status))
            return ReportDestination(Kind::Special, name, path);
        if ((fs::status(path).permissions() & fs::perms::owner_write) == fs::perms::none)
            return refuse("not writable: read-only");
        const fs::path real = fs::canonical(path, ec);
        if (ec)
            return refuse(ec.message());
        if (auto folder = folderProblem(real.parent_path()); !folder.empty())
            return refuse(folder);
        return ReportDestination(Kind::File, name, real);
    }
    const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
    if (auto why = folderProblem(folder); !why.empty())
        return refuse(why);
    return ReportDestination(Kind::File, name, fs::absolute(path));
}

std::string ReportDestination::write(const std::string& text, std::ostream& stdoutStream) const {
    switch (kind_) {
        case Kind::Stdout:
            stdoutStream << text;
            stdoutStream.flush();
            return stdoutStream ? "" : "cannot write the report to standard output";
        case Kind::Special:
            return writeSpecial(text);
        case Kind::File:
            return writeFile(text);
    }
    return "";
}

std::string ReportDestination::writeSpecial(const std::string& text) const {
    std::ofstream out(target_, std::ios::binary);
    out << text;
    out.flush();
    return out ? "" : "cannot write report " + name_;
}

// Through a temporary beside the target and MoveFileExW, so a reader never sees half a report.
std::string ReportDestination::writeFile(const std::string& text) const {
    // (Built by appending: g++ 12 -O3 warns falsely about "." + string.)
    std::string hidden(".");
    hidden.append(target_.filename().string())
        .append(".")
        .append(std::to_string(GetCurrentProcessId()))
        .append(".tmp");
    const fs::path temp = target_.parent_path() / hidden;
    {
        std::ofstream out(temp, std::ios::binary | std::ios::trunc);
        out << text;
        out.flush();
        if (!out) {
            std::error_code ec;
            fs::remove(temp, ec);
            return "cannot write report " + name_ + ": cannot write " + temp.string();
        }
    }
    if (!MoveFileExW(temp.wstring().c_str(), target_.wstring().c_str(),
                     MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        const DWORD err = GetLastError();
        std::error_code ec;
        fs::remove(temp, ec);
        return "cannot write report " + name_ + ": " + describe(err);
    }
    return "";
}

}  // namespace kiva5
