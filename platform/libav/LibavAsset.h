#pragma once

#include "media/Asset.h"

#include <memory>
#include <string>

namespace fw {

struct LibavOptions {
    /// Threads that decode; 0 means one for each core.
    int decodeThreads = 0;
};

/// Opens the movie at a path of the file system with libavformat. Never null: see AssetOpener.
std::shared_ptr<const Asset> openLibavAsset(const std::string& path,
                                            const LibavOptions& options = {});

} // namespace fw
