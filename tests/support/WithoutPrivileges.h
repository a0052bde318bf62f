#pragma once

#include <sys/types.h>
#include <unistd.h>

namespace fw::test {

/// While it lives, a process of root has the rights of a user who owns nothing; a user's process
/// keeps its own. Only for tests with one thread.
class WithoutPrivileges {
public:
    WithoutPrivileges() {
        if (isRoot_) {
            worked_ = ::seteuid(kNobody) == 0;
        }
    }
    ~WithoutPrivileges() {
        if (isRoot_) {
            worked_ = ::seteuid(0) == 0;
        }
    }
    WithoutPrivileges(const WithoutPrivileges&) = delete;
    WithoutPrivileges& operator=(const WithoutPrivileges&) = delete;

    bool worked() const { return worked_; }

private:
    static constexpr uid_t kNobody = 65534;

    bool isRoot_ = ::geteuid() == 0;
    bool worked_ = true;
};

} // namespace fw::test
