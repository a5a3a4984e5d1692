#pragma once

namespace vekrsensors {

// The compass worker's arithmetic, as plain values: where the target goes, how the needle
// follows the measured heading, and how far the device is from the target. Owned by the
// worker thread. All angles in degrees.
struct CompassMotion {
    // The needle's damped spring may not integrate over more than this per step, so that a
    // stalled loop does not throw the needle off.
    static constexpr double kMaxStep = 0.2;

    double displayed = 0.0;  // D: the needle's heading
    double velocity = 0.0;   // V: degrees per second

    // Moves the needle toward the measured heading over `dt` seconds (capped at kMaxStep). The
    // error is wrapped so the needle turns the short way round.
    void step(double measured, double dt);

    // The target for a heading and a draw 0..179: 90 to 269 degrees clockwise of the heading,
    // in [0, 360).
    static double chooseTarget(double heading, int draw);
    // How far the displayed heading, corrected for a display turned from `rotationAtTarget` to
    // `rotation`, is from the target. Not wrapped at north: a target near 0 needs the heading
    // on the same side (359 is 358 away from 1).
    static double distanceToTarget(double displayed, double rotation, double rotationAtTarget,
                                   double target);
};

}  // namespace vekrsensors
