#include "base/FormattedText.h"
#include "base/systemLog.h"
#include "platform/files/FileAttributes.h"
#include "platform/files/FileFacts.h"
#include "support/FWFileManager.h"
#include "support/FWLog.h"
#include "support/files/waitUntil.h"

#include <chrono>
#include <thread>

namespace fw {
namespace {

/// What changes while a file is written; nothing when there is no file.
struct WriteState {
    std::uint64_t size = 0;
    std::optional<FileAttributes::Date> date;

    bool operator==(const WriteState&) const = default;
};

std::optional<WriteState> writeState(const std::string& path) {
    if (!FWFileManager::fileExistsAtPath(path)) {
        return std::nullopt;
    }
    return WriteState{fileLength(path), fileAttributes(path).modificationDate};
}

} // namespace

/// Deliberate: one look, and no loop.
void FWFileManager::waitForFileCreation(const std::string& path, Timeout timeout) {
    using namespace std::chrono;
    const auto start = steady_clock::now();
    if (fileSize(path) != 0) {
        return;
    }
    const auto passed = floor<seconds>(steady_clock::now() - start);
    if (static_cast<double>(passed.count()) <= timeout.seconds) {
        FWLog::appendLog("File %@ is not yet created. Waiting...", path);
        std::this_thread::sleep_for(microseconds(500));
    }
}

bool FWFileManager::waitForFileWrites(const std::string& path) {
    return waitForFileWrites(path, LockFile::kNo);
}

bool FWFileManager::waitForFileWrites(const std::string& path, LockFile lockFile) {
    constexpr Timeout kStandstill(1);
    bool isWritten = false;
    std::optional<WriteState> state = writeState(path);
    while (state && waitUntil(kStandstill, [&] { return writeState(path) != state; })) {
        state = writeState(path);
        if (state && !isWritten) {
            systemLog(formattedText("File %@ is currently being written to. Waiting...", path));
            isWritten = true;
        }
    }
    if (!state) {
        return false;
    }
    if (isWritten) {
        systemLog(formattedText("File %@ finished writing.", path));
    }
    return lockFile == LockFile::kNo || FWFileManager::lockFile(path);
}

} // namespace fw
