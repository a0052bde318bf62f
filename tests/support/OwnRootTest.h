#pragma once

#include "tests/support/OwnRoot.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace fw::test {

/// A test on a copy of the machine; skipped where there can be none, unless the environment asks
/// for it.
class OwnRootTest : public testing::Test {
protected:
    void SetUp() override {
        const std::string obstacle = root.obstacle();
        if (obstacle.empty()) {
            return;
        }
        ASSERT_EQ(std::getenv("FERNWICK_REQUIRE_OWN_ROOT"), nullptr) << obstacle;
        GTEST_SKIP() << obstacle;
    }

    OwnRoot root;
};

} // namespace fw::test
