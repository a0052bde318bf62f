#pragma once

#include "base/Error.h"

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>

namespace fw {

/// Whether a new file waits until the disk has it. Without, a power cut may leave it empty.
enum class Flush : bool { kNo, kYes };

/// Puts `bytes` into the place of the file at `path` in one step: whoever looks finds the old
/// contents or the new, whole, even when this process dies meanwhile, and when it is flushed, the
/// machine. A link at `path` stays, and what it points to is replaced. An existing file keeps its
/// permissions and, as far as this process may give files away, its owner and group; a new one gets
/// exactly `modeOfNewFile`, whatever the umask. Other hard links of the old file keep the old
/// contents. Only regular files are replaced. Nothing, or why it failed (domain "POSIX"); a
/// failure, that of the limit of a file's size too, leaves nothing behind. Safe from any thread.
[[nodiscard]] std::optional<Error> writeFileAtomically(const std::string& path,
                                                       std::string_view bytes,
                                                       mode_t modeOfNewFile = 0600,
                                                       Flush flush = Flush::kYes);

} // namespace fw
