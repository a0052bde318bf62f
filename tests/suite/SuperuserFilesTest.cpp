#include "tests/support/OwnRoot.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace fw {
namespace {

TEST(SuperuserFilesTest, LocksMountsAndFullDisks) {
    const test::OwnRoot root;
    const std::string obstacle = root.obstacle();
    if (!obstacle.empty()) {
        ASSERT_EQ(std::getenv("FERNWICK_REQUIRE_OWN_ROOT"), nullptr) << obstacle;
        GTEST_SKIP() << obstacle;
    }
    const auto outcome =
        root.run("FERNWICK_OWN_ROOT=yes $PROGRAMS/superuser_files_probe", {FW_FILES_PROBE});
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_NE(outcome.output.find("[  PASSED  ]"), std::string::npos) << outcome.output;
}

} // namespace
} // namespace fw
