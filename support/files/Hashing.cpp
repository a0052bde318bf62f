#include "base/FormattedText.h"
#include "base/systemLog.h"
#include "platform/files/ByteFile.h"
#include "support/FWFileManager.h"
#include "support/FWLog.h"
#include "support/files/Cancellation.h"
#include "support/files/ChunkBuffer.h"
#include "support/files/checksumText.h"

#include <utility>

namespace fw {
namespace {

using Delegate = std::optional<ChecksumDelegate>;

/// The delegate is asked whenever so many bytes, or a multiple of them, have been read.
constexpr std::uint64_t kQuestionStep = 52'428'800;

enum class Outcome { kDone, kReadError, kCancelled };

void askWhetherToGoOn(const Delegate& delegate, const std::string& path,
                      const Cancellation& cancellation) {
    if (delegate && delegate->checksumShouldContinue) {
        cancellation.ask([ask = delegate->checksumShouldContinue, path] { return ask(path); });
    }
}

/// Takes the whole file in. The end is looked at before the flag: an answer that comes after the
/// last chunk changes nothing.
Outcome feed(ByteFile& file, Digest& digest, const ChunkBuffer& buffer, const std::string& path,
             const Delegate& delegate) {
    const Cancellation cancellation;
    std::uint64_t total = 0;
    for (;;) {
        const std::size_t count = file.read(buffer.all());
        if (count == 0) {
            return file.isAtEnd() ? Outcome::kDone : Outcome::kReadError;
        }
        digest.update(buffer.first(count));
        total += count;
        if (total % kQuestionStep == 0) {
            askWhetherToGoOn(delegate, path, cancellation);
        }
        if (cancellation.isCancelled()) {
            return Outcome::kCancelled;
        }
    }
}

std::string hashForFile(const std::string& path, Digest digest, const Delegate& delegate) {
    Result<ByteFile> file = ByteFile::openForReading(path);
    if (!file) {
        systemLog(formattedText(
            "Error: Unable to open destination file %@. Aborting hash verification...", path));
        return {};
    }
    const ChunkBuffer buffer;
    if (!buffer) {
        FWLog::appendLogAndPrint("Error reading file %@ - out of memory", path);
        return {};
    }
    const Outcome outcome = feed(file.value(), digest, buffer, path, delegate);
    if (outcome == Outcome::kReadError) {
        FWLog::appendLogAndPrint("Error reading file %@ - aborting...", path);
    }
    return outcome == Outcome::kDone ? checksumText(digest) : std::string();
}

} // namespace

std::string FWFileManager::md5HashWithContext(const Md5Digest& context) {
    return checksumText(context);
}

std::string FWFileManager::sha1HashWithContext(const Sha1Digest& context) {
    return checksumText(context);
}

std::string FWFileManager::sha256HashWithContext(const Sha256Digest& context) {
    return checksumText(context);
}

std::string FWFileManager::sha512HashWithContext(const Sha512Digest& context) {
    return checksumText(context);
}

std::string FWFileManager::md5HashForFile(const std::string& path) {
    return md5HashForFile(path, std::nullopt);
}

std::string FWFileManager::md5HashForFile(const std::string& path, const Delegate& delegate) {
    return hashForFile(path, Md5Digest(), delegate);
}

std::string FWFileManager::sha1HashForFile(const std::string& path) {
    return sha1HashForFile(path, std::nullopt);
}

std::string FWFileManager::sha1HashForFile(const std::string& path, const Delegate& delegate) {
    return hashForFile(path, Sha1Digest(), delegate);
}

std::string FWFileManager::sha512HashForFile(const std::string& path) {
    return sha512HashForFile(path, std::nullopt);
}

std::string FWFileManager::sha512HashForFile(const std::string& path, const Delegate& delegate) {
    return hashForFile(path, Sha512Digest(), delegate);
}

} // namespace fw
