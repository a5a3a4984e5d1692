#pragma once

// Windows: the system's own headers.

#include <windows.h>
// After windows.h, which they need.
#include <sensorsapi.h>
#include <wincodec.h>
