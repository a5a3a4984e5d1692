#include <gtest/gtest.h>

#include <QImage>
#include <filesystem>

namespace {

// Every image the dialogs load is shipped, rendered from its vector source at the size the
// dialog draws it and at twice that for high-density screens: a source edited without rendering
// again, or rendered at another size, would show up blurred or misplaced only on a real screen.
TEST(Artwork, EveryImageIsShippedFromItsSourceAtTheSizeTheDialogLoads) {
    struct Row {
        const char* name;
        QSize size;
    };
    const Row rows[] = {
        {"gyrometer_bg", {752, 752}},
        {"gyrometer_dial", {156, 162}},
        {"gyrometer_marble", {61, 62}},
        {"gyrometer_marble_hole", {56, 56}},
        {"gyrometer_light_red", {83, 84}},
        {"gyrometer_light_green", {83, 84}},
        {"gyrometer_dial_arrow_right", {108, 75}},
        {"gyrometer_dial_arrow_left", {108, 75}},
        {"compass_container_bg", {498, 437}},
        {"compass_bg", {375, 375}},
        {"compass_needle", {183, 702}},
        {"compass_needle_cap", {75, 75}},
        {"compass_marker", {30, 41}},
        {"compass_arrow_left", {201, 406}},
        {"compass_arrow_right", {201, 406}},
        {"proxCantSee", {394, 336}},
        {"proxHoldSteady", {394, 336}},
        {"proxNowMove", {394, 336}},
        {"close", {32, 32}},
        {"orientation_upright", {240, 240}},
        {"orientation_left_up", {240, 240}},
        {"orientation_face_up", {240, 240}},
        {"orientation_upside_down", {240, 240}},
        {"orientation_right_up", {240, 240}},
    };
    const std::filesystem::path shipped = "bin/resources/vekrsensors";
    const std::filesystem::path sources = VEKR_SOURCE_DIR "/resources/vekrsensors/artwork";
    for (const Row& row : rows) {
        const std::string png = std::string(row.name) + ".png";
        const QImage image(QString::fromStdString((shipped / png).string()));
        EXPECT_EQ(image.size(), row.size) << png;
        const std::string twice = std::string(row.name) + "@2x.png";  // for 150-200 % screens
        const QImage sharp(QString::fromStdString((shipped / twice).string()));
        EXPECT_EQ(sharp.size(), row.size * 2) << twice;
        EXPECT_TRUE(std::filesystem::exists(sources / (std::string(row.name) + ".svg")))
            << row.name << " has no vector source";
    }
}

}  // namespace
