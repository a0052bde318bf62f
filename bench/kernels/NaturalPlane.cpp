#include "bench/kernels/NaturalPlane.h"

#include <algorithm>
#include <cstddef>
#include <random>

namespace fw::bench {
namespace {

/// Shapes are bilinear between random corners this many samples apart.
constexpr int kCell = 64;

// On the scale of 16 bits: about the video range, and the noise of a good camera.
constexpr int kDarkest = 3800;
constexpr int kBrightest = 60600;
constexpr int kNoise = 900;

class Shapes {
public:
    Shapes(int width, int height, std::minstd_rand& random)
        : cornersPerRow_(width / kCell + 2),
          corners_(static_cast<std::size_t>(cornersPerRow_ * (height / kCell + 2))) {
        std::uniform_int_distribution<int> level(kDarkest, kBrightest);
        std::generate(corners_.begin(), corners_.end(), [&] { return level(random); });
    }

    int at(int x, int y) const {
        const int right = x % kCell;
        const int down = y % kCell;
        const int top = (corner(x, y) * (kCell - right) + corner(x + kCell, y) * right) / kCell;
        const int bottom =
            (corner(x, y + kCell) * (kCell - right) + corner(x + kCell, y + kCell) * right) / kCell;
        return (top * (kCell - down) + bottom * down) / kCell;
    }

private:
    int corner(int x, int y) const {
        return corners_[static_cast<std::size_t>(y / kCell * cornersPerRow_ + x / kCell)];
    }

    int cornersPerRow_;
    std::vector<int> corners_;
};

} // namespace

std::vector<std::uint16_t> naturalPlane(int width, int height, int depth, std::uint32_t seed) {
    std::minstd_rand random(seed);
    const Shapes shapes(width, height, random);
    std::vector<std::uint16_t> plane;
    plane.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const auto dice = static_cast<int>(random() >> 7);
            const bool isStray = dice % 251 == 0;
            const int level = isStray ? dice % 65536 : shapes.at(x, y) + dice % kNoise - kNoise / 2;
            plane.push_back(
                static_cast<std::uint16_t>(std::clamp(level, 0, 65535) >> (16 - depth)));
        }
    }
    return plane;
}

} // namespace fw::bench
