// What the IIO backend can tell about a device beside reading it: where each value comes
// from and what it reads now (the device report of --devices --verbose).
#include <chrono>
#include <cmath>
#include <iomanip>
#include <sstream>

#include "DeviceHolders.h"
#include "IioSensorChannels.h"
#include "IioSensorObject.h"
#include "libOrra/IioBackend.h"

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

}  // namespace libOrra
