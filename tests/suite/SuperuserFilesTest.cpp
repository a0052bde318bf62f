#include "tests/support/OwnRootTest.h"

namespace fw {
namespace {

class SuperuserFilesTest : public test::OwnRootTest {};

TEST_F(SuperuserFilesTest, LocksMountsAndFullDisks) {
    const auto outcome =
        root.run("FERNWICK_OWN_ROOT=yes $PROGRAMS/superuser_files_probe", {FW_FILES_PROBE});
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_NE(outcome.output.find("[  PASSED  ]"), std::string::npos) << outcome.output;
}

} // namespace
} // namespace fw
