// The Sensor API layer of the backend (libs/libOrra/src/sensorapi/SapiSensors.cpp) against the
// scripted Sensor API server, under Wine. One case a run: `sapi_wine_tests CASE`, with the
// server's script named by VEKR_FAKE_SENSORS (run-in-wine.sh sets both). Prints each failed
// check and ends with "N passed, N failed"; exits non-zero on any failure.

#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <thread>

#include "sensorapi/SapiSensors.h"
#include "vek/DynamicLibrary.h"

using namespace libOrra::sapi;

namespace {

int g_passed = 0;
int g_failed = 0;

void check(bool ok, const char* what, int line) {
    if (ok) {
        ++g_passed;
        return;
    }
    ++g_failed;
    std::printf("FAILED line %d: %s\n", line, what);
}
#define CHECK(expr) check((expr), #expr, __LINE__)

bool near(double a, double b) {
    return std::fabs(a - b) < 1e-6;
}

// Waits for `done` to hold, asking again every 10 ms, for at most 10 s.
bool eventually(const std::function<bool()>& done) {
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!done()) {
        if (std::chrono::steady_clock::now() > until)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

std::shared_ptr<SapiManager> manager() {
    std::int32_t hr = 0;
    auto m = SapiManager::open(&hr);
    if (!m)
        std::printf("no sensor manager: 0x%08X\n", static_cast<unsigned>(hr));
    return m;
}

std::vector<std::unique_ptr<SapiSensor>> of(SapiManager& m, SapiType type) {
    std::vector<std::unique_ptr<SapiSensor>> out;
    CHECK(m.sensors(type, out));
    return out;
}

std::int32_t stateOf(SapiSensor& s) {
    std::int32_t state = -1;
    CHECK(s.state(&state) >= 0);
    return state;
}

// readings.sensors: one sensor of each type, values in their units; the second
// accelerometer has no device path, so its ID locates it.
void readings(SapiManager& m) {
    auto accel = of(m, SapiType::Accelerometer3D);
    CHECK(accel.size() == 2);
    if (accel.size() != 2)
        return;
    CHECK(accel[0]->locator() == "\\\\?\\ACPI#BOSC0200#0#{a1b2}");
    CHECK(accel[0]->name() == "Fake Accelerometer");
    CHECK(accel[1]->locator() == "{6A0E8F4C-3C5B-4F0A-9D1E-00000000A002}");
    SapiReading r;
    CHECK(accel[0]->read(r) && near(r.x, 0.5) && near(r.y, -0.25) && near(r.z, -1.0));
    auto light = of(m, SapiType::AmbientLight);
    CHECK(light.size() == 1 && light[0]->read(r) && near(r.lux, 321.5));
    auto gyro = of(m, SapiType::Gyrometer3D);
    CHECK(gyro.size() == 1 && gyro[0]->read(r) && near(r.x, 10) && near(r.y, -20.5) &&
          near(r.z, 30));
    auto compass = of(m, SapiType::Compass3D);
    CHECK(compass.size() == 1 && compass[0]->read(r) && r.headingValid && near(r.heading, 271.25));
    // Readings follow the script, the last repeating.
    CHECK(accel[0]->read(r) && near(r.z, -0.5));
    CHECK(accel[0]->read(r) && near(r.z, -0.5));
}

// initializing.sensors: INITIALIZING twice, then READY.
void initializing(SapiManager& m) {
    auto light = of(m, SapiType::AmbientLight);
    CHECK(light.size() == 1);
    if (light.empty())
        return;
    CHECK(stateOf(*light[0]) == kInitializing);
    CHECK(stateOf(*light[0]) == kInitializing);
    CHECK(stateOf(*light[0]) == kReady);
    CHECK(stateOf(*light[0]) == kReady);
}

// denied.sensors: ACCESS_DENIED, and no data.
void denied(SapiManager& m) {
    auto gyro = of(m, SapiType::Gyrometer3D);
    CHECK(gyro.size() == 1);
    if (gyro.empty())
        return;
    CHECK(stateOf(*gyro[0]) == kAccessDenied);
    SapiReading r;
    CHECK(!gyro[0]->read(r));
}

// leave.sensors: gone after two reports; its OnLeave comes from the server's thread.
void leave(SapiManager& m) {
    auto accel = of(m, SapiType::Accelerometer3D);
    CHECK(accel.size() == 1);
    if (accel.empty())
        return;
    SapiReading r;
    CHECK(accel[0]->read(r));
    CHECK(stateOf(*accel[0]) == kReady);
    CHECK(accel[0]->read(r));
    CHECK(eventually([&] { return accel[0]->mailbox().hasLeft(); }));
    CHECK(!accel[0]->read(r));
    CHECK(stateOf(*accel[0]) == kNotAvailable);
    const SapiMailbox::Taken t = accel[0]->mailbox().take();
    CHECK(t.left && t.stateChanged && t.state == kNotAvailable);
}

// events.sensors: five data updates raised on the server's own thread as the relay attaches.
void events(SapiManager& m) {
    auto compass = of(m, SapiType::Compass3D);
    CHECK(compass.size() == 1);
    if (compass.empty())
        return;
    unsigned seen = 0;
    CHECK(eventually([&] {
        seen += compass[0]->mailbox().take().dataUpdates;
        return seen >= 5;
    }));
    CHECK(seen == 5);
}

// events.sensors has a compass and no gyrometer: the API's "not found" for the gyrometer is an
// empty answer, not a failure.
void absent(SapiManager& m) {
    auto compass = of(m, SapiType::Compass3D);
    CHECK(!compass.empty());
    std::vector<std::unique_ptr<SapiSensor>> none;
    std::int32_t hr = 0;
    CHECK(m.sensors(SapiType::Gyrometer3D, none, &hr) && none.empty());
    CHECK(hr == static_cast<std::int32_t>(0x80070490u));  // HRESULT_FROM_WIN32(ERROR_NOT_FOUND)
}

// The server without a script: every enumeration fails, and the layer says so.
void unscripted(SapiManager& m) {
    std::vector<std::unique_ptr<SapiSensor>> out;
    CHECK(!m.sensors(SapiType::Accelerometer3D, out));
}

// The module-level outcomes' scripts (outcomes/*.sensors), as the backend presents them: the
// accelerometer's state after the module's polling and its reading's magnitude.
void outcome(SapiManager& m, std::int32_t finalState, double lowest, double highest) {
    auto accel = of(m, SapiType::Accelerometer3D);
    CHECK(accel.size() == 1);
    if (accel.empty())
        return;
    std::int32_t state = -1;
    for (int i = 0; i < 20; ++i)
        state = stateOf(*accel[0]);
    CHECK(state == finalState);
    // The module reads only a sensor that became ready.
    SapiReading r;
    if (finalState == kReady) {
        CHECK(accel[0]->read(r));
        const double g = std::sqrt(r.x * r.x + r.y * r.y + r.z * r.z);
        CHECK(g >= lowest && g <= highest);
    }
}

// The module's auto-rotation lock looks SetDisplayAutoRotationPreferences up at run time
// (Wine has none, Windows before 8 neither), so the program starts without it; a missing entry
// point is a null answer with its reason.
void user32() {
    vek::DynamicLibrary lib("user32.dll");
    CHECK(lib.load());
    CHECK(lib.getSymbol("GetSystemMetrics") != nullptr);
    CHECK(lib.getSymbol("NoSuchEntryPoint") == nullptr && !lib.lastError().empty());
    const bool rotation = lib.getSymbol("SetDisplayAutoRotationPreferences") != nullptr;
    std::printf("SetDisplayAutoRotationPreferences: %s\n", rotation ? "present" : "absent");
}

}  // namespace

int main(int argc, char** argv) {
    // Cases against the scripted server, and then those that need no sensor manager.
    const std::map<std::string, std::function<void(SapiManager&)>> cases{
        {"readings", readings},
        {"initializing", initializing},
        {"denied", denied},
        {"leave", leave},
        {"events", events},
        {"absent", absent},
        {"unscripted", unscripted},
        {"outcome-pass", [](SapiManager& m) { outcome(m, kReady, 0.95, 1.05); }},
        {"outcome-fail", [](SapiManager& m) { outcome(m, kReady, 2.0, 3.0); }},
        {"outcome-timedout", [](SapiManager& m) { outcome(m, kInitializing, 0, 0); }},
        {"outcome-cannotrun", [](SapiManager& m) { outcome(m, kAccessDenied, 0, 0); }},
    };
    const std::map<std::string, std::function<void()>> plain{{"user32", user32}};
    const std::string name = argc == 2 ? argv[1] : "";
    const auto found = cases.find(name);
    const auto other = plain.find(name);
    if (found == cases.end() && other == plain.end()) {
        std::printf("usage: sapi_wine_tests CASE (readings, initializing, ..., user32)\n");
        return 2;
    }
    if (other != plain.end()) {
        other->second();
    } else {
        std::printf("COM: 0x%08X\n", static_cast<unsigned>(enterComOnThisThread()));
        if (auto m = manager())
            found->second(*m);
        else
            check(false, "CoCreateInstance(CLSID_SensorManager)", __LINE__);
    }
    std::printf("%d passed, %d failed\n", g_passed, g_failed);
    std::fflush(stdout);
    return g_failed == 0 && g_passed > 0 ? 0 : 1;
}
