#include "base/FormattedText.h"
#include "base/text.h"
#include "platform/files/FileFacts.h"
#include "support/FWFileManager.h"

#include <cstdint>
#include <string_view>

namespace fw {

/// A link counts, wherever it points to: its name is taken.
std::string FWFileManager::uniqueFilename(const std::string& path) {
    if (!isEntry(path)) {
        return path;
    }
    const std::string_view whole = std::string_view(path).substr(0, path.find_last_not_of('/') + 1);
    const std::string_view extension = pathExtension(path);
    const std::size_t cut = extension.empty() ? 0 : extension.size() + 1;
    const std::string_view base = whole.substr(0, whole.size() - cut);
    for (std::int64_t n = 2;; ++n) {
        std::string candidate(base);
        candidate.append(formattedText(" %li", n)).append(whole.substr(base.size()));
        if (!isEntry(candidate)) {
            return candidate;
        }
    }
}

} // namespace fw
