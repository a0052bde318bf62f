#include "tests/support/TestMovie.h"

#include "tests/support/TemporaryFolder.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace fw::test {
namespace {

constexpr std::uint8_t kDark = 40;
constexpr std::uint8_t kLight = 200;
constexpr int kBits = 16;
constexpr int kBlocksInRow = 8;

int lumaAt(PixelBuffer& buffer, PixelLayout layout, int x, int y) {
    const std::uint8_t* row = buffer.base() + static_cast<std::uint64_t>(y) * buffer.bytesPerRow();
    if (layout == PixelLayout::k2vuy) {
        return row[2 * x + 1];
    }
    // The six luma samples of a group: word and bit where each begins.
    constexpr std::array<std::array<int, 2>, 6> kPlace = {
        {{0, 10}, {1, 0}, {1, 20}, {2, 10}, {3, 0}, {3, 20}}};
    const auto [word, bit] = kPlace[static_cast<std::size_t>(x % 6)];
    const std::uint8_t* bytes = row + x / 6 * 16 + word * 4;
    const std::uint32_t value =
        static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8 |
        static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
    return static_cast<int>((value >> bit) & 0x3FF) / 4;
}

} // namespace

TestPicture::TestPicture(int pictureWidth, int pictureHeight)
    : width(pictureWidth), height(pictureHeight),
      luma(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 126),
      cb(static_cast<std::size_t>((width + 1) / 2) * static_cast<std::size_t>(height), 128),
      cr(cb) {}

void TestPicture::fillLuma(int x, int y, int w, int h, std::uint8_t value) {
    for (int row = y; row < y + h && row < height; ++row) {
        for (int column = x; column < x + w && column < width; ++column) {
            luma[static_cast<std::size_t>(row * width + column)] = value;
        }
    }
}

void writeY4m(const std::string& path, int width, int height, int frames, const std::string& rate,
              const std::function<void(int frame, TestPicture& picture)>& draw) {
    std::ofstream file(path, std::ios::binary);
    file << "YUV4MPEG2 W" << width << " H" << height << " F" << rate << " Ip A1:1 C422\n";
    const auto write = [&](const std::vector<std::uint8_t>& plane) {
        file.write(reinterpret_cast<const char*>(plane.data()),
                   static_cast<std::streamsize>(plane.size()));
    };
    for (int frame = 0; frame < frames; ++frame) {
        TestPicture picture(width, height);
        draw(frame, picture);
        file << "FRAME\n";
        write(picture.luma);
        write(picture.cb);
        write(picture.cr);
    }
    if (!file) {
        throw std::runtime_error("cannot write " + path);
    }
}

void drawFrameNumber(int number, TestPicture& picture) {
    const int blockWidth = picture.width / kBlocksInRow;
    const int blockHeight = picture.height / 3;
    for (int bit = 0; bit < kBits; ++bit) {
        const bool isSet = ((number >> bit) & 1) != 0;
        picture.fillLuma(bit % kBlocksInRow * blockWidth, bit / kBlocksInRow * blockHeight,
                         blockWidth, blockHeight, isSet ? kLight : kDark);
    }
    // Something that moves, so that predicted frames carry data.
    picture.fillLuma(number * 5 % picture.width, 2 * blockHeight, blockWidth, blockHeight, kLight);
}

int readFrameNumber(PixelBuffer& buffer, PixelLayout layout) {
    const PixelBufferLock lock(buffer);
    const int blockWidth = static_cast<int>(buffer.width()) / kBlocksInRow;
    const int blockHeight = static_cast<int>(buffer.height()) / 3;
    int number = 0;
    for (int bit = 0; bit < kBits; ++bit) {
        const int x = bit % kBlocksInRow * blockWidth + blockWidth / 2;
        const int y = bit / kBlocksInRow * blockHeight + blockHeight / 2;
        number |= (lumaAt(buffer, layout, x, y) > (kDark + kLight) / 2 ? 1 : 0) << bit;
    }
    return number;
}

void runFfmpeg(const std::vector<std::string>& arguments) {
    std::vector<std::string> all = {"ffmpeg", "-v", "error", "-nostdin", "-y"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::vector<char*> raw;
    std::string shown;
    for (std::string& argument : all) {
        raw.push_back(argument.data());
        shown += argument + " ";
    }
    raw.push_back(nullptr);
    pid_t process = 0;
    int status = 0;
    if (::posix_spawnp(&process, "ffmpeg", nullptr, nullptr, raw.data(), environ) != 0 ||
        ::waitpid(process, &status, 0) != process || !WIFEXITED(status) ||
        WEXITSTATUS(status) != 0) {
        throw std::runtime_error("failed: " + shown);
    }
}

void makeNumberedMovie(const std::string& path, int frames, const std::string& rate,
                       const std::vector<std::string>& codecArguments, int width, int height) {
    const TemporaryFolder folder;
    const std::string source = folder.file("source.y4m");
    writeY4m(source, width, height, frames, rate, drawFrameNumber);
    std::vector<std::string> arguments = {"-i", source};
    arguments.insert(arguments.end(), codecArguments.begin(), codecArguments.end());
    // What some encoders write depends on their threads, of which they take as many as there are
    // processors.
    arguments.insert(arguments.end(), {"-threads", "1", path});
    runFfmpeg(arguments);
}

} // namespace fw::test
