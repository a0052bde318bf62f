#include "base/Version.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace fw {
namespace {

TEST(Version, IsThatOfTheProject) {
    EXPECT_EQ(projectVersion(), FW_EXPECTED_VERSION);
    EXPECT_THAT(std::string(projectVersion()), testing::MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+"));
}

} // namespace
} // namespace fw
