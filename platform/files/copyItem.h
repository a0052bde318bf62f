#pragma once

#include "base/Error.h"
#include "base/Result.h"
#include "platform/files/FileIdentity.h"
#include "platform/files/Location.h"
#include "platform/files/Originals.h"

#include <optional>
#include <string>

namespace fw {

/// Copies what stands at `source`, a link as a link, a folder with all that is in it, to a path
/// where nothing stands yet. Nothing, or why it failed (domain "POSIX"): what was copied up to then
/// is removed again. Into itself a folder is not copied (EINVAL).
///
/// The copy has the modes and dates of the original, its extended attributes of users, and its
/// owners as far as this process may give files away and the file system can keep all these;
/// without the owner it has no set-user-ID and set-group-ID. A pipe, socket or device becomes
/// another of its kind; nothing is read from it. The immutable flag is not copied. Files with
/// several names become several files. Safe from any thread.
[[nodiscard]] std::optional<Error> copyItem(const std::string& source,
                                            const std::string& destination);

/// The same between places: tells the copy from what others may put in its place, and what it was
/// made of.
Result<FileIdentity> copyItem(const Location& source, const Location& destination,
                              Originals& originals);

} // namespace fw
