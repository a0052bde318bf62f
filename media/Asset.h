#pragma once

#include "base/Error.h"
#include "base/Result.h"
#include "media/AssetReader.h"
#include "media/MediaTime.h"
#include "media/Track.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace fw {

/// Where an asset comes from.
struct AssetUrl {
    std::string scheme; ///< "file", ...
    std::string path;
};

/// An opened movie. It does not change after opening; the const operations are safe from any
/// thread at once. Time zero is the start of the presentation: edit lists are applied and a
/// container's start offset is subtracted.
class Asset {
public:
    virtual ~Asset() = default;

    virtual std::optional<AssetUrl> url() const = 0;
    /// At least one video or sound track has a decoder.
    virtual bool isPlayable() const = 0;
    /// It opened, and nothing in it is encrypted.
    virtual bool isReadable() const = 0;
    /// Why it is not playable or not readable; absent when it is both.
    virtual std::optional<Error> error() const = 0;
    /// Of the longest track, rounded up to a whole tick of the timescale of one frame's length.
    virtual MediaTime duration() const = 0;
    /// All tracks, in the order of the movie.
    virtual const std::vector<Track>& tracks() const = 0;
    /// A reader of its own over the movie; any number may be in use at once.
    virtual Result<std::unique_ptr<AssetReader>> makeReader() const = 0;

    /// The tracks of a kind, in the order of the movie.
    std::vector<const Track*> tracksWithMediaType(MediaType type) const;
    /// The first of them, or null.
    const Track* firstTrack(MediaType type) const;
};

/// Opens the movie at a path of the file system. Never null: what cannot be opened is an asset
/// that is neither playable nor readable and says why.
using AssetOpener = std::function<std::shared_ptr<const Asset>(const std::string& path)>;

} // namespace fw
