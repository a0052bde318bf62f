#include "base/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <limits>
#include <string>

namespace fw {
namespace {

using testing::ElementsAre;

constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();

/// A code point in UTF-8, written out plainly.
std::string utf8(char32_t c) {
    const auto byte = [](char32_t bits) {
        return static_cast<char>(static_cast<unsigned char>(bits));
    };
    if (c < 0x80) {
        return {byte(c)};
    }
    if (c < 0x800) {
        return {byte(0xC0 + c / 64), byte(0x80 + c % 64)};
    }
    if (c < 0x10000) {
        return {byte(0xE0 + c / 4096), byte(0x80 + c / 64 % 64), byte(0x80 + c % 64)};
    }
    return {byte(0xF0 + c / 262144), byte(0x80 + c / 4096 % 64), byte(0x80 + c / 64 % 64),
            byte(0x80 + c % 64)};
}

std::string replacements(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += "\xEF\xBF\xBD";
    }
    return text;
}

TEST(RepairedUtf8, leaves_every_scalar_value_unchanged) {
    for (char32_t c = 0; c <= 0x10FFFF; ++c) {
        if (c < 0xD800 || c > 0xDFFF) {
            const std::string text = utf8(c);
            ASSERT_EQ(repairedUtf8(text), text) << static_cast<std::uint32_t>(c);
        }
    }
}

TEST(RepairedUtf8, replaces_each_maximal_ill_formed_part_once) {
    // The examples of Unicode 15, tables 3-8 to 3-11.
    EXPECT_EQ(repairedUtf8("\xC0\xAF\xE0\x80\xBF\xF0\x81\x82\x41"), replacements(8) + "A");
    EXPECT_EQ(repairedUtf8("\xED\xA0\x80\xED\xBF\xBF\xED\xAF\x41"), replacements(8) + "A");
    EXPECT_EQ(repairedUtf8("\xF4\x91\x92\x93\xFF\x41\x80\xBF\x42"),
              replacements(5) + "A" + replacements(2) + "B");
    EXPECT_EQ(repairedUtf8("\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41"), replacements(4) + "A");
}

TEST(RepairedUtf8, replaces_a_sequence_cut_off_by_the_end_once) {
    EXPECT_EQ(repairedUtf8("a\xC3"), std::string("a") + replacements(1));
    EXPECT_EQ(repairedUtf8("a\xE2\x82"), std::string("a") + replacements(1));
    EXPECT_EQ(repairedUtf8("a\xF0\x9F\x98"), std::string("a") + replacements(1));
}

TEST(RepairedUtf8, keeps_zero_bytes_and_the_empty_text) {
    EXPECT_EQ(repairedUtf8(std::string("a\0b", 3)), std::string("a\0b", 3));
    EXPECT_EQ(repairedUtf8(""), "");
}

TEST(RepairedUtf8, of_any_three_bytes_is_well_formed) {
    for (int first = 0x7E; first < 256; ++first) {
        for (int second = 0; second < 256; second += 3) {
            for (const int third : {0x00, 0x41, 0x7F, 0x80, 0x9F, 0xA0, 0xBF, 0xC2, 0xF4, 0xFF}) {
                const std::string bytes = {static_cast<char>(first), static_cast<char>(second),
                                           static_cast<char>(third)};
                const std::string repaired = repairedUtf8(bytes);
                ASSERT_EQ(repairedUtf8(repaired), repaired);
            }
        }
    }
}

constexpr char32_t kWhiteSpace[] = {0x09,   0x0A,   0x0B,   0x0C,   0x0D,   0x20,   0x85,
                                    0xA0,   0x1680, 0x2000, 0x2001, 0x2002, 0x2003, 0x2004,
                                    0x2005, 0x2006, 0x2007, 0x2008, 0x2009, 0x200A, 0x2028,
                                    0x2029, 0x202F, 0x205F, 0x3000};
constexpr char32_t kLineEnds[] = {0x0A, 0x0B, 0x0C, 0x0D, 0x85, 0x2028, 0x2029};

TEST(Trimmed, drops_exactly_the_unicode_white_space) {
    for (char32_t c = 0; c < 0x11000; ++c) {
        if (c >= 0xD800 && c <= 0xDFFF) {
            continue;
        }
        const bool isSpace =
            std::find(std::begin(kWhiteSpace), std::end(kWhiteSpace), c) != std::end(kWhiteSpace);
        const std::string padded = utf8(c) + "x" + utf8(c);
        ASSERT_EQ(trimmed(padded), isSpace || c == 'x' ? (isSpace ? "x" : "xxx") : padded)
            << static_cast<std::uint32_t>(c);
    }
}

TEST(Trimmed, keeps_white_space_inside_and_reduces_blank_text_to_nothing) {
    EXPECT_EQ(trimmed(" \t\r\n a b \n"), "a b");
    EXPECT_EQ(trimmed(" \xE3\x80\x80 \n"), "");
    EXPECT_EQ(trimmed(""), "");
}

TEST(Trimmed, stops_at_bytes_that_are_not_text) {
    EXPECT_EQ(trimmed(" \xFF "), "\xFF");
    EXPECT_EQ(trimmed(" a\x85"), "a\x85");
    EXPECT_EQ(trimmed("\x80\x80 "), "\x80\x80");
}

TEST(TrimmedBlanks, drops_blanks_and_tabs_but_no_line_ends) {
    for (const char32_t c : kWhiteSpace) {
        const bool isLineEnd =
            std::find(std::begin(kLineEnds), std::end(kLineEnds), c) != std::end(kLineEnds);
        const std::string padded = utf8(c) + "x" + utf8(c);
        EXPECT_EQ(trimmedBlanks(padded), isLineEnd ? padded : "x") << static_cast<std::uint32_t>(c);
    }
}

TEST(LowerCased, changes_ascii_letters_only) {
    EXPECT_EQ(lowerCased("M3U8 [\\]^_`{@ \xC3\x89"), "m3u8 [\\]^_`{@ \xC3\x89");
}

TEST(SplitAtAnyOf, gives_the_pieces_between_separators_empty_ones_too) {
    EXPECT_THAT(splitAtAnyOf("01:02;03", ":;"), ElementsAre("01", "02", "03"));
    EXPECT_THAT(splitAtAnyOf(":a:;", ":;"), ElementsAre("", "a", "", ""));
    EXPECT_THAT(splitAtAnyOf("abc", ":;"), ElementsAre("abc"));
    EXPECT_THAT(splitAtAnyOf("", ":;"), ElementsAre(""));
}

TEST(LeadingInteger, reads_blanks_a_sign_and_digits_up_to_the_first_other_character) {
    EXPECT_EQ(leadingInteger("42"), 42);
    EXPECT_EQ(leadingInteger(" \t\n\v\f\r-42abc"), -42);
    EXPECT_EQ(leadingInteger("+7.9"), 7);
    EXPECT_EQ(leadingInteger("007"), 7);
    EXPECT_EQ(leadingInteger("1 2"), 1);
}

TEST(LeadingInteger, is_zero_without_digits) {
    for (const char* text : {"", " ", "abc", "-", "+", "+-1", "- 1", ".5",
                             "\xC2\xA0"
                             "5"}) {
        EXPECT_EQ(leadingInteger(text), 0) << text;
    }
}

TEST(LeadingInteger, reaches_both_ends_of_64_bits_and_stays_there) {
    EXPECT_EQ(leadingInteger("9223372036854775807"), kMost);
    EXPECT_EQ(leadingInteger("9223372036854775808"), kMost);
    EXPECT_EQ(leadingInteger("99999999999999999999999"), kMost);
    EXPECT_EQ(leadingInteger("-9223372036854775808"), kLeast);
    EXPECT_EQ(leadingInteger("-9223372036854775809"), kLeast);
    EXPECT_EQ(leadingInteger("-99999999999999999999999"), kLeast);
}

TEST(LeadingDouble, reads_decimal_digits_a_point_and_an_exponent) {
    EXPECT_EQ(leadingDouble("2.39"), 2.39);
    EXPECT_EQ(leadingDouble(" \t-1.5x"), -1.5);
    EXPECT_EQ(leadingDouble("+.5"), 0.5);
    EXPECT_EQ(leadingDouble("5."), 5.0);
    EXPECT_EQ(leadingDouble("1e3"), 1000.0);
    EXPECT_EQ(leadingDouble("1.5E-2"), 0.015);
    EXPECT_EQ(leadingDouble("1.2.3"), 1.2);
}

TEST(LeadingDouble, leaves_out_an_exponent_without_digits) {
    EXPECT_EQ(leadingDouble("1.5e"), 1.5);
    EXPECT_EQ(leadingDouble("1.5e+"), 1.5);
    EXPECT_EQ(leadingDouble("2exp"), 2.0);
}

TEST(LeadingDouble, takes_nan_inf_and_hexadecimal_for_no_numbers) {
    for (const char* text :
         {"nan", "NAN", "inf", "-infinity", "0x10", "", ".", "-.", "e5", "--5"}) {
        const double value = leadingDouble(text);
        EXPECT_EQ(value, 0.0) << text;
        EXPECT_FALSE(std::signbit(value)) << text;
    }
}

TEST(LeadingDouble, holds_what_is_too_large_at_the_largest_finite_number) {
    constexpr double kLargest = std::numeric_limits<double>::max();
    EXPECT_EQ(leadingDouble("1e400"), kLargest);
    EXPECT_EQ(leadingDouble("-1e400"), -kLargest);
    EXPECT_EQ(leadingDouble("1e99999999999999999999"), kLargest);
    EXPECT_EQ(leadingDouble("0.001e400"), kLargest);
    EXPECT_EQ(leadingDouble(std::string(400, '9')), kLargest);
    EXPECT_EQ(leadingDouble("1.7976931348623157e308"), kLargest);
}

TEST(LeadingDouble, makes_what_is_too_small_zero) {
    EXPECT_EQ(leadingDouble("1e-400"), 0.0);
    EXPECT_EQ(leadingDouble("1e-99999999999999999999"), 0.0);
    EXPECT_EQ(leadingDouble(std::string("0.").append(400, '0') + "1"), 0.0);
    EXPECT_EQ(leadingDouble("0e999999"), 0.0);
    EXPECT_EQ(leadingDouble("5e-324"), std::numeric_limits<double>::denorm_min());
}

TEST(LeadingDouble, does_not_ask_the_locale) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    for (const char* locale : {"de_DE.UTF-8", "C.UTF-8", "C"}) {
        std::setlocale(LC_ALL, locale); // Those that are not installed change nothing.
        EXPECT_EQ(leadingDouble("1.5"), 1.5);
        EXPECT_EQ(leadingDouble("1,5"), 1.0);
    }
    std::setlocale(LC_ALL, before.c_str());
}

TEST(LastPathComponent, is_what_follows_the_last_slash) {
    EXPECT_EQ(lastPathComponent("/a/b.mov"), "b.mov");
    EXPECT_EQ(lastPathComponent("b.mov"), "b.mov");
    EXPECT_EQ(lastPathComponent("/b"), "b");
}

TEST(CharacterCount, counts_code_points_and_each_ill_formed_part_once) {
    EXPECT_EQ(characterCount(""), 0U);
    EXPECT_EQ(characterCount("abc"), 3U);
    EXPECT_EQ(characterCount("\xC3\xA9\xE2\x82\xAC\xF0\x9F\x8E\xAC"), 3U);
    EXPECT_EQ(characterCount("\xFF\x80z"), 3U);
    EXPECT_EQ(characterCount("\xE2\x82z"), 2U);
}

TEST(CharactersOf, gives_each_code_point_and_each_ill_formed_part) {
    EXPECT_THAT(charactersOf(""), ElementsAre());
    EXPECT_THAT(charactersOf("a\xC3\xA9\xF0\x9F\x8E\xACz"),
                ElementsAre("a", "\xC3\xA9", "\xF0\x9F\x8E\xAC", "z"));
    EXPECT_THAT(charactersOf("\xE2\x82z\xFF\x80"), ElementsAre("\xE2\x82", "z", "\xFF", "\x80"));
}

TEST(WithoutLastCharacters, drops_whole_characters) {
    EXPECT_EQ(withoutLastCharacters("abc", 0), "abc");
    EXPECT_EQ(withoutLastCharacters("abc", 2), "a");
    EXPECT_EQ(withoutLastCharacters("a\xC3\xA9/", 2), "a");
    EXPECT_EQ(withoutLastCharacters("a\xFF/", 2), "a");
    EXPECT_EQ(withoutLastCharacters("abc", 3), "");
    EXPECT_EQ(withoutLastCharacters("abc", 4), "");
}

TEST(HoldsZeroByte, sees_one_anywhere) {
    using namespace std::string_view_literals;
    EXPECT_TRUE(holdsZeroByte("\0"sv));
    EXPECT_TRUE(holdsZeroByte("a\0b"sv));
    EXPECT_TRUE(holdsZeroByte("a\0"sv));
    EXPECT_FALSE(holdsZeroByte(""));
    EXPECT_FALSE(holdsZeroByte("a"));
}

TEST(LastPathComponent, takes_no_notice_of_trailing_slashes) {
    EXPECT_EQ(lastPathComponent("/a/b///"), "b");
    EXPECT_EQ(lastPathComponent("a/"), "a");
    EXPECT_EQ(lastPathComponent("/"), "/");
    EXPECT_EQ(lastPathComponent("///"), "/");
    EXPECT_EQ(lastPathComponent(""), "");
}

TEST(AppendedPathComponent, puts_one_slash_between) {
    EXPECT_EQ(appendedPathComponent("/a", "b"), "/a/b");
    EXPECT_EQ(appendedPathComponent("/a/", "b"), "/a/b");
    EXPECT_EQ(appendedPathComponent("/a//", "/b"), "/a/b");
    EXPECT_EQ(appendedPathComponent("/", "b"), "/b");
    EXPECT_EQ(appendedPathComponent("/", "//b/c"), "/b/c");
}

TEST(AppendedPathComponent, an_empty_side_adds_nothing) {
    EXPECT_EQ(appendedPathComponent("", "b"), "b");
    EXPECT_EQ(appendedPathComponent("/a", ""), "/a");
    EXPECT_EQ(appendedPathComponent("/a/", "/"), "/a");
    EXPECT_EQ(appendedPathComponent("/", ""), "/");
    EXPECT_EQ(appendedPathComponent("", ""), "");
}

TEST(PathInFolder, is_empty_in_an_unknown_folder) {
    EXPECT_EQ(pathInFolder("", "b"), "");
    EXPECT_EQ(pathInFolder("/a/", "b"), "/a/b");
    EXPECT_EQ(pathInFolder("/", "b"), "/b");
}

TEST(PathExtension, is_what_follows_the_last_dot_of_the_last_component) {
    EXPECT_EQ(pathExtension("/a/b.mov"), "mov");
    EXPECT_EQ(pathExtension("b.tar.gz"), "gz");
    EXPECT_EQ(pathExtension("/a/b.mov/"), "mov");
    EXPECT_EQ(pathExtension("..mov"), "mov");
}

TEST(PathExtension, is_empty_when_a_side_of_the_dot_is) {
    for (const char* path : {"", "b", "/a.b/c", ".mov", "/a/.mov", "b.", "..", ".", "/"}) {
        EXPECT_EQ(pathExtension(path), "") << path;
    }
}

TEST(ListDescription, writes_one_element_a_line) {
    EXPECT_EQ(listDescription({"/bin/OxbowGlint", "0", "a_b$c:d.e"}),
              "(\n    /bin/OxbowGlint,\n    0,\n    a_b$c:d.e\n)");
    EXPECT_EQ(listDescription({"one"}), "(\n    one\n)");
    EXPECT_EQ(listDescription({}), "(\n)");
}

TEST(ListDescription, quotes_every_element_with_another_character) {
    EXPECT_EQ(listDescription({"", "a b", "-timing", "1,2", "\xC3\xA9"}),
              "(\n    \"\",\n    \"a b\",\n    \"-timing\",\n    \"1,2\",\n    \"\xC3\xA9\"\n)");
}

TEST(ListDescription, escapes_quotes_backslashes_line_ends_and_tabs) {
    EXPECT_EQ(listDescription({"\"\\\n\r\t%@"}), "(\n    \"\\\"\\\\\\n\\r\\t%@\"\n)");
}

TEST(Utf8TextTest, WritesEveryCharacterAndReplacesWhatIsNone) {
    for (char32_t c = 0; c <= 0x10FFFF; c += 7) {
        if (c < 0xD800 || c > 0xDFFF) {
            ASSERT_EQ(utf8Text(c), utf8(c));
        }
    }
    for (const char32_t c : {U'\x7F', U'\x80', U'\x7FF', U'\x800', U'\xFFFF', U'\x10000'}) {
        EXPECT_EQ(utf8Text(c), utf8(c));
    }
    for (const char32_t c : {char32_t{0xD800}, char32_t{0xDFFF}, char32_t{0x110000}}) {
        EXPECT_EQ(utf8Text(c), "\uFFFD");
    }
}

} // namespace
} // namespace fw
