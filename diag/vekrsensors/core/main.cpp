#include "kiva5/DiagModule.h"
#include "platform/WindowsNames.h"

// The process entry, as MFC's: the application object was built during static
// initialisation; AfxWinMain runs its InitInstance and Run. Stop signals are taken first, so
// a technician's Ctrl+C or a host's SIGTERM at any moment still leaves a report.
int main(int argc, char** argv) {
    kiva5::DiagModule::handleStopSignals();
    return AfxWinMain(argc, argv);
}
