#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace vekr::testing {

// A fresh folder per test case, named after the case and the process, removed afterwards.
// Optionally the working directory while it lives.
class ScratchDir {
public:
    explicit ScratchDir(const std::string& prefix, bool enter = false) {
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        std::string name = prefix + "-" + std::to_string(::getpid());
        if (info)
            name += std::string("-") + info->test_suite_name() + "-" + info->name();
        for (char& c : name) {
            if (c == '/')
                c = '_';
        }
        path_ = std::filesystem::temp_directory_path() / name;
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
        if (enter) {
            previous_ = std::filesystem::current_path();
            std::filesystem::current_path(path_);
        }
    }
    ~ScratchDir() {
        std::error_code ec;
        if (!previous_.empty())
            std::filesystem::current_path(previous_, ec);
        std::filesystem::remove_all(path_, ec);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::filesystem::path& p) const { return path_ / p; }

    // Writes `text` to a file below the folder, creating its parent folders.
    void write(const std::filesystem::path& relative, const std::string& text) const {
        const auto file = path_ / relative;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }

private:
    std::filesystem::path path_;
    std::filesystem::path previous_;
};

}  // namespace vekr::testing
