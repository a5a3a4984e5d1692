# GoogleTest for the Windows build: Debian ships its source only (package googletest), built
# here with the cross compiler under the names find_package(GTest) gives on Linux.
set(VEKR_GTEST_SOURCE /usr/src/googletest CACHE PATH "GoogleTest's source folder")
if(NOT EXISTS ${VEKR_GTEST_SOURCE}/CMakeLists.txt)
  message(FATAL_ERROR "${VEKR_GTEST_SOURCE} is missing: run scripts/setup.sh (googletest)")
endif()
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
set(BUILD_GMOCK ON CACHE BOOL "" FORCE)
add_subdirectory(${VEKR_GTEST_SOURCE} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
foreach(lib gtest gtest_main gmock gmock_main)
  if(NOT TARGET GTest::${lib})
    add_library(GTest::${lib} ALIAS ${lib})
  endif()
endforeach()
