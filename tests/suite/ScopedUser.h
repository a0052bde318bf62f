#pragma once

#include "platform/folders/folderServices.h"

#include <utility>

namespace fw::test {

/// Somebody else is the real user while this lives.
class ScopedUser {
public:
    static constexpr unsigned kSuperuser = 0;
    static constexpr unsigned kNobodyKnown = 4'000'000'000;

    explicit ScopedUser(unsigned id)
        : before_(setFolderServices({.realUserId = [id] { return id; }, .search = {}})) {}
    ~ScopedUser() { setFolderServices(std::move(before_)); }
    ScopedUser(const ScopedUser&) = delete;
    ScopedUser& operator=(const ScopedUser&) = delete;

private:
    FolderServices before_;
};

} // namespace fw::test
