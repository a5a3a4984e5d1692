#pragma once

#include <functional>
#include <string>
#include <vector>

// Where the module's dialogs can appear, and who presses their controls when nobody sits in
// front of the machine.

namespace platform {

enum class DisplayMode {
    None,       // no screen: an interactive test cannot run
    Screen,     // the windowing system of the session (or the Qt platform chosen by the user)
    Offscreen,  // dialogs run without a screen, driven by the simulated operator
};

// Set before the first dialog is shown, with the reason there is no screen (if any); read
// by the dialog layer from any thread. None until then.
void setDisplayMode(DisplayMode mode, std::string problem = {});
DisplayMode displayMode();
std::string displayProblem();
const char* displayModeName(DisplayMode mode);

// One scripted press: `control` ("Fail", "Cancel", "Close", "Escape", "Restart", "Exit") of a
// dialog, `at` seconds after that dialog opened.
struct OperatorPress {
    double at = 0.0;
    std::string control;
};

// The simulated person's script: the presses to make on the named dialog each time it opens.
using OperatorScript = std::function<std::vector<OperatorPress>(const std::string& dialog)>;
// Installs `script` and returns a token for clearOperatorScript.
unsigned setOperatorScript(OperatorScript script);
// Removes the script installed under `token`, unless another one has replaced it since.
void clearOperatorScript(unsigned token);
// The presses for `dialog`; none without a script.
std::vector<OperatorPress> operatorPresses(const std::string& dialog);

// What the simulated person reads off a dialog, e.g. the "heading" the compass dialog asks the
// person to turn the device to, in degrees. Called from whichever thread sets the value.
using OperatorWatcher =
    std::function<void(const std::string& dialog, const std::string& item, double value)>;
unsigned setOperatorWatcher(OperatorWatcher watcher);
void clearOperatorWatcher(unsigned token);
// Shows a value to the watcher, if one is installed; a no-op on a real machine.
void showToOperator(const std::string& dialog, const std::string& item, double value);

// What the person did and was shown, for a recording of the run: a press of `control` ("Fail",
// "Escape", ...) `at` seconds after `dialog` opened, and each value shown to the operator.
// Beside the watcher, so a recording of the simulated machine leaves its person as it is.
struct OperatorLog {
    std::function<void(const std::string& dialog, const std::string& control, double at)> press;
    std::function<void(const std::string& dialog, const std::string& item, double value)> shown;
};
unsigned setOperatorLog(OperatorLog log);
void clearOperatorLog(unsigned token);
// Tells the log, if one is installed, that the person pressed `control`.
void logPress(const std::string& dialog, const std::string& control, double at);

}  // namespace platform
