#include "support/log/LogFile.h"

#include "base/text.h"
#include "platform/PosixError.h"
#include "platform/files/openFile.h"
#include "platform/files/writeAll.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace fw {
namespace {

/// The file's size when its last byte ends no line, otherwise 0.
off_t sizeWhenTorn(int file) {
    struct stat status {};
    if (::fstat(file, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size == 0) {
        return 0;
    }
    // A size that is asked for may be one in the middle of another process's write. The search for
    // the end of the data waits, on the usual file systems, until that write is through.
    const off_t size = ::lseek(file, status.st_size - 1, SEEK_HOLE);
    char last = '\n';
    return size > 0 && ::pread(file, &last, 1, size - 1) == 1 && last != '\n' ? size : 0;
}

} // namespace

std::shared_ptr<LogFile> LogFile::open(const std::string& path) {
    if (holdsZeroByte(path)) {
        return nullptr;
    }
    // Not blocking: a pipe that nobody reads must not hold the log up for ever.
    FileDescriptor file = openFile(AT_FDCWD, path, O_WRONLY | O_APPEND);
    if (!file) {
        return nullptr;
    }
    ::fcntl(file.get(), F_SETFL, O_APPEND);
    return std::shared_ptr<LogFile>(new LogFile(std::move(file)));
}

LogFile::Outcome LogFile::append(std::string_view lines) {
    if (mayLineBeTorn_ && isLineTorn()) {
        const Outcome lineEnd = write("\n");
        if (lineEnd.error) {
            return {0, lineEnd.error};
        }
    }
    Outcome outcome = write(lines);
    mayLineBeTorn_ = outcome.error.has_value();
    return outcome;
}

/// Whether the file's last byte ends no line, and stays the last for a moment: another process may
/// be in the middle of a line. A file that cannot be read is taken for whole.
bool LogFile::isLineTorn() const {
    constexpr std::chrono::milliseconds kMoment{2};
    const std::string path = "/proc/self/fd/" + std::to_string(file_.get());
    const FileDescriptor reader(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    const off_t torn = reader ? sizeWhenTorn(reader.get()) : 0;
    if (torn == 0) {
        return false;
    }
    std::this_thread::sleep_for(kMoment);
    return sizeWhenTorn(reader.get()) == torn;
}

LogFile::Outcome LogFile::write(std::string_view bytes) {
    const Written written = writePieces(::write, file_.get(), bytes.data(), bytes.size());
    return {written.bytes,
            written.failure == 0 ? std::nullopt : std::optional(posixError(written.failure))};
}

} // namespace fw
