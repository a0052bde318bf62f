#include "platform/process/ChildEnvironment.h"
#include "tests/platform/process/StartedChild.h"
#include "tests/support/ScopedEnvironment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

namespace fw {
namespace {

using namespace test;
using testing::Contains;
using testing::Not;

constexpr const char* kName = "FW_TEST_OF_CHILDREN";

std::string foundByAChild() {
    return wholeOutput(*started(shell("printf %s \"${FW_TEST_OF_CHILDREN-none}\"")));
}

TEST(ChildEnvironment, HasOurVariables) {
    const ScopedEnvironment ours(kName, "ours=\xFF");
    EXPECT_THAT(environmentOfChildren(), Contains(std::string(kName) + "=ours=\xFF"));
}

TEST(ChildEnvironment, HasWhatIsSetForChildrenInTheirPlace) {
    const ScopedEnvironment ours(kName, "ours");
    setVariableOfChildren(kName, "theirs");
    EXPECT_EQ(foundByAChild(), "theirs");
    EXPECT_STREQ(std::getenv(kName), "ours");
    EXPECT_THAT(environmentOfChildren(), Not(Contains(std::string(kName) + "=ours")));
    setVariableOfChildren(kName, "");
    EXPECT_EQ(foundByAChild(), "");
    setVariableOfChildren(kName, std::nullopt);
    EXPECT_EQ(foundByAChild(), "none") << "although it is in ours";
}

TEST(ChildEnvironment, ThatIsGivenWholeStaysAsItIs) {
    setVariableOfChildren(kName, "theirs");
    ChildProcessOptions options = shell("printf %s \"${FW_TEST_OF_CHILDREN-none}\"");
    options.environment = std::vector<std::string>{"PATH=/bin"};
    EXPECT_EQ(wholeOutput(*started(options)), "none");
    setVariableOfChildren(kName, std::nullopt);
}

TEST(ChildEnvironment, CanBeSetWhileChildrenStart) {
    std::jthread setting([](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            setVariableOfChildren(kName, "on");
            setVariableOfChildren(kName, std::nullopt);
        }
    });
    for (int i = 0; i < 50; ++i) {
        const std::string found = foundByAChild();
        EXPECT_TRUE(found == "on" || found == "none") << found;
    }
}

} // namespace
} // namespace fw
