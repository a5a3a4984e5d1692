// What the IIO backend can tell about a device beside reading it: where each value comes
// from (the device report of --devices --verbose) and how it is mounted (the orientation
// check's matrix in force, its parent's modalias and the machine's DMI).
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <iomanip>
#include <map>
#include <mutex>
#include <sstream>
#include <system_error>
#include <thread>
#include "../SensorObject.h"
#include "../StoppableThread.h"
#include "BoundedReader.h"
#include "BufferStream.h"
#include "DeviceHolders.h"
#include "IioChannels.h"
#include "IioSensorChannels.h"
#include "SysfsFile.h"
#include "UdevProperties.h"
#include "libOrra/IioAttribute.h"
#include "libOrra/IioBackend.h"
#include "vek/CallWithin.h"
#include "vek/Logging.h"

namespace fs = std::filesystem;

namespace libOrra {

using iio::channelsFor;
using iio::errorText;
using iio::readTimeout;

namespace {

std::string number(double v) {
    std::ostringstream out;
    out << std::setprecision(6) << v;
    return out.str();
}

std::string readingText(const iio::ChannelRow& row, const Sample& s) {
    std::ostringstream out;
    out << std::setprecision(4);
    switch (row.role) {
        case iio::Role::Vector:
            out << s.x << " " << s.y << " " << s.z << " " << row.plausible.unit;
            break;
        case iio::Role::Heading:
            out << "heading " << s.heading << " degrees";
            break;
        case iio::Role::Field:
            out << s.x << " " << s.y << " " << s.z << " gauss, heading " << s.heading << " degrees";
            break;
        case iio::Role::Lux:
            out << s.lux << " lux";
            break;
        case iio::Role::Distance:
        case iio::Role::Presence:
            out << (s.detected ? "near, " + number(std::round(s.x)) + " mm" : "nothing near");
            break;
    }
    return out.str();
}

}  // namespace

std::vector<std::string> IioBackend::explain(SensorKind kind, const std::string& locator) {
    std::vector<std::string> lines;
    for (const auto& f : scan()) {
        if (f.kind != kind || f.locator != locator)
            continue;
        auto ch = channelsFor(f.dir, f.locator, f.name, f.node, f.plan, notes_);
        Sample s;
        const auto read = iio::sampleOnce(ch, s);
        const iio::ChannelRow& row = *f.plan.row;
        lines.push_back("device " + f.dir.filename().string() + ", driver " + f.name);
        static constexpr const char* kAxes[] = {"x", "y", "z"};
        for (std::size_t i = 0; i < f.plan.axes.size(); ++i) {
            const iio::AxisPlan& a = f.plan.axes[i];
            std::string line = f.plan.axes.size() == 3 ? std::string(kAxes[i]) + ": " : "value: ";
            line += f.plan.buffered ? "buffer scan_elements/" + a.value : a.value;
            if (a.raw) {
                line += ", scale " + a.scale.source();
                if (read && !a.scale.empty())
                    line += " " + number(ch->axes[i].scale);
                line += ", offset " + a.offset.source();
                if (read && !a.offset.empty())
                    line += " " + number(ch->axes[i].offset);
            }
            lines.push_back(line);
        }
        if (f.plan.axes.size() == 3)
            lines.push_back("mount matrix: " + (read ? ch->mount.source : std::string("not read")));
        lines.push_back("sampling frequency: " + f.plan.frequency.source() +
                        (read ? ", reads at " + number(ch->frequency.load()) + " Hz" : ""));
        if (row.role == iio::Role::Presence)
            lines.push_back("near level: " + (read ? ch->nearSource : std::string("not read")) +
                            (read && ch->nearLevel ? " " + number(*ch->nearLevel) : ""));
        if (!read) {
            lines.push_back("reading: none within " +
                            number(std::chrono::duration<double>(readTimeout()).count()) + " s");
        } else if (*read) {
            lines.push_back("reading: " + readingText(row, s) + ", plausible");
        } else {
            std::string why = errorText(ch->lastError);
            for (const auto& n : notes_->take(locator))
                why = n.text;
            lines.push_back("reading: none: " + why);
        }
        const auto holders = iio::findHolders(f.node);
        for (const auto& h : holders)
            lines.push_back("held by: " + h.command + " (pid " + std::to_string(h.pid) + ")");
    }
    return lines;
}

namespace {

// A field of the firmware's DMI modalias ("dmi:bvn...:svnASUSTeKCOMPUTERINC.:pnT100TA:..."),
// which is what the hwdb's "dmi:" part is matched against: the kernel has already dropped the
// spaces and colons of the plain attributes there.
std::string dmiField(const std::string& modalias, const std::string& prefix) {
    std::size_t at = 0;
    while ((at = modalias.find(":" + prefix, at)) != std::string::npos) {
        at += 1 + prefix.size();
        return modalias.substr(at, modalias.find(':', at) - at);
    }
    return {};
}

}  // namespace

std::optional<Mounting> IioBackend::mounting(const std::string& locator) {
    for (const auto& f : scan()) {
        if (f.kind != SensorKind::Accelerometer || f.locator != locator)
            continue;
        auto ch = channelsFor(f.dir, f.locator, f.name, f.node, f.plan, notes_);
        Sample s;
        const bool read = iio::sampleOnce(ch, s).has_value();
        Mounting m;
        if (read) {
            m.applied = ch->mount.value;
            m.source = ch->mount.source;
        }
        const auto identity =
            vek::callWithin(readTimeout(), [dir = fs::path(f.locator), root = root_] {
                int err = 0;
                return std::make_pair(
                    iio::readAttribute(dir.parent_path() / "modalias", err).value_or(""),
                    iio::readAttribute(root / "class/dmi/id/modalias", err).value_or(""));
            });
        if (identity) {
            m.parentModalias = identity->first;
            m.dmiVendor = dmiField(identity->second, "svn");
            m.dmiProduct = dmiField(identity->second, "pn");
        }
        m.node = "/dev/" + f.dir.filename().string();
        return m;
    }
    return std::nullopt;
}

}  // namespace libOrra
