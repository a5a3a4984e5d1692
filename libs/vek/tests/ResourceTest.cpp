#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "ScratchDir.h"
#include "vek/Resource.h"

namespace fs = std::filesystem;

namespace {

// Works in a fresh folder as the working directory, with another folder standing in for the
// executable's, so both places of the lookup can be tested.
class Settings : public ::testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(root_ / "cwd");
        fs::create_directories(root_ / "exe");
        fs::current_path(root_ / "cwd");
        vek::Resource::resetForTesting();
        vek::Resource::setExecutableDirForTesting(root_ / "exe");
    }
    void TearDown() override {
        fs::current_path(previous_);
        vek::Resource::resetForTesting();
    }
    void write(const fs::path& base, const std::string& text) {
        fs::create_directories(base / "resources/mod");
        std::ofstream(base / "resources/mod/settings.json") << text;
    }
    static bool get(const char* key, std::string& out, const char* lang = "en") {
        vek::String v;
        const bool found = vek::Resource::getSetting("mod", key, v, vek::VekLocale(lang));
        out = v.toStdString();
        return found;
    }
    vekr::testing::ScratchDir scratch_{"vekr-resource"};
    fs::path root_ = scratch_.path();
    fs::path previous_ = fs::current_path();
};

// A language's block over the common one, numbers handed out as text: the proximity tuning
// cases (cases/interactive.json).

// An installed module (<prefix>/lib/mod/) finds <prefix>/share/mod/; the build tree's copy
// beside the executable wins over it, a working folder's over both.
TEST_F(Settings, WorkingFolderThenBesideTheExecutableThenTheInstallsDataFolder) {
    const fs::path exe = root_ / "lib/mod";
    fs::create_directories(root_ / "share/mod");
    std::ofstream(root_ / "share/mod/settings.json") << R"({"settings": {"A.value": "installed"}})";
    std::ofstream(root_ / "share/mod/Prox.png") << "x";
    std::string v;
    for (const auto& [writeTo, expected] :
         {std::pair(fs::path(), "installed"), std::pair(exe, "beside"),
          std::pair(root_ / "cwd", "working")}) {
        if (!writeTo.empty())
            write(writeTo, std::string(R"({"settings": {"A.value": ")") + expected + "\"}}");
        vek::Resource::resetForTesting();
        vek::Resource::setExecutableDirForTesting(exe);
        ASSERT_TRUE(get("A.value", v)) << expected;
        EXPECT_EQ(v, expected);
    }
    const auto png = vek::Resource::resolve("Resources//mod//prox.png");
    ASSERT_TRUE(png);
    EXPECT_TRUE(fs::equivalent(*png, root_ / "share/mod/Prox.png"));
    EXPECT_TRUE(vek::Resource::overridesInstalled("resources/mod/settings.json",
                                                  root_ / "cwd/resources/mod/settings.json"));
}

TEST_F(Settings, ResourceNamesIgnoreLetterCaseAndDoubledSlashes) {
    fs::create_directories(root_ / "exe/resources/mod");
    std::ofstream(root_ / "exe/resources/mod/prox.png") << "x";
    struct Row {
        const char* asked;
        bool found;
    };
    const Row rows[] = {
        {"resources/mod/prox.png", true}, {"Resources//mod//prox.png", true},
        {"RESOURCES/Mod/PROX.PNG", true}, {"Resources//mod//other.png", false},
        {"Resources/mod", false},  // a folder is not a resource
    };
    for (const Row& r : rows) {
        const auto found = vek::Resource::resolve(r.asked);
        EXPECT_EQ(found.has_value(), r.found) << r.asked;
        if (found && r.found) {
            EXPECT_TRUE(fs::equivalent(*found, root_ / "exe/resources/mod/prox.png")) << r.asked;
        }
    }
}

TEST_F(Settings, MissingFileMeansNoSetting) {
    std::string v;
    EXPECT_FALSE(get("A.value", v));
    EXPECT_FALSE(vek::Resource::resolve("resources/mod/settings.json").has_value());
}

// A malformed settings file and the language taken from the environment are host cases
// (cases/host.json): exit 8 naming the file, and the report's language.

}  // namespace
