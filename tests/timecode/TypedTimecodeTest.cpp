#include "timecode/FWTimecode.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

namespace fw {
namespace {

constexpr bool kNoDrop = false;
constexpr bool kDrop = true;

std::string typed(const std::string& text, const std::string& start = "") {
    return FWTimecode::timecodeFromUserString(text, kNoDrop, start);
}

std::string typedDrop(const std::string& text, const std::string& start = "") {
    return FWTimecode::timecodeFromUserString(text, kDrop, start);
}

TEST(TypedTimecode, of_nothing_is_the_start) {
    EXPECT_EQ(typed(""), "00:00:00:00");
    EXPECT_EQ(typedDrop(""), "00:00:00;00");
    EXPECT_EQ(typed("", "01:00:00:00"), "01:00:00:00");
    EXPECT_EQ(typedDrop("", "01:00:00:00"), "01:00:00:00");
    EXPECT_EQ(typed("", "start"), "start");
}

TEST(TypedTimecode, fills_the_lowest_fields_first) {
    EXPECT_EQ(typed("1"), "00:00:00:01");
    EXPECT_EQ(typed("12"), "00:00:00:12");
    EXPECT_EQ(typed("123"), "00:00:01:23");
    EXPECT_EQ(typed("1234"), "00:00:12:34");
    EXPECT_EQ(typed("12345"), "00:01:23:45");
    EXPECT_EQ(typed("123456"), "00:12:34:56");
    EXPECT_EQ(typed("1234567"), "01:23:45:67");
    EXPECT_EQ(typed("12345678"), "12:34:56:78");
}

TEST(TypedTimecode, drops_the_first_of_more_than_eight_digits) {
    EXPECT_EQ(typed("123456789"), "23:45:67:89");
    EXPECT_EQ(typed("1234567890"), "34:56:78:90");
    EXPECT_EQ(typed("123456789012"), "56:78:90:12");
    EXPECT_EQ(typed(std::string(100000, '7')), "77:77:77:77");
}

TEST(TypedTimecode, takes_dots_and_commas_for_separators_of_fields) {
    EXPECT_EQ(typed("1.2.3.4"), "01:02:03:04");
    EXPECT_EQ(typed("1,2,3,4"), "01:02:03:04");
    EXPECT_EQ(typed("1.2,3.4"), "01:02:03:04");
    EXPECT_EQ(typed("1.2"), "00:00:01:02");
    EXPECT_EQ(typed("10.2"), "00:00:10:02");
    EXPECT_EQ(typed(".5"), "00:00:00:05");
    EXPECT_EQ(typed("1..5"), "00:00:01:05");
}

TEST(TypedTimecode, pads_fields_of_one_character_only) {
    EXPECT_EQ(typed("1.234"), "00:00:12:34");
    EXPECT_EQ(typed("123.4"), "00:01:23:04");
    EXPECT_EQ(typed("12.34.5"), "00:12:34:05");
}

TEST(TypedTimecode, takes_one_dot_or_comma_at_the_end_for_seconds) {
    EXPECT_EQ(typed("1."), "00:00:01:00");
    EXPECT_EQ(typed("1,"), "00:00:01:00");
    EXPECT_EQ(typed("12."), "00:00:12:00");
    EXPECT_EQ(typed("123."), "00:01:23:00");
    EXPECT_EQ(typed("."), "00:00:00:00");
}

TEST(TypedTimecode, takes_two_dots_or_commas_at_the_end_for_minutes) {
    EXPECT_EQ(typed("1.."), "00:01:00:00");
    EXPECT_EQ(typed("1,,"), "00:01:00:00");
    EXPECT_EQ(typed("1.2.."), "01:02:00:00");
}

TEST(TypedTimecode, takes_three_dots_or_commas_at_the_end_for_hours) {
    EXPECT_EQ(typed("1..."), "01:00:00:00");
    EXPECT_EQ(typed("1,,,"), "01:00:00:00");
    EXPECT_EQ(typed("123..."), "23:00:00:00");
}

TEST(TypedTimecode, gives_zeros_alone_for_four_dots_or_commas_at_the_end_on_purpose) {
    EXPECT_EQ(typed("1...."), "00:00:00:00");
    EXPECT_EQ(typed("1,,,,"), "00:00:00:00");
    EXPECT_EQ(typed("1....", "01:02:03:04"), "00:00:00:00");
    EXPECT_EQ(typed("1....."), "00:00:00:00");
    EXPECT_EQ(typedDrop("....", "01:02:03;04"), "00:00:00;00");
}

TEST(TypedTimecode, looks_only_at_the_kind_of_separator_that_stands_last) {
    EXPECT_EQ(typed("1.,"), "00:00:01:00");
    EXPECT_EQ(typed("1,."), "00:00:01:00");
    EXPECT_EQ(typed("1,,."), "00:00:01:00");
    EXPECT_EQ(typed("1..,,"), "00:01:00:00");
}

TEST(TypedTimecode, removes_colons_and_semicolons) {
    EXPECT_EQ(typed("1:00:00:00"), "01:00:00:00");
    EXPECT_EQ(typed("1;2"), "00:00:00:12");
    EXPECT_EQ(typed("1:23"), "00:00:01:23");
    EXPECT_EQ(typed("::::"), "00:00:00:00");
}

TEST(TypedTimecode, pads_fields_before_it_removes_colons) {
    EXPECT_EQ(typed("1:.2"), "00:00:01:02");    // "1:" has two characters and gets no zero: "102".
    EXPECT_EQ(typed("12.:.34"), "00:01:20:34"); // ":" alone gets a zero and goes: "12034".
    EXPECT_EQ(typed(":5", "01:00:00:10"), "01:00:00:15"); // One digit replaces one character.
}

TEST(TypedTimecode, writes_a_semicolon_before_typed_frames_under_drop_frame) {
    EXPECT_EQ(typedDrop("1234"), "00:00:12;34");
    EXPECT_EQ(typedDrop("12345678"), "12:34:56;78");
    EXPECT_EQ(typedDrop("123"), "00:00:01;23");
    EXPECT_EQ(typedDrop("1..."), "01:00:00;00");
    EXPECT_EQ(typedDrop("1"), "00:00:00;01");
}

TEST(TypedTimecode, takes_what_was_not_typed_from_the_start) {
    EXPECT_EQ(typed("5.", "01:00:00:00"), "01:00:05:00");
    EXPECT_EQ(typed("12345", "01:00:00:00"), "01:01:23:45");
    EXPECT_EQ(typed("7", "01:02:03:04"), "01:02:03:07");
}

TEST(TypedTimecode, keeps_the_separators_of_the_start) {
    EXPECT_EQ(typed("12", "01;02;03;04"), "01;02;03;12");
    EXPECT_EQ(typedDrop("12", "01:02:03:04"), "01:02:03:12");
    EXPECT_EQ(typed("1234", "01:02:03;04"), "01:02:12:34");
    EXPECT_EQ(typed("12", "any text at all"), "any text at a12");
}

TEST(TypedTimecode, longer_than_the_start_or_as_long_stands_alone) {
    EXPECT_EQ(typed("1234", "01:02"), "12:34");
    EXPECT_EQ(typed("12345", "01:02"), "01:23:45");
    EXPECT_EQ(typed("1", "x"), "01");
    EXPECT_EQ(typed("1234", "x01:02"), "x12:34");
}

TEST(TypedTimecode, of_eleven_characters_is_returned_as_it_is) {
    EXPECT_EQ(typed("10:00:00:00"), "10:00:00:00");
    EXPECT_EQ(typed("01:00:00;00"), "01:00:00;00");
    EXPECT_EQ(typedDrop("01:00:00:00", "02:00:00;00"), "01:00:00:00");
    EXPECT_EQ(typed("hello world"), "hello world");
    EXPECT_EQ(typed("..........."), "...........");
    EXPECT_EQ(typed("12345678901"), "12345678901");
}

TEST(TypedTimecode, is_not_checked_for_the_range_of_its_fields) {
    EXPECT_EQ(typed("7589"), "00:00:75:89");
    EXPECT_EQ(typed("99999999"), "99:99:99:99");
}

TEST(TypedTimecode, carries_other_characters_through) {
    EXPECT_EQ(typed("ab"), "00:00:00:ab");
    EXPECT_EQ(typed("-123"), "00:00:-1:23");
    EXPECT_EQ(typed(" 1 "), "00:00:0 :1 ");
    EXPECT_EQ(typed("a.b."), "00:0a:0b:00");
}

TEST(TypedTimecode, counts_characters_not_bytes) {
    EXPECT_EQ(typed("\u00e9"), "00:00:00:0\u00e9");
    EXPECT_EQ(typed("1\u00e92"), "00:00:01:\u00e92");
    EXPECT_EQ(typed("\u20ac\u20ac:\u20ac\u20ac:\u20ac\u20ac:\u20ac\u20ac"),
              "\u20ac\u20ac:\u20ac\u20ac:\u20ac\u20ac:\u20ac\u20ac");
    EXPECT_EQ(typed("12", "\u20ac\u20ac:\u20ac\u20ac"), "\u20ac\u20ac:12");
    EXPECT_EQ(typed("\xFF"), "00:00:00:0\xFF");
}

TEST(TypedTimecode, keeps_a_zero_byte) {
    using namespace std::string_literals;
    EXPECT_EQ(typed("1\0"s), "00:00:00:1\0"s);
}

/// The rule, step by step, for text of bytes.
class PlainRule {
public:
    PlainRule(bool dropFrame, const std::string& start) : separator_(dropFrame ? ";" : ":") {
        start_ = start.empty() ? "00:00:00" + separator_ + "00" : start;
    }

    std::string read(std::string text) const {
        if (text.size() == 11) {
            return text;
        }
        replaceEnding(text, "....", "00000000");
        replaceEnding(text, "...", ".000000");
        replaceEnding(text, "..", ".0000");
        replaceEnding(text, ".", ".00");
        replaceEnding(text, ",,,,", "00000000");
        replaceEnding(text, ",,,", ",000000");
        replaceEnding(text, ",,", ",0000");
        replaceEnding(text, ",", ",00");
        std::string digits = withoutColons(padded(text));
        if (digits.size() >= 9) {
            digits = digits.substr(digits.size() - 8);
        }
        const std::string result = digits.size() < 3 ? digits : paired(digits);
        if (start_.size() <= result.size()) {
            return result;
        }
        return start_.substr(0, start_.size() - result.size()) + result;
    }

private:
    static void replaceEnding(std::string& text, const std::string& ending,
                              const std::string& replacement) {
        if (text.ends_with(ending)) {
            text = text.substr(0, text.size() - ending.size()) + replacement;
        }
    }
    static std::string padded(const std::string& text) {
        std::string result;
        std::string piece;
        for (const char c : text + ".") {
            if (c == '.' || c == ',') {
                result += piece.size() == 1 ? "0" + piece : piece;
                piece.clear();
            } else {
                piece += c;
            }
        }
        return result;
    }
    static std::string withoutColons(const std::string& text) {
        std::string result;
        for (const char c : text) {
            if (c != ':' && c != ';') {
                result += c;
            }
        }
        return result;
    }
    std::string paired(std::string digits) const {
        std::string built;
        while (digits.size() >= 2) {
            const std::string pair = digits.substr(digits.size() - 2);
            digits.resize(digits.size() - 2);
            const std::string before = digits.empty() ? "" : built.empty() ? separator_ : ":";
            built = before + pair + built;
        }
        return digits.size() == 1 ? "0" + digits + built : built;
    }

    std::string separator_;
    std::string start_;
};

std::string randomText(std::mt19937& random, const std::string& alphabet, std::size_t most) {
    std::string text;
    for (std::size_t length = random() % (most + 1); length > 0; --length) {
        text += alphabet[random() % alphabet.size()];
    }
    return text;
}

TEST(TypedTimecode, follows_the_rule_step_by_step_for_random_text) {
    std::mt19937 random(20240611);
    for (int i = 0; i < 200000; ++i) {
        const std::string text = randomText(random, "0123456789..,,:;a ", 14);
        const std::string start = randomText(random, "0123456789:;x", 13);
        const bool dropFrame = random() % 2 == 0;
        ASSERT_EQ(FWTimecode::timecodeFromUserString(text, dropFrame, start),
                  PlainRule(dropFrame, start).read(text))
            << '"' << text << "\" from \"" << start << '"';
    }
}

TEST(TypedTimecode, follows_the_rule_for_every_short_text) {
    const std::string alphabet = "15.,:;";
    for (std::size_t length = 0; length <= 6; ++length) {
        std::size_t texts = 1;
        for (std::size_t i = 0; i < length; ++i) {
            texts *= alphabet.size();
        }
        for (std::size_t number = 0; number < texts; ++number) {
            std::string text;
            for (std::size_t rest = number; text.size() < length; rest /= alphabet.size()) {
                text += alphabet[rest % alphabet.size()];
            }
            ASSERT_EQ(typedDrop(text, "01:02:03;04"), PlainRule(true, "01:02:03;04").read(text));
        }
    }
}

} // namespace
} // namespace fw
