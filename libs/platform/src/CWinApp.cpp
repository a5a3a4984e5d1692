#include "platform/CWinApp.h"

#include <cstdio>

namespace platform {

namespace {
CWinApp* s_app = nullptr;
std::vector<std::string>& processArgs() {
    static std::vector<std::string> args;
    return args;
}
}  // namespace

void CCommandLineInfo::ParseParam(const char*, int, int) {}

CWinApp::CWinApp(const char* appName) : appName_(appName) {
    // Like MFC, the last application object constructed is the process's.
    s_app = this;
}

CWinApp::~CWinApp() {
    if (s_app == this)
        s_app = nullptr;
}

int CWinApp::InitInstance() {
    return 1;  // nonzero: the entry goes on to Run
}

int CWinApp::Run() {
    return ExitInstance();
}

void CWinApp::ParseCommandLine(CCommandLineInfo& info) {
    const auto& args = processArgs();
    for (std::size_t i = 1; i < args.size(); ++i) {
        const std::string& a = args[i];
        const int flag = !a.empty() && (a[0] == '-' || a[0] == '/') ? 1 : 0;
        info.ParseParam(a.c_str(), flag, i + 1 == args.size() ? 1 : 0);
    }
}

CWinApp* CWinApp::instance() {
    return s_app;
}

void CWinApp::setProcessArgs(std::vector<std::string> args) {
    processArgs() = std::move(args);
}

int AfxWinMain(int argc, char** argv) {
    CWinApp::setProcessArgs(std::vector<std::string>(argv, argv + argc));
    CWinApp* app = CWinApp::instance();
    if (!app) {
        std::fputs("no application object\n", stderr);
        return 1;
    }
    if (!app->InitInstance())
        return app->ExitInstance();
    return app->Run();
}

}  // namespace platform
