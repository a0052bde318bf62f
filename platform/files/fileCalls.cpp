#include "platform/files/fileCalls.h"

#include <cstdio>
#include <mutex>
#include <unistd.h>
#include <utility>

namespace fw {
namespace {

/// With the system's own calls where none are given.
std::shared_ptr<const FileCalls> completed(FileCalls calls) {
    auto all = std::make_shared<FileCalls>(std::move(calls));
    if (!all->read) {
        all->read = ::read;
    }
    if (!all->write) {
        all->write = ::write;
    }
    if (!all->seek) {
        all->seek = ::lseek;
    }
    if (!all->rename) {
        all->rename = ::renameat2;
    }
    if (!all->flush) {
        all->flush = ::fdatasync;
    }
    if (!all->flushFileSystem) {
        all->flushFileSystem = ::syncfs;
    }
    if (!all->unlink) {
        all->unlink = ::unlinkat;
    }
    return all;
}

struct Calls {
    std::mutex mutex;
    FileCalls given;
    std::shared_ptr<const FileCalls> current = completed({});
};

/// Never destroyed: threads may open files while the program ends.
Calls& calls() {
    static auto* const instance = new Calls;
    return *instance;
}

} // namespace

FileCalls setFileCalls(FileCalls given) {
    std::shared_ptr<const FileCalls> next = completed(given);
    const std::lock_guard lock(calls().mutex);
    calls().current = std::move(next);
    return std::exchange(calls().given, std::move(given));
}

std::shared_ptr<const FileCalls> currentFileCalls() {
    const std::lock_guard lock(calls().mutex);
    return calls().current;
}

} // namespace fw
