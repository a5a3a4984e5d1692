#include "DialogsBuild.h"

namespace vekrsensors {

// Never loaded: nothing of that name is built for Windows.
const char* dialogsPluginFile() {
    return "vekrsensors-dialogs.dll";
}

// The dialogs are drawn with Qt, which the Windows build (mingw-w64 from Debian) does not have.
std::string dialogsAbsentFromBuild() {
    return "this Windows build has no dialogs (they need Qt, which it is built without)";
}

}  // namespace vekrsensors
