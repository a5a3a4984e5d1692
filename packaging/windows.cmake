# The Windows release: one zip (CPack, ZIP generator) with the module file and its command
# launcher at the top, the resources beside them as the module looks for them in its own
# folder, and the README, licence and report schemas. No dialogs, so no pictures.
#
# `cmake --build --preset windows --target package` makes
# build/windows/vekrsensors-<version>-windows-x86_64.zip.

install(TARGETS vekrsensors RUNTIME DESTINATION .)
install(FILES windows/vekrsensors.cmd DESTINATION .)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/resources/vekrsensors DESTINATION resources
        PATTERN artwork EXCLUDE PATTERN "*.png" EXCLUDE)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/LICENSE
              ${PROJECT_SOURCE_DIR}/docs/sensors.md ${PROJECT_SOURCE_DIR}/docs/report.schema.json
              ${PROJECT_SOURCE_DIR}/docs/scenario.schema.json
        DESTINATION doc)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME vekrsensors)
set(CPACK_PACKAGE_VENDOR "The vekrsensors developers")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(vekr_zip_name "vekrsensors-${PROJECT_VERSION}-windows-x86_64")
set(CPACK_PACKAGE_FILE_NAME ${vekr_zip_name})
set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY ON)
set(CPACK_STRIP_FILES ON)
include(CPack)

if(VEKR_BUILD_TESTS)
  # The zip as a person gets it: built, unpacked into a temporary folder, and the module run
  # from there under Wine, finding its resources.
  find_program(VEKR_DEBIAN_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH REQUIRED)
  add_test(NAME windows.package_unzip_and_run
           COMMAND ${VEKR_DEBIAN_PYTHON} ${CMAKE_CURRENT_SOURCE_DIR}/tests/windows_zip_test.py
                   ${CMAKE_BINARY_DIR} ${vekr_zip_name} ${PROJECT_VERSION}
                   ${CMAKE_CROSSCOMPILING_EMULATOR})
  # It builds the package in the build tree: nothing else may do so at the same time.
  set_tests_properties(windows.package_unzip_and_run PROPERTIES TIMEOUT 300 RUN_SERIAL TRUE)
endif()
