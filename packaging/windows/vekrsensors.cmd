@echo off
rem Runs the sensor diagnostic module beside this file with the arguments given.
"%~dp0vekrsensors.vkm" %*
