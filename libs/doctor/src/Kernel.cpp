#include <fcntl.h>
#include <fnmatch.h>
#include <sys/utsname.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>

#include "Facts.h"

namespace fs = std::filesystem;

namespace doctor {
namespace {

// "kernel/drivers/iio/accel/bmc150-accel-i2c.ko" names the module bmc150_accel_i2c.
std::string moduleOfPath(const std::string& line) {
    std::string name = fs::path(line).filename().string();
    if (const auto dot = name.find(".ko"); dot != std::string::npos)
        name.erase(dot);
    for (char& c : name) {
        if (c == '-')
            c = '_';
    }
    return name;
}

// The kernel log's records, read whole: /dev/kmsg gives one record per read() and EAGAIN at
// the end when opened non-blocking; a copy in a file is read the same way, a line at a time.
std::vector<std::string> logRecords(const fs::path& source, std::string& why) {
    std::vector<std::string> records;
    const int fd = ::open(source.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        why = std::string(std::strerror(errno)) + " (" + source.string() + ")";
        return records;
    }
    std::string pending;
    char buf[8192];
    for (;;) {
        const ssize_t n = ::read(fd, buf, sizeof buf);
        if (n < 0 && errno == EPIPE)
            continue;  // a record was overwritten while we read: go on with the next
        if (n <= 0)
            break;
        pending.append(buf, static_cast<std::size_t>(n));
    }
    ::close(fd);
    std::istringstream lines(pending);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.front() != ' ')  // continuation lines start with a space
            records.push_back(line);
    }
    return records;
}

// The journal's kernel messages of this boot at level warning or worse, oldest first (the
// first 5000); false with `why` where the journal cannot be opened or shows this user none.
bool journalProblems(const Roots& roots, std::vector<std::string>& out, std::string& why) {
    sd_journal* j = nullptr;
    const int rc = roots.journal.empty()
                       ? sd_journal_open(&j, SD_JOURNAL_LOCAL_ONLY | SD_JOURNAL_SYSTEM)
                       : sd_journal_open_directory(&j, roots.journal.c_str(), 0);
    if (rc < 0) {
        why = "the journal: " + std::string(std::strerror(-rc));
        return false;
    }
    const std::unique_ptr<sd_journal, decltype(&sd_journal_close)> journal(j, &sd_journal_close);
    for (const char* level : {"PRIORITY=0", "PRIORITY=1", "PRIORITY=2", "PRIORITY=3", "PRIORITY=4"})
        sd_journal_add_match(j, level, 0);
    sd_journal_add_conjunction(j);
    sd_journal_add_match(j, "_TRANSPORT=kernel", 0);
    std::ifstream bootId(roots.proc / "sys/kernel/random/boot_id");
    std::string boot;
    if (std::getline(bootId, boot) && !boot.empty()) {
        boot.erase(std::remove(boot.begin(), boot.end(), '-'), boot.end());
        sd_journal_add_match(j, ("_BOOT_ID=" + boot).c_str(), 0);
    }
    constexpr std::size_t kLimit = 5000;
    bool any = false;
    for (std::size_t n = 0; n < kLimit && sd_journal_next(j) > 0; ++n) {
        any = true;
        const void* data = nullptr;
        std::size_t length = 0;
        if (sd_journal_get_data(j, "MESSAGE", &data, &length) >= 0 && length > 8)
            out.emplace_back(static_cast<const char*>(data) + 8, length - 8);  // past "MESSAGE="
    }
    if (!any) {
        why =
            "the journal shows this user no kernel message of this boot (members of the adm "
            "or systemd-journal group see them)";
    }
    return any;
}

}  // namespace

KernelModules::KernelModules(const Roots& roots)
    : folder_(roots.modules), sysModule_(roots.sysfs / "module") {
    std::ifstream aliases(folder_ / "modules.alias");
    if (!aliases) {
        why_ = "cannot read " + (folder_ / "modules.alias").string();
        return;
    }
    readable_ = true;
    for (std::string line; std::getline(aliases, line);) {
        std::istringstream words(line);
        std::string keyword, pattern, module;
        if (words >> keyword >> pattern >> module && keyword == "alias")
            aliases_.emplace_back(pattern, module);
    }
    std::ifstream builtin(folder_ / "modules.builtin");
    for (std::string line; std::getline(builtin, line);)
        builtIn_.push_back(moduleOfPath(line));
}

std::string KernelModules::moduleFor(const std::string& modalias) const {
    for (const auto& [pattern, module] : aliases_) {
        if (!modalias.empty() && fnmatch(pattern.c_str(), modalias.c_str(), 0) == 0)
            return module;
    }
    return {};
}

bool KernelModules::builtIn(const std::string& module) const {
    return std::find(builtIn_.begin(), builtIn_.end(), module) != builtIn_.end();
}

bool KernelModules::loaded(const std::string& module) const {
    std::error_code ec;
    return fs::exists(sysModule_ / module, ec);
}

KernelLog::KernelLog(const Roots& roots) : source_(roots.kernelLog) {
    std::string why;
    const auto records = logRecords(source_, why);
    if (!why.empty()) {
        // The kernel log is root's on many systems; its messages may still be in the journal.
        std::string journalWhy;
        if (journalProblems(roots, problems_, journalWhy)) {
            readable_ = true;
            source_ = roots.journal.empty()
                          ? fs::path("the journal's kernel messages")
                          : fs::path(roots.journal.string() + " (the journal's kernel messages)");
            return;
        }
        why_ = why.append("; ").append(journalWhy);
        return;
    }
    readable_ = true;
    for (const std::string& r : records) {
        // "prio,seq,usec,flags;text": the level is the priority's low three bits.
        const auto semicolon = r.find(';');
        if (semicolon == std::string::npos)
            continue;
        const int priority = std::atoi(r.c_str());
        if ((priority & 7) <= 4)
            problems_.push_back(r.substr(semicolon + 1));
    }
}

std::string KernelLog::problemNaming(const std::string& device) const {
    for (const std::string& p : problems_) {
        if (!device.empty() && p.find(device) != std::string::npos)
            return p;
    }
    return {};
}

}  // namespace doctor
