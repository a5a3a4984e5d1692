#pragma once

class QWidget;

namespace libLumo {

// Makes sure the GUI toolkit is up for the dialogs it brackets. The first one in the process
// starts Qt on the calling thread, which must be the main thread; the application object then
// stays for the life of the process, so later dialogs reuse it. Where the host chose an
// offscreen display the toolkit starts offscreen. Nothing else in the module starts Qt, so a
// run of the non-interactive tests never touches the windowing system.
class GdiResourceManager {
public:
    GdiResourceManager();
    ~GdiResourceManager() = default;
    GdiResourceManager(const GdiResourceManager&) = delete;
    GdiResourceManager& operator=(const GdiResourceManager&) = delete;

    // False when there is no display to start on; the dialog cannot be shown.
    bool ready() const { return ready_; }
    // Whether this process has started the toolkit (at all).
    static bool toolkitStarted();

private:
    bool ready_ = false;
};

}  // namespace libLumo

// The window of the host that runs the module, the parent of the module's dialogs; null when
// the host is the command line. Main thread only.
QWidget* VekrGetCUIHandle();
void VekrSetCUIHandle(QWidget* window);
