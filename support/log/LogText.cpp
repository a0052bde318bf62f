#include "support/log/LogText.h"

#include "base/FormattedText.h"

#include <algorithm>
#include <array>

namespace fw {
namespace {

struct Replacement {
    std::string_view what;
    std::string_view with;
};
/// Each over the whole text, in this order.
constexpr std::array<Replacement, 9> kEscapes = {{{"% ", "%% "},
                                                  {"%.", "%%."},
                                                  {"%!", "%%!"},
                                                  {"%,", "%%,"},
                                                  {"%-", "%%-"},
                                                  {"%;", "%%;"},
                                                  {"%:", "%%:"},
                                                  {"%+", "%%+"},
                                                  {"%%%", "%%"}}};

void replaceAll(std::string& text, const Replacement& replacement) {
    for (std::size_t at = text.find(replacement.what); at != std::string::npos;
         at = text.find(replacement.what, at + replacement.with.size())) {
        text.replace(at, replacement.what.size(), replacement.with);
    }
}

/// Whether any of the replacements finds something: most formats have nothing to escape.
bool needsEscapes(std::string_view text) {
    constexpr std::string_view kStray = " .!,-;:+";
    if (text.empty()) {
        return false;
    }
    for (std::size_t percent = text.find('%'); percent < text.size() - 1;
         percent = text.find('%', percent + 1)) {
        if (kStray.find(text[percent + 1]) != std::string_view::npos ||
            text.substr(percent).starts_with("%%%")) {
            return true;
        }
    }
    return false;
}

} // namespace

std::string escapedForLogging(std::string_view format) {
    std::string text(format);
    if (needsEscapes(format)) {
        for (const Replacement& replacement : kEscapes) {
            replaceAll(text, replacement);
        }
    }
    return text;
}

std::string filledForLogging(std::string_view format, std::span<const FormatArgument> arguments) {
    return needsEscapes(format) ? formattedText(escapedForLogging(format), arguments)
                                : formattedText(format, arguments);
}

std::string consoleEcho(std::string_view text) {
    std::string echo(text);
    replaceAll(echo, {"%@", ""});
    replaceAll(echo, {"%", "%%"});
    std::erase(echo, '\0');
    return echo;
}

} // namespace fw
