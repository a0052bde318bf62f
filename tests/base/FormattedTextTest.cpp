#include "base/FormattedText.h"

#include "base/dates.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace fw {
namespace {

using std::chrono::seconds;
using std::chrono::system_clock;

constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();

TEST(FormattedTextTest, ATextWithoutConversionsStandsAsItIs) {
    EXPECT_EQ(formattedText(""), "");
    EXPECT_EQ(formattedText("plain \u00e4\n"), "plain \u00e4\n");
    EXPECT_EQ(formattedText("plain", 1, "unused"), "plain");
}

TEST(FormattedTextTest, AtTakesEveryKindOfArgument) {
    EXPECT_EQ(formattedText("%@|%@", "text", std::string("more")), "text|more");
    EXPECT_EQ(formattedText("%@ %@ %@", -7, kLeast, std::numeric_limits<std::uint64_t>::max()),
              "-7 -9223372036854775808 18446744073709551615");
    EXPECT_EQ(formattedText("%@ %@ %@ %@", 0.1, 2.9F, 1.0, -0.0), "0.1 2.9000000953674316 1 -0");
    EXPECT_EQ(formattedText("%@%@", true, false), "10");
    EXPECT_EQ(formattedText("%@", system_clock::time_point(seconds(1709312709))),
              "2024-03-01 17:05:09 +0000");
    EXPECT_EQ(formattedText("%@", std::vector<std::string>{"a", "b c"}),
              "(\n    a,\n    \"b c\"\n)");
    EXPECT_EQ(formattedText("%@", std::vector<int>{1, 2}), "(\n    1,\n    2\n)");
    EXPECT_EQ(formattedText("%@", std::vector<std::string>{}), "(\n)");
    EXPECT_EQ(formattedText("%@ %@", std::optional<std::string>(), std::optional<int>(3)),
              "(null) 3");
    EXPECT_EQ(formattedText("%@", static_cast<const char*>(nullptr)), "(null)");
}

TEST(FormattedTextTest, ADateBeforeTheEpochIsCutTowardsThePast) {
    EXPECT_EQ(dateDescription(system_clock::time_point(std::chrono::milliseconds(-1))),
              "1969-12-31 23:59:59 +0000");
    EXPECT_EQ(dateDescription(system_clock::time_point(std::chrono::milliseconds(1999))),
              "1970-01-01 00:00:01 +0000");
}

TEST(FormattedTextTest, AMissingArgumentLeavesItsConversionAsItStands) {
    EXPECT_EQ(formattedText("%@ %d %0.2f %s %-5li|"), "%@ %d %0.2f %s %-5li|");
    EXPECT_EQ(formattedText("%d %d", 1), "1 %d");
    EXPECT_EQ(formattedText("%2$@ %1$@ %3$@", "a", "b"), "b a %3$@");
    EXPECT_EQ(formattedText("%*d", 5), "%*d");
    EXPECT_EQ(formattedText("%*d", "wide", 5), "%*d");
}

TEST(FormattedTextTest, APercentSignThatBeginsNoConversionStandsAsItIs) {
    for (const std::string_view text :
         {"%", "100%", "% !", "%k", "%", "5%!", "%-", "%5", "%.", "%l", "%10000d", "%.10000d",
          "%10000$d", "%n", "%5%", "%0$d", "\xFF%\xFF"}) {
        EXPECT_EQ(formattedText(text, 1, 2, 3), text);
    }
    EXPECT_EQ(formattedText("100% sure", "x"), "100xure") << "a blank is a flag";
    EXPECT_EQ(formattedText("%%"), "%");
    EXPECT_EQ(formattedText("%%%%d%%%d", 1), "%%d%1");
    EXPECT_EQ(formattedText(std::string_view("a\0%d", 4), 1), std::string("a\0"
                                                                          "1",
                                                                          3));
}

TEST(FormattedTextTest, IntegersCountAsManyBitsAsTheirLengthSays) {
    EXPECT_EQ(formattedText("%i %u", std::int64_t{1} << 32, (std::uint64_t{1} << 32) + 5), "0 5");
    EXPECT_EQ(formattedText("%d", std::int64_t{0x80000000}), "-2147483648");
    EXPECT_EQ(formattedText("%li %lld %qd", kMost, kLeast, kMost),
              "9223372036854775807 -9223372036854775808 9223372036854775807");
    EXPECT_EQ(formattedText("%lu %zu %x", -1, -1, -1),
              "18446744073709551615 18446744073709551615 ffffffff");
    EXPECT_EQ(formattedText("%hd %hhu %hhd", 65537, 257, 255), "1 1 -1");
}

TEST(FormattedTextTest, AnArgumentOfAnotherKindLosesNothing) {
    EXPECT_EQ(formattedText("%d %f", "text", "more"), "text more");
    EXPECT_EQ(formattedText("%s %s", 5, 2.5), "5 2.5");
    EXPECT_EQ(formattedText("%d %d %f %0.1f", 2.9, true, 3, false), "2 1 3.000000 0.0");
    EXPECT_EQ(formattedText("%li", 1e300), "9223372036854775807");
    EXPECT_EQ(formattedText("%f", std::numeric_limits<std::uint64_t>::max()),
              "18446744073709551616.000000");
    EXPECT_EQ(formattedText("%li", std::vector<int>{1}), "(\n    1\n)");
}

TEST(FormattedTextTest, WidthsAndPrecisionsHoldForTextsToo) {
    EXPECT_EQ(formattedText("[%5s|%-5s|%.2s|%5@|%05s]", "ab", "ab", "abc", "x", "y"),
              "[   ab|ab   |ab|    x|    y]");
    EXPECT_EQ(formattedText("[%*d|%-*d|%.*f|%*d]", 4, 7, 4, 7, 1, 2.25, -3, 1),
              "[   7|7   |2.2|1  ]");
    EXPECT_EQ(formattedText("[%.*f]", -1, 2.5), "[2.500000]");
    EXPECT_EQ(formattedText("[%.2s]", "\u00e4\u00f6\u00fc"), "[\u00e4\u00f6]");
    EXPECT_EQ(formattedText("%*d", kLeast, 1).size(), 9999U);
}

TEST(FormattedTextTest, CharactersAreCodePoints) {
    EXPECT_EQ(formattedText("%c%C%3c", 'a', 0x20AC, 'b'), "a\u20ac  b");
    EXPECT_EQ(formattedText("%c%c%c", -1, 0xD800, kMost), "\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(formattedText("%p|%-6p|%6p", 255, 255, 255), "0xff|0xff  |  0xff");
}

/// The same conversion by the C library.
template <typename T>
std::string byLibrary(const std::string& format, T value) {
    std::array<char, 4096> text = {};
    std::snprintf(text.data(), text.size(), format.c_str(), value);
    return text.data();
}

TEST(FormattedTextTest, RandomConversionsAgreeWithTheCLibrary) {
    std::mt19937_64 random(1);
    const auto pick = [&](auto& from) {
        return from[random() % from.size()];
    };
    const std::vector<std::string> flags = {"", "-", "+", " ", "0", "#", "-+", "+0", "-#"};
    const std::vector<std::string> sizes = {"", "1", "5", "12", ".0", ".3", "9.4", "3.8", "12.6"};
    const std::string integers = "dioxXu";
    const std::string floats = "fFeEgGa";
    for (int i = 0; i < 20000; ++i) {
        std::string head = "%";
        head += pick(flags);
        head += pick(sizes);
        const auto bits = static_cast<std::int64_t>(random() >> (random() % 64));
        const std::string asLong = head + "l" + pick(integers);
        ASSERT_EQ(formattedText(asLong, bits), byLibrary(asLong, bits)) << asLong << " of " << bits;
        const std::string asInt = head + pick(integers);
        ASSERT_EQ(formattedText(asInt, bits), byLibrary(asInt, static_cast<int>(bits)))
            << asInt << " of " << bits;
        const double value = static_cast<double>(bits) / 1000.0;
        // "#" asks the C library for zeros that are not written here.
        std::string asFloat = head + pick(floats);
        std::erase(asFloat, '#');
        if (asFloat.back() == 'a') {
            std::erase(asFloat, '0');
        }
        ASSERT_EQ(formattedText(asFloat, value), byLibrary(asFloat, value))
            << asFloat << " of " << value;
    }
}

TEST(FormattedTextTest, RandomTextsNeverFailAndKeepWhatIsNoConversion) {
    std::mt19937 random(2);
    const std::string_view letters = "%%%@d$*.-+ 0123lhsfnxc'#\xC3";
    for (int i = 0; i < 50000; ++i) {
        std::string format;
        for (std::size_t j = random() % 12; j > 0; --j) {
            format += letters[random() % letters.size()];
        }
        std::string expected = format;
        for (std::size_t at = 0; (at = expected.find("%%", at)) != std::string::npos; ++at) {
            expected.erase(at, 1);
        }
        ASSERT_EQ(formattedText(format), expected) << format;
        static_cast<void>(formattedText(format, 3, "text", 2.5));
    }
}

} // namespace
} // namespace fw
