#include "tests/support/OrdinaryUser.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <system_error>

namespace fw::test {
namespace {

constexpr unsigned kNobody = 65534;

std::map<std::string, int>& heldFiles() {
    static std::map<std::string, int> files;
    return files;
}

void check(int result, const char* step) {
    if (result != 0) {
        throw std::system_error(errno, std::generic_category(), step);
    }
}

} // namespace

void becomeOrdinaryUser(const std::vector<std::string>& files) {
    if (::getuid() != 0) {
        return;
    }
    for (const std::string& file : files) {
        heldFiles()[file] = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
        check(heldFiles()[file] < 0, file.c_str());
    }
    check(::setgroups(0, nullptr), "setgroups");
    check(::setresgid(kNobody, kNobody, kNobody), "setresgid");
    check(::setresuid(kNobody, kNobody, kNobody), "setresuid");
    // A process that changed its user may else not even look at its own /proc/self.
    check(::prctl(PR_SET_DUMPABLE, 1), "prctl");
}

std::string reachable(const std::string& file) {
    const auto held = heldFiles().find(file);
    return held == heldFiles().end() ? file : "/proc/self/fd/" + std::to_string(held->second);
}

} // namespace fw::test
