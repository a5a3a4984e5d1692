#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "libOrra/IioAttribute.h"

namespace libOrra::iio {

// Reads a device through its buffer, for drivers that publish no sysfs value attributes:
// enables the wanted channels under scan_elements/, picks the device's own trigger where it
// has none, enables the buffer and reads scans from the character device. Whatever it changed
// is put back as it was found when it stops. Owned and used by one sensor's reader thread.
class BufferStream {
public:
    BufferStream(std::filesystem::path deviceDir, std::filesystem::path node,
                 std::vector<std::string> channels);
    ~BufferStream();
    BufferStream(const BufferStream&) = delete;
    BufferStream& operator=(const BufferStream&) = delete;

    // Sets the buffer up; false with `err` (EBUSY when another program has enabled the
    // buffer) and `file` naming the attribute that failed.
    bool start(int& err, std::string& file);
    // The latest scan's value of each wanted channel, in the order given. Waits at most `wait`
    // when no scan came since the last call and the last one is stale; false with `err` when
    // none came.
    bool latest(std::vector<std::int64_t>& values, std::chrono::milliseconds wait, int& err);
    // Every whole scan that came since the last call, oldest first, each as latest() gives
    // one; waits at most `wait` for the first. False with `err` on a read error.
    bool drain(std::vector<std::vector<std::int64_t>>& scans, std::chrono::milliseconds wait,
               int& err);
    void stop();

private:
    // Where starting failed, and the error.
    struct Failure {
        std::filesystem::path where;
        int err;
    };
    // The steps of start(), in order.
    std::optional<Failure> enableChannels();
    std::optional<Failure> readLayout();
    std::optional<Failure> takeOwnTrigger();
    // Appends every byte the node has now to the pending scans: then the node has more to
    // come (Waiting), has ended (a plain file standing in for it), or failed with `err`.
    enum class Read { Waiting, Ended, Failed };
    Read readAvailable(int& err);
    // The wanted channels' values of the scan at `scan`, in the order given.
    std::vector<std::int64_t> decode(const std::uint8_t* scan) const;
    struct Element {
        std::string name;
        std::size_t index = 0;
        ScanType type;
        std::size_t offset = 0;
        bool wanted = false;
    };
    std::filesystem::path dir_;
    std::filesystem::path node_;
    std::vector<std::string> channels_;
    std::filesystem::path bufferDir_;
    int fd_ = -1;
    std::vector<Element> layout_;  // enabled elements in scan order
    std::size_t scanBytes_ = 0;
    std::vector<std::string> enabledByUs_;
    std::optional<std::string> previousTrigger_;
    bool enabledBuffer_ = false;
    std::vector<std::uint8_t> pending_;
    std::vector<std::int64_t> last_;
    std::chrono::steady_clock::time_point lastAt_{};
};

}  // namespace libOrra::iio
