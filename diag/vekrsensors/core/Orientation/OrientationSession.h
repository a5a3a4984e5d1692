#pragma once

#include <atomic>

namespace vekrsensors {

// What the orientation check shares with its dialog: the check's worker writes the pose it
// asks for and says when it is done; the dialog, on the main thread, draws that pose and
// says when the person cancelled. Lone atomic flags; the check joins its worker after the
// dialog has returned.
struct OrientationSession {
    std::atomic<int> pose{0};  // 0 upright, 1 on its right-hand edge, 2 flat
    // The quarter turns clockwise the device is turned from its casing's normal for the
    // panel's own top to be up (PanelAxes.h); set before the dialog opens.
    std::atomic<int> panelTurns{0};
    std::atomic<bool> finished{false};
    std::atomic<bool> cancelled{false};
};

}  // namespace vekrsensors
