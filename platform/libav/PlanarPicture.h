#pragma once

extern "C" {
#include <libavutil/frame.h>
}

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>

namespace fw::libav {

enum class SampleFamily { kGray, kYuv, kRgb };

/// How the samples of a decoded frame are to be understood, apart from where they lie.
struct PictureFormat {
    SampleFamily family = SampleFamily::kYuv;
    int depth = 8;        ///< Bits of a sample, 8 to 16.
    int chromaShiftX = 0; ///< The chroma planes are 1 / 2^shift as wide (rounded up).
    int chromaShiftY = 0;
    bool isFullRange = false;
    AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED; ///< Of the luma that RGB is brought to.
    AVChromaLocation chromaLocation = AVCHROMA_LOC_LEFT;
    bool isInterlaced = false;
    int width = 0;
    int height = 0;

    int bytesPerSample() const { return depth > 8 ? 2 : 1; }
    int planeCount() const { return family == SampleFamily::kGray ? 1 : 3; }
    int planeWidth(int plane) const;
    int planeHeight(int plane) const;

    bool operator==(const PictureFormat&) const = default;
};

/// A picture whose samples lie in planes of their own: bytes, or 16-bit little-endian words with
/// the sample in the low bits. Planes are Y, Cb, Cr or R, G, B. The memory is somebody else's.
struct PlanarPicture {
    PictureFormat format;
    std::array<const std::uint8_t*, 3> data{};
    std::array<std::ptrdiff_t, 3> stride{};

    const std::uint8_t* row(int plane, int y) const {
        const auto index = static_cast<std::size_t>(plane);
        return data[index] + stride[index] * y;
    }
};

/// Memory for the planes of a picture, aligned to 64 bytes and used again while the sizes fit.
class PlaneStorage {
public:
    /// Makes room for `width` x `height` samples in each plane; contents are undefined. Throws
    /// std::bad_alloc.
    void resize(int plane, int width, int height, int bytesPerSample);

    std::uint8_t* row(int plane, int y) {
        const Plane& p = planes_[static_cast<std::size_t>(plane)];
        return p.bytes.get() + p.stride * y;
    }
    std::ptrdiff_t stride(int plane) const {
        return planes_[static_cast<std::size_t>(plane)].stride;
    }

private:
    struct Free {
        void operator()(std::uint8_t* bytes) const { std::free(bytes); }
    };
    struct Plane {
        std::unique_ptr<std::uint8_t[], Free> bytes;
        std::size_t capacity = 0;
        std::ptrdiff_t stride = 0;
    };
    std::array<Plane, 3> planes_;
};

} // namespace fw::libav
