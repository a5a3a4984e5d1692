#pragma once

#include "kiva5/Catalogue.h"

namespace vekrsensors {

// The orientation check beside the catalogue (--orientation): asks the person, on the
// terminal and in the dialogs plugin's window where a display exists, to hold the device in
// three poses, takes each from the accelerometer's corrected readings, and judges the axes
// against the screen: PASS, WARN (tilt inverted) or FAIL with the hwdb entry that fixes the
// matrix. Stop requests and Cancel end it USERABORTED, a pose not held within a minute
// TIMEDOUT. Called by the host on the main thread; reads the sensor on a worker thread while
// a dialog is up.
kiva5::Test& orientationCheck();

}  // namespace vekrsensors
