// Stop requests as Linux delivers them: signals.
#include <pthread.h>

#include <csignal>
#include <cstring>

#include "../StopRequests.h"

namespace kiva5::stops {
namespace {

Note s_note = nullptr;

extern "C" void onStopSignal(int sig) {
    if (s_note(sig))
        return;
    // Asked twice: the person or the host wants the process gone now.
    ::signal(sig, SIG_DFL);
    ::raise(sig);
}

}  // namespace

void install(Note note) {
    s_note = note;
    struct sigaction sa {};
    sa.sa_handler = onStopSignal;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = SA_RESTART;
    sigset_t stops;
    sigemptyset(&stops);
    for (const int sig : {SIGINT, SIGTERM, SIGHUP}) {
        sigaction(sig, &sa, nullptr);
        sigaddset(&stops, sig);
    }
    // A parent may have started us with these blocked; one already waiting arrives now, as
    // a stop request.
    pthread_sigmask(SIG_UNBLOCK, &stops, nullptr);
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, nullptr);
}

std::string name(int code) {
    return code ? std::string("SIG") + sigabbrev_np(code) : std::string();
}

}  // namespace kiva5::stops
