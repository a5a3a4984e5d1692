#pragma once

#include <atomic>

#include "kiva5/TestResult.h"
#include "libOrra/Records.h"
#include "vek/ManagedThread.h"
#include "vek/String.h"

namespace vekrsensors {

// What the compass test function and its worker share (one compass test runs at a time).
// The background result starts CANNOTRUN when the module loads and is never reset: a run
// whose worker ends without settling returns what the previous run left.
struct MagnetometerRun {
    static vek::String testDeviceLocator;
    static std::atomic<bool> backgroundRunFlag;
    static kiva5::TestResult backgroundResult;
};

// Updates the record and copies its heading into `heading` when the heading is valid. True
// when the update worked (even without a valid heading); false, with Sensor_NoData raised,
// when it did not.
bool getRotation(libOrra::Magnetometer& record, double& heading);
// The primary display's turn in degrees as the compass counts it: 0, -90, 180, +90 for the
// orientation codes 0..3. False when the rotation cannot be read or is not one of those.
bool getDisplayRotation(double& degrees);

}  // namespace vekrsensors

// The worker: reads the heading, sets the dialog's target, animates its needle and decides.
// 1 when it ended the run itself (result in MagnetometerRun::backgroundResult, possibly left
// as it was), 0 when the run flag was cleared first. However it ends, the dialog closes.
int MagnetometerBackgroundData(vek::ManagedThread& thread);
