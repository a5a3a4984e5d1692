#pragma once

#include "kiva5/DataType.h"
#include "kiva5/KivaString.h"

namespace kiva5 {

// The device a test runs on: what the host discovered, handed to the test by const reference.
class DiagDevice {
public:
    DiagDevice(const DeviceCapability& capability, KivaString osLocator, KivaString name)
        : capability_(capability), osLocator_(std::move(osLocator)), name_(std::move(name)) {}

    const KivaString& osLocator() const { return osLocator_; }
    const KivaString& name() const { return name_; }
    const DeviceCapability& capability() const { return capability_; }

private:
    DeviceCapability capability_;
    KivaString osLocator_;
    KivaString name_;
};

}  // namespace kiva5
