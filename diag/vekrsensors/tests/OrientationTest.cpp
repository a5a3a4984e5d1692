// The orientation check's judgement. Each row is a tablet from systemd's 60-sensor.hwdb: its
// accelerometer mounted as that entry corrects, the axes its three poses then read (worked out
// by hand: raw = entry^T x device), and the matrix the check must propose, which is the
// entry's own. The pose tracker's rows are readings a hand gives, in g.
#include <gtest/gtest.h>

#include "Orientation/MountVerdict.h"
#include "Orientation/PoseTracker.h"

namespace {

using vekrsensors::judgeMount;
using vekrsensors::matrixText;
using vekrsensors::MountVerdict;
using vekrsensors::SignedAxis;

constexpr SignedAxis kPx{0, 1}, kMx{0, -1}, kMy{1, -1}, kPz{2, 1}, kMz{2, -1};
const libOrra::iio::Matrix3 kNone = libOrra::iio::kIdentity;

struct Tablet {
    const char* name;
    std::array<SignedAxis, 3> read;  // upright, on its right-hand edge, flat
    libOrra::iio::Matrix3 applied;
    MountVerdict::Kind kind;
    const char* proposed;  // "" for a pass
};

const Tablet kTablets[] = {
    // acpi:KIOX0009, Acer Aspire SW3-016: swapped, both signs and z flipped.
    {"AspireSW3-016",
     {kPx, kMy, kMz},
     kNone,
     MountVerdict::Kind::Fail,
     "0, -1, 0; -1, 0, 0; 0, 0, -1"},
    // acpi:BOSC0200, ASUS TP412UA: turned a quarter.
    {"TP412UA", {kMx, kMy, kPz}, kNone, MountVerdict::Kind::Fail, "0, -1, 0; 1, 0, 0; 0, 0, 1"},
    // acpi:SMO8500, Acer One S1002: x and z flipped.
    {"OneS1002", {kMy, kMx, kMz}, kNone, MountVerdict::Kind::Fail, "-1, 0, 0; 0, 1, 0; 0, 0, -1"},
    // acpi:BMI0160, AYANEO NEXT: the sensor's z lies along the screen.
    {"AYANEO-NEXT",
     {kPz, kMy, kPx},
     kNone,
     MountVerdict::Kind::Fail,
     "0, -1, 0; 0, 0, -1; 1, 0, 0"},
};
// The T100TA (y flipped), the TP412UA with its entry applied and the SW5-017 under the 17BU
// entry (tilt inverted) are command-line cases (cases/orientation.json), with the stanza.

TEST(MountVerdict, ProposesTheHwdbEntryOfEachTablet) {
    for (const Tablet& t : kTablets) {
        const MountVerdict v = judgeMount(t.read, t.applied);
        EXPECT_EQ(v.kind, t.kind) << t.name;
        if (t.kind != MountVerdict::Kind::Pass) {
            EXPECT_EQ(matrixText(v.proposed), t.proposed) << t.name;
        }
    }
}

// Readings every 0.1 s: {from, to (exclusive), x, y, z}; the axes of the poses taken.
struct Held {
    double from, to, x, y, z;
};
struct Hand {
    const char* name;
    std::vector<Held> readings;
    std::vector<SignedAxis> taken;
};

TEST(PoseTracker, TakesAPoseHeldStillForASecondOnAFreshAxis) {
    const Hand hands[] = {
        {"three poses, moving between them",
         {{0, 1.2, 0.02, -0.99, 0.05},
          {1.2, 1.6, 0.6, -0.6, 0.5},
          {1.6, 2.8, 1.0, 0.03, 0.0},
          {2.8, 4.0, 0.0, 0.0, 1.0}},
         {kMy, kPx, kPz}},
        {"upside down after upright is the same axis",
         {{0, 1.2, 0, -1, 0}, {1.2, 3, 0, 1, 0}},
         {kMy}},
        {"not still for a second",
         {{0, 0.9, 0, -1, 0}, {0.9, 1.0, 0.6, 0.6, 0.5}, {1.0, 1.8, 0, -1, 0}},
         {}},
        {"a sway of 8 degrees restarts the second",
         {{0, 0.6, 0, -1, 0}, {0.6, 1.3, 0.139, -0.990, 0}},
         {}},
        {"18 degrees off the axis counts", {{0, 1.2, 0.309, -0.951, 0}}, {kMy}},
        {"25 degrees off does not", {{0, 1.2, 0.423, -0.906, 0}}, {}},
        {"shaken at 1.4 g is no pose", {{0, 1.2, 0, -1.4, 0}}, {}},
    };
    for (const Hand& h : hands) {
        vekrsensors::PoseTracker tracker;
        for (const Held& r : h.readings) {
            for (double t = r.from; t < r.to - 1e-9; t += 0.1)
                tracker.feed(t, {r.x, r.y, r.z});
        }
        EXPECT_EQ(tracker.taken(), h.taken) << h.name;
    }
}

}  // namespace
