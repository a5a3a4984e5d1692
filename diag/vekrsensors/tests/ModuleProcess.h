#pragma once

#include <string>
#include <vector>

// Runs the module executable with arguments in a working directory and collects what a host
// would see.
struct ModuleOutcome {
    int exitCode = -1;
    std::string out;
    std::string err;
};

ModuleOutcome runModule(const std::vector<std::string>& args, const std::string& workDir = ".",
                        const std::vector<std::string>& extraEnv = {});
