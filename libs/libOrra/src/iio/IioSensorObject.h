#pragma once

#include <memory>
#include <optional>

#include "IioSensorChannels.h"
#include "libOrra/SensorBackend.h"

// The IIO sensors' COM objects, behind the three ways the backend uses them. Each sensor object
// reads its channels on a thread of its own within readTimeout() (a stuck driver costs a failed
// read, never a hang of the caller), and is held by ComPtr.
namespace libOrra::iio {

// A record's device over `channels`: read() takes one bounded reading; its sensor's COM face
// reports data events while a sink is attached. Closing puts the device back as it was found.
std::unique_ptr<SensorDevice> openDevice(std::shared_ptr<Channels> channels);

// A proximity sensor over `channels`, read at the device's sampling frequency while started.
std::unique_ptr<ProximityStream> openProximityStream(std::shared_ptr<Channels> channels);

// One bounded reading of `channels` through a sensor object, as a test's update takes it: true
// with `out`, false when the sensor cannot be read (the channels' lastError says why), nullopt
// when the read did not finish within readTimeout().
std::optional<bool> sampleOnce(const std::shared_ptr<Channels>& channels, Sample& out);

}  // namespace libOrra::iio
