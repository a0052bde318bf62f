#pragma once

#include "platform/volumes/Volumes.h"

#include <string>
#include <utility>
#include <vector>

namespace fw::test {

/// The machine's only volumes while it lives.
class ForcedVolumes {
public:
    explicit ForcedVolumes(std::vector<Volume> volumes)
        : before_(setVolumeList([all = std::move(volumes)] { return all; })) {}
    /// The whole machine is one volume of this type.
    explicit ForcedVolumes(const std::string& type)
        : ForcedVolumes(std::vector{Volume{"/", type, "", false}}) {}
    ~ForcedVolumes() { setVolumeList(std::move(before_)); }
    ForcedVolumes(const ForcedVolumes&) = delete;
    ForcedVolumes& operator=(const ForcedVolumes&) = delete;

private:
    VolumeList before_;
};

} // namespace fw::test
