#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "kiva5/DataType.h"
#include "kiva5/DiagDevice.h"
#include "kiva5/KivaString.h"
#include "kiva5/TestResult.h"

namespace libOrra {
class Machine;
}
#include "kiva5/Value.h"

namespace kiva5 {

class Catalogue;

// A declared parameter. The host sets it from the profile and the command line before a test
// runs; tests read it on their own threads while nothing writes it.
class Parameter {
public:
    Parameter(std::string name, const DataType& type, std::string defaultText, bool flag1,
              bool flag2)
        : name_(std::move(name)),
          type_(&type),
          default_(std::move(defaultText)),
          flags_{flag1, flag2} {}

    bool isset() const { return value_.has_value(); }
    // The caller's value, or the declared default (for every module parameter the empty
    // text, which reads as 0, false or 0).
    Value value() const { return Value(value_.value_or(default_), *type_); }

    const std::string& name() const { return name_; }
    const DataType& type() const { return *type_; }
    const std::string& defaultText() const { return default_; }
    bool flag1() const { return flags_[0]; }
    bool flag2() const { return flags_[1]; }
    void set(std::string text) { value_ = std::move(text); }
    // The unit of the value ("s", "g", "lux"), for people reading --list; "" for none.
    Parameter* setUnit(std::string unit) {
        unit_ = std::move(unit);
        return this;
    }
    const std::string& unit() const { return unit_; }
    void unset() { value_.reset(); }

private:
    std::string name_;
    const DataType* type_;
    std::string default_;
    bool flags_[2];
    std::optional<std::string> value_;
    std::string unit_;
};

enum class TipKind { Text };

class TipType {
public:
    static const TipType& TEXT_TIP();
    TipKind kind() const { return kind_; }

private:
    explicit constexpr TipType(TipKind kind) : kind_(kind) {}
    TipKind kind_;
};

// A hint for the person reading the result, named by a key.
class Tip {
public:
    static Tip createTip(const KivaString& key, const TipType& type) {
        return Tip(key.str(), type);
    }
    const std::string& key() const { return key_; }
    const TipType& type() const { return *type_; }
    bool operator==(const Tip& other) const { return key_ == other.key_; }

private:
    Tip(std::string key, const TipType& type) : key_(std::move(key)), type_(&type) {}
    std::string key_;
    const TipType* type_;
};

// A declared result event. Variables set on it belong to its next report; tips stay on it
// for the life of the process. Any thread may use it.
class Event {
public:
    explicit Event(std::string name) : name_(std::move(name)) {}

    Event& setVariable(const KivaString& name, const Value& value);
    // False when the tip is already on the event.
    bool addTip(const Tip& tip);

    const std::string& name() const { return name_; }
    // Hands over the pending variables (and a copy of the tips) for one report.
    void takeForReport(std::vector<std::pair<std::string, Value>>& variables,
                       std::vector<std::string>& tips);

private:
    std::string name_;
    std::mutex mutex_;
    std::vector<std::pair<std::string, Value>> variables_;
    std::vector<Tip> tips_;
};

// A user-visible text, looked up in the current language when asked for.
class LocalizedString {
public:
    explicit LocalizedString(std::string key) : key_(std::move(key)) {}
    vek::String localizedString() const;
    const std::string& key() const { return key_; }

private:
    std::string key_;
};

class Test;
using TestFunction = TestResult (*)(const DiagDevice&);
// A check of the host's own (the orientation check) that works on the machine itself, not
// only through the tests' enumeration calls.
using MachineTestFunction = TestResult (*)(const DiagDevice&, libOrra::Machine&);

// A declared test: its function, device capability, parameters and flags.
class Test {
public:
    Test(std::string name, const DeviceCapability& capability, TestFunction fn)
        : name_(std::move(name)), capability_(capability), function_(fn) {}
    Test(std::string name, const DeviceCapability& capability, MachineTestFunction fn)
        : name_(std::move(name)), capability_(capability), machineFunction_(fn) {}

    Test* addParameter(const Parameter* parameter);
    Test* setInteractive(bool on);
    Test* setCreatesOwnGUI(bool on);
    // What the person at the device is asked to do, shown on the terminal as the test starts.
    Test* setInstruction(const LocalizedString* text);

    const std::string& name() const { return name_; }
    const DeviceCapability& capability() const { return capability_; }
    // Calls the test's function on `device` of `machine`.
    TestResult call(const DiagDevice& device, libOrra::Machine& machine) const {
        return machineFunction_ ? machineFunction_(device, machine) : function_(device);
    }
    const std::vector<const Parameter*>& parameters() const { return parameters_; }
    bool interactive() const { return interactive_; }
    bool createsOwnGUI() const { return createsOwnGUI_; }
    const LocalizedString* instruction() const { return instruction_; }

private:
    std::string name_;
    DeviceCapability capability_;
    TestFunction function_ = nullptr;
    MachineTestFunction machineFunction_ = nullptr;
    std::vector<const Parameter*> parameters_;
    bool interactive_ = false;
    bool createsOwnGUI_ = false;
    const LocalizedString* instruction_ = nullptr;
};

// Everything a module declared, in declaration order. The process has one (global()), filled
// by the module's static initialisers; tests of the framework build their own.
class Catalogue {
public:
    enum class Kind { LocalizedString, Event, Parameter, Test };
    struct Declaration {
        Kind kind;
        std::string name;
    };

    static Catalogue& global();

    LocalizedString* createLocalizedString(const KivaString& key);
    Event* createEvent(const KivaString& name);
    Parameter* createParameter(const KivaString& name, const DataType& type,
                               const KivaString& defaultText, bool flag1, bool flag2);
    Test* createTest(const KivaString& name, const DeviceCapability& capability,
                     TestFunction function);

    const std::vector<Declaration>& declarations() const { return declarations_; }
    const std::deque<std::unique_ptr<Test>>& tests() const { return tests_; }
    const std::deque<std::unique_ptr<Parameter>>& parameters() const { return parameters_; }
    const std::deque<std::unique_ptr<Event>>& events() const { return events_; }
    const std::deque<std::unique_ptr<LocalizedString>>& strings() const { return strings_; }
    Test* findTest(std::string_view name) const;
    Parameter* findParameter(std::string_view name) const;

private:
    std::vector<Declaration> declarations_;
    std::deque<std::unique_ptr<LocalizedString>> strings_;
    std::deque<std::unique_ptr<Event>> events_;
    std::deque<std::unique_ptr<Parameter>> parameters_;
    std::deque<std::unique_ptr<Test>> tests_;
};

}  // namespace kiva5
