#pragma once

#include "platform/digest/Digest.h"
#include "support/files/ChunkBuffer.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <span>
#include <thread>
#include <vector>

namespace fw {

/// The chunks of a file that is copied, and their digest when the copy is verified. The digest of
/// a longer file is made on a thread of its own, beside the copy. One thread uses it.
class SourceChunks {
public:
    /// `empty` is the digest of nothing, or none for a copy that is not verified.
    SourceChunks(const std::optional<Digest>& empty, std::uint64_t expectedBytes);
    ~SourceChunks();
    SourceChunks(const SourceChunks&) = delete;
    SourceChunks& operator=(const SourceChunks&) = delete;

    /// False when there was not enough memory; it is then of no use.
    explicit operator bool() const;

    /// Where the next chunk goes. Waits until earlier ones have made room.
    std::span<std::byte> room();
    /// That chunk has `count` bytes and is needed by nobody else any more.
    void take(std::size_t count);
    /// The digest of all that was taken; waits for it.
    const std::optional<Digest>& digest();

private:
    struct Slot {
        ChunkBuffer buffer;
        std::size_t count = 0;
    };

    bool isBeside() const { return worker_.joinable(); }
    Slot& slotOf(std::uint64_t chunk) { return slots_[chunk % slots_.size()]; }
    void startWorker();
    void digestChunks();

    std::vector<Slot> slots_;
    std::optional<Digest> digest_;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::uint64_t taken_ = 0;    ///< Chunks, ever.
    std::uint64_t digested_ = 0; ///< Chunks, ever.
    bool isEnding_ = false;
    std::thread worker_; ///< Of a longer file's digest; all of the above is shared with it.
};

} // namespace fw
