#pragma once

#include "base/Error.h"
#include "base/Result.h"
#include "platform/plist/PropertyList.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace fw {

/// Larger files are not read, and not written.
inline constexpr std::size_t kLargestPropertyList = std::size_t{16} * 1024 * 1024;

/// The property list at `path`, XML or binary, whose outermost value is a dictionary. The error
/// has the domain "POSIX" (also EINVAL for what is no regular file, EFBIG for a large one) or
/// "PropertyList" when the file holds no such list, is damaged or nested more than 512 deep.
/// Never waits for the file. Safe from any thread.
Result<PropertyListDictionary> readPropertyList(const std::string& path);

/// The same from the bytes of such a file; the error has the domain "PropertyList".
Result<PropertyListDictionary> propertyListFromBytes(std::string_view bytes);

/// The XML property list that writePropertyList() writes. Safe from any thread.
Result<std::string> propertyListXml(const PropertyListDictionary& dictionary);

/// Writes an XML property list in one step (see writeFileAtomically); characters that XML cannot
/// hold become U+FFFD. Nothing, or why it failed. Safe from any thread.
[[nodiscard]] std::optional<Error> writePropertyList(const std::string& path,
                                                     const PropertyListDictionary& dictionary);

} // namespace fw
