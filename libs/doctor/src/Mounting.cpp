// The mounting link: whether a desktop that turns the screen with this accelerometer turns it
// the right way. What it reads, fact by fact, each with where it was read: the mount matrix in
// force (udev's ACCEL_MOUNT_MATRIX from systemd's hwdb before the kernel's in_mount_matrix, the
// order iio-sensor-proxy takes them in), where the sensor sits (ACCEL_LOCATION, the kernel's
// accel-base/accel-display label) against the chassis, the tablet-mode switch, and the panel's
// own mounting. Only a matrix that is no rotation breaks the link; the chassis type is often
// wrong in firmware, so what disagrees with it is at most a warning.
#include "Mounting.h"

#include <array>
#include <cmath>
#include <sstream>

#include "Facts.h"
#include "libOrra/IioAttribute.h"
#include "libOrra/IioBackend.h"
#include "libOrra/PanelOrientation.h"
#include "libOrra/UdevProperty.h"

namespace fs = std::filesystem;

namespace doctor {
namespace {

using State = Link::State;
using Matrix = std::array<double, 9>;

constexpr const char* kAxis[] = {"x", "y", "z"};

std::optional<Matrix> parseRows(const std::string& text) {
    Matrix m{};
    std::istringstream rows(text);
    std::size_t n = 0, r = 0;
    for (std::string row; std::getline(rows, row, ';'); ++r) {
        std::istringstream cells(row);
        std::size_t c = 0;
        for (std::string cell; std::getline(cells, cell, ','); ++c) {
            const auto v = libOrra::iio::parseNumber(cell);
            if (!v || c >= 3 || r >= 3)
                return std::nullopt;
            m[r * 3 + c] = *v;
            ++n;
        }
        if (c != 3)
            return std::nullopt;
    }
    return n == 9 ? std::optional(m) : std::nullopt;
}

double dot(const Matrix& m, int a, int b) {
    return m[a * 3] * m[b * 3] + m[a * 3 + 1] * m[b * 3 + 1] + m[a * 3 + 2] * m[b * 3 + 2];
}

// The sensor axis a row takes most of.
int dominant(const Matrix& m, int row) {
    int best = 0;
    for (int c = 1; c < 3; ++c) {
        if (std::abs(m[row * 3 + c]) > std::abs(m[row * 3 + best]))
            best = c;
    }
    return best;
}

// Where the accelerometer at `dir` says it sits: "base", "display", or "" with `from` empty.
std::string placement(const fs::path& dir, std::string& from) {
    if (auto l = libOrra::udevProperty(dir, "ACCEL_LOCATION")) {
        from = "udev ACCEL_LOCATION";
        return *l;
    }
    const std::string label = readText(dir / "label").value_or("");
    if (label == "accel-base" || label == "accel-display") {
        from = "kernel label " + label + ", " + (dir / "label").string();
        return label.substr(6);
    }
    from.clear();
    return {};
}

struct Verdict {
    State state = State::Ok;
    std::vector<std::string> facts;
    std::optional<std::string> remedy;
    void doubt() {
        if (state == State::Ok)
            state = State::Warn;
    }
};

std::string remedyFor(bool fromUdev, const libOrra::Mounting& m, const fs::path& dir) {
    std::string what = "Each row and each column of a mount matrix holds exactly one 1 or -1 (a ";
    what.append("rotation). ");
    if (!fromUdev) {
        return what.append("The driver's in_mount_matrix is not one: give the machine an ")
            .append("ACCEL_MOUNT_MATRIX hwdb entry (/etc/udev/hwdb.d/61-sensor-local.hwdb) and ")
            .append("report the firmware's matrix to the driver's maintainers (linux-iio).");
    }
    what.append("Correct the hwdb entry that sets udev's ACCEL_MOUNT_MATRIX");
    if (!m.parentModalias.empty()) {
        what.append(" (it matches sensor:modalias:")
            .append(m.parentModalias)
            .append(":dmi:*:svn")
            .append(m.dmiVendor)
            .append(":pn")
            .append(m.dmiProduct)
            .append(":*)");
    }
    const std::string node = m.node.empty() ? "/dev/" + dir.filename().string() : m.node;
    return what.append(" in /etc/udev/hwdb.d/61-sensor-local.hwdb and send the correction to ")
        .append("systemd (hwdb.d/60-sensor.hwdb); then, as root: systemd-hwdb update && ")
        .append("udevadm trigger -v -p DEVNAME=")
        .append(node);
}

// The matrix in force, linted; `source` names where it was read.
void matrixFacts(const Roots& roots, const fs::path& dir, const std::string& locator, Verdict& v,
                 std::string& source) {
    std::optional<std::string> text = libOrra::udevProperty(dir, "ACCEL_MOUNT_MATRIX");
    const bool fromUdev = text.has_value();
    source = "udev ACCEL_MOUNT_MATRIX of " + locator;
    for (const char* attr : {"in_mount_matrix", "in_accel_mount_matrix"}) {
        if (!text && (text = readText(dir / attr)))
            source = (dir / attr).string();
    }
    if (!text) {
        source = locator;
        v.facts.push_back(
            "no mount matrix (neither udev's ACCEL_MOUNT_MATRIX nor the kernel's "
            "in_mount_matrix): readings are taken as they come");
        return;
    }
    const MatrixLint lint = lintMountMatrix(*text);
    std::string fact = "matrix \"" + *text + "\" from ";
    fact.append(fromUdev ? "udev ACCEL_MOUNT_MATRIX (systemd's hwdb)"
                         : "the kernel's " + fs::path(source).filename().string())
        .append(": ")
        .append(lint.kind == MatrixLint::Kind::Rotation ? "a rotation" : lint.why);
    v.facts.push_back(fact);
    using K = MatrixLint::Kind;
    if (lint.kind == K::Mirror || lint.kind == K::NotRotation || lint.kind == K::Unreadable) {
        v.doubt();
    } else if (lint.kind == K::Singular) {
        v.state = State::Broken;
        libOrra::IioBackend backend(roots.sysfs, roots.dev);
        v.remedy =
            remedyFor(fromUdev, backend.mounting(locator).value_or(libOrra::Mounting{}), dir);
    }
}

bool clamshell(int chassis) {
    return chassis == 8 || chassis == 9 || chassis == 10 || chassis == 14;
}

// Where this accelerometer sits, how many there are, against the chassis type.
void placementFacts(const Roots& roots, const fs::path& dir, Verdict& v,
                    std::optional<int>& chassis) {
    std::string from;
    const std::string own = placement(dir, from);
    int count = 0, stated = 0;
    libOrra::IioBackend backend(roots.sysfs, roots.dev);
    for (const libOrra::SensorInfo& s : backend.sensors()) {
        if (s.kind != libOrra::SensorKind::Accelerometer)
            continue;
        std::string ignored;
        ++count;
        stated += !placement(s.locator, ignored).empty();
    }
    std::string fact = own.empty() ? "location not stated (no ACCEL_LOCATION, no accel-base or "
                                     "accel-display label): desktops take it for the display's"
                                   : "sits in the " + own + " (" + from + ")";
    fact.append("; ")
        .append(std::to_string(count))
        .append(count == 1 ? " accelerometer" : " accelerometers");
    const fs::path chassisFile = roots.sysfs / "class/dmi/id/chassis_type";
    chassis = chassisType(roots);
    fact.append("; chassis ")
        .append(chassis ? chassisName(*chassis) : "type unknown")
        .append(" (")
        .append(chassisFile.string())
        .append(")");
    v.facts.push_back(fact);
    if (count >= 2 && stated == 0) {
        v.facts.push_back(std::to_string(count) +
                          " accelerometers and none says where it sits: a "
                          "desktop may turn the screen with the one in the base");
        v.doubt();
    }
    if (chassis && clamshell(*chassis) && count == 1 && own.empty()) {
        v.facts.push_back(
            "a clamshell's only accelerometer usually sits in its base: without "
            "ACCEL_LOCATION=base desktops turn the screen with it (systemd issues "
            "13479, 20661)");
        v.doubt();
    }
    if (chassis && *chassis == 30 && own == "base") {
        v.facts.push_back(
            "a tablet has no base: the location or the firmware's chassis type is "
            "wrong");
        v.doubt();
    }
}

// The tablet-mode switch: GNOME and Cinnamon turn the screen only in tablet mode.
void switchFacts(const Roots& roots, const std::optional<int>& chassis, Verdict& v) {
    const auto switches = tabletSwitches(roots);
    for (const TabletSwitch& s : switches) {
        v.facts.push_back("tablet-mode switch \"" + s.name + "\" (" + s.capability.string() +
                          "): " + s.state);
    }
    if (!switches.empty())
        return;
    v.facts.push_back("no input device reports SW_TABLET_MODE (" +
                      (roots.sysfs / "class/input/input*/capabilities/sw").string() + ")");
    if (chassis && (*chassis == 31 || *chassis == 32)) {
        v.facts.push_back("a " + chassisName(*chassis) +
                          " without a tablet-mode switch: GNOME "
                          "and Cinnamon turn the screen only in tablet mode (systemd issue "
                          "17084)");
        v.doubt();
    }
}

// The panel's own mounting, as the kernel tells it: a fact, never a break.
void panelFacts(const Roots& roots, Verdict& v) {
    const libOrra::PanelOrientation p = libOrra::panelOrientation(roots.dev, roots.proc);
    if (!p.rotation) {
        v.facts.push_back("panel orientation unknown: " + p.why +
                          (p.source.empty() ? "" : " (" + p.source + ")"));
        return;
    }
    std::string fact = "panel ";
    fact.append(libOrra::panelRotationName(*p.rotation)).append(" (").append(p.source).append(")");
    if (*p.rotation != libOrra::PanelRotation::Normal) {
        fact.append(
            ": the panel is not mounted upright, and desktops turn the picture by this "
            "property, so the matrix must map the sensor to the panel's axes, not the "
            "case's (hwdb matrices that turned the display for such panels were removed: "
            "systemd PRs 40050, 41157)");
    }
    v.facts.push_back(fact);
}

}  // namespace

MatrixLint lintMountMatrix(const std::string& text) {
    using K = MatrixLint::Kind;
    const auto parsed = parseRows(text);
    if (!parsed)
        return {K::Unreadable, "not three rows of three numbers"};
    const Matrix& m = *parsed;
    for (int r = 0; r < 3; ++r) {
        if (dot(m, r, r) == 0)
            return {K::Singular, std::string("row ") + std::to_string(r + 1) +
                                     " is zero: the screen's " + kAxis[r] + " axis reads nothing"};
    }
    for (int a = 0; a < 3; ++a) {
        for (int b = a + 1; b < 3; ++b) {
            const double cos = dot(m, a, b) / std::sqrt(dot(m, a, a) * dot(m, b, b));
            if (std::abs(std::abs(cos) - 1) < 1e-6)
                return {K::Singular, std::string("rows ") + std::to_string(a + 1) + " and " +
                                         std::to_string(b + 1) + " both take the sensor's " +
                                         kAxis[dominant(m, a)] + " axis: not a rotation, it " +
                                         "loses an axis"};
        }
    }
    const double det = m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) +
                       m[2] * (m[3] * m[7] - m[4] * m[6]);
    if (std::abs(det) < 1e-3)
        return {K::Singular, "its rows are not independent: it flattens the readings"};
    for (int a = 0; a < 3; ++a) {
        for (int b = a; b < 3; ++b) {
            if (std::abs(dot(m, a, b) - (a == b ? 1 : 0)) > 1e-3)
                return {K::NotRotation,
                        "its rows are not of unit length at right angles: it "
                        "scales or skews the readings"};
        }
    }
    if (det < 0)
        return {K::Mirror,
                "determinant -1: a rotation with one axis mirrored (turning the "
                "screen, which reads x and y, may still be right; face up or down and "
                "a 2-in-1's hinge angle are not)"};
    return {K::Rotation, ""};
}

void addMountingLink(const Roots& roots, Chain& chain) {
    if (chain.firstBroken) {
        chain.links.push_back({"mounting", State::Skipped, "", ""});
        return;
    }
    std::string locator;
    for (const Link& l : chain.links) {
        if (l.name == "iio" && (l.state == State::Ok || l.state == State::Warn))
            locator = l.source;
    }
    if (locator.empty())
        return;  // a hub's chain: its sensors have chains of their own
    const fs::path dir(locator);
    Verdict v;
    std::string source;
    std::optional<int> chassis;
    matrixFacts(roots, dir, locator, v, source);
    placementFacts(roots, dir, v, chassis);
    switchFacts(roots, chassis, v);
    panelFacts(roots, v);
    std::string fact;
    for (const std::string& f : v.facts)
        fact.append(fact.empty() ? "" : "; ").append(f);
    if (v.state == State::Broken && !chain.firstBroken) {
        chain.firstBroken = "mounting";
        chain.remedy = v.remedy;
    }
    chain.links.push_back({"mounting", v.state, fact, source});
}

}  // namespace doctor
