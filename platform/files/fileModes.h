#pragma once

#include <sys/types.h>

namespace fw {

/// The bits of a file's mode that may be set.
constexpr mode_t kPermissions = 07777;
/// Those that lend nobody other rights: without set-user-ID, set-group-ID and sticky.
constexpr mode_t kPlainPermissions = 0777;

} // namespace fw
