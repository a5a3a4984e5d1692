#pragma once

#include <atomic>

#include "kiva5/TestResult.h"
#include "vek/ManagedThread.h"
#include "vek/String.h"

namespace vekrsensors {

class GyrometerTestDlg;

// What the gyrometer test function and its worker share for one run (one test runs at a
// time). The locator and the dialog are set before the worker starts; the run flag is cleared
// by the test function when the dialog has closed and set again after the join; the result is
// written by the worker before it returns and read after the join.
struct GyrometerRun {
    static vek::String testDeviceLocator;
    static std::atomic<bool> backgroundRunFlag;
    static kiva5::TestResult backgroundResult;
};

}  // namespace vekrsensors

// The worker: reads the gyrometer, integrates its turns, feeds the dialog carried by `thread`
// and decides. Returns 1 when it settled the result (GyrometerRun::backgroundResult), 0 when
// the run flag was cleared first. However it ends, it tells the dialog to close.
int GyrometerBackgroundData(vek::ManagedThread& thread);
