#pragma once

#include <string>

#include "kiva5/DataType.h"
#include "kiva5/KivaString.h"

namespace kiva5 {

// The device a test runs on: what the host discovered, handed to the test by const reference.
class DiagDevice {
public:
    DiagDevice(const DeviceCapability& capability, KivaString osLocator, KivaString name,
               std::string label = {})
        : capability_(capability),
          osLocator_(std::move(osLocator)),
          name_(std::move(name)),
          label_(std::move(label)) {}

    const KivaString& osLocator() const { return osLocator_; }
    const KivaString& name() const { return name_; }
    const DeviceCapability& capability() const { return capability_; }
    // The kernel's label telling alike sensors apart ("accel-base"), "" where there is none.
    const std::string& label() const { return label_; }

private:
    DeviceCapability capability_;
    KivaString osLocator_;
    KivaString name_;
    std::string label_;
};

}  // namespace kiva5
