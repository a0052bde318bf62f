#include "support/FWFileManager.h"
#include "support/files/FileCopy.h"

#include <utility>

namespace fw {

bool FWFileManager::copyFileWithProgress(const std::string& source,
                                         const std::vector<std::string>& destinations,
                                         FileVerification verificationType,
                                         const std::optional<FileCopyDelegate>& delegate,
                                         const std::any& object, const std::any& object2) {
    FileCopySettings settings;
    settings.source = source;
    settings.destinations = destinations;
    settings.delegate = delegate;
    settings.object = object;
    settings.object2 = object2;
    return FileCopy(std::move(settings), verificationType).run();
}

bool FWFileManager::copyFileWithProgress(const std::string& source, const std::string& destination,
                                         const std::optional<FileCopyDelegate>& delegate,
                                         const std::any& object, const std::any& object2) {
    return copyFileWithProgress(source, std::vector{destination}, FileVerification::kNone, delegate,
                                object, object2);
}

bool FWFileManager::copyFileWithProgress(const std::string& source, const std::string& destination,
                                         const std::optional<FileCopyDelegate>& delegate,
                                         const std::any& object) {
    return copyFileWithProgress(source, destination, delegate, object, {});
}

} // namespace fw
