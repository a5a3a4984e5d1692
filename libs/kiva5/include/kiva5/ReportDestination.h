#pragma once

#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>

namespace kiva5 {

// Where the JSON report goes, checked when the command line is read so that a run whose
// evidence could not be kept never starts. Regular files (and new names) are written through a
// temporary file and a rename, so a reader never sees half a report; a device node, a FIFO or
// stdout is written in place, because renaming over /dev/null would replace the machine's own
// node with a plain file. Used on the main thread.
class ReportDestination {
public:
    enum class Kind { Stdout, Special, File };

    // The destination for `option NAME` (--report, --junit; "-" is stdout), or the one-line
    // reason it cannot take a report (in `problem`).
    static std::optional<ReportDestination> check(const std::string& option,
                                                  const std::string& name, std::string& problem);

    // Writes `text` whole. Stdout goes through `stdoutStream`, which is flushed and checked.
    // Returns "" on success, else the reason, naming the destination.
    std::string write(const std::string& text, std::ostream& stdoutStream) const;

    Kind kind() const { return kind_; }
    // The name as given on the command line.
    const std::string& name() const { return name_; }

private:
    ReportDestination(Kind kind, std::string name, std::filesystem::path target)
        : kind_(kind), name_(std::move(name)), target_(std::move(target)) {}

    std::string writeSpecial(const std::string& text) const;
    std::string writeFile(const std::string& text) const;

    Kind kind_;
    std::string name_;
    // For Kind::File: the regular file itself, symbolic links followed, so the rename
    // replaces the file and leaves the link in place.
    std::filesystem::path target_;
};

}  // namespace kiva5
