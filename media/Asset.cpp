#include "media/Asset.h"

namespace fw {

std::vector<const Track*> Asset::tracksWithMediaType(MediaType type) const {
    std::vector<const Track*> found;
    for (const Track& track : tracks()) {
        if (track.mediaType == type) {
            found.push_back(&track);
        }
    }
    return found;
}

const Track* Asset::firstTrack(MediaType type) const {
    for (const Track& track : tracks()) {
        if (track.mediaType == type) {
            return &track;
        }
    }
    return nullptr;
}

} // namespace fw
