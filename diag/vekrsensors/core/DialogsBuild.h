#pragma once

#include <string>

namespace vekrsensors {

// What this build offers for the dialogs plugin (core/posix/ or core/windows/, one compiled).
// Plain functions without state; any thread.

// The plugin's file name, found beside the module file.
const char* dialogsPluginFile();
// Why this build cannot have the dialogs at all ("" where the plugin may be installed): an
// interactive test then answers CANNOTRUN with this note, without looking for a file.
std::string dialogsAbsentFromBuild();

}  // namespace vekrsensors
