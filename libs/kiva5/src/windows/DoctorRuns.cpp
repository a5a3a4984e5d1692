#include <ostream>

#include "../DoctorRuns.h"

namespace kiva5 {

// The doctor follows Linux's chain (firmware tables, the kernel's IIO devices, udev,
// iio-sensor-proxy); Windows has none of its links, so --doctor cannot run here and says why.
void doctorRuns(Report& report, std::ostream* progress, const std::function<void()>&) {
    if (progress) {
        *progress << "SensorDoctor: CANNOTRUN: the doctor follows Linux's sensor chain "
                     "(firmware, kernel, udev); this Windows build has no doctor"
                  << std::endl;
    }
    report.result = TestResult::CANNOTRUN();
}

}  // namespace kiva5
