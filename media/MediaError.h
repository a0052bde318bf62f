#pragma once

#include "base/Error.h"

#include <string>
#include <utility>

namespace fw {

/// The error domain of assets and readers.
inline constexpr const char* kMediaErrorDomain = "com.fernwick.Oxbow.media";

enum class MediaErrorCode : std::int64_t {
    kCannotOpen = 1,       ///< The file cannot be read at all.
    kNotAMovie = 2,        ///< Not a container that is known, or one without a usable start.
    kNoPlayableTrack = 3,  ///< No video or sound track has a decoder.
    kEncrypted = 4,        ///< A track is encrypted.
    kDecoderMissing = 5,   ///< The track that is to be read has no decoder, or it cannot start.
    kDamagedPicture = 6,   ///< Picture data that does not decode, or only in part.
    kDamagedContainer = 7, ///< The container marks its data as corrupt.
    kReadFailed = 8,       ///< The file could not be read to its end.
    kEndsEarly = 9,        ///< The movie ends clearly before its own stated duration.
    kPixelFormat = 10,     ///< A pixel format that cannot be brought to 4:2:2.
    kWrongUse = 11,        ///< The reader was set up in a way it does not offer.
    kDamagedSound = 12,    ///< Sound data that does not decode, or only in part.
    kSampleFormat = 13,    ///< A sample format that cannot be brought to 16 bits.
};

inline Error mediaError(MediaErrorCode code, std::string description) {
    return {kMediaErrorDomain, static_cast<std::int64_t>(code), std::move(description)};
}

} // namespace fw
