#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include "kiva5/DiagModule.h"

namespace vekrsensors {

// What a technician asks after a threshold test: how many readings, how fast they came, and
// the last, smallest and largest value. Reported beside the verdict, never part of it.
class ReadingStats {
public:
    // `key` says what the values are (its value is the last reading's); `wanted` says what
    // passes ("1 +/- 0.1", "> 10"), so the summary can put the measurement beside the rule it
    // was held to.
    ReadingStats(kiva5::KeyMeasurement key, std::string wanted)
        : key_(std::move(key)), wanted_(std::move(wanted)) {}

    void add(double value) {
        ++count_;
        last_ = value;
        min_ = std::min(min_, value);
        max_ = std::max(max_, value);
    }
    void addFailure() { ++failures_; }

    // Writes the details of the running test.
    void report(double seconds) const {
        using kiva5::DataType;
        using kiva5::DiagModule;
        using kiva5::KivaString;
        using kiva5::Value;
        DiagModule::setRunDetail(KivaString("readings"),
                                 Value(std::to_string(count_), DataType::INT32()));
        DiagModule::setRunDetail(KivaString("failedUpdates"),
                                 Value(std::to_string(failures_), DataType::INT32()));
        if (seconds > 0) {
            DiagModule::setRunDetail(
                KivaString("readingsPerSecond"),
                Value(static_cast<double>(count_) / seconds, DataType::DOUBLE()));
        }
        DiagModule::setRunDetail(KivaString("wanted"), Value(wanted_));
        if (count_ == 0)
            return;
        kiva5::KeyMeasurement key = key_;
        key.value = last_;
        DiagModule::setRunKey(key);
        DiagModule::setRunDetail(KivaString("unit"), Value(key_.unit));
        DiagModule::setRunDetail(KivaString("last"), Value(last_, DataType::DOUBLE()));
        DiagModule::setRunDetail(KivaString("min"), Value(min_, DataType::DOUBLE()));
        DiagModule::setRunDetail(KivaString("max"), Value(max_, DataType::DOUBLE()));
    }

private:
    kiva5::KeyMeasurement key_;
    std::string wanted_;
    std::int64_t count_ = 0;
    std::int64_t failures_ = 0;
    double last_ = 0.0;
    double min_ = std::numeric_limits<double>::infinity();
    double max_ = -std::numeric_limits<double>::infinity();
};

}  // namespace vekrsensors
