#pragma once

#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "kiva5/Catalogue.h"
#include "kiva5/CommandLine.h"
#include "kiva5/DiagDevice.h"

namespace libOrra {
class Machine;
}

namespace kiva5 {

// A command line the host cannot obey; reported as one line with EX_USAGE.
struct UsageError {
    std::string message;
};

// The run plan: what the command line, the catalogue, the resources and the profiles decide
// before any test runs. Each step reads or sets process-wide state (the language, the
// catalogue's parameter values) for the one start() that calls it, on the main thread; a
// command line that cannot be obeyed throws UsageError, a file the person named that cannot
// be read InputError, a broken install KivaException.

// "vekrsensors" for "vekrsensors.vkm": the name of the module's resource folder.
std::string moduleStem(const std::string& file);
// --list: the declared catalogue, each parameter with its unit and the shipped profile's value.
void printCatalogue(const Catalogue& c, const std::string& module, std::ostream& out);
// The language of the texts: --lang, else the environment's, else English.
std::string chooseLanguage(const CommandLine& o, const std::string& module);
// Where a run started from the desktop (--window) keeps its report.
std::string stateReportPath();
// A replayed recording's own choice of tests and device, where the command line makes none.
void takeRecordedSelection(CommandLine& o, const std::vector<std::string>& recorded);
// The tests to run, in the order asked for (each once); all of them by default.
std::vector<Test*> selectTests(const Catalogue& catalogue, const CommandLine& o);
// --param assignments, checked against the catalogue before anything is read.
std::vector<std::pair<Parameter*, std::string>> parameterOverrides(const Catalogue& catalogue,
                                                                   const CommandLine& o);
// The texts and settings the selected tests need (see RunPlan.cpp for when they are read).
void loadResources(const Catalogue& catalogue, const std::vector<Test*>& tests,
                   const std::string& language, const std::string& module);
// The parameters' values: the shipped profile, --profile over it, then `overrides`. Returns
// the profile files read, in that order.
std::vector<std::string> applyParameters(
    const Catalogue& catalogue, const CommandLine& o, const std::string& module,
    const std::vector<std::pair<Parameter*, std::string>>& overrides);
// --orientation on a convertible: the base's accelerometer is left out of `devices`; a note
// for each one left out.
std::vector<std::string> keepDisplayAccelerometers(std::vector<DiagDevice>& devices);

// The plan as one value, made by the steps above in their order: what runs, in which language,
// with which parameters and profiles, on which devices. Made and used by the host's start(),
// on the main thread.
struct RunPlan {
    std::string module;    // the resource folder's name, see moduleStem()
    std::string language;  // see chooseLanguage()
    std::vector<std::pair<Parameter*, std::string>> overrides;
    std::vector<Test*> tests;
    std::vector<std::string> profiles;
    std::vector<DiagDevice> devices;
    std::vector<std::string> leftAlone;  // a note for each device --orientation leaves out

    // Before anything is read: the module and the language.
    static RunPlan begin(const CommandLine& o, const std::string& moduleFile);
    // With the machine open: the recording's selection where the command line makes none, the
    // tests (`orientationCheck` for --orientation), their texts and parameters, the devices.
    void settle(const Catalogue& catalogue, CommandLine& o, libOrra::Machine& machine,
                Test* orientationCheck);
};

}  // namespace kiva5
