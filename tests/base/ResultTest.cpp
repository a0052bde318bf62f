#include "base/Result.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace fw {
namespace {

const Error kRefused{"test", 7, "It was refused."};

Result<int> halfOf(int number) {
    if (number % 2 != 0) {
        return kRefused;
    }
    return number / 2;
}

TEST(Result, is_true_with_a_value_and_false_with_an_error) {
    EXPECT_TRUE(halfOf(42));
    EXPECT_FALSE(halfOf(7));
}

TEST(Result, hands_out_its_value) {
    EXPECT_EQ(halfOf(42).value(), 21);
}

TEST(Result, hands_out_its_error_whole) {
    const Result<int> result = halfOf(7);
    EXPECT_EQ(result.error(), kRefused);
    EXPECT_EQ(result.error().domain, "test");
    EXPECT_EQ(result.error().code, 7);
    EXPECT_EQ(result.error().description, "It was refused.");
}

TEST(Result, lets_its_value_be_changed_in_place) {
    Result<std::string> result = std::string("frame");
    result.value() += 's';
    EXPECT_EQ(result.value(), "frames");
}

TEST(Result, gives_away_a_value_that_cannot_be_copied) {
    Result<std::unique_ptr<int>> result = std::make_unique<int>(5);
    const std::unique_ptr<int> taken = std::move(result).value();
    EXPECT_EQ(*taken, 5);
}

TEST(Result, throws_when_the_absent_side_is_asked_for) {
    EXPECT_THROW(halfOf(7).value(), std::bad_variant_access);
    EXPECT_THROW(halfOf(42).error(), std::bad_variant_access);
}

TEST(Result, holds_an_error_as_a_value_apart_from_an_error) {
    struct Report {
        Error cause;
    };
    const Result<Report> result = Report{kRefused};
    EXPECT_TRUE(result);
    EXPECT_EQ(result.value().cause, kRefused);
}

TEST(ErrorValue, equals_only_with_the_same_domain_code_and_description) {
    EXPECT_EQ(kRefused, (Error{"test", 7, "It was refused."}));
    EXPECT_NE(kRefused, (Error{"other", 7, "It was refused."}));
    EXPECT_NE(kRefused, (Error{"test", 8, "It was refused."}));
    EXPECT_NE(kRefused, (Error{"test", 7, "It was not."}));
}

} // namespace
} // namespace fw
