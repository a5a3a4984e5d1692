#include "kiva5/ReportDestination.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ostream>

namespace kiva5 {
namespace {

namespace fs = std::filesystem;

std::string describe(int err) {
    return std::strerror(err);
}

// Writes all of `text`; 0 or the errno of the failing write.
int writeAll(int fd, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return errno;
        if (n == 0)
            return EIO;
        done += static_cast<std::size_t>(n);
    }
    return 0;
}

// The folder a new or replaced file goes into must let us create the temporary there.
std::string folderProblem(const fs::path& folder) {
    struct stat st {};
    if (::stat(folder.c_str(), &st) != 0)
        return "folder " + folder.string() + ": " + describe(errno);
    if (!S_ISDIR(st.st_mode))
        return folder.string() + " is not a folder";
    if (::access(folder.c_str(), W_OK | X_OK) != 0)
        return "folder " + folder.string() + " is not writable: " + describe(errno);
    return "";
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

    struct stat st {};
    if (::stat(name.c_str(), &st) == 0) {
        if (S_ISDIR(st.st_mode))
            return refuse("is a folder");
        if (S_ISSOCK(st.st_mode))
            return refuse("is a socket");
        if (::access(name.c_str(), W_OK) != 0)
            return refuse("not writable: " + describe(errno));
        if (!S_ISREG(st.st_mode))
            return ReportDestination(Kind::Special, name, name);
        std::error_code ec;
        const fs::path real = fs::canonical(name, ec);
        if (ec)
            return refuse(ec.message());
        if (auto folder = folderProblem(real.parent_path()); !folder.empty())
            return refuse(folder);
        return ReportDestination(Kind::File, name, real);
    }
    if (errno != ENOENT)
        return refuse(describe(errno));
    struct stat link {};
    if (::lstat(name.c_str(), &link) == 0)
        return refuse("is a symbolic link to a missing file");
    const fs::path path(name);
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
    // Non-blocking open: a FIFO nobody reads answers ENXIO at once instead of hanging the run.
    const int fd = ::open(target_.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        if (errno == ENXIO)
            return "cannot write report " + name_ + ": no program reads it";
        return "cannot write report " + name_ + ": " + describe(errno);
    }
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    const int err = writeAll(fd, text);
    const int closed = ::close(fd) == 0 ? 0 : errno;
    if (err || closed)
        return "cannot write report " + name_ + ": " + describe(err ? err : closed);
    return "";
}

std::string ReportDestination::writeFile(const std::string& text) const {
    // A hidden temporary beside the target, so the rename stays on one file system.
    // (Built by appending: g++ 12 -O3 warns falsely about "." + string.)
    std::string hidden(".");
    hidden.append(target_.filename().string()).append(".XXXXXX");
    std::string temp = (target_.parent_path() / hidden).string();
    const int fd = ::mkstemp(temp.data());
    if (fd < 0)
        return "cannot write report " + name_ + ": " + describe(errno);
    // Reports are read by other people's tools: as readable as a normal file, or as the file
    // it replaces.
    struct stat old {};
    const mode_t mode = ::stat(target_.c_str(), &old) == 0 ? (old.st_mode & 07777) : 0644;
    ::fchmod(fd, mode);
    int err = writeAll(fd, text);
    if (!err && ::fsync(fd) != 0)
        err = errno;
    if (::close(fd) != 0 && !err)
        err = errno;
    if (!err && std::rename(temp.c_str(), target_.c_str()) != 0)
        err = errno;
    if (err) {
        ::unlink(temp.c_str());
        return "cannot write report " + name_ + ": " + describe(err);
    }
    return "";
}

}  // namespace kiva5
