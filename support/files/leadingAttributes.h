#pragma once

#include "platform/files/FileAttributes.h"

namespace fw {

/// The attributes up to the first that is missing, in the order creation date, modification date,
/// extension-hidden flag, creator code, type code. Deliberate: without a creation date there are
/// none.
FileAttributes leadingAttributes(const FileAttributes& attributes);

} // namespace fw
