#include "kiva5/TestResult.h"

#include <array>

#include "kiva5/DataType.h"

namespace kiva5 {
namespace {

struct ResultInfo {
    std::string_view name;
    int severity;
};

// Indexed by code. The codes are the module's exit codes and are documented in the README.
constexpr std::array<ResultInfo, 9> kResults{{
    {"PASS", 0},
    {"FAIL", 7},
    {"WARN", 1},
    {"CANNOTRUN", 3},
    {"NODEVICE", 2},
    {"BADPARAMS", 4},
    {"TIMEDOUT", 6},
    {"USERABORTED", 5},
    {"EXITEDABNORMALLY", 8},
}};

}  // namespace

TestResult::TestResult() : code_(3) {}

const TestResult& TestResult::PASS() {
    static const TestResult r(0);
    return r;
}
const TestResult& TestResult::FAIL() {
    static const TestResult r(1);
    return r;
}
const TestResult& TestResult::WARN() {
    static const TestResult r(2);
    return r;
}
const TestResult& TestResult::CANNOTRUN() {
    static const TestResult r(3);
    return r;
}
const TestResult& TestResult::NODEVICE() {
    static const TestResult r(4);
    return r;
}
const TestResult& TestResult::BADPARAMS() {
    static const TestResult r(5);
    return r;
}
const TestResult& TestResult::TIMEDOUT() {
    static const TestResult r(6);
    return r;
}
const TestResult& TestResult::USERABORTED() {
    static const TestResult r(7);
    return r;
}
const TestResult& TestResult::EXITEDABNORMALLY() {
    static const TestResult r(8);
    return r;
}

std::string_view TestResult::name() const {
    return code_ >= 0 && code_ < static_cast<int>(kResults.size()) ? kResults[code_].name
                                                                   : "UNKNOWN";
}

std::optional<TestResult> TestResult::fromName(std::string_view name) {
    for (std::size_t i = 0; i < kResults.size(); ++i) {
        if (kResults[i].name == name)
            return TestResult(static_cast<int>(i));
    }
    return std::nullopt;
}

int TestResult::severity() const {
    return code_ >= 0 && code_ < static_cast<int>(kResults.size()) ? kResults[code_].severity : 8;
}

const TestResult& TestResult::worse(const TestResult& a, const TestResult& b) {
    return b.severity() > a.severity() ? b : a;
}

const DataType& DataType::DOUBLE() {
    static constexpr DataType t("DOUBLE");
    return t;
}
const DataType& DataType::BOOLEAN() {
    static constexpr DataType t("BOOLEAN");
    return t;
}
const DataType& DataType::INT32() {
    static constexpr DataType t("INT32");
    return t;
}
const DataType& DataType::STRING() {
    static constexpr DataType t("STRING");
    return t;
}
const DataType& DataType::JSON() {
    static constexpr DataType t("JSON");
    return t;
}

const DeviceCapability& DeviceCapability::AmbientLightSensor() {
    static constexpr DeviceCapability c("AmbientLightSensor");
    return c;
}
const DeviceCapability& DeviceCapability::Accelerometer() {
    static constexpr DeviceCapability c("Accelerometer");
    return c;
}
const DeviceCapability& DeviceCapability::Magnetometer() {
    static constexpr DeviceCapability c("Magnetometer");
    return c;
}
const DeviceCapability& DeviceCapability::Gyrometer() {
    static constexpr DeviceCapability c("Gyrometer");
    return c;
}
const DeviceCapability& DeviceCapability::ProximitySensor() {
    static constexpr DeviceCapability c("ProximitySensor");
    return c;
}

std::optional<DeviceCapability> DeviceCapability::fromName(std::string_view name) {
    for (const DeviceCapability* c : {&AmbientLightSensor(), &Accelerometer(), &Magnetometer(),
                                      &Gyrometer(), &ProximitySensor()}) {
        if (c->name() == name)
            return *c;
    }
    return std::nullopt;
}

}  // namespace kiva5
