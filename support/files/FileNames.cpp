#include "base/text.h"
#include "support/FWFileManager.h"

namespace fw {

std::string FWFileManager::validateFilename(const std::string& name,
                                            IncludeSlashes includeSlashes) {
    std::string_view rest = name;
    if (rest.starts_with('.')) {
        rest.remove_prefix(1);
    }
    std::string valid(trimmed(rest));
    if (includeSlashes == IncludeSlashes::kYes) {
        std::erase(valid, '/');
    }
    std::erase(valid, ':');
    return valid;
}

std::string FWFileManager::validateFilename(const std::string& name) {
    return validateFilename(name, IncludeSlashes::kYes);
}

} // namespace fw
