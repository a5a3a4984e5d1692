#pragma once

#include <gtest/gtest.h>

#include "libLumo/GdiResourceManager.h"

namespace vekr::testing {

// A test that needs the GUI toolkit up (offscreen unless the test run has a display) for its
// whole length; on the thread that runs the test.
class WithGui : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(gui_.ready()); }
    libLumo::GdiResourceManager gui_;
};

}  // namespace vekr::testing
