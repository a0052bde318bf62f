#pragma once

#include "platform/digest/Digest.h"
#include "platform/files/ByteFile.h"
#include "support/files/ChunkBuffer.h"
#include "support/files/SourceChunks.h"

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

    /// Writes the chunk at the current end; false for a short write, which is told to the system
    /// log.
    bool write(std::span<const std::byte> chunk);
    /// Writes it, and reads what then stands there into `readBack`, for the digest. `before` has
    /// taken all chunks before this one.
    void writeAndReadBack(std::span<const std::byte> chunk, const ChunkBuffer& readBack,
                          SourceChunks& before);

    /// Has the disk take what was written; a failure counts and is told as a short write.
    bool flush();
    /// The same for all that was written to its file system, the file's name in its folder, too.
    bool flushFileSystem();

    void close() { file_.reset(); }
    /// Of what was read back; `source` is the digest of the whole source.
    const Digest& digest(const Digest& source) const { return ownDigest_ ? *ownDigest_ : source; }

private:
    bool written(bool isDone) const;
    bool wentTo(std::optional<std::uint64_t> position, std::size_t chunkLength);

    std::string path_;
    std::optional<ByteFile> file_; ///< Until it is closed.
    /// From the first byte on that is not the source's. Up to there its digest would be the
    /// source's, and to compare bytes is ten times faster than to digest them again.
    std::optional<Digest> ownDigest_;
};

} // namespace fw
