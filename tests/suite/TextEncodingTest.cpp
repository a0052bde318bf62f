#include "support/TextEncoding.h"

#include "tests/suite/TaskTest.h"

#include <gtest/gtest.h>

namespace fw {
namespace {

using test::bytes;

TEST(DecodedText, InAsciiHasNoByteAbove127) {
    EXPECT_EQ(decodedText(bytes("a\x7F\n"), TextEncoding::kAscii), "a\x7F\n");
    EXPECT_EQ(decodedText(bytes(""), TextEncoding::kAscii), "");
    EXPECT_EQ(decodedText(bytes("a\x80"), TextEncoding::kAscii), std::nullopt);
    EXPECT_EQ(decodedText(bytes(std::string_view("a\0b", 3)), TextEncoding::kAscii),
              std::string("a\0b", 3));
}

TEST(DecodedText, InUtf8IsWellFormed) {
    EXPECT_EQ(decodedText(bytes("\xC3\xA9\xF0\x9F\x8E\xAC"), TextEncoding::kUtf8),
              "\xC3\xA9\xF0\x9F\x8E\xAC");
    EXPECT_EQ(decodedText(bytes("a\xC3"), TextEncoding::kUtf8), std::nullopt);
    EXPECT_EQ(decodedText(bytes("\xED\xA0\x80"), TextEncoding::kUtf8), std::nullopt);
    EXPECT_EQ(decodedText(bytes("\xEF\xBF\xBD"), TextEncoding::kUtf8), "\xEF\xBF\xBD")
        << "the replacement character itself is a text";
}

TEST(DecodedText, InLatin1HasACharacterForEachByte) {
    EXPECT_EQ(decodedText(bytes("a\x80\xE9\xFF"), TextEncoding::kIsoLatin1),
              "a\xC2\x80\xC3\xA9\xC3\xBF");
}

TEST(DecodedText, InAnUnknownEncodingIsNone) {
    EXPECT_EQ(decodedText(bytes("a"), static_cast<TextEncoding>(30)), std::nullopt);
}

} // namespace
} // namespace fw
