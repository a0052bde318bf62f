#pragma once

#include "pixels/PixelBuffer.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace fw::test {

/// A picture in 8-bit 4:2:2 planes, for writing test movies.
struct TestPicture {
    TestPicture(int pictureWidth, int pictureHeight);

    int width;
    int height;
    std::vector<std::uint8_t> luma;
    std::vector<std::uint8_t> cb;
    std::vector<std::uint8_t> cr;

    void fillLuma(int x, int y, int w, int h, std::uint8_t value);
};

/// Writes a YUV4MPEG2 file (4:2:2, progressive) of pictures that a function draws.
void writeY4m(const std::string& path, int width, int height, int frames, const std::string& rate,
              const std::function<void(int frame, TestPicture& picture)>& draw);

/// Draws a frame number (16 bits) as two rows of eight light or dark blocks over some motion.
void drawFrameNumber(int number, TestPicture& picture);

/// Reads the number back from a decoded frame.
int readFrameNumber(PixelBuffer& buffer, PixelLayout layout);

/// Runs the ffmpeg program with arguments; throws std::runtime_error with its words on failure.
void runFfmpeg(const std::vector<std::string>& arguments);

/// A movie of numbered frames, coded by ffmpeg with the given arguments (codec, container...).
void makeNumberedMovie(const std::string& path, int frames, const std::string& rate,
                       const std::vector<std::string>& codecArguments, int width = 160,
                       int height = 96);

} // namespace fw::test
