#pragma once

#include "base/PlatformException.h"
#include "pixels/PixelBuffer.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace fw::test {

/// A frame whose memory ends exactly where reading must end, so that the address sanitizer sees
/// every read beyond. Counts locks, and can throw.
class BytesBuffer final : public PixelBuffer {
public:
    BytesBuffer(std::uint64_t width, std::uint64_t height, std::uint64_t bytesPerRow)
        : width_(width), height_(height), bytesPerRow_(bytesPerRow),
          bytes_(height * bytesPerRow + kReadableBytesPastEnd) {}

    /// One row of the given bytes.
    explicit BytesBuffer(const std::vector<std::uint8_t>& row)
        : BytesBuffer(row.size(), 1, row.size()) {
        std::copy(row.begin(), row.end(), bytes_.begin());
    }

    void lock() override { ++locks; }
    void unlock() override { ++unlocks; }
    std::uint64_t width() const override { return width_; }
    std::uint64_t height() const override {
        if (heightException) {
            throw PlatformException(*heightException);
        }
        return height_;
    }
    std::uint64_t bytesPerRow() const override { return bytesPerRow_; }
    const std::uint8_t* base() const override {
        if (baseException) {
            throw PlatformException(*baseException);
        }
        return bytes_.data();
    }

    std::uint64_t byteCount() const { return bytes_.size() - kReadableBytesPastEnd; }
    std::uint8_t& operator[](std::uint64_t offset) { return bytes_.at(offset); }
    void fill(std::uint8_t value) { fill(0, byteCount(), value); }
    void fill(std::uint64_t from, std::uint64_t to, std::uint8_t value) {
        std::fill(bytes_.begin() + static_cast<std::ptrdiff_t>(from),
                  bytes_.begin() + static_cast<std::ptrdiff_t>(to), value);
    }
    void fillRows(std::uint64_t from, std::uint64_t to, std::uint8_t value) {
        fill(from * bytesPerRow_, to * bytesPerRow_, value);
    }
    template <typename Generator>
    void randomize(Generator& generator) {
        std::uniform_int_distribution<int> byte(0, 255);
        for (std::uint64_t i = 0; i < byteCount(); ++i) {
            bytes_[i] = static_cast<std::uint8_t>(byte(generator));
        }
    }

    int locks = 0;
    int unlocks = 0;
    std::optional<std::string> heightException;
    std::optional<std::string> baseException;

private:
    std::uint64_t width_;
    std::uint64_t height_;
    std::uint64_t bytesPerRow_;
    std::vector<std::uint8_t> bytes_;
};

} // namespace fw::test
