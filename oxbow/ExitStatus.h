#pragma once

namespace fw {

/// How oxbow ends.
enum class ExitStatus {
    kNoFaults = 0,
    kFaults = 1,
    kIncomplete = 2, ///< Not every frame was scanned.
    kNotOpened = 3,  ///< The movie cannot be opened.
    kInternal = 4,   ///< Anything else: no scanner, output that cannot be written, ...
    kUsage = 64,     ///< Wrong arguments.
};

} // namespace fw
