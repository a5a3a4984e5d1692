#include "SampleScripts.h"

#include <algorithm>
#include <cmath>

#include "Angles.h"
#include "libOrra/IioAttribute.h"

namespace libOrra::sim {
namespace {

// How long the simulated person keeps a pose as read by the sensor before taking the next:
// longer than the second a pose must be held still, so no pose is missed however slowly the
// machine reads.
constexpr double kPoseKeptSeconds = 1.2;

// No script: a sensor at rest on a desk in an office.
class AtRest final : public SampleScript {
public:
    explicit AtRest(SensorKind kind) : kind_(kind) {}
    bool read(const ReadMoment&, Sample& out) override {
        if (kind_ == SensorKind::Accelerometer)
            out.z = 1.0;
        out.lux = 300.0f;
        out.headingValid = true;
        return true;
    }

private:
    SensorKind kind_;
};

// The scenario's updates, one per read, the last repeating.
class Updates final : public SampleScript {
public:
    explicit Updates(const std::vector<ScenarioUpdate>& updates) : updates_(updates) {}
    bool read(const ReadMoment& now, Sample& out) override {
        const auto& u = updates_[std::min(now.call, updates_.size() - 1)];
        if (u.fail)
            return false;
        out.x = u.x.value_or(0.0);
        out.y = u.y.value_or(0.0);
        out.z = u.z.value_or(0.0);
        out.lux = static_cast<float>(u.lux.value_or(0.0));
        out.kind = u.kind.value_or(2);
        // A recorded turn reaches a target drawn anew: its headings are kept from the target.
        out.heading = u.fromTarget && now.headingTarget
                          ? wrap360(*now.headingTarget + *u.fromTarget)
                          : u.heading.value_or(0.0);
        out.headingValid = u.heading.has_value() && u.valid.value_or(true);
        return true;
    }

private:
    const std::vector<ScenarioUpdate>& updates_;
};

// A gyrometer turned segment by segment: the rate of the segment that holds the time, at
// rest once the script has run out. The person starts to turn the device when the test first
// reads the sensor, that is once the dialog is up: however long the windowing system takes to
// show it, no turn is missed.
class Motion final : public SampleScript {
public:
    explicit Motion(const std::vector<MotionSegment>& segments) : segments_(segments) {}
    bool read(const ReadMoment& now, Sample& out) override {
        if (!start_)
            start_ = now.t;
        const double sinceFirst = now.t - *start_;
        double start = 0.0;
        out.x = out.y = out.z = 0.0;
        for (const auto& m : segments_) {
            if (sinceFirst < start + m.seconds) {
                out.x = m.rate[0], out.y = m.rate[1], out.z = m.rate[2];
                break;
            }
            start += m.seconds;
        }
        out.kind = 2;
        return true;
    }

private:
    const std::vector<MotionSegment>& segments_;
    std::optional<double> start_;  // test time of the first read
};

// A compass from its start heading, turned toward the target the dialog shows (with "follow")
// the short way at its speed.
class Heading final : public SampleScript {
public:
    explicit Heading(const HeadingScript& script)
        : script_(script), heading_(wrap360(script.start)) {}
    bool read(const ReadMoment& now, Sample& out) override {
        if (script_.followTarget && now.headingTarget) {
            const double step = script_.degreesPerSecond * (now.t - headingAt_);
            const double diff = std::remainder(*now.headingTarget - heading_, 360.0);
            heading_ = wrap360(heading_ + std::clamp(diff, -step, step));
        }
        headingAt_ = now.t;
        out.heading = heading_;
        out.headingValid = true;
        return true;
    }

private:
    const HeadingScript& script_;
    double heading_;
    double headingAt_ = 0.0;  // test time of the last step
};

// An accelerometer held in the person's poses, timed from the first read as the gyrometer's
// motion is: the next is taken at its time, but not before the sensor has been read
// throughout the one held now. The pose is read by a sensor sitting in the case as `mounting`
// says, through the matrix the system applies. Before the first pose's time, `before` plays.
class Poses final : public SampleScript {
public:
    Poses(const ScenarioSensor& sensor, std::unique_ptr<SampleScript> before)
        : sensor_(sensor), before_(std::move(before)) {}
    bool read(const ReadMoment& now, Sample& out) override {
        const auto& poses = sensor_.poses;
        if (!start_)
            start_ = now.t;
        const double since = now.t - *start_;
        if (since < poses.front().at)
            return before_->read(now, out);
        while (pose_ + 1 < poses.size() && since >= poses[pose_ + 1].at &&
               (poses[pose_].hold == "moving" ||
                (readFrom_ && now.t - *readFrom_ >= kPoseKeptSeconds))) {
            ++pose_;
            readFrom_.reset();
        }
        if (!readFrom_)
            readFrom_ = now.t;
        const auto d = *poseDirection(poses[pose_].hold);
        const auto m = sensor_.mounting.value_or(iio::kIdentity);
        const auto a = sensor_.matrix.value_or(iio::kIdentity);
        double raw[3], v[3];
        for (int r = 0; r < 3; ++r)
            raw[r] = m[r * 3] * d[0] + m[r * 3 + 1] * d[1] + m[r * 3 + 2] * d[2];
        for (int r = 0; r < 3; ++r)
            v[r] = a[r * 3] * raw[0] + a[r * 3 + 1] * raw[1] + a[r * 3 + 2] * raw[2];
        out.x = v[0], out.y = v[1], out.z = v[2];
        out.kind = 2;
        return true;
    }

private:
    const ScenarioSensor& sensor_;
    std::unique_ptr<SampleScript> before_;
    std::optional<double> start_;     // test time of the first read
    std::size_t pose_ = 0;            // the pose held now
    std::optional<double> readFrom_;  // test time of the first read in that pose
};

}  // namespace

std::unique_ptr<SampleScript> makeScript(const ScenarioSensor& s) {
    std::unique_ptr<SampleScript> script;
    if (!s.motion.empty())
        script = std::make_unique<Motion>(s.motion);
    else if (s.heading && s.updates.empty())
        script = std::make_unique<Heading>(*s.heading);
    else if (!s.updates.empty())
        script = std::make_unique<Updates>(s.updates);
    else
        script = std::make_unique<AtRest>(s.kind);
    if (!s.poses.empty())
        return std::make_unique<Poses>(s, std::move(script));
    return script;
}

}  // namespace libOrra::sim
