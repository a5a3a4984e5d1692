# The Windows Sensor API backend ("sensorapi"), included by libs/libOrra/CMakeLists.txt on
# Windows: its COM layer (SapiSensors, SapiMailbox) and the module side (SensorApiBackend),
# which provides openSensorApiBackend(). Its module side is also tested on Linux over a stand-in
# of the COM layer (tests/SensorApiBackendTest.cpp).
list(APPEND libOrra_sources
  src/sensorapi/SapiMailbox.cpp src/sensorapi/SapiSensors.cpp src/sensorapi/SensorApiBackend.cpp)
set(VEKR_HAVE_SENSORAPI ON)
list(APPEND libOrra_os_libs sensorsapi ole32 oleaut32 uuid)
