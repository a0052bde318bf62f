#include "platform/libav/MovSampleEntries.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <optional>

namespace fw::libav {
namespace {

/// A stretch of the file.
struct Extent {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
};

struct Box {
    FourCC type = 0;
    Extent content;
};

std::uint32_t bigEndian32(const std::uint8_t* bytes) {
    return static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
           static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
}

class BoxFile {
public:
    explicit BoxFile(const std::string& path) : stream_(path, std::ios::binary) {
        stream_.seekg(0, std::ios::end);
        const auto size = stream_.tellg();
        whole_ = {0, size > 0 ? static_cast<std::uint64_t>(size) : 0};
    }

    const Extent& whole() const { return whole_; }

    bool read(std::uint64_t position, std::uint8_t* bytes, std::size_t count) {
        stream_.clear();
        stream_.seekg(static_cast<std::streamoff>(position));
        stream_.read(reinterpret_cast<char*>(bytes), static_cast<std::streamsize>(count));
        return stream_.gcount() == static_cast<std::streamsize>(count);
    }

    /// The box at the start of an extent; nothing when it does not fit.
    std::optional<Box> boxAt(const Extent& extent) {
        std::array<std::uint8_t, 16> header{};
        if (extent.end - extent.begin < 8 || !read(extent.begin, header.data(), 8)) {
            return std::nullopt;
        }
        std::uint64_t size = bigEndian32(header.data());
        std::uint64_t headerSize = 8;
        if (size == 1) { // A 64-bit size follows.
            headerSize = 16;
            if (extent.end - extent.begin < 16 || !read(extent.begin, header.data(), 16)) {
                return std::nullopt;
            }
            size = static_cast<std::uint64_t>(bigEndian32(&header[8])) << 32 |
                   bigEndian32(&header[12]);
        } else if (size == 0) { // To the end of what holds it.
            size = extent.end - extent.begin;
        }
        if (size < headerSize || size > extent.end - extent.begin) {
            return std::nullopt;
        }
        return Box{bigEndian32(&header[4]), {extent.begin + headerSize, extent.begin + size}};
    }

    template <typename Visit>
    void forEachBox(Extent extent, Visit visit) {
        while (const auto box = boxAt(extent)) {
            visit(*box);
            extent.begin = box->content.end;
        }
    }

    std::optional<Extent> firstChild(const Extent& extent, FourCC type) {
        std::optional<Extent> found;
        forEachBox(extent, [&](const Box& box) {
            if (box.type == type && !found) {
                found = box.content;
            }
        });
        return found;
    }

private:
    std::ifstream stream_;
    Extent whole_;
};

std::uint32_t trackIdOf(BoxFile& file, const Extent& track) {
    const auto header = file.firstChild(track, fourCC("tkhd"));
    std::array<std::uint8_t, 24> bytes{};
    if (!header || !file.read(header->begin, bytes.data(), bytes.size())) {
        return 0;
    }
    return bigEndian32(bytes[0] == 1 ? &bytes[20] : &bytes[12]); // Version 1 has 64-bit dates.
}

void appendEntries(BoxFile& file, const Extent& track, std::vector<MovSampleEntry>& entries) {
    std::optional<Extent> place = track;
    for (const FourCC type : {fourCC("mdia"), fourCC("minf"), fourCC("stbl"), fourCC("stsd")}) {
        place = place ? file.firstChild(*place, type) : std::nullopt;
    }
    constexpr std::uint64_t kVersionAndCount = 8;
    if (!place || place->end - place->begin < kVersionAndCount) {
        return;
    }
    const std::uint32_t trackId = trackIdOf(file, track);
    file.forEachBox({place->begin + kVersionAndCount, place->end}, [&](const Box& box) {
        constexpr std::uint64_t kCommonFields = 8;
        constexpr std::uint64_t kMostBytes = 4096; // Far beyond any timecode description.
        MovSampleEntry entry{trackId, box.type, {}};
        const std::uint64_t size = box.content.end - box.content.begin;
        entry.payload.resize(std::min(size - std::min(size, kCommonFields), kMostBytes));
        if (file.read(box.content.begin + kCommonFields, entry.payload.data(),
                      entry.payload.size())) {
            entries.push_back(std::move(entry));
        }
    });
}

} // namespace

std::vector<MovSampleEntry> readMovSampleEntries(const std::string& path) {
    std::vector<MovSampleEntry> entries;
    BoxFile file(path);
    if (const auto movie = file.firstChild(file.whole(), fourCC("moov"))) {
        file.forEachBox(*movie, [&](const Box& box) {
            if (box.type == fourCC("trak")) {
                appendEntries(file, box.content, entries);
            }
        });
    }
    return entries;
}

} // namespace fw::libav
