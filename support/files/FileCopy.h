#pragma once

#include "platform/digest/Digest.h"
#include "platform/files/ByteFile.h"
#include "platform/files/FileAttributes.h"
#include "platform/files/FileIdentity.h"
#include "support/FileCopySettings.h"
#include "support/files/Cancellation.h"
#include "support/files/DestinationFile.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace fw {

/// One copy of a file to its destinations, in one pass.
class FileCopy {
public:
    FileCopy(FileCopySettings settings, FileVerification verification);

    /// Whether it succeeded.
    bool run();

private:
    const FileCopyDelegate* delegate() const {
        return settings_.delegate ? &*settings_.delegate : nullptr;
    }
    bool sparesSource(const FileIdentity& source) const;
    bool prepareFolders() const;
    bool openSource();
    bool openDestinations();
    bool refuseDestination(const std::string& path) const;
    bool copyContents();
    void copyChunk(std::span<const std::byte> chunk, const ChunkBuffer& readBack,
                   SourceChunks& before);
    void reportWhenDue();
    void closeFiles();
    void finish();
    void verify();
    void copyAttributes() const;

    FileCopySettings settings_;
    std::optional<Digest> digest_; ///< Of the source; only when the copy is verified.
    std::shared_ptr<const FileCopySettings> settingsAtStart_;
    Cancellation cancellation_;

    std::optional<ByteFile> source_;
    FileAttributes sourceAttributes_;
    std::uint64_t sourceSize_ = 0;
    std::vector<DestinationFile> destinations_;
    std::uint64_t copied_ = 0;
    std::uint64_t reported_ = 0;
};

} // namespace fw
