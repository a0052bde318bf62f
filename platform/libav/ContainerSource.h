#pragma once

#include "base/Result.h"
#include "platform/libav/Handles.h"

#include <mutex>
#include <string>

namespace fw::libav {

/// Gives out opened containers of one movie. The one that the movie was examined with goes to the
/// first who asks: opening anew means decoding a frame of every stream once more. Safe from any
/// thread.
class ContainerSource {
public:
    ContainerSource(std::string path, FormatHandle opened);

    /// A container that nobody else uses, at its start.
    Result<FormatHandle> take();

private:
    std::string path_;
    std::mutex mutex_;
    FormatHandle opened_;
};

} // namespace fw::libav
