#include <gtest/gtest.h>

#include "vek/DynamicLibrary.h"

namespace {

// Loading and finding a symbol are what the module's plugin and rotation lock prove every run.
TEST(DynamicLibrary, UnknownSymbolIsNull) {
    vek::DynamicLibrary libm("libm.so.6");
    ASSERT_TRUE(libm.load());
    EXPECT_EQ(libm.getSymbol("NoSuchSymbolAnywhere"), nullptr);
}

TEST(DynamicLibrary, MissingLibraryDoesNotLoad) {
    vek::DynamicLibrary missing("libvekr-does-not-exist.so");
    EXPECT_FALSE(missing.load());
    EXPECT_FALSE(missing.isLoaded());
    EXPECT_NE(missing.lastError().find("libvekr-does-not-exist.so"), std::string::npos);
}

}  // namespace
