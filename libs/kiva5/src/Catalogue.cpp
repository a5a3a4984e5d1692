#include "kiva5/Catalogue.h"

#include <algorithm>

#include "kiva5/Localization.h"

namespace kiva5 {

const TipType& TipType::TEXT_TIP() {
    static constexpr TipType t(TipKind::Text);
    return t;
}

Event& Event::setVariable(const KivaString& name, const Value& value) {
    std::lock_guard lock(mutex_);
    auto it = std::find_if(variables_.begin(), variables_.end(),
                           [&](const auto& v) { return v.first == name.str(); });
    if (it != variables_.end()) {
        it->second = value;
    } else {
        variables_.emplace_back(name.str(), value);
    }
    return *this;
}

bool Event::addTip(const Tip& tip) {
    std::lock_guard lock(mutex_);
    if (std::find(tips_.begin(), tips_.end(), tip) != tips_.end())
        return false;
    tips_.push_back(tip);
    return true;
}

void Event::takeForReport(std::vector<std::pair<std::string, Value>>& variables,
                          std::vector<std::string>& tips) {
    std::lock_guard lock(mutex_);
    variables = std::move(variables_);
    variables_.clear();
    tips.clear();
    for (const Tip& t : tips_)
        tips.push_back(t.key());
}

vek::String LocalizedString::localizedString() const {
    return Localization::lookup(key_);
}

Test* Test::addParameter(const Parameter* parameter) {
    if (parameter)
        parameters_.push_back(parameter);
    return this;
}

Test* Test::setInteractive(bool on) {
    interactive_ = on;
    return this;
}

Test* Test::setCreatesOwnGUI(bool on) {
    createsOwnGUI_ = on;
    return this;
}

Test* Test::setInstruction(const LocalizedString* text) {
    instruction_ = text;
    return this;
}

Catalogue& Catalogue::global() {
    // Never destroyed: the module's global pointers refer into it until the process ends.
    static Catalogue* c = new Catalogue;
    return *c;
}

LocalizedString* Catalogue::createLocalizedString(const KivaString& key) {
    declarations_.push_back({Kind::LocalizedString, key.str()});
    return strings_.emplace_back(std::make_unique<LocalizedString>(key.str())).get();
}

Event* Catalogue::createEvent(const KivaString& name) {
    declarations_.push_back({Kind::Event, name.str()});
    return events_.emplace_back(std::make_unique<Event>(name.str())).get();
}

Parameter* Catalogue::createParameter(const KivaString& name, const DataType& type,
                                      const KivaString& defaultText, bool flag1, bool flag2) {
    declarations_.push_back({Kind::Parameter, name.str()});
    return parameters_
        .emplace_back(
            std::make_unique<Parameter>(name.str(), type, defaultText.str(), flag1, flag2))
        .get();
}

Test* Catalogue::createTest(const KivaString& name, const DeviceCapability& capability,
                            TestFunction function) {
    declarations_.push_back({Kind::Test, name.str()});
    return tests_.emplace_back(std::make_unique<Test>(name.str(), capability, function)).get();
}

Test* Catalogue::findTest(std::string_view name) const {
    for (const auto& t : tests_) {
        if (t->name() == name)
            return t.get();
    }
    return nullptr;
}

Parameter* Catalogue::findParameter(std::string_view name) const {
    for (const auto& p : parameters_) {
        if (p->name() == name)
            return p.get();
    }
    return nullptr;
}

}  // namespace kiva5
