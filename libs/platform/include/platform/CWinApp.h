#pragma once

#include <string>
#include <vector>

// The slice of the MFC application framework that the module is written against: one
// application object, constructed during static initialisation, whose InitInstance and Run
// the process entry calls in MFC's order. Where MFC has BOOL (a macro in some Windows headers)
// these declarations have int: nonzero is true.

namespace platform {

class CWnd;

// Receives the command-line arguments one by one from CWinApp::ParseCommandLine. Unlike
// MFC, `param` is the argument exactly as given (dashes kept); `flag` tells whether it starts
// with '-' or '/'.
class CCommandLineInfo {
public:
    virtual ~CCommandLineInfo() = default;
    virtual void ParseParam(const char* param, int flag, int last);
};

class CWinApp {
public:
    explicit CWinApp(const char* appName = nullptr);
    virtual ~CWinApp();
    CWinApp(const CWinApp&) = delete;
    CWinApp& operator=(const CWinApp&) = delete;

    virtual int InitInstance();
    virtual int Run();
    virtual int ExitInstance() { return 0; }

    // Hands every argument after the program name to `info`.
    void ParseCommandLine(CCommandLineInfo& info);

    CWnd* m_pMainWnd = nullptr;
    // The name given at construction (null: the module's own name is used).
    const char* appName() const { return appName_; }

    // The one application object of the process (null before it is constructed).
    static CWinApp* instance();
    // The process arguments, set by the entry before InitInstance.
    static void setProcessArgs(std::vector<std::string> args);

private:
    const char* appName_;
};

// The process entry: InitInstance, then Run when it succeeded; returns the exit code.
int AfxWinMain(int argc, char** argv);

}  // namespace platform
