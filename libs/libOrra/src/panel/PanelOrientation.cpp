// The built-in panel's mounting as the kernel knows it: DRM's "panel orientation" connector
// property (set from drm_panel_orientation_quirks.c, the panel's own description or the
// video= boot option), else the boot option itself when no card can be asked.
//
// The DRM ioctls cannot be faked in a sysfs tree: tests reach the video= reading and the
// unknown case (a device root without cards); the property path runs on real machines only.
#include "libOrra/PanelOrientation.h"

#include <fcntl.h>
#include <unistd.h>
#include <xf86drm.h>
#include <xf86drmMode.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <vector>

namespace fs = std::filesystem;

namespace libOrra {
namespace {

struct Spelling {
    PanelRotation rotation;
    std::string_view option;    // as video=...,panel_orientation= spells it
    std::string_view property;  // as the DRM enum names it
};
constexpr std::array<Spelling, 4> kSpellings{{
    {PanelRotation::Normal, "normal", "Normal"},
    {PanelRotation::UpsideDown, "upside_down", "Upside Down"},
    {PanelRotation::LeftSideUp, "left_side_up", "Left Side Up"},
    {PanelRotation::RightSideUp, "right_side_up", "Right Side Up"},
}};

std::optional<PanelRotation> fromOption(std::string_view text) {
    for (const Spelling& s : kSpellings) {
        if (s.option == text)
            return s.rotation;
    }
    return std::nullopt;
}

std::optional<PanelRotation> fromProperty(std::string_view text) {
    for (const Spelling& s : kSpellings) {
        if (s.property == text)
            return s.rotation;
    }
    return std::nullopt;
}

bool internal(std::uint32_t type) {
    return type == DRM_MODE_CONNECTOR_eDP || type == DRM_MODE_CONNECTOR_DSI ||
           type == DRM_MODE_CONNECTOR_LVDS;
}

std::string connectorName(const drmModeConnector& c) {
    const char* type = drmModeGetConnectorTypeName(c.connector_type);
    std::string name = type ? type : "Unknown";
    return name.append("-").append(std::to_string(c.connector_type_id));
}

// The "panel orientation" enum property of one connector, if it has one.
std::optional<std::string> orientationProperty(int fd, std::uint32_t connector) {
    std::unique_ptr<drmModeObjectProperties, decltype(&drmModeFreeObjectProperties)> props(
        drmModeObjectGetProperties(fd, connector, DRM_MODE_OBJECT_CONNECTOR),
        &drmModeFreeObjectProperties);
    if (!props)
        return std::nullopt;
    for (std::uint32_t i = 0; i < props->count_props; ++i) {
        std::unique_ptr<drmModePropertyRes, decltype(&drmModeFreeProperty)> p(
            drmModeGetProperty(fd, props->props[i]), &drmModeFreeProperty);
        if (!p || std::strcmp(p->name, "panel orientation") != 0 ||
            !drm_property_type_is(p.get(), DRM_MODE_PROP_ENUM)) {
            continue;
        }
        for (int k = 0; k < p->count_enums; ++k) {
            if (p->enums[k].value == props->prop_values[i])
                return std::string(p->enums[k].name);
        }
        return std::string("value ") + std::to_string(props->prop_values[i]);
    }
    return std::nullopt;
}

// One card's internal connectors; false when the card is no KMS device.
bool askCard(int fd, const std::string& card, PanelOrientation& out, std::string& seen) {
    std::unique_ptr<drmModeRes, decltype(&drmModeFreeResources)> res(drmModeGetResources(fd),
                                                                     &drmModeFreeResources);
    if (!res)
        return false;
    for (int i = 0; i < res->count_connectors; ++i) {
        // The current state only: a full probe would wake the outputs.
        std::unique_ptr<drmModeConnector, decltype(&drmModeFreeConnector)> c(
            drmModeGetConnectorCurrent(fd, res->connectors[i]), &drmModeFreeConnector);
        if (!c || !internal(c->connector_type))
            continue;
        const std::string name = connectorName(*c);
        seen.append(seen.empty() ? "" : ", ").append(card).append(" ").append(name);
        const auto value = orientationProperty(fd, c->connector_id);
        if (!value)
            continue;
        out.source = "DRM connector " + name + " property \"panel orientation\"";
        out.rotation = fromProperty(*value);
        if (!out.rotation)
            out.why = "the property holds \"" + *value + "\", which this program does not know";
        return true;
    }
    return true;
}

// The video=<connector>:...,panel_orientation=<value> boot option, if given.
bool fromCmdline(const fs::path& procRoot, PanelOrientation& out) {
    std::ifstream in(procRoot / "cmdline");
    std::string word;
    while (in >> word) {
        if (!word.starts_with("video="))
            continue;
        const auto colon = word.find(':');
        if (colon == std::string::npos)
            continue;
        std::istringstream options(word.substr(colon + 1));
        for (std::string option; std::getline(options, option, ',');) {
            if (!option.starts_with("panel_orientation="))
                continue;
            out.source = (procRoot / "cmdline").string() + " " + word;
            out.rotation = fromOption(option.substr(option.find('=') + 1));
            if (!out.rotation)
                out.why = "the kernel does not know \"" + option + "\"";
            return true;
        }
    }
    return false;
}

}  // namespace

PanelOrientation panelOrientation(const fs::path& devRoot, const fs::path& procRoot) {
    PanelOrientation out;
    std::vector<fs::path> cards;
    std::error_code ec;
    for (fs::directory_iterator it(devRoot / "dri", ec), end; !ec && it != end; it.increment(ec)) {
        if (it->path().filename().string().starts_with("card"))
            cards.push_back(it->path());
    }
    std::sort(cards.begin(), cards.end());
    bool opened = false;
    std::string seen, failure;
    for (const fs::path& card : cards) {
        const int fd = ::open(card.c_str(), O_RDWR | O_CLOEXEC);
        if (fd < 0) {
            failure = card.string() + ": " + std::strerror(errno);
            continue;
        }
        const bool kms = askCard(fd, card.filename().string(), out, seen);
        ::close(fd);
        opened = opened || kms;
        if (!out.source.empty())
            return out;
    }
    if (opened) {
        out.why = seen.empty() ? "no card has an internal panel connector (eDP, DSI, LVDS)"
                               : seen + " has no \"panel orientation\" property";
        return out;
    }
    if (fromCmdline(procRoot, out))
        return out;
    out.why = "no DRM card under " + (devRoot / "dri").string() + " could be asked" +
              (failure.empty() ? "" : " (" + failure + ")") + ", and " +
              (procRoot / "cmdline").string() + " names no panel_orientation";
    return out;
}

PanelMode panelMode(const fs::path& sysfsRoot) {
    std::vector<fs::path> connectors;
    std::error_code ec;
    for (fs::directory_iterator it(sysfsRoot / "class/drm", ec), end; !ec && it != end;
         it.increment(ec)) {
        connectors.push_back(it->path());
    }
    std::sort(connectors.begin(), connectors.end());
    for (const fs::path& dir : connectors) {
        // "card0-DSI-1": the card, then the connector's name.
        const std::string name = dir.filename().string();
        const std::size_t dash = name.find('-');
        if (!name.starts_with("card") || dash == std::string::npos)
            continue;
        const std::string connector = name.substr(dash + 1);
        if (!connector.starts_with("eDP-") && !connector.starts_with("DSI-") &&
            !connector.starts_with("LVDS-")) {
            continue;
        }
        std::ifstream modes(dir / "modes");
        std::string first;
        PanelMode m{connector, 0, 0};
        if (std::getline(modes, first) &&
            std::sscanf(first.c_str(), "%dx%d", &m.width, &m.height) == 2) {
            return m;
        }
    }
    return {};
}

std::string_view panelRotationName(PanelRotation r) {
    for (const Spelling& s : kSpellings) {
        if (s.rotation == r)
            return s.option;
    }
    return "normal";
}

}  // namespace libOrra
