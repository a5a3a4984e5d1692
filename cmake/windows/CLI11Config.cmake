# CLI11 for the Windows build: Debian's headers, and no other folder of /usr/include.
include(${CMAKE_CURRENT_LIST_DIR}/HeaderOnly.cmake)
vekr_header_only_package(CLI11::CLI11 CLI)
