// Feeds arbitrary words to the command-line reader: NUL bytes split the input into arguments.
// Every input must end in options to obey or in a settled exit (help, version, one-line usage
// error); nothing may throw, and an error is always one line.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "kiva5/CommandLine.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string> args{"vekrsensors.vkm"};
    std::string word;
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] == 0) {
            args.push_back(word);
            word.clear();
        } else {
            word.push_back(static_cast<char>(data[i]));
        }
    }
    args.push_back(word);
    kiva5::CommandLine options;
    const auto reading =
        kiva5::CommandLine::read(args, "vekrsensors.vkm", "vekrsensors.vkm 6.5", options);
    if (reading.settled && reading.exitCode != 0 &&
        (reading.error.empty() || reading.error.find('\n') != std::string::npos)) {
        std::abort();  // a usage error must be exactly one line
    }
    return 0;
}
