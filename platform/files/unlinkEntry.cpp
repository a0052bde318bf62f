#include "platform/files/unlinkEntry.h"

#include "platform/files/fileCalls.h"

#include <cerrno>

namespace fw {

int unlinkEntry(int folder, const std::string& name, int flags) {
    const auto calls = currentFileCalls();
    const bool isGone = calls->unlink(folder, name.c_str(), flags) == 0 || errno == ENOENT;
    if (isGone) {
        return 0;
    }
    return errno == EEXIST ? ENOTEMPTY : errno;
}

} // namespace fw
