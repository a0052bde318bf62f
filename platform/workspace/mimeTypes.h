#pragma once

#include <optional>
#include <string>

namespace fw {

/// The MIME type of files with this extension, from the machine's shared MIME database; nothing
/// when it knows none. The extension is given without its dot; capitals rarely matter. Safe from
/// any thread.
std::optional<std::string> mimeTypeOfExtension(const std::string& extension);

} // namespace fw
