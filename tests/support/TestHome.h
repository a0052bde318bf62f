#pragma once

#include "platform/folders/folderServices.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryFolder.h"

#include <string>
#include <utility>

namespace fw::test {

/// A home of the test's own, of a user who is not the superuser, whoever runs the test. Programs
/// that link it link fw_folders.
class TestHome {
public:
    static constexpr unsigned kUser = 4'000'000'000; // In no account database.

    TestHome()
        : home_("HOME", folder_.path().string()), cache_("XDG_CACHE_HOME", std::nullopt),
          before_(setFolderServices({.realUserId = [] { return kUser; }, .search = {}})) {}
    ~TestHome() { setFolderServices(std::move(before_)); }
    TestHome(const TestHome&) = delete;
    TestHome& operator=(const TestHome&) = delete;

    std::string path() const { return folder_.path().string(); }
    std::string file(const std::string& name) const { return folder_.file(name); }

private:
    TemporaryFolder folder_;
    ScopedEnvironment home_;
    ScopedEnvironment cache_;
    FolderServices before_;
};

} // namespace fw::test
