#include "platform/workspace/mimeTypes.h"

#include "base/text.h"

#include <gio/gio.h>

#include <memory>

namespace fw {
namespace {

using Text = std::unique_ptr<char, decltype([](char* text) { g_free(text); })>;

/// The database is asked for names of files: a slash would end a folder's, a zero byte the text.
bool canEndAName(const std::string& extension) {
    constexpr std::size_t kLongest = 250; // With "x." no name is longer than 255 bytes.
    return !extension.empty() && extension.size() <= kLongest &&
           extension.find('/') == std::string::npos && !holdsZeroByte(extension) &&
           repairedUtf8(extension) == extension;
}

} // namespace

std::optional<std::string> mimeTypeOfExtension(const std::string& extension) {
    if (!canEndAName(extension)) {
        return std::nullopt;
    }
    const std::string name = std::string("x.").append(extension);
    const Text contentType(g_content_type_guess(name.c_str(), nullptr, 0, nullptr));
    if (!contentType || g_content_type_is_unknown(contentType.get()) != 0) {
        return std::nullopt;
    }
    const Text mimeType(g_content_type_get_mime_type(contentType.get()));
    return mimeType ? std::optional<std::string>(mimeType.get()) : std::nullopt;
}

} // namespace fw
