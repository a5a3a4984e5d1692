#include "DialogsBuild.h"

namespace vekrsensors {

const char* dialogsPluginFile() {
    return "vekrsensors-dialogs.so";
}

std::string dialogsAbsentFromBuild() {
    return "";
}

}  // namespace vekrsensors
