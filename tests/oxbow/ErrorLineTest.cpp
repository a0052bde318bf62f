#include "oxbow/ErrorLine.h"

#include <gtest/gtest.h>

namespace fw {
namespace {

TEST(ErrorLine, ShowsControlCharactersByTheirNumbers) {
    EXPECT_EQ(errorLine("no\nsuch\x1B[31m"), "no\\x0Asuch\\x1B[31m");
    EXPECT_EQ(errorLine(std::string_view("\0\t\r\x1F\x7F", 5)), "\\x00\\x09\\x0D\\x1F\\x7F");
}

TEST(ErrorLine, LeavesEverythingElseAsItIs) {
    for (const std::string text : {"", " ~", "a \\ b", "Füße 日本", "invalid \xFF\xC3"}) {
        EXPECT_EQ(errorLine(text), text);
    }
}

} // namespace
} // namespace fw
