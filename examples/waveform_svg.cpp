// waveform_svg MOVIE FILE.svg: draws the waveform of a movie's first sound track. Exit status: 0
// done, 1 the movie cannot be opened, has no sound that can be decoded, or the file cannot be
// written, 64 wrong arguments.
#include "media/FWAVFoundation.h"
#include "platform/libav/LibavAsset.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kColumns = 1600;
constexpr double kHalfHeight = 100.0;

struct Waveform {
    std::vector<float> points; ///< 50 a second, 0 to 32768.
    float largest = 0.0F;
};

std::optional<Waveform> waveformOf(const fw::Asset& movie) {
    Waveform waveform;
    const auto bytes = fw::FWAVFoundation::waveformDataForAsset(movie, &waveform.largest);
    if (!bytes) {
        return std::nullopt;
    }
    waveform.points.resize(bytes->size() / sizeof(float));
    std::memcpy(waveform.points.data(), bytes->data(), waveform.points.size() * sizeof(float));
    return waveform;
}

/// The largest point of each column, 0 to kHalfHeight; never more columns than points.
std::vector<double> heightsOf(const Waveform& waveform) {
    const std::vector<float>& points = waveform.points;
    std::vector<double> heights(std::min(kColumns, points.size()));
    for (std::size_t column = 0; column < heights.size(); ++column) {
        const auto first =
            points.begin() + static_cast<std::ptrdiff_t>(column * points.size() / heights.size());
        const auto last = points.begin() + static_cast<std::ptrdiff_t>(
                                               (column + 1) * points.size() / heights.size());
        heights[column] = waveform.largest > 0.0F
                              ? kHalfHeight * *std::max_element(first, last) / waveform.largest
                              : 0.0;
    }
    return heights;
}

/// One vertical stroke for each column, on both sides of the middle.
bool writeSvg(const std::string& path, const std::vector<double>& heights) {
    std::ofstream file(path);
    file << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << heights.size() << "\" height=\""
         << 2 * kHalfHeight << "\">\n<path stroke=\"black\" d=\"";
    for (std::size_t column = 0; column < heights.size(); ++column) {
        file << 'M' << column << ".5 " << kHalfHeight - heights[column] << 'V'
             << kHalfHeight + heights[column] << '\n';
    }
    file << "\"/>\n</svg>\n";
    file.close();
    return !file.fail();
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: waveform_svg MOVIE FILE.svg\n", stderr);
        return 64;
    }
    const auto movie = fw::openLibavAsset(argv[1]);
    if (movie->error()) {
        std::fprintf(stderr, "waveform_svg: %s: %s\n", argv[1],
                     movie->error()->description.c_str());
        return 1;
    }
    const auto waveform = waveformOf(*movie);
    if (!waveform) {
        std::fprintf(stderr, "waveform_svg: %s has no sound that can be decoded\n", argv[1]);
        return 1;
    }
    if (!writeSvg(argv[2], heightsOf(*waveform))) {
        std::fprintf(stderr, "waveform_svg: %s cannot be written\n", argv[2]);
        return 1;
    }
    return 0;
}
