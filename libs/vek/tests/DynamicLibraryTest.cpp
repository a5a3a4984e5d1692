#include <gtest/gtest.h>

#include "vek/DynamicLibrary.h"

namespace {

// Loading and finding a symbol are what the module's plugin and rotation lock prove every run.
TEST(DynamicLibrary, UnknownSymbolIsNull) {
    // The system's C maths library (libm.so.6; on Windows the C runtime, msvcrt.dll).
    vek::DynamicLibrary libm(VEKR_TEST_SYSTEM_LIBRARY);
    ASSERT_TRUE(libm.load()) << libm.lastError();
    EXPECT_NE(libm.getSymbol("cos"), nullptr) << libm.lastError();
    EXPECT_EQ(libm.getSymbol("NoSuchSymbolAnywhere"), nullptr);
}

TEST(DynamicLibrary, MissingLibraryDoesNotLoad) {
    vek::DynamicLibrary missing("libvekr-does-not-exist.so");
    EXPECT_FALSE(missing.load());
    EXPECT_FALSE(missing.isLoaded());
    EXPECT_NE(missing.lastError().find("libvekr-does-not-exist.so"), std::string::npos);
}

}  // namespace
