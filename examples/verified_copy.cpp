// verified_copy SOURCE DESTINATION...: copies a file to one or more places in one pass, reads back
// what was written and compares SHA-256 checksums. On a terminal a line shows how far it is. Exit
// status: 0 all copies are verified, 1 the copy failed or one of them differs, 64 wrong arguments.
#include "support/FWFileManager.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

/// One line that is written over again. Reports come on background threads and in no order, some
/// perhaps after the copy has ended.
class ProgressLine {
public:
    explicit ProgressLine(std::uint64_t total) : total_(total) {}

    void show(std::uint64_t bytes) {
        const std::lock_guard lock(mutex_);
        most_ = std::max(most_, bytes);
        if (isTerminal_ && !hasEnded_ && total_ > 0) {
            std::fprintf(stderr, "\r%3.0f %%",
                         100.0 * static_cast<double>(most_) / static_cast<double>(total_));
        }
    }
    void end() {
        const std::lock_guard lock(mutex_);
        hasEnded_ = true;
        if (isTerminal_) {
            std::fputs("\r     \r", stderr);
        }
    }

private:
    std::mutex mutex_;
    std::uint64_t total_;
    std::uint64_t most_ = 0; ///< Bytes of which a report has come.
    bool isTerminal_ = ::isatty(STDERR_FILENO) == 1;
    bool hasEnded_ = false;
};

std::uint64_t sizeOf(const std::string& path) {
    struct stat facts = {};
    return ::stat(path.c_str(), &facts) == 0 ? static_cast<std::uint64_t>(facts.st_size) : 0;
}

/// The settings of a copy that was done to its end, or nothing.
std::optional<fw::FileCopySettings> copy(const std::string& source,
                                         const std::vector<std::string>& destinations) {
    const auto progress = std::make_shared<ProgressLine>(sizeOf(source));
    std::optional<fw::FileCopySettings> finished;
    fw::FileCopyDelegate delegate;
    delegate.fileCopyBytesWritten = [progress](std::uint64_t bytes, const fw::FileCopySettings&) {
        progress->show(bytes);
    };
    delegate.fileCopyShouldContinue = [](const fw::FileCopySettings&) {
        return true;
    };
    delegate.fileCopyFinished = [&finished](const fw::FileCopySettings& settings) {
        finished = settings;
    };
    const bool isCopied = fw::FWFileManager::copyFileWithProgress(
        source, destinations, fw::FileVerification::kSha256, delegate, {}, {});
    progress->end();
    return isCopied ? finished : std::nullopt;
}

/// Whether every copy has the checksum of its source.
bool printResult(const fw::FileCopySettings& settings) {
    bool isVerified = true;
    for (std::size_t i = 0; i < settings.destinations.size(); ++i) {
        const std::string& checksum = settings.destChecksums->at(i);
        const bool isSame = !checksum.empty() && checksum == settings.sourceChecksum;
        std::printf("%s  %s%s\n", checksum.c_str(), settings.destinations[i].c_str(),
                    isSame ? "" : "  DIFFERS");
        isVerified = isVerified && isSame;
    }
    return isVerified;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fputs("usage: verified_copy SOURCE DESTINATION...\n", stderr);
        return 64;
    }
    const auto settings = copy(argv[1], {argv + 2, argv + argc});
    return settings && printResult(*settings) ? 0 : 1;
}
