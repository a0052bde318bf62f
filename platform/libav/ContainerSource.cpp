#include "platform/libav/ContainerSource.h"

#include "platform/libav/Container.h"

#include <utility>

namespace fw::libav {

ContainerSource::ContainerSource(std::string path, FormatHandle opened)
    : path_(std::move(path)), opened_(std::move(opened)) {}

Result<FormatHandle> ContainerSource::take() {
    {
        const std::lock_guard lock(mutex_);
        if (opened_) {
            return std::exchange(opened_, nullptr);
        }
    }
    return openContainer(path_);
}

} // namespace fw::libav
