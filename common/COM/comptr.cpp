#include "comptr.h"

#include <atomic>

#include "vek/Logging.h"

namespace {
std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "comptr";
}  // namespace

COMInitializer::COMInitializer() : result_(E_FAIL) {
    // E_FAIL first: should anything below fail, the destructor leaves COM alone.
    VEK_TRACE(s_logger, kLoggerName, "COMInitializer::COMInitializer");
    result_ = CoInitialize(nullptr);
    VEK_LOG(s_logger, kLoggerName, 1, "CoInitialize returns " << static_cast<long>(result_));
}

COMInitializer::~COMInitializer() {
    // S_OK and S_FALSE both took a reference on the apartment and must give it back.
    if (result_ < 0)
        return;
    try {
        CoUninitialize();
    } catch (...) {
        VEK_LOG(s_logger, kLoggerName, 1,
                "The uninitialization of the COM object created an excecption.");
    }
}
