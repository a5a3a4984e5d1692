#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// What MachineIdentity::read makes of the system's answers, the same on Linux and Windows
// (src/posix/ and src/windows/MachineIdentity.cpp read them). Plain functions; any thread.
namespace kiva5 {

// A firmware string (DMI, SMBIOS) as a report shows it: at most 256 bytes, trailing blanks
// gone; nothing for the firmware's placeholders ("To be filled by O.E.M.", ...).
std::optional<std::string> firmwareText(std::string_view raw);
// Bytes as lower-case hexadecimal.
std::string hexText(const unsigned char* bytes, std::size_t count);

}  // namespace kiva5
