#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace libOrra {

// The way the built-in panel is mounted, as DRM's "panel orientation" connector property names it.
enum class PanelRotation { Normal, UpsideDown, LeftSideUp, RightSideUp };

// What the kernel says of the built-in panel's mounting, and where it said it.
struct PanelOrientation {
    std::optional<PanelRotation> rotation;  // nullopt: the kernel does not say (or cannot be asked)
    std::string source;                     // "DRM connector eDP-1 property \"panel orientation\"",
                         // "/proc/cmdline video=DSI-1:panel_orientation=right_side_up", ...
    std::string why;  // when rotation is unknown: why
};

// Asks the DRM cards under devRoot/dri (card*) for the "panel orientation" property of their
// internal connector (eDP, DSI, LVDS); where no card can be opened, reads the boot option
// video=<connector>:panel_orientation=... in procRoot/cmdline. Reads only: no mode is set and
// connectors are not probed. Any thread; each call opens and closes what it reads.
PanelOrientation panelOrientation(const std::filesystem::path& devRoot,
                                  const std::filesystem::path& procRoot);

// The built-in panel's connector and native mode, as sysfs lists them without reaching the
// driver: the first internal connector (eDP, DSI, LVDS) under sysfsRoot/class/drm whose
// "modes" names one, its first (the preferred) mode. Empty and 0 where none does.
struct PanelMode {
    std::string connector;  // "DSI-1"
    int width = 0;
    int height = 0;
};
PanelMode panelMode(const std::filesystem::path& sysfsRoot);

// "normal", "upside_down", "left_side_up", "right_side_up" as the video= option spells them.
std::string_view panelRotationName(PanelRotation r);

}  // namespace libOrra
