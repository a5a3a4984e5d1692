#include "libOrra/Machine.h"

#include <stdexcept>

#include "PlatformBackends.h"
#include "libOrra/IioBackend.h"
#include "libOrra/Recorder.h"
#include "libOrra/SimBackend.h"

namespace libOrra {

Machine::Machine(std::shared_ptr<SensorBackend> sensors, std::shared_ptr<DeviceInspector> inspector,
                 bool simulated)
    : sensors_(std::move(sensors)), inspector_(std::move(inspector)), simulated_(simulated) {}

Machine::~Machine() {
    // Nothing of the machine's may run on after it, a stop timer least of all.
    testFinished();
}

void Machine::subscribe(std::shared_ptr<MachineListener> listener) {
    listeners_.push_back(std::move(listener));
}

void Machine::testStarting() {
    for (const auto& l : listeners_)
        l->testStarting();
}

void Machine::testFinished() {
    for (const auto& l : listeners_)
        l->testFinished();
}

void Machine::stopped(int run) {
    for (const auto& l : listeners_)
        l->stopped(run);
}

void Machine::onStopRequest(std::function<void()> handler) {
    std::lock_guard lock(stopMutex_);
    stopHandler_ = std::move(handler);
}

void Machine::requestStop() {
    std::lock_guard lock(stopMutex_);
    if (stopHandler_)
        stopHandler_();
}

bool Machine::readable(SensorKind kind, const std::string& locator) {
    std::vector<std::unique_ptr<SensorDevice>> devices;
    std::vector<SensorInfo> infos;
    if (!sensors_->open(kind, devices, infos))
        return false;
    for (std::size_t i = 0; i < devices.size() && i < infos.size(); ++i) {
        if (infos[i].locator != locator)
            continue;
        // A hub waking up may fail its first read; three in a row is a dead sensor.
        Sample sample;
        for (int attempt = 0; attempt < 3; ++attempt) {
            if (devices[i]->read(sample))
                return true;
        }
        return false;
    }
    return false;
}

void Machine::setRecorder(std::shared_ptr<Recorder> recorder,
                          std::shared_ptr<SensorBackend> sensors) {
    recorder_ = std::move(recorder);
    sensors_ = std::move(sensors);
}

std::vector<std::string> backendNames() {
    std::vector<std::string> names{"iio", "sim"};
    for (auto& name : platformBackendNames())
        names.push_back(std::move(name));
    return names;
}

std::string defaultBackendName() {
    const std::vector<std::string> added = platformBackendNames();
    return added.empty() ? "iio" : added.front();
}

std::unique_ptr<Machine> makeMachine(const MachineChoice& choice) {
    std::unique_ptr<Machine> machine;
    if (choice.backend == "iio") {
        auto iio = std::make_shared<IioBackend>();
        machine = std::make_unique<Machine>(iio, iio, false);
    } else if (choice.backend == "sim") {
        Scenario scenario = choice.scenario ? loadScenario(*choice.scenario)
                                            : parseScenario(demoScenarioText(), "(embedded demo)");
        auto sim = std::make_shared<SimBackend>(std::move(scenario));
        machine = std::make_unique<Machine>(sim, sim, true);
        machine->setRecordedCommandLine(sim->scenario().recordedCommandLine);
        machine->subscribe(sim);
        // The scenario's stop time reaches the host as any stop request does.
        sim->onStopDue([m = machine.get()] { m->requestStop(); });
    } else if (auto added = platformBackend(choice.backend)) {
        machine = std::make_unique<Machine>(added->sensors, added->inspector, false);
    } else {
        throw std::invalid_argument("unknown sensor backend \"" + choice.backend + "\"");
    }
    if (choice.record) {
        auto recorder = std::make_shared<Recorder>();
        machine->subscribe(recordingListener(recorder));
        machine->setRecorder(recorder, recordingBackend(machine->sharedSensors(), recorder));
    }
    return machine;
}

}  // namespace libOrra
