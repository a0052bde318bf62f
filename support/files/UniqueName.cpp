#include "base/FormattedText.h"
#include "base/text.h"
#include "platform/files/FileFacts.h"
#include "support/FWFileManager.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace fw {
namespace {

constexpr std::size_t kMostBytes = 255; // No name is longer.

/// The beginning that has room; no character is cut in two.
std::string_view shortened(std::string_view text, std::size_t room) {
    constexpr std::size_t kMostContinuations = 3; // Where there are more, it is no text.
    if (text.size() <= room) {
        return text;
    }
    const auto isContinuation = [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
    };
    std::size_t length = room;
    while (length > 0 && room - length < kMostContinuations && isContinuation(text[length])) {
        --length;
    }
    return text.substr(0, isContinuation(text[length]) ? room : length);
}

/// The name with a number before its extension, shortened as it must be: its extension goes only
/// where it leaves no room for anything else.
std::string numbered(std::string_view name, std::int64_t n) {
    const std::string number = formattedText(" %li", n);
    const std::size_t extension = pathExtension(name).size();
    std::string_view end = name.substr(extension == 0 ? name.size() : name.size() - extension - 1);
    if (number.size() + end.size() >= kMostBytes) {
        end = {};
    }
    const std::string_view begin = name.substr(0, name.size() - end.size());
    std::string whole(shortened(begin, kMostBytes - number.size() - end.size()));
    return whole.append(number).append(end);
}

} // namespace

/// A link counts, wherever it points to: its name is taken.
std::string FWFileManager::uniqueFilename(const std::string& path) {
    const std::string_view whole = std::string_view(path).substr(0, path.find_last_not_of('/') + 1);
    if (whole.empty() || !isEntry(path)) {
        return path; // The root has no name that could get a number.
    }
    const std::string_view name = lastPathComponent(whole);
    const std::string_view folder = whole.substr(0, whole.size() - name.size());
    for (std::int64_t n = 2;; ++n) {
        std::string candidate = std::string(folder).append(numbered(name, n));
        if (!isEntry(candidate)) {
            return candidate;
        }
    }
}

} // namespace fw
