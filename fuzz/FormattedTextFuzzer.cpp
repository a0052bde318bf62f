#include "base/FormattedText.h"
#include "fuzz/check.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace fw;
using fuzz::check;

/// The same conversion by the C library.
template <typename T>
std::string byLibrary(const std::string& format, T value) {
    const int length = std::snprintf(nullptr, 0, format.c_str(), value);
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::snprintf(text.data(), text.size(), format.c_str(), value);
    text.pop_back();
    return text;
}

/// "%", flags, width and precision.
std::string head(FuzzedDataProvider& input, std::string_view flags) {
    std::string text = "%";
    for (const char flag : flags) {
        if (input.ConsumeBool()) {
            text += flag;
        }
    }
    if (input.ConsumeBool()) {
        text += std::to_string(input.ConsumeIntegralInRange(1, 200));
    }
    if (input.ConsumeBool()) {
        text += '.';
        text += std::to_string(input.ConsumeIntegralInRange(0, 60));
    }
    return text;
}

/// Of every size, and none.
double anyDouble(FuzzedDataProvider& input) {
    return std::bit_cast<double>(input.ConsumeIntegral<std::uint64_t>());
}

char letter(FuzzedDataProvider& input, std::string_view letters) {
    return letters[input.ConsumeIntegralInRange<std::size_t>(0, letters.size() - 1)];
}

void compareWithLibrary(FuzzedDataProvider& input) {
    const std::string integer = head(input, "-+ 0#") + "l" + letter(input, "dioxXu");
    const auto whole = input.ConsumeIntegral<std::int64_t>();
    check(formattedText(integer, whole) == byLibrary(integer, whole), integer);
    const std::string floating = head(input, "-+ 0") + letter(input, "fFeEgG");
    const auto number = anyDouble(input);
    if (std::isfinite(number)) {
        check(formattedText(floating, number) == byLibrary(floating, number), floating);
    }
}

/// "%%" is one character less; all else lacks its argument and stands.
void formatWithoutArguments(const std::string& format) {
    const std::string text = formattedText(format);
    check(text.size() <= format.size(), "a format without arguments never grows");
    check(format.find('%') != std::string::npos || text == format, "plain text is kept");
}

} // namespace

/// Formats come from translations and configurations; none may read what it was not given.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    compareWithLibrary(input);
    const auto whole = input.ConsumeIntegral<std::int64_t>();
    const auto number = anyDouble(input);
    const std::string text = input.ConsumeRandomLengthString(64);
    const std::string format = input.ConsumeRemainingBytesAsString();
    formatWithoutArguments(format);
    const auto filled =
        formattedText(format, whole, text, number, std::vector<std::string>{text}, true);
    check(format.find('%') != std::string::npos || filled == format, "plain text is kept");
    check(formattedText("%@", text) == text, "a text is its own description");
    return 0;
}
