#include "support/files/DestinationFile.h"

#include "base/FormattedText.h"
#include "base/systemLog.h"

#include <cstring>
#include <utility>

namespace fw {
namespace {

bool isSame(std::span<const std::byte> some, std::span<const std::byte> others) {
    return some.size() == others.size() &&
           std::memcmp(some.data(), others.data(), some.size()) == 0;
}

} // namespace

DestinationFile::DestinationFile(std::string path, ByteFile file)
    : path_(std::move(path)), file_(std::move(file)) {}

bool DestinationFile::written(bool isDone) const {
    if (!isDone) {
        systemLog(formattedText("Error writing file %@: %i", path_,
                                static_cast<int>(file_->hasFailed())));
    }
    return isDone;
}

bool DestinationFile::write(std::span<const std::byte> chunk) {
    return written(file_->write(chunk) == chunk.size());
}

bool DestinationFile::flush() {
    return written(file_->flush());
}

bool DestinationFile::flushFileSystem() {
    return written(file_->flushFileSystem());
}

void DestinationFile::writeAndReadBack(std::span<const std::byte> chunk,
                                       const ChunkBuffer& readBack, SourceChunks& before) {
    if (chunk.empty()) {
        write(chunk);
        return;
    }
    const std::optional<std::uint64_t> start = file_->position();
    const std::size_t writtenBytes = file_->write(chunk);
    written(writtenBytes == chunk.size());
    const bool isBack = wentTo(start, chunk.size());
    const auto stands = readBack.first(file_->read(readBack.first(chunk.size())));
    // The next chunk goes to the end of what is written, wherever the reading stopped.
    if (isBack && stands.size() != writtenBytes) {
        wentTo(*start + writtenBytes, chunk.size());
    }
    if (!ownDigest_ && !isSame(stands, chunk)) {
        ownDigest_ = before.digest();
    }
    if (ownDigest_) {
        ownDigest_->update(stands);
    }
}

bool DestinationFile::wentTo(std::optional<std::uint64_t> position, std::size_t chunkLength) {
    if (position && file_->setPosition(*position)) {
        return true;
    }
    systemLog(formattedText("Error: unable to seek within file %@", path_));
    systemLog(formattedText("cur pos: %llu", position.value_or(0)));
    systemLog(formattedText("read size: %zu", chunkLength));
    systemLog(formattedText("errno: %i", file_->errorNumber()));
    systemLog(formattedText("err: %i", static_cast<int>(file_->hasFailed())));
    return false;
}

} // namespace fw
