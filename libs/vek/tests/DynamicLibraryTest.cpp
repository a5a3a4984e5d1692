#include <gtest/gtest.h>

#include "vek/DynamicLibrary.h"

namespace {

TEST(DynamicLibrary, LoadsOnDemandAndFindsSymbols) {
    vek::DynamicLibrary libm("libm.so.6");
    EXPECT_FALSE(libm.isLoaded());
    EXPECT_EQ(libm.getSymbol("cos"), nullptr) << "not loaded yet";
    ASSERT_TRUE(libm.load());
    EXPECT_TRUE(libm.load()) << "loading twice is harmless";
    auto* cosine = reinterpret_cast<double (*)(double)>(libm.getSymbol("cos"));
    ASSERT_NE(cosine, nullptr);
    EXPECT_DOUBLE_EQ(cosine(0.0), 1.0);
    EXPECT_EQ(libm.getSymbol("NoSuchSymbolAnywhere"), nullptr);
}

TEST(DynamicLibrary, MissingLibraryDoesNotLoad) {
    vek::DynamicLibrary missing("libvekr-does-not-exist.so");
    EXPECT_FALSE(missing.load());
    EXPECT_FALSE(missing.isLoaded());
    EXPECT_NE(missing.lastError().find("libvekr-does-not-exist.so"), std::string::npos);
}

}  // namespace
