// What a movie codes comes out as the exact code values: lossless movies of every arrangement of
// samples are made from raw pictures whose codes are known.

#include "platform/libav/LibavAsset.h"
#include "tests/platform/libav/ReadMovie.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestMovie.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <ostream>

namespace fw {
namespace {

using test::ReadFrame;
using test::ReadMovie;
using test::readMovie;
using test::runFfmpeg;
using test::TemporaryFolder;

enum class Range { kVideo, kFull };

struct Arrangement {
    std::string pixelFormat;
    int depth;
    Range range;
    std::vector<std::string> tags; ///< Arguments that tag the coded movie.

    friend std::ostream& operator<<(std::ostream& out, const Arrangement& arrangement) {
        return out << arrangement.pixelFormat;
    }
};

/// Samples of a planar picture: luma runs through all codes, chroma stays neutral.
class RawPicture {
public:
    RawPicture(int pictureWidth, int pictureHeight, int sampleDepth)
        : width(pictureWidth), height(pictureHeight), depth(sampleDepth) {}

    int lumaAt(int x, int y) const {
        const int codes = 1 << depth;
        // Large depths are sampled so that the ends and every residue of the low bits occur.
        const int index = y * width + x;
        return depth <= 10 ? index % codes
                           : static_cast<int>((std::int64_t{index} * 40503 + index % 7) % codes);
    }

    void write(const std::string& path, int chromaShiftX, int chromaShiftY, bool hasChroma) const {
        std::ofstream file(path, std::ios::binary);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                put(file, lumaAt(x, y));
            }
        }
        const int samples = ((width + (1 << chromaShiftX) - 1) >> chromaShiftX) *
                            ((height + (1 << chromaShiftY) - 1) >> chromaShiftY);
        for (int i = 0; hasChroma && i < 2 * samples; ++i) {
            put(file, 1 << (depth - 1));
        }
    }

    int width;
    int height;
    int depth;

private:
    void put(std::ofstream& file, int code) const {
        file.put(static_cast<char>(code & 0xFF));
        if (depth > 8) {
            file.put(static_cast<char>(code >> 8));
        }
    }
};

int chromaShiftX(const std::string& format) {
    if (format.find("444") != std::string::npos || format.find("440") != std::string::npos) {
        return 0;
    }
    return format.find("41") != std::string::npos ? 2 : 1;
}

int chromaShiftY(const std::string& format) {
    if (format.find("410") != std::string::npos) {
        return 2;
    }
    return format.find("420") != std::string::npos || format.find("440") != std::string::npos ? 1
                                                                                              : 0;
}

/// A one-frame FFV1 movie of a raw picture.
std::string losslessMovie(const TemporaryFolder& folder, const RawPicture& picture,
                          const Arrangement& arrangement) {
    const std::string raw = folder.file("picture.raw");
    picture.write(raw, chromaShiftX(arrangement.pixelFormat), chromaShiftY(arrangement.pixelFormat),
                  arrangement.pixelFormat.find("gray") == std::string::npos);
    const std::string movie = folder.file("movie.mkv");
    std::vector<std::string> arguments = {"-f",
                                          "rawvideo",
                                          "-pixel_format",
                                          arrangement.pixelFormat,
                                          "-video_size",
                                          std::to_string(picture.width) + "x" +
                                              std::to_string(picture.height),
                                          "-framerate",
                                          "25",
                                          "-i",
                                          raw,
                                          "-c:v",
                                          "ffv1",
                                          "-level",
                                          "1",
                                          "-pix_fmt",
                                          arrangement.pixelFormat};
    arguments.insert(arguments.end(), arrangement.tags.begin(), arrangement.tags.end());
    arguments.push_back(movie);
    runFfmpeg(arguments);
    return movie;
}

/// The luma code that a sample is nearest to, in the other depth and in video range, as a real
/// number.
double exactLuma(int code, const Arrangement& arrangement, int targetDepth) {
    if (arrangement.range == Range::kVideo) {
        return std::ldexp(code, targetDepth - arrangement.depth);
    }
    const double most = std::ldexp(1.0, arrangement.depth) - 1;
    return std::ldexp(16 + 219 * code / most, targetDepth - 8);
}

class LumaCodes : public testing::TestWithParam<Arrangement> {
protected:
    void expectCodes(PixelLayout layout, int targetDepth) {
        const Arrangement& arrangement = GetParam();
        const TemporaryFolder folder;
        const RawPicture picture(96, 64, arrangement.depth);
        const auto asset = openLibavAsset(losslessMovie(folder, picture, arrangement));
        const ReadMovie movie = readMovie(*asset, layout);
        ASSERT_EQ(movie.frames.size(), 1U) << test::words(movie.error);
        const ReadFrame& frame = movie.frames.front();
        const int most = (1 << targetDepth) - 1;
        for (int y = 0; y < picture.height; ++y) {
            for (int x = 0; x < picture.width; ++x) {
                const auto column = static_cast<std::uint64_t>(x);
                const auto row = static_cast<std::uint64_t>(y);
                const int code =
                    targetDepth == 8 ? frame.luma8(column, row) : frame.luma10(column, row);
                const double exact = std::min<double>(
                    exactLuma(picture.lumaAt(x, y), arrangement, targetDepth), most);
                ASSERT_LE(std::abs(code - exact), 0.5 + 1e-4)
                    << "sample " << picture.lumaAt(x, y) << " at " << x << ", " << y;
            }
        }
    }
};

TEST_P(LumaCodes, areTheNearestIn8Bits) {
    expectCodes(PixelLayout::k2vuy, 8);
}

TEST_P(LumaCodes, areTheNearestIn10Bits) {
    expectCodes(PixelLayout::kV210, 10);
}

INSTANTIATE_TEST_SUITE_P(
    Arrangements, LumaCodes,
    testing::Values(
        Arrangement{"yuv420p", 8, Range::kVideo, {}}, Arrangement{"yuv422p", 8, Range::kVideo, {}},
        Arrangement{"yuv444p", 8, Range::kVideo, {}}, Arrangement{"yuv440p", 8, Range::kVideo, {}},
        Arrangement{"yuv411p", 8, Range::kVideo, {}}, Arrangement{"yuv410p", 8, Range::kVideo, {}},
        Arrangement{"yuv420p10le", 10, Range::kVideo, {}},
        Arrangement{"yuv422p10le", 10, Range::kVideo, {}},
        Arrangement{"yuv444p10le", 10, Range::kVideo, {}},
        Arrangement{"yuv420p12le", 12, Range::kVideo, {}},
        Arrangement{"yuv422p12le", 12, Range::kVideo, {}},
        Arrangement{"yuv444p12le", 12, Range::kVideo, {}},
        Arrangement{"yuv422p16le", 16, Range::kVideo, {}},
        Arrangement{"yuv420p", 8, Range::kFull, {"-color_range", "pc"}},
        Arrangement{"yuv422p", 8, Range::kFull, {"-color_range", "pc"}},
        Arrangement{"yuv422p10le", 10, Range::kFull, {"-color_range", "pc"}},
        Arrangement{"gray", 8, Range::kVideo, {}}, Arrangement{"gray10le", 10, Range::kVideo, {}},
        Arrangement{"gray12le", 12, Range::kVideo, {}}),
    [](const auto& test) {
        return test.param.pixelFormat +
               (test.param.range == Range::kFull ? "FullRange" : "VideoRange");
    });

/// A codec that keeps RGB, and raw pictures in its own pixel format.
struct RgbCodec {
    std::string codec;
    std::string pixelFormat;
    int components; ///< In the order of the raw picture; all get the same code.
    int depth;

    friend std::ostream& operator<<(std::ostream& out, const RgbCodec& codec) {
        return out << codec.codec << " " << codec.pixelFormat;
    }
};

/// With a grey ramp: luma is then 16 + 219 x v / most whatever the matrix.
class RgbLuma : public testing::TestWithParam<RgbCodec> {
protected:
    static constexpr int kWidth = 64;
    static constexpr int kHeight = 64;

    int codeAt(int index) const {
        const int codes = 1 << GetParam().depth;
        return static_cast<int>(std::int64_t{index} * (GetParam().depth > 12 ? 40503 : 1) % codes);
    }

    std::string makeMovie(const TemporaryFolder& folder) const {
        const RgbCodec& codec = GetParam();
        const bool isPlanar = codec.pixelFormat.starts_with("gbrp");
        const int planes = isPlanar ? codec.components : 1;
        const int samples = isPlanar ? 1 : codec.components;
        std::ofstream file(folder.file("grey.raw"), std::ios::binary);
        for (int i = 0; i < planes * kWidth * kHeight * samples; ++i) {
            const int code = codeAt(i / samples % (kWidth * kHeight));
            file.put(static_cast<char>(code & 0xFF));
            if (codec.depth > 8) {
                file.put(static_cast<char>(code >> 8));
            }
        }
        file.close();
        const std::string path = folder.file("movie.mov");
        runFfmpeg({"-f", "rawvideo", "-pixel_format", codec.pixelFormat, "-video_size", "64x64",
                   "-framerate", "25", "-i", folder.file("grey.raw"), "-c:v", codec.codec, path});
        return path;
    }
};

TEST_P(RgbLuma, isTheNearestToTheGreyInBothLayouts) {
    const TemporaryFolder folder;
    const auto asset = openLibavAsset(makeMovie(folder));
    const ReadMovie eight = readMovie(*asset, PixelLayout::k2vuy);
    const ReadMovie ten = readMovie(*asset, PixelLayout::kV210);
    ASSERT_EQ(eight.frames.size(), 1U) << test::words(eight.error);
    ASSERT_EQ(ten.frames.size(), 1U) << test::words(ten.error);
    for (int i = 0; i < kWidth * kHeight; ++i) {
        const auto x = static_cast<std::uint64_t>(i % kWidth);
        const auto y = static_cast<std::uint64_t>(i / kWidth);
        const double exact = 16 + 219 * codeAt(i) / (std::ldexp(1.0, GetParam().depth) - 1);
        // The matrix works in single precision.
        ASSERT_LE(std::abs(eight.frames[0].luma8(x, y) - exact), 0.5 + 1e-3) << codeAt(i);
        ASSERT_LE(std::abs(ten.frames[0].luma10(x, y) - 4 * exact), 0.5 + 1e-3) << codeAt(i);
        ASSERT_EQ(ten.frames[0].chroma10(x, y), 512) << codeAt(i);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Codecs, RgbLuma,
    testing::Values(RgbCodec{"png", "rgb24", 3, 8}, RgbCodec{"png", "rgba", 4, 8},
                    RgbCodec{"png", "gray", 1, 8}, RgbCodec{"png", "rgb48le", 3, 16},
                    RgbCodec{"qtrle", "rgb24", 3, 8}, RgbCodec{"qtrle", "argb", 4, 8},
                    RgbCodec{"rawvideo", "rgb24", 3, 8}, RgbCodec{"ffv1", "gbrp10le", 3, 10},
                    RgbCodec{"ffv1", "gbrp12le", 3, 12}, RgbCodec{"r210", "gbrp10le", 3, 10}));

ReadFrame firstFrame(const std::string& path, PixelLayout layout) {
    const auto asset = openLibavAsset(path);
    ReadMovie movie = readMovie(*asset, layout);
    EXPECT_EQ(movie.frames.size(), 1U) << test::words(movie.error);
    return movie.frames.empty() ? ReadFrame{} : movie.frames.front();
}

class OddSizes : public testing::TestWithParam<std::pair<int, int>> {};

TEST_P(OddSizes, keepEverySampleAndRepeatTheLastOfAnOddRow) {
    const auto [width, height] = GetParam();
    for (const char* pixelFormat : {"yuv420p", "yuv422p", "yuv444p", "yuv410p"}) {
        const TemporaryFolder folder;
        const RawPicture picture(width, height, 8);
        const Arrangement arrangement{pixelFormat, 8, Range::kVideo, {}};
        const ReadFrame frame =
            firstFrame(losslessMovie(folder, picture, arrangement), PixelLayout::k2vuy);
        ASSERT_EQ(frame.width, static_cast<std::uint64_t>(width));
        ASSERT_EQ(frame.height, static_cast<std::uint64_t>(height));
        ASSERT_EQ(frame.bytesPerRow, static_cast<std::uint64_t>(width + width % 2) * 2);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width + width % 2; ++x) {
                ASSERT_EQ(frame.luma8(static_cast<std::uint64_t>(x), static_cast<std::uint64_t>(y)),
                          picture.lumaAt(std::min(x, width - 1), y))
                    << pixelFormat << " at " << x << ", " << y;
            }
        }
    }
}

TEST_P(OddSizes, endV210RowsInVideoBlack) {
    const auto [width, height] = GetParam();
    const TemporaryFolder folder;
    const RawPicture picture(width, height, 10);
    const ReadFrame frame = firstFrame(
        losslessMovie(folder, picture, {"yuv422p10le", 10, Range::kVideo, {}}), PixelLayout::kV210);
    ASSERT_EQ(frame.bytesPerRow, static_cast<std::uint64_t>((width + 47) / 48 * 128));
    const std::uint64_t pixelsInRow = frame.bytesPerRow / 16 * 6;
    for (std::uint64_t y = 0; y < frame.height; ++y) {
        for (std::uint64_t x = 0; x < pixelsInRow; ++x) {
            const bool isPicture = x < frame.width;
            ASSERT_EQ(frame.luma10(x, y),
                      isPicture ? picture.lumaAt(static_cast<int>(x), static_cast<int>(y)) : 64)
                << x << ", " << y;
            ASSERT_EQ(frame.chroma10(x, y), 512) << x << ", " << y;
        }
    }
}

TEST_P(OddSizes, leaveSixteenZeroBytesBehindTheEnd) {
    const auto [width, height] = GetParam();
    const TemporaryFolder folder;
    const RawPicture picture(width, height, 8);
    const std::string movie = losslessMovie(folder, picture, {"yuv420p", 8, Range::kVideo, {}});
    for (const PixelLayout layout : {PixelLayout::k2vuy, PixelLayout::kV210}) {
        const ReadFrame frame = firstFrame(movie, layout);
        ASSERT_GE(frame.bytes.size(), 16U);
        EXPECT_TRUE(std::all_of(frame.bytes.end() - 16, frame.bytes.end(),
                                [](std::uint8_t byte) { return byte == 0; }));
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, OddSizes,
                         testing::Values(std::pair{1, 1}, std::pair{2, 2}, std::pair{3, 5},
                                         std::pair{16, 16}, std::pair{47, 3}, std::pair{48, 2},
                                         std::pair{49, 2}, std::pair{95, 33}, std::pair{321, 7}));

TEST(Chroma, of422PassesUnchangedIn8Bits) {
    const TemporaryFolder folder;
    const std::string raw = folder.file("picture.raw");
    constexpr int kWidth = 32;
    constexpr int kHeight = 16;
    std::ofstream file(raw, std::ios::binary);
    for (int i = 0; i < kWidth * kHeight * 2; ++i) {
        file.put(static_cast<char>((i * 89 + i / 256) % 256));
    }
    file.close();
    const std::string path = folder.file("movie.mov");
    runFfmpeg({"-f", "rawvideo", "-pixel_format", "uyvy422", "-video_size", "32x16", "-framerate",
               "25", "-i", raw, "-c:v", "rawvideo", "-pix_fmt", "uyvy422", path});
    const ReadFrame frame = firstFrame(path, PixelLayout::k2vuy);
    ASSERT_EQ(frame.bytesPerRow, 64U);
    for (std::uint64_t i = 0; i < kWidth * kHeight * 2; ++i) {
        ASSERT_EQ(frame.bytes[i], (i * 89 + i / 256) % 256) << i;
    }
}

TEST(InterlacedFrames, keepTheirLumaExactly) {
    const TemporaryFolder folder;
    const RawPicture picture(96, 64, 8);
    const Arrangement arrangement{
        "yuv420p", 8, Range::kVideo, {"-vf", "setfield=tff", "-flags", "+ildct"}};
    const ReadFrame frame =
        firstFrame(losslessMovie(folder, picture, arrangement), PixelLayout::k2vuy);
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            ASSERT_EQ(frame.luma8(static_cast<std::uint64_t>(x), static_cast<std::uint64_t>(y)),
                      picture.lumaAt(x, y));
        }
    }
}

} // namespace
} // namespace fw
