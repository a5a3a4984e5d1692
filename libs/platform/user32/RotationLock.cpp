// The auto-rotation entry point of the platform's "user32.dll", built as libvekr-user32.so and
// loaded by name at run time, as the module does on the original platform.
//
// On GNOME the screen follows the accelerometer unless the touchscreen settings' orientation
// lock is on. Locking sets it for the session and remembers the value it had; the value is
// put back when the process ends: at exit, and on SIGINT/SIGTERM, which may end the process
// without exit handlers (a second signal does). Desktops without that setting offer no lock:
// the module's version test answers false there and this entry point is never called.

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

#include "platform/Environment.h"

namespace {

constexpr const char* kSchema = "org.gnome.settings-daemon.peripherals.touchscreen";
constexpr const char* kKey = "orientation-lock";

std::mutex s_mutex;
bool s_saved = false;
std::string s_previous;

bool runGsettings(const char* verb, const char* value, std::string* out) {
    std::string cmd = std::string("gsettings ") + verb + " " + kSchema + " " + kKey;
    if (value)
        cmd += std::string(" ") + value;
    cmd += " 2>/dev/null";
    FILE* p = popen(cmd.c_str(), "r");
    if (!p)
        return false;
    char buf[64];
    std::string text;
    while (std::fgets(buf, sizeof buf, p))
        text += buf;
    const int status = pclose(p);
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.pop_back();
    if (out)
        *out = text;
    return status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// What a signal handler needs to put the setting back: prepared at lock time, since a handler
// may only fork and exec.
char s_restoreValue[16] = "false";
struct sigaction s_previousInt {};
struct sigaction s_previousTerm {};

extern "C" void restoreOnSignal(int sig) {
    const pid_t child = fork();
    if (child == 0) {
        execlp("gsettings", "gsettings", "set", kSchema, kKey, s_restoreValue,
               static_cast<char*>(nullptr));
        _exit(127);
    }
    // Hand the signal on to whoever handled it before (the framework's stop request, or the
    // default action that ends the process).
    const struct sigaction& previous = sig == SIGINT ? s_previousInt : s_previousTerm;
    if (previous.sa_handler == SIG_IGN)
        return;
    if (previous.sa_handler == SIG_DFL || (previous.sa_flags & SA_SIGINFO)) {
        signal(sig, SIG_DFL);
        raise(sig);
        return;
    }
    previous.sa_handler(sig);
    // The framework's handler resets itself after the first signal: so do we.
    if (previous.sa_flags & SA_RESETHAND) {
        struct sigaction dfl {};
        dfl.sa_handler = SIG_DFL;
        sigaction(sig, &dfl, sig == SIGINT ? &s_previousInt : &s_previousTerm);
    }
}

void installSignalRestore() {
    struct sigaction sa {};
    sa.sa_handler = restoreOnSignal;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = SA_RESTART;
    sigaction(SIGINT, &sa, &s_previousInt);
    sigaction(SIGTERM, &sa, &s_previousTerm);
}

void restore() {
    std::lock_guard lock(s_mutex);
    if (!s_saved)
        return;
    runGsettings("set", s_previous.c_str(), nullptr);
    s_saved = false;
}

}  // namespace

// ORIENTATION_PREFERENCE_NONE (0) releases the lock; any other preference keeps the screen
// as it is now. Answers nonzero on success.
extern "C" int SetDisplayAutoRotationPreferences(int orientation) {
    if (orientation == 0) {
        restore();
        return 1;
    }
    std::lock_guard lock(s_mutex);
    if (!s_saved) {
        std::string previous;
        if (!runGsettings("get", nullptr, &previous))
            return 0;
        s_previous = previous;
        s_saved = true;
        std::snprintf(s_restoreValue, sizeof s_restoreValue, "%s", previous.c_str());
        static bool registered = false;
        if (!registered) {
            std::atexit(restore);
            installSignalRestore();
            registered = true;
        }
    }
    return runGsettings("set", "true", nullptr) ? 1 : 0;
}

// The version test's question on Linux: does this desktop offer a rotation lock?
extern "C" int VekrRotationLockAvailable() {
    if (!platform::desktopSession())
        return 0;
    std::string value;
    return runGsettings("get", nullptr, &value) && (value == "true" || value == "false") ? 1 : 0;
}
