#include "support/files/SourceChunks.h"

#include "support/CrashReports.h"

#include <algorithm>
#include <system_error>

namespace fw {
namespace {

/// Enough that neither side waits for the other's every chunk.
constexpr std::size_t kChunksBeside = 8;

/// Below, a thread costs more than it saves.
constexpr std::uint64_t kFewestBytesBeside = kChunksBeside * kChunkBytes;

} // namespace

SourceChunks::SourceChunks(const std::optional<Digest>& empty, std::uint64_t expectedBytes)
    : slots_(empty && expectedBytes >= kFewestBytesBeside ? kChunksBeside : 1), digest_(empty) {
    if (slots_.size() > 1 && *this) {
        startWorker();
    }
}

SourceChunks::~SourceChunks() {
    if (isBeside()) {
        {
            const std::lock_guard lock(mutex_);
            isEnding_ = true;
        }
        changed_.notify_all();
        worker_.join();
    }
}

SourceChunks::operator bool() const {
    return std::ranges::all_of(slots_, [](const Slot& slot) { return bool(slot.buffer); });
}

/// Without another thread the copy makes the digest itself.
void SourceChunks::startWorker() {
    try {
        worker_ = std::thread([this] { digestChunks(); });
    } catch (const std::system_error&) {
        return;
    }
}

std::span<std::byte> SourceChunks::room() {
    if (isBeside()) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return taken_ - digested_ < slots_.size(); });
    }
    return slotOf(taken_).buffer.all();
}

void SourceChunks::take(std::size_t count) {
    Slot& slot = slotOf(taken_);
    slot.count = count;
    if (!isBeside()) {
        if (digest_) {
            digest_->update(slot.buffer.first(count));
        }
        return;
    }
    {
        const std::lock_guard lock(mutex_);
        ++taken_;
    }
    changed_.notify_all();
}

const std::optional<Digest>& SourceChunks::digest() {
    if (isBeside()) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return digested_ == taken_; });
    }
    return digest_;
}

void SourceChunks::digestChunks() {
    const CrashReportedThread reported;
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return isEnding_ || digested_ < taken_; });
        if (isEnding_) {
            return;
        }
        const Slot& slot = slotOf(digested_);
        lock.unlock();
        digest_->update(slot.buffer.first(slot.count));
        lock.lock();
        ++digested_;
        changed_.notify_all();
    }
}

} // namespace fw
