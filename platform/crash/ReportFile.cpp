#include "platform/crash/ReportFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fw {

ReportFile::~ReportFile() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

bool ReportFile::create(const char* path) {
    descriptor_ = ::open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    return descriptor_ >= 0;
}

void ReportFile::write(std::string_view text) const {
    while (descriptor_ >= 0 && !text.empty()) {
        const ssize_t written = ::write(descriptor_, text.data(), text.size());
        if (written > 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (written == 0 || errno != EINTR) {
            return;
        }
    }
}

} // namespace fw
