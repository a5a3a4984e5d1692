#pragma once

#include "platform/WindowsNames.h"

// Makes a thread's use of COM a scope: initialised (single-threaded apartment) when built,
// uninitialised when destroyed if the initialisation succeeded. A local object of the thread
// that uses COM; never leaves it.
class COMInitializer {
public:
    COMInitializer();
    ~COMInitializer();
    COMInitializer(const COMInitializer&) = delete;
    COMInitializer& operator=(const COMInitializer&) = delete;

    HRESULT result() const { return result_; }

private:
    HRESULT result_;
};
