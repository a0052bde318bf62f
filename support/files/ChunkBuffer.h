#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <span>

namespace fw {

/// Files are read and written in pieces of so many bytes.
constexpr std::size_t kChunkBytes = 65536;

/// Room for one chunk; none when there is not enough memory.
class ChunkBuffer {
public:
    ChunkBuffer() : bytes_(new (std::nothrow) std::byte[kChunkBytes]) {}

    explicit operator bool() const { return bytes_ != nullptr; }
    std::span<std::byte> all() const { return {bytes_.get(), kChunkBytes}; }
    std::span<std::byte> first(std::size_t count) const { return all().first(count); }

private:
    std::unique_ptr<std::byte[]> bytes_;
};

} // namespace fw
