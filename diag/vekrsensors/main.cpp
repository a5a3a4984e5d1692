#include "platform/CWinApp.h"

// The process entry, as MFC's: the application object was built during static
// initialisation; AfxWinMain runs its InitInstance and Run.
int main(int argc, char** argv) {
    return AfxWinMain(argc, argv);
}
