#include "support/files/DestinationFile.h"

#include "base/FormattedText.h"
#include "base/systemLog.h"

#include <utility>

namespace fw {

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

void DestinationFile::take(std::span<const std::byte> chunk, const ChunkBuffer& readBack) {
    const bool isVerified = digest_.has_value() && !chunk.empty();
    const std::optional<std::uint64_t> start = isVerified ? file_->position() : std::nullopt;
    write(chunk);
    if (isVerified) {
        goBackTo(start, chunk.size());
        const std::size_t count = file_->read(readBack.first(chunk.size()));
        digest_->update(readBack.first(count));
    }
}

void DestinationFile::goBackTo(std::optional<std::uint64_t> start, std::size_t chunkLength) {
    if (start && file_->setPosition(*start)) {
        return;
    }
    systemLog(formattedText("Error: unable to seek within file %@", path_));
    systemLog(formattedText("cur pos: %llu", start.value_or(0)));
    systemLog(formattedText("read size: %zu", chunkLength));
    systemLog(formattedText("errno: %i", file_->errorNumber()));
    systemLog(formattedText("err: %i", static_cast<int>(file_->hasFailed())));
}

} // namespace fw
