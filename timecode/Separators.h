#pragma once

#include <string_view>

namespace fw {

/// What stands between the fields of a timecode.
inline constexpr std::string_view kTimecodeSeparators = ":;";

/// What stands before the frames field.
constexpr char frameSeparator(bool dropFrame) {
    return dropFrame ? ';' : ':';
}

} // namespace fw
