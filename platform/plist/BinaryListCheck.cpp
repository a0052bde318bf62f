#include "platform/plist/BinaryListCheck.h"

#include "platform/plist/PlainXml.h"

#include <cstdint>
#include <optional>

namespace fw {
namespace {

constexpr std::string_view kMagic = "bplist00";
constexpr std::size_t kTrailerSize = 32;

// The kinds of values that have a size or elements.
constexpr unsigned kData = 4;
constexpr unsigned kAscii = 5;
constexpr unsigned kUtf16 = 6;
constexpr unsigned kReference = 8;
constexpr unsigned kArray = 0xA;
constexpr unsigned kDictionary = 0xD;

constexpr std::uint64_t kMostValues = 1'000'000;
constexpr std::uint64_t kMostBytes = std::uint64_t{64} * 1024 * 1024;

/// Big-endian, of 1 to 8 bytes.
std::uint64_t numberAt(std::string_view bytes, std::size_t position, std::size_t length) {
    std::uint64_t value = 0;
    for (const char c : bytes.substr(position, length)) {
        value = value << 8 | static_cast<unsigned char>(c);
    }
    return value;
}

/// The trailer: how wide offsets and references are, how many objects there are, where.
struct Layout {
    std::size_t offsetSize = 0;
    std::size_t referenceSize = 0;
    std::uint64_t objectCount = 0;
    std::uint64_t root = 0;
    std::uint64_t tableStart = 0;
};

bool isNumberSize(std::size_t size) {
    return size >= 1 && size <= 8;
}

std::optional<Layout> layoutOf(std::string_view bytes) {
    if (bytes.size() < kMagic.size() + kTrailerSize || !bytes.starts_with(kMagic)) {
        return std::nullopt;
    }
    const std::size_t trailer = bytes.size() - kTrailerSize;
    const Layout layout = {numberAt(bytes, trailer + 6, 1), numberAt(bytes, trailer + 7, 1),
                           numberAt(bytes, trailer + 8, 8), numberAt(bytes, trailer + 16, 8),
                           numberAt(bytes, trailer + 24, 8)};
    if (!isNumberSize(layout.offsetSize) || !isNumberSize(layout.referenceSize) ||
        layout.root >= layout.objectCount || layout.tableStart < kMagic.size() ||
        layout.tableStart > trailer ||
        layout.objectCount > (trailer - layout.tableStart) / layout.offsetSize) {
        return std::nullopt;
    }
    return layout;
}

/// Whether it is a text with the character U+0000, at which the library cuts it or aborts.
bool holdsZero(unsigned kind, std::string_view bytes) {
    if (kind == kAscii) {
        return bytes.find('\0') != std::string_view::npos;
    }
    for (std::size_t i = 0; kind == kUtf16 && i + 1 < bytes.size(); i += 2) {
        if (bytes[i] == '\0' && bytes[i + 1] == '\0') {
            return true;
        }
    }
    return false;
}

/// Walks the values as the library does, which unfolds every reference.
class Walk {
public:
    Walk(std::string_view bytes, const Layout& layout) : bytes_(bytes), layout_(layout) {}

    bool isSound(std::uint64_t object, int depth) {
        if (object >= layout_.objectCount || depth > kDeepestPropertyList ||
            ++values_ > kMostValues) {
            return false;
        }
        std::size_t position = layout_.tableStart + object * layout_.offsetSize;
        position = numberAt(bytes_, position, layout_.offsetSize);
        if (position < kMagic.size() || position >= layout_.tableStart) {
            return false;
        }
        const unsigned marker = static_cast<unsigned char>(bytes_[position]);
        const unsigned kind = marker >> 4;
        const bool isContainer = kind >= kArray && kind <= kDictionary;
        if (kind < kData || kind == kReference) {
            return true; // A single number; the library checks its end.
        }
        const auto count = countAt(marker & 0xF, ++position);
        if (!count) {
            return false;
        }
        if (isContainer) {
            return areReferencesSound(position, *count * (kind == kDictionary ? 2 : 1), depth);
        }
        const std::uint64_t size = *count * (kind == kUtf16 ? 2 : 1);
        bytesUnfolded_ += size;
        return size <= layout_.tableStart - position && bytesUnfolded_ <= kMostBytes &&
               !holdsZero(kind, bytes_.substr(position, size));
    }

private:
    /// The count of a value whose marker says `low`; moves `position` behind a count of its own.
    std::optional<std::uint64_t> countAt(unsigned low, std::size_t& position) const {
        if (low != 0xF) {
            return low;
        }
        const unsigned marker = static_cast<unsigned char>(bytes_[position]);
        const std::size_t size = std::size_t{1} << (marker & 0xF);
        if (marker >> 4 != 1 || size > 8 || position + 1 + size > layout_.tableStart) {
            return std::nullopt;
        }
        const std::uint64_t count = numberAt(bytes_, position + 1, size);
        position += 1 + size;
        return count <= layout_.tableStart ? std::optional(count) : std::nullopt;
    }

    bool areReferencesSound(std::size_t position, std::uint64_t count, int depth) {
        if (position > layout_.tableStart ||
            count > (layout_.tableStart - position) / layout_.referenceSize) {
            return false;
        }
        for (std::uint64_t i = 0; i < count; ++i, position += layout_.referenceSize) {
            if (!isSound(numberAt(bytes_, position, layout_.referenceSize), depth + 1)) {
                return false;
            }
        }
        return true;
    }

    std::string_view bytes_;
    const Layout& layout_;
    std::uint64_t values_ = 0;
    std::uint64_t bytesUnfolded_ = 0;
};

} // namespace

bool isBinaryListSound(std::string_view bytes) {
    const std::optional<Layout> layout = layoutOf(bytes);
    return layout && Walk(bytes, *layout).isSound(layout->root, 1);
}

} // namespace fw
