#pragma once

#include <optional>
#include <string_view>

namespace kiva5 {

// The type of a parameter or event variable.
class DataType {
public:
    static const DataType& DOUBLE();
    static const DataType& BOOLEAN();
    static const DataType& INT32();
    static const DataType& STRING();
    // Structured data (a list, an object) as JSON text; reports carry it as it is.
    static const DataType& JSON();

    std::string_view name() const { return name_; }
    bool operator==(const DataType& other) const { return name_ == other.name_; }

private:
    explicit constexpr DataType(std::string_view name) : name_(name) {}
    std::string_view name_;
};

// Which kind of device a test runs on.
class DeviceCapability {
public:
    static const DeviceCapability& AmbientLightSensor();
    static const DeviceCapability& Accelerometer();
    static const DeviceCapability& Magnetometer();
    static const DeviceCapability& Gyrometer();
    static const DeviceCapability& ProximitySensor();
    static std::optional<DeviceCapability> fromName(std::string_view name);

    std::string_view name() const { return name_; }
    bool operator==(const DeviceCapability& other) const { return name_ == other.name_; }

private:
    explicit constexpr DeviceCapability(std::string_view name) : name_(name) {}
    std::string_view name_;
};

}  // namespace kiva5
