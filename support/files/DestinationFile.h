#pragma once

#include "platform/digest/Digest.h"
#include "platform/files/ByteFile.h"
#include "support/files/ChunkBuffer.h"

#include <optional>
#include <span>
#include <string>

namespace fw {

/// One destination of a copy: takes chunks, and reads them back when it is to be verified.
class DestinationFile {
public:
    DestinationFile(std::string path, ByteFile file);

    const std::string& path() const { return path_; }
    /// False when that fails.
    bool truncate() { return file_->truncate(); }
    void verifyWith(const Digest& empty) { digest_ = empty; }

    /// Writes the chunk at the current end; false for a short write, which is told to the system
    /// log.
    bool write(std::span<const std::byte> chunk);
    /// Writes the chunk. When it is to be verified, what then stands there is read into `readBack`
    /// and taken into the digest.
    void take(std::span<const std::byte> chunk, const ChunkBuffer& readBack);

    /// Has the disk take what was written; a failure counts and is told as a short write.
    bool flush();

    /// What was read back stays known.
    void close() { file_.reset(); }
    /// Of what was read back; only when it is verified.
    const Digest& digest() const { return *digest_; }

private:
    bool written(bool isDone) const;
    void goBackTo(std::optional<std::uint64_t> start, std::size_t chunkLength);

    std::string path_;
    std::optional<ByteFile> file_; ///< Until it is closed.
    std::optional<Digest> digest_;
};

} // namespace fw
