#pragma once

#include <functional>
#include <iosfwd>

#include "kiva5/Report.h"

namespace kiva5 {

// --doctor: each chain the doctor follows becomes a run of "SensorDoctor" in `report` (the
// device the firmware's or IIO's path, the links in its details), said on `progress` (null:
// nothing) and handed to `runEnded`; then the report's result: the worst of the sensors the
// machine declares, NODEVICE only when it declares none. Main thread.
void doctorRuns(Report& report, std::ostream* progress, const std::function<void()>& runEnded);

}  // namespace kiva5
