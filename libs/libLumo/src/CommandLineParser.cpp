#include "libLumo/CommandLineParser.h"

namespace libLumo {

CommandLineParser::CommandLineParser(const vek::String& moduleFile) {
    args_.push_back(moduleFile.toStdString());
}

void CommandLineParser::ParseParam(const char* param, BOOL, BOOL) {
    args_.emplace_back(param ? param : "");
}

}  // namespace libLumo
