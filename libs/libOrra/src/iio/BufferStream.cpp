#include "BufferStream.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <thread>

#include "SysfsFile.h"

namespace fs = std::filesystem;

namespace libOrra::iio {

BufferStream::BufferStream(fs::path deviceDir, fs::path node, std::vector<std::string> channels)
    : dir_(std::move(deviceDir)), node_(std::move(node)), channels_(std::move(channels)) {
    std::error_code ec;
    // Kernels since 5.11 name the first buffer buffer0/ and keep buffer/ as its alias.
    bufferDir_ = fs::exists(dir_ / "buffer" / "enable", ec) ? dir_ / "buffer" : dir_ / "buffer0";
}

BufferStream::~BufferStream() {
    stop();
}

bool BufferStream::start(int& err, std::string& file) {
    std::optional<Failure> failed = enableChannels();
    if (!failed)
        failed = readLayout();
    if (!failed)
        failed = takeOwnTrigger();
    if (!failed) {
        fd_ = ::open(node_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (fd_ < 0)
            failed = Failure{node_, errno};
    }
    int e = 0;
    if (!failed && !writeAttribute(bufferDir_ / "enable", "1", e))
        failed = Failure{bufferDir_ / "enable", e};
    if (failed) {
        err = failed->err;
        file = failed->where.string();
        stop();
        return false;
    }
    enabledBuffer_ = true;
    err = 0;
    return true;
}

std::optional<BufferStream::Failure> BufferStream::enableChannels() {
    int e = 0;
    const auto enabled = readAttribute(bufferDir_ / "enable", e);
    if (!enabled)
        return Failure{bufferDir_ / "enable", e};
    if (*enabled == "1")
        return Failure{bufferDir_ / "enable", EBUSY};  // another program streams this device
    // Our channels on; the others stay as they are, and shape the scan with ours.
    const fs::path scan = dir_ / "scan_elements";
    for (const auto& c : channels_) {
        const auto on = readAttribute(scan / (c + "_en"), e);
        if (!on)
            return Failure{scan / (c + "_en"), e};
        if (*on != "1") {
            if (!writeAttribute(scan / (c + "_en"), "1", e))
                return Failure{scan / (c + "_en"), e};
            enabledByUs_.push_back(c);
        }
    }
    return std::nullopt;
}

std::optional<BufferStream::Failure> BufferStream::readLayout() {
    const fs::path scan = dir_ / "scan_elements";
    layout_.clear();
    int e = 0;
    std::error_code ec;
    for (fs::directory_iterator it(scan, ec), end; !ec && it != end; it.increment(ec)) {
        const std::string n = it->path().filename().string();
        if (!n.ends_with("_en"))
            continue;
        const std::string name = n.substr(0, n.size() - 3);
        const auto on = readAttribute(it->path(), e);
        if (!on || *on != "1")
            continue;
        const auto index = readAttribute(scan / (name + "_index"), e);
        const auto type = readAttribute(scan / (name + "_type"), e);
        // The index is a plain unsigned number, read straight into the element.
        Element el;
        el.name = name;
        const bool indexOk =
            index && std::from_chars(index->data(), index->data() + index->size(), el.index).ec ==
                         std::errc();
        const auto parsedType = type ? parseScanType(*type) : std::nullopt;
        if (!indexOk || !parsedType)
            return Failure{scan / (name + (parsedType ? "_index" : "_type")), e ? e : EINVAL};
        el.type = *parsedType;
        el.wanted = std::find(channels_.begin(), channels_.end(), name) != channels_.end();
        layout_.push_back(el);
    }
    std::sort(layout_.begin(), layout_.end(),
              [](const Element& a, const Element& b) { return a.index < b.index; });
    // Each element sits at a multiple of its own size; the scan is padded to its largest.
    std::size_t offset = 0, largest = 1;
    for (auto& el : layout_) {
        const std::size_t size = el.type.bytes();
        offset = (offset + size - 1) / size * size;
        el.offset = offset;
        offset += size;
        largest = std::max(largest, size);
    }
    scanBytes_ = (offset + largest - 1) / largest * largest;
    if (scanBytes_ == 0)
        return Failure{scan, EINVAL};
    return std::nullopt;
}

std::optional<BufferStream::Failure> BufferStream::takeOwnTrigger() {
    // A device without a trigger gets its own ("<name>-dev<N>"), as its driver registers it.
    const fs::path current = dir_ / "trigger" / "current_trigger";
    std::error_code ec;
    int e = 0;
    if (!fs::exists(current, ec))
        return std::nullopt;
    const auto trigger = readAttribute(current, e);
    if (!trigger || !trigger->empty())
        return std::nullopt;
    const auto devName = readAttribute(dir_ / "name", e).value_or("");
    const std::string own =
        devName + "-dev" + dir_.filename().string().substr(std::string("iio:device").size());
    bool found = false;
    for (fs::directory_iterator it(dir_.parent_path(), ec), end; !ec && it != end;
         it.increment(ec)) {
        if (it->path().filename().string().rfind("trigger", 0) == 0 &&
            readAttribute(it->path() / "name", e).value_or("") == own) {
            found = true;
        }
    }
    if (!found)
        return std::nullopt;
    if (!writeAttribute(current, own, e))
        return Failure{current, e};
    previousTrigger_ = "";
    return std::nullopt;
}

std::vector<std::int64_t> BufferStream::decode(const std::uint8_t* scan) const {
    std::vector<std::int64_t> values(channels_.size(), 0);
    for (const auto& el : layout_) {
        if (!el.wanted)
            continue;
        const auto at = std::find(channels_.begin(), channels_.end(), el.name);
        values[static_cast<std::size_t>(at - channels_.begin())] =
            decodeScanValue(el.type, scan + el.offset);
    }
    return values;
}

BufferStream::Read BufferStream::readAvailable(int& err) {
    for (;;) {
        std::uint8_t buf[4096];
        const ssize_t n = ::read(fd_, buf, sizeof buf);
        if (n > 0) {
            pending_.insert(pending_.end(), buf, buf + n);
            continue;
        }
        if (n == 0)
            return Read::Ended;
        if (errno == EAGAIN || errno == EINTR)
            return Read::Waiting;
        err = errno;
        return Read::Failed;
    }
}

bool BufferStream::drain(std::vector<std::vector<std::int64_t>>& scans,
                         std::chrono::milliseconds wait, int& err) {
    if (fd_ < 0) {
        err = EBADF;
        return false;
    }
    const auto deadline = std::chrono::steady_clock::now() + wait;
    for (;;) {
        const Read n = readAvailable(err);
        if (n == Read::Failed)
            return false;
        const std::size_t whole = pending_.size() / scanBytes_;
        for (std::size_t i = 0; i < whole; ++i)
            scans.push_back(decode(pending_.data() + i * scanBytes_));
        pending_.erase(pending_.begin(),
                       pending_.begin() + static_cast<std::ptrdiff_t>(whole * scanBytes_));
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (whole > 0 || n == Read::Ended || left.count() <= 0)
            break;  // scans came, a plain file standing in for the device ended, or time is up
        pollfd p{fd_, POLLIN, 0};
        ::poll(&p, 1, static_cast<int>(std::min<long long>(left.count(), 50)));
    }
    err = 0;
    return true;
}

bool BufferStream::latest(std::vector<std::int64_t>& values, std::chrono::milliseconds wait,
                          int& err) {
    if (fd_ < 0) {
        err = EBADF;
        return false;
    }
    const auto now = std::chrono::steady_clock::now();
    const auto deadline = now + wait;
    bool fresh = false;
    for (;;) {
        const Read n = readAvailable(err);
        if (n == Read::Failed)
            return false;
        // Whole scans only; the newest wins, a partial one waits for its rest.
        const std::size_t whole = pending_.size() / scanBytes_;
        if (whole > 0) {
            last_ = decode(pending_.data() + (whole - 1) * scanBytes_);
            pending_.erase(pending_.begin(),
                           pending_.begin() + static_cast<std::ptrdiff_t>(whole * scanBytes_));
            lastAt_ = std::chrono::steady_clock::now();
            fresh = true;
        }
        // A scan younger than a second is still the device's current value at slow rates.
        if (fresh || (!last_.empty() && now - lastAt_ < std::chrono::seconds(1)))
            break;
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            err = EAGAIN;
            return false;
        }
        pollfd p{fd_, POLLIN, 0};
        const int ready = ::poll(&p, 1, static_cast<int>(std::min<long long>(left.count(), 50)));
        if (ready > 0 && n == Read::Ended)  // end of file: a plain file stands in for the device
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    values = last_;
    err = 0;
    return true;
}

void BufferStream::stop() {
    int e = 0;
    if (enabledBuffer_) {
        writeAttribute(bufferDir_ / "enable", "0", e);
        enabledBuffer_ = false;
    }
    if (fd_ >= 0) {
        ::close(fd_);
        fd_ = -1;
    }
    if (previousTrigger_) {
        writeAttribute(dir_ / "trigger" / "current_trigger", *previousTrigger_, e);
        previousTrigger_.reset();
    }
    for (const auto& c : enabledByUs_)
        writeAttribute(dir_ / "scan_elements" / (c + "_en"), "0", e);
    enabledByUs_.clear();
}

}  // namespace libOrra::iio
