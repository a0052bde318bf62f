#include "base/text.h"
#include "tests/support/OrdinaryUser.h"

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    std::vector<std::string> files;
    for (const std::string_view file : fw::splitAtAnyOf(FW_FILES_OF_TEST, "\n")) {
        if (!file.empty()) {
            files.emplace_back(file);
        }
    }
    fw::test::becomeOrdinaryUser(files);
    return RUN_ALL_TESTS();
}
