#include "base/CurrentException.h"

#include "base/PlatformException.h"

#include <gtest/gtest.h>

namespace fw {
namespace {

TEST(CurrentException, IsNothingWhenNoneIsBeingHandled) {
    EXPECT_FALSE(currentException().has_value());
}

TEST(CurrentException, SaysTheTypeAndTheWordsOfAStdException) {
    try {
        throw PlatformException("the reason");
    } catch (...) {
        const CurrentException exception = currentException().value();
        EXPECT_EQ(exception.type, "fw::PlatformException");
        EXPECT_EQ(exception.what, "the reason");
        EXPECT_EQ(exception.reason(), "the reason");
    }
}

TEST(CurrentException, SaysTheTypeOfAnythingElse) {
    try {
        throw "text";
    } catch (...) {
        const CurrentException exception = currentException().value();
        EXPECT_EQ(exception.type, "char const*");
        EXPECT_EQ(exception.what, std::nullopt);
        EXPECT_EQ(exception.reason(), "char const*");
    }
}

} // namespace
} // namespace fw
