#include "DoctorRuns.h"

#include <chrono>
#include <nlohmann/json.hpp>
#include <ostream>

#include "doctor/Doctor.h"

namespace kiva5 {
namespace {

RunRecord runOf(const doctor::Chain& chain) {
    RunRecord run;
    run.test = "SensorDoctor";
    run.started = std::chrono::system_clock::now();
    const auto capability = DeviceCapability::fromName(libOrra::capabilityName(chain.kind));
    run.result = *TestResult::fromName(chain.verdict());
    run.details.emplace_back("kind", Value(std::string(chain.what())));
    if (!chain.declared) {
        run.notes.push_back(chain.name);
        return run;
    }
    run.device = DiagDevice(*capability, KivaString(chain.locator), KivaString(chain.name));
    nlohmann::json links = nlohmann::json::array();
    for (const doctor::Link& l : chain.links) {
        links.push_back({{"link", l.name},
                         {"state", std::string(doctor::stateName(l.state))},
                         {"fact", l.fact},
                         {"source", l.source}});
    }
    const auto orNull = [](const std::optional<std::string>& s) {
        return s ? nlohmann::json(*s) : nlohmann::json();
    };
    const auto json = [](const nlohmann::json& j) {
        return Value(j.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace),
                     DataType::JSON());
    };
    run.details.emplace_back("links", json(links));
    run.details.emplace_back("firstBroken", json(orNull(chain.firstBroken)));
    run.details.emplace_back("remedy", json(orNull(chain.remedy)));
    if (chain.remedy)
        run.notes.push_back(*chain.remedy);
    return run;
}

// The chain as a technician reads it: a line per link, the verdict last.
void say(std::ostream& out, const doctor::Chain& chain, std::size_t index, std::size_t count) {
    // Piecewise, not by operator+: g++ 12 at -O3 misreads a chain of std::string temporaries
    // as an overlapping copy (GCC bug 105329).
    std::string head = "[";
    head.append(std::to_string(index + 1)).append("/").append(std::to_string(count)).append("] ");
    if (!chain.declared) {
        out << head << chain.what() << ": " << chain.name << std::endl;
        return;
    }
    out << head << chain.what() << " " << chain.name << " at " << chain.locator << "\n";
    for (const doctor::Link& l : chain.links) {
        if (l.state == doctor::Link::State::Skipped)
            continue;
        out << "  " << l.name << ": " << doctor::stateName(l.state);
        if (!l.fact.empty())
            out << ": " << l.fact;
        if (!l.source.empty())
            out << " (" << l.source << ")";
        out << "\n";
    }
    if (chain.remedy)
        out << "  what to do: " << *chain.remedy << "\n";
    out << "  SensorDoctor: " << chain.verdict() << std::endl;
}

}  // namespace

void doctorRuns(Report& report, std::ostream* progress, const std::function<void()>& runEnded) {
    const auto start = std::chrono::steady_clock::now();
    const std::vector<doctor::Chain> chains = doctor::examine(doctor::Roots::fromEnvironment());
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    bool declared = false;
    TestResult worst = TestResult::PASS();
    for (std::size_t i = 0; i < chains.size(); ++i) {
        RunRecord run = runOf(chains[i]);
        // The chains were followed side by side; each run is given the whole time once shared.
        run.seconds = seconds / static_cast<double>(chains.size());
        if (chains[i].declared) {
            declared = true;
            worst = TestResult::worse(worst, run.result);
        }
        if (progress)
            say(*progress, chains[i], i, chains.size());
        report.runs.push_back(std::move(run));
        if (runEnded)
            runEnded();
    }
    report.result = declared ? worst : TestResult::NODEVICE();
}

}  // namespace kiva5
