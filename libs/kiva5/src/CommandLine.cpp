#include "kiva5/CommandLine.h"

#include <CLI/CLI.hpp>

#include "kiva5/Localization.h"
#include "libOrra/Machine.h"

namespace kiva5 {

std::string CommandLine::printable(const std::string& text) {
    static const char* hex = "0123456789abcdef";
    std::string out;
    for (const char c : text) {
        const auto b = static_cast<unsigned char>(c);
        if (b < 0x20 || b == 0x7f) {
            out += "\\x";
            out += hex[b >> 4];
            out += hex[b & 0xF];
        } else {
            out += c;
        }
    }
    return out;
}

CommandLine::Reading CommandLine::read(const std::vector<std::string>& args,
                                       const std::string& moduleFile,
                                       const std::string& versionLine, CommandLine& o) {
    Reading reading;
    const auto usage = [&](std::string message) {
        reading.settled = true;
        reading.exitCode = 64;
        reading.error = printable(message);
        return reading;
    };

    CLI::App app{"Sensor diagnostics for tablets and convertibles", moduleFile};
    app.set_version_flag("--version", versionLine);
    app.allow_extras();  // stray words are reported below, in the order given
    app.add_flag("--list", o.list,
                 "Print the declared tests, parameters (with defaults and units), events and keys");
    app.add_flag("--devices", o.devices, "Print the devices the backend finds");
    app.add_flag("--verbose", o.verbose,
                 "With --devices: where each value, scale, offset, matrix, frequency and near "
                 "level comes from, and one reading with its verdict");
    app.add_flag("--quiet", o.quiet, "Only the summary on the terminal, no progress lines");
    app.add_flag("--orientation", o.orientation,
                 "Check the accelerometer's axes against the screen in three poses, instead of "
                 "the tests");
    app.add_flag("--doctor", o.doctor,
                 "Follow every sensor the machine declares from the firmware to its readings "
                 "and name the first link that breaks, instead of the tests");
    CLI::Option* record = app.add_option(
        "--record", o.record,
        "Write what the sensors did and the person pressed as a scenario, replayable with "
        "--scenario");
    CLI::Option* metrics = app.add_option(
        "--metrics", o.metrics,
        "Write the run in Prometheus' text format, for node_exporter's textfile collector");
    app.add_flag("--window", o.window,
                 "End on a results window with Close and Run again, the report saved under "
                 "$XDG_STATE_HOME/vekrsensors/ (as the desktop entry starts it)");
    app.add_flag("--fast", o.fast,
                 "With --scenario: run the sensor clock, and with it the tests' waits, ten times "
                 "faster (a recording replays in a tenth of its time)");
    CLI::Option* hwdb = app.add_option(
        "--hwdb", o.hwdb, "With --orientation: write a proposed hwdb entry to this file");
    app.add_option("--test", o.tests, "Run this test (repeatable; default: all)");
    app.add_option("--device", o.device, "Run only on the device with this locator");
    app.add_option("--param", o.params, "Set a parameter, NAME=VALUE (repeatable)");
    app.add_option("--profile", o.profile,
                   "Parameter values laid over the shipped profile (a JSON file)");
    // The names libOrra knows on this platform: "iio or sim" on Linux.
    const std::vector<std::string> backends = libOrra::backendNames();
    std::string choices;
    for (std::size_t i = 0; i < backends.size(); ++i)
        choices += (i == 0 ? "" : i + 1 == backends.size() ? " or " : ", ") + backends[i];
    app.add_option("--backend", o.backend,
                   "Sensor source: " + choices + " (default " + libOrra::defaultBackendName() + ")")
        ->check(CLI::IsMember(backends));
    app.add_option("--scenario", o.scenario, "Scenario for the sim backend");
    app.add_option("--lang", o.lang,
                   "Language of the texts: de, de_DE, de_DE.UTF-8 (default: LANGUAGE, LC_ALL, "
                   "LC_MESSAGES, LANG)");
    CLI::Option* report =
        app.add_option("--report", o.report, "Write the JSON report here (- for stdout)");
    CLI::Option* junit = app.add_option(
        "--junit", o.junit,
        "Write the runs as JUnit XML here, for CI and test management (- for stdout)");
    CLI::Option* log = app.add_option("--log", o.log, "Write the module log to this file");
    app.add_option("--log-level", o.logLevel, "Lowest priority logged, 1..4 (default 1)")
        ->check(CLI::Range(1, 4));

    // CLI11 takes a vector back to front; the program's own name is not an argument.
    std::vector<std::string> rest;
    for (std::size_t i = args.size(); i > 1; --i)
        rest.push_back(args[i - 1]);
    try {
        app.parse(rest);
    } catch (const CLI::CallForHelp&) {
        reading.settled = true;
        reading.out = app.help();
        return reading;
    } catch (const CLI::CallForVersion&) {
        reading.settled = true;
        reading.out = app.version() + "\n";
        return reading;
    } catch (const CLI::ParseError& e) {
        return usage(e.what());
    }
    if (const auto extras = app.remaining(); !extras.empty()) {
        std::string words;
        for (const auto& w : extras)
            words += " " + w;
        return usage("unexpected argument" + std::string(extras.size() > 1 ? "s" : "") + ":" +
                     words);
    }
    o.reportGiven = report->count() > 0;
    o.junitGiven = junit->count() > 0;
    o.hwdbGiven = hwdb->count() > 0;
    o.recordGiven = record->count() > 0;
    o.metricsGiven = metrics->count() > 0;
    if (o.recordGiven && (o.record.empty() || o.record == "-"))
        return usage("--record needs a file name (a recording is rewritten after each test)");
    if (o.orientation && !o.tests.empty())
        return usage("--orientation runs on its own, without --test");
    if (o.doctor && (!o.tests.empty() || o.orientation || !o.scenario.empty() ||
                     o.backend == "sim" || !o.device.empty()))
        return usage("--doctor runs on its own, on this machine's sensors");
    if (o.fast && o.scenario.empty())
        return usage("--fast goes with --scenario");
    if (o.hwdbGiven && !o.orientation)
        return usage("--hwdb goes with --orientation");
    if (o.reportGiven && o.junitGiven && o.report == "-" && o.junit == "-")
        return usage("--report and --junit cannot both go to stdout");
    if (log->count() > 0 && (o.log.empty() || o.log == "-"))
        return usage("--log needs a file name (the log does not share the terminal)");
    if (o.verbose && !o.devices)
        return usage("--verbose goes with --devices");
    if (o.logLevel && o.log.empty())
        return usage("--log-level needs --log FILE");
    if (!o.scenario.empty() && o.backend == "iio")
        return usage("--scenario goes with --backend sim");
    if (!o.lang.empty() && !Localization::isLanguageCode(o.lang))
        return usage("--lang \"" + o.lang + "\" is not a language code (like de, de_DE or " +
                     "de_DE.UTF-8)");
    return reading;
}

}  // namespace kiva5
