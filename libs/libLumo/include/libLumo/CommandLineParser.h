#pragma once

#include <string>
#include <vector>

#include "platform/WindowsNames.h"
#include "vek/String.h"

namespace libLumo {

// Collects the process's arguments for the framework: argv()[0] is the module's file name
// (the framework's name for itself in messages), the rest are the arguments as given.
// Filled by CWinApp::ParseCommandLine on the main thread.
class CommandLineParser : public CCommandLineInfo {
public:
    explicit CommandLineParser(const vek::String& moduleFile);

    void ParseParam(const char* param, BOOL flag, BOOL last) override;

    int argc() const { return static_cast<int>(args_.size()); }
    const std::vector<std::string>& argv() const { return args_; }

private:
    std::vector<std::string> args_;
};

}  // namespace libLumo
