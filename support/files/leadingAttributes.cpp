#include "support/files/leadingAttributes.h"

namespace fw {
namespace {

/// False once one is missing.
template <typename T>
bool taken(const std::optional<T>& from, std::optional<T>& to) {
    to = from;
    return from.has_value();
}

} // namespace

FileAttributes leadingAttributes(const FileAttributes& from) {
    FileAttributes to;
    static_cast<void>(taken(from.creationDate, to.creationDate) &&
                      taken(from.modificationDate, to.modificationDate) &&
                      taken(from.isExtensionHidden, to.isExtensionHidden) &&
                      taken(from.creatorCode, to.creatorCode) && taken(from.typeCode, to.typeCode));
    return to;
}

} // namespace fw
