#pragma once

#include "base/Error.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace fw {

/// What can be handed on from one file to another. An empty member is not known, or not to be set.
///
/// No file system lets a file's birth be set. A creation date that is set is kept in the extended
/// attribute "com.fernwick.creationdate" (on the disk with "user." before it), as nanoseconds since
/// 1970-01-01 UTC in decimal digits, and is preferred to the birth when it is read. The other three
/// live in the attribute "com.apple.FinderInfo"; a file without it has no hidden extension, and
/// codes of 0.
struct FileAttributes {
    using Date = std::chrono::system_clock::time_point;

    std::optional<Date> creationDate;
    std::optional<Date> modificationDate;
    std::optional<bool> isExtensionHidden;
    std::optional<std::uint32_t> creatorCode; ///< Four characters, the first one highest.
    std::optional<std::uint32_t> typeCode;

    bool operator==(const FileAttributes&) const = default;
};

/// The name and the text of the attribute in which a creation date is kept.
constexpr const char* kCreationDateAttribute = "com.fernwick.creationdate";
std::string creationDateText(FileAttributes::Date date);

/// Those of the file at the path, links followed; all empty when there is none. A date that cannot
/// be read, or lies out of the range of `Date`, is missing. Safe from any thread.
FileAttributes fileAttributes(const std::string& path);

/// Sets those that are not empty, each whatever becomes of the others. Nothing, or the first error
/// (domain "POSIX"): where extended attributes are not supported a creation date cannot be set.
/// Safe from any thread.
[[nodiscard]] std::optional<Error> setFileAttributes(const std::string& path,
                                                     const FileAttributes& attributes);

/// Sets the modification date to now, links followed, which whoever may write the file may do.
/// Nothing, or why it failed (domain "POSIX"). Safe from any thread.
[[nodiscard]] std::optional<Error> touch(const std::string& path);

} // namespace fw
