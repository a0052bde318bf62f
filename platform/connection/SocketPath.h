#pragma once

#include "platform/connection/RuntimeFolder.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace fw {

/// What the address of a Unix-domain socket holds besides its closing zero.
inline constexpr std::size_t kMaximumSocketPathLength = 107;

/// The folder of sockets inside a runtime folder.
std::string socketFolder(const RuntimeFolder& runtimeFolder);

/// The first 40 hexadecimal digits of the SHA-256 of a connection's name. Throws
/// PlatformException when there is no SHA-256.
std::string socketFileStem(std::string_view connectionName);

/// RUNTIME/oxbow/STEM.sock; nothing when it is too long for a socket's address.
std::optional<std::string> socketPath(const RuntimeFolder& runtimeFolder, const std::string& stem);

} // namespace fw
