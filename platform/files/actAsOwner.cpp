#include "platform/files/actAsOwner.h"

#include <grp.h>
#include <sys/fsuid.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <optional>
#include <system_error>
#include <vector>

namespace fw {
namespace {

constexpr uid_t kSuperuser = 0;

struct Owner {
    uid_t user;
    gid_t group;
};

/// A way through folders and links.
class Way {
public:
    /// Nothing when it all belongs to the superuser, as far as it exists. The path's first `known`
    /// bytes do.
    std::optional<Owner> otherOwner(const std::string& path, std::size_t known = 0) {
        std::size_t end = known;
        while (end != std::string::npos) {
            end = path.find('/', end + 1);
            const std::string place = path.substr(0, end);
            struct stat status {};
            if (::lstat(place.c_str(), &status) != 0) {
                return std::nullopt;
            }
            const bool isLink = S_ISLNK(status.st_mode);
            if ((isLink || S_ISDIR(status.st_mode)) && status.st_uid != kSuperuser) {
                return Owner{status.st_uid, status.st_gid};
            }
            if (const auto owner = isLink ? otherOwnerBehind(place) : std::nullopt) {
                return owner;
            }
        }
        return std::nullopt;
    }

private:
    /// The superuser's own link may lead through the folders of others.
    std::optional<Owner> otherOwnerBehind(const std::string& link) {
        std::error_code failure;
        const std::string target = std::filesystem::read_symlink(link, failure).string();
        if (failure || linksLeft_ == 0) {
            return std::nullopt;
        }
        --linksLeft_;
        const std::size_t known = target.starts_with('/') ? 0 : link.rfind('/') + 1;
        return otherOwner(link.substr(0, known) + target, known);
    }

    int linksLeft_ = 40; ///< The system itself follows no more.
};

/// The system's own calls tell nothing but the identity that was there before.
constexpr auto kAsk = static_cast<uid_t>(-1);

uid_t fileUser() {
    return static_cast<uid_t>(::setfsuid(kAsk));
}

gid_t fileGroup() {
    return static_cast<gid_t>(::setfsgid(kAsk));
}

std::vector<gid_t> otherGroups() {
    std::vector<gid_t> groups(static_cast<std::size_t>(std::max(0, ::getgroups(0, nullptr))));
    const int count = ::getgroups(static_cast<int>(groups.size()), groups.data());
    groups.resize(static_cast<std::size_t>(std::max(0, count)));
    return groups;
}

/// Of this thread alone: the C library's function would change the groups of all.
bool setOtherGroups(const std::vector<gid_t>& groups) {
    return ::syscall(SYS_setgroups, groups.size(), groups.data()) == 0;
}

/// Whether the process may leave a core dump ends, for all of it, when a thread changes its rights.
/// It is as before when the last of these goes; not earlier, for the dump of a thread with another
/// user's rights would belong to that user.
class KeptDumpability {
public:
    KeptDumpability() {
        const std::lock_guard lock(mutex_);
        if (count_++ == 0) {
            before_ = ::prctl(PR_GET_DUMPABLE);
        }
    }
    ~KeptDumpability() {
        const std::lock_guard lock(mutex_);
        if (--count_ == 0) {
            ::prctl(PR_SET_DUMPABLE, before_);
        }
    }
    KeptDumpability(const KeptDumpability&) = delete;
    KeptDumpability& operator=(const KeptDumpability&) = delete;

private:
    static inline std::mutex mutex_;
    static inline int count_ = 0;
    static inline int before_ = 0;
};

/// This thread's rights to files are another user's while it lives.
class RightsOf {
public:
    explicit RightsOf(const Owner& owner) {
        worked_ = setOtherGroups({});
        ::setfsgid(owner.group);
        ::setfsuid(owner.user);
        worked_ = worked_ && fileGroup() == owner.group && fileUser() == owner.user;
    }
    ~RightsOf() {
        ::setfsuid(user_);
        ::setfsgid(group_);
        setOtherGroups(groups_);
    }
    RightsOf(const RightsOf&) = delete;
    RightsOf& operator=(const RightsOf&) = delete;

    bool worked() const { return worked_; }

private:
    KeptDumpability dumpability_; ///< The first: it goes when the rights are back.
    uid_t user_ = fileUser();
    gid_t group_ = fileGroup();
    std::vector<gid_t> groups_ = otherGroups();
    bool worked_ = false;
};

} // namespace

Actor actAsOwner(const std::string& path, const std::function<void()>& action) {
    const std::optional<Owner> owner =
        ::geteuid() == kSuperuser ? Way().otherOwner(path) : std::nullopt;
    if (!owner) {
        action();
        return Actor::kSelf;
    }
    const RightsOf rights(*owner);
    if (!rights.worked()) {
        return Actor::kNobody;
    }
    action();
    return Actor::kOwner;
}

} // namespace fw
