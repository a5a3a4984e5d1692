# The Windows module under Wine against the Linux build's module (the debug preset's, or
# VEKR_LINUX_MODULE): the same command line gives the same runs, verdicts and events.
find_program(VEKR_DEBIAN_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH REQUIRED)
set(VEKR_LINUX_MODULE ${PROJECT_SOURCE_DIR}/build/debug/bin/vekrsensors.vkm
    CACHE FILEPATH "The Linux build's module, compared with the Windows one")
add_test(NAME windows.same_runs_as_linux
         COMMAND ${VEKR_DEBIAN_PYTHON} ${CMAKE_CURRENT_SOURCE_DIR}/same_runs_as_linux.py
                 $<TARGET_FILE:vekrsensors> ${VEKR_LINUX_MODULE}
                 ${CMAKE_CROSSCOMPILING_EMULATOR} --
                 --backend sim --test AccelerometerTest --test AmbientLightSensorTest)
set_tests_properties(windows.same_runs_as_linux PROPERTIES TIMEOUT 120 SKIP_RETURN_CODE 77)

# Without dialogs the interactive tests answer CANNOTRUN and say why, never PASS.
add_test(NAME windows.interactive_tests_cannot_run
         COMMAND ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:vekrsensors> --backend sim
                 --test GyrometerTest --report -)
set_tests_properties(windows.interactive_tests_cannot_run PROPERTIES TIMEOUT 60
  PASS_REGULAR_EXPRESSION "\"result\": \"CANNOTRUN\".*this Windows build has no dialogs"
  FAIL_REGULAR_EXPRESSION "\"result\": \"PASS\"")

# Ctrl-C reaches the same stop request as SIGINT on Linux.
add_test(NAME windows.ctrl_c_stops_the_run
         COMMAND ${VEKR_DEBIAN_PYTHON} ${CMAKE_CURRENT_SOURCE_DIR}/windows_ctrl_c.py
                 ${CMAKE_CURRENT_SOURCE_DIR}/fixtures/weak_sensors.json
                 ${CMAKE_CURRENT_BINARY_DIR}/ctrl_c_report.json
                 ${CMAKE_CROSSCOMPILING_EMULATOR} -- $<TARGET_FILE:vekrsensors>)
set_tests_properties(windows.ctrl_c_stops_the_run PROPERTIES TIMEOUT 90)

# Until the Sensor API backend is compiled in, asking for it is a usage error (exit 64) that
# names the backends this build has.
if(NOT VEKR_HAVE_SENSORAPI)
  add_test(NAME windows.sensorapi_not_built_is_a_usage_error
           COMMAND sh -c "\"$@\"; echo \"exit $?\"" sh ${CMAKE_CROSSCOMPILING_EMULATOR}
                   $<TARGET_FILE:vekrsensors> --backend sensorapi)
  set_tests_properties(windows.sensorapi_not_built_is_a_usage_error PROPERTIES TIMEOUT 60
    PASS_REGULAR_EXPRESSION "--backend: sensorapi not in {sim}.*exit 64")
endif()
