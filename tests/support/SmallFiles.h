#pragma once

#include <sys/resource.h>

namespace fw::test {

/// No file grows beyond so many bytes while this lives, as on a full disk, nor do those of programs
/// that are started meanwhile.
class SmallFiles {
public:
    explicit SmallFiles(rlim_t size) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit small{size, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &small);
    }
    ~SmallFiles() { ::setrlimit(RLIMIT_FSIZE, &before_); }
    SmallFiles(const SmallFiles&) = delete;
    SmallFiles& operator=(const SmallFiles&) = delete;

private:
    rlimit before_{};
};

} // namespace fw::test
