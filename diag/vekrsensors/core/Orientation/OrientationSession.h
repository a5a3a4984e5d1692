#pragma once

#include <atomic>

namespace vekrsensors {

// What the orientation check shares with its dialog: the check's worker writes the pose it
// asks for and says when it is done; the dialog, on the main thread, draws that pose and
// says when the person cancelled. Lone atomic flags; the check joins its worker after the
// dialog has returned.
struct OrientationSession {
    std::atomic<int> pose{0};  // 0 upright, 1 on its right-hand edge, 2 flat
    std::atomic<bool> finished{false};
    std::atomic<bool> cancelled{false};
};

}  // namespace vekrsensors
