#pragma once

#include "platform/FileDescriptor.h"

#include <fcntl.h>
#include <sys/resource.h>

#include <utility>
#include <vector>

namespace fw::test {

/// This process can open only so many descriptors more while it lives.
class FewDescriptors {
public:
    explicit FewDescriptors(std::size_t left) {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        const rlimit few = {kMost, before_.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &few);
        taken_.reserve(kMost);
        for (FileDescriptor next = opened(); next; next = opened()) {
            taken_.push_back(std::move(next));
        }
        taken_.resize(taken_.size() - left);
    }
    ~FewDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }
    FewDescriptors(const FewDescriptors&) = delete;
    FewDescriptors& operator=(const FewDescriptors&) = delete;

    static FileDescriptor opened() {
        return FileDescriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    }

private:
    static constexpr rlim_t kMost = 64;

    rlimit before_ = {};
    std::vector<FileDescriptor> taken_;
};

} // namespace fw::test
