#include "oxbow/DemoMovie.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

namespace fw {
namespace {

constexpr int kWidth = 480;
constexpr int kHeight = 270;
constexpr int kFrames = 100;
/// What a picture of 2.39:1 leaves above and below, 34.6 rows, cut to whole ones.
constexpr int kMatteHeight = 34;
constexpr double kPictureRatio = 2.39;

/// The curtain that moves across the picture grows by this much a frame: two frames that are two
/// apart must differ a little, or a single odd one between them does not count as a flash.
constexpr int kCurtainStep = 4;

// Luma codes, 8 bits, video range.
constexpr std::uint8_t kBlack = 16;
constexpr std::uint8_t kWhite = 235;
constexpr std::uint8_t kPicture = 90;
constexpr std::uint8_t kCurtain = 170;
constexpr std::uint8_t kTooBlack = 4;
constexpr std::uint8_t kTooWhite = 250;
constexpr std::uint8_t kGreyMatte = 60;
constexpr std::uint8_t kNeutralChroma = 128;

// Where the faults are. They lie further apart than a flash can be long.
constexpr int kTooBlackFrame = 12;
constexpr int kTooWhiteFrame = 24;
constexpr int kFlashFrame = 40;
constexpr int kBurstFrame = 56;
constexpr int kBurstLength = 3;
constexpr int kGreyMatteFrame = 80;

struct Rectangle {
    int left;
    int top;
    int width;
    int height;
};

constexpr Rectangle kPictureArea = {0, kMatteHeight, kWidth, kHeight - 2 * kMatteHeight};
/// 144 samples of 259200 bytes.
constexpr Rectangle kSpot = {20, 100, 12, 12};
constexpr Rectangle kMatteSpot = {100, 4, 100, 20};

class Picture {
public:
    Picture() : luma_(kWidth * kHeight, kBlack) {}

    void fill(const Rectangle& area, std::uint8_t code) {
        for (int row = area.top; row < area.top + area.height; ++row) {
            const auto start = luma_.begin() + row * kWidth + area.left;
            std::fill(start, start + area.width, code);
        }
    }
    const std::vector<std::uint8_t>& luma() const { return luma_; }

private:
    std::vector<std::uint8_t> luma_;
};

bool isFlash(int frame) {
    return frame == kFlashFrame || (frame >= kBurstFrame && frame < kBurstFrame + kBurstLength);
}

Picture pictureOf(int frame) {
    Picture picture;
    picture.fill(kPictureArea, isFlash(frame) ? kWhite : kPicture);
    if (!isFlash(frame)) {
        Rectangle curtain = kPictureArea;
        curtain.width = frame * kCurtainStep;
        curtain.left = kWidth - curtain.width;
        picture.fill(curtain, kCurtain);
    }
    switch (frame) {
    case kTooBlackFrame:
        picture.fill(kSpot, kTooBlack);
        break;
    case kTooWhiteFrame:
        picture.fill(kSpot, kTooWhite);
        break;
    case kGreyMatteFrame:
        picture.fill(kMatteSpot, kGreyMatte);
        break;
    default:
        break;
    }
    return picture;
}

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

[[noreturn]] void throwSystemError(const std::string& path) {
    throw std::system_error(errno, std::generic_category(), path);
}

void write(const File& file, const void* data, std::size_t size, const std::string& path) {
    if (std::fwrite(data, 1, size, file.get()) != size) {
        throwSystemError(path);
    }
}

} // namespace

void writeDemoMovie(const std::string& path) {
    const File file(std::fopen(path.c_str(), "wb"));
    if (!file) {
        throwSystemError(path);
    }
    const std::string header = "YUV4MPEG2 W" + std::to_string(kWidth) + " H" +
                               std::to_string(kHeight) + " F25:1 Ip A1:1 C420mpeg2\n";
    write(file, header.data(), header.size(), path);
    const std::vector<std::uint8_t> chroma(kWidth / 2 * (kHeight / 2) * 2, kNeutralChroma);
    for (int frame = 0; frame < kFrames; ++frame) {
        constexpr std::string_view kMark = "FRAME\n";
        write(file, kMark.data(), kMark.size(), path);
        const Picture picture = pictureOf(frame);
        write(file, picture.luma().data(), picture.luma().size(), path);
        write(file, chroma.data(), chroma.size(), path);
    }
    if (std::fflush(file.get()) != 0) {
        throwSystemError(path);
    }
}

std::vector<KnownFault> demoFaults() {
    return {{FaultKind::kBlacks, kTooBlackFrame, "Blacks too low - 4 (144, 0.06%)"},
            {FaultKind::kWhites, kTooWhiteFrame, "Whites too high - 250 (144, 0.06%)"},
            {FaultKind::kFlash, kFlashFrame, "Flash frame (1 frame)"},
            // A burst is reported at its second frame.
            {FaultKind::kFlash, kBurstFrame + 1, "Flash frame (3 frames)"},
            {FaultKind::kMatte, kGreyMatteFrame, "Upper matte area is not completely black"}};
}

ScanSettings demoSettings(const std::string& path) {
    ScanSettings settings;
    settings.movie = path;
    settings.aspectRatio = kPictureRatio;
    return settings;
}

} // namespace fw
