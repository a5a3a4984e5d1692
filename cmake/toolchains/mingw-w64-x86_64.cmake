# Cross-builds the Windows (x86_64) programs with Debian's mingw-w64 (posix threads model) and
# runs them, for tests and test discovery, under Wine through wine-run.sh.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# Only mingw's own headers and libraries: the build machine's /usr/include is Linux's.
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The header-only libraries (nlohmann/json, CLI11) come from Debian's packages through small
# package files of our own that expose only their headers (cmake/windows/).
set(nlohmann_json_DIR ${CMAKE_CURRENT_LIST_DIR}/../windows CACHE PATH "")
set(CLI11_DIR ${CMAKE_CURRENT_LIST_DIR}/../windows CACHE PATH "")

# Self-contained programs: the C++ runtime and winpthreads are linked in, so the programs run
# from the zip and under Wine without DLLs beside them.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static")

# Tests and gtest's test discovery run the programs under Wine, in a prefix of the build tree.
set(CMAKE_CROSSCOMPILING_EMULATOR
    "${CMAKE_CURRENT_LIST_DIR}/wine-run.sh;${CMAKE_BINARY_DIR}/wineprefix")
