// Stop requests as Windows delivers them to a console program: console control events.
#include <windows.h>

#include "../StopRequests.h"

namespace kiva5::stops {
namespace {

Note s_note = nullptr;

// Runs on a thread the system starts for the event. The code kept is the event + 1, so that
// Ctrl-C (event 0) is not "no request".
BOOL WINAPI onConsoleEvent(DWORD event) {
    switch (event) {
    case CTRL_C_EVENT:
    case CTRL_BREAK_EVENT:
    case CTRL_CLOSE_EVENT:
        break;
    default:
        return FALSE;  // logoff and shutdown: services' events, left to the default
    }
    if (!s_note(static_cast<int>(event) + 1))
        return FALSE;  // asked twice: the default handler ends the process now
    if (event == CTRL_CLOSE_EVENT) {
        // The system ends the process when this handler returns (at the latest 5 s after the
        // window closed); until then the run winds down and the report is written.
        Sleep(4500);
    }
    return TRUE;
}

}  // namespace

void install(Note note) {
    s_note = note;
    SetConsoleCtrlHandler(onConsoleEvent, TRUE);
}

std::string name(int code) {
    switch (code) {
    case 0:
        return "";
    case CTRL_C_EVENT + 1:
        return "Ctrl-C";
    case CTRL_BREAK_EVENT + 1:
        return "Ctrl-Break";
    case CTRL_CLOSE_EVENT + 1:
        return "closing the console";
    default:
        return "the console";
    }
}

}  // namespace kiva5::stops
