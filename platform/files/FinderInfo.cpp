#include "platform/files/FinderInfo.h"

#include "platform/files/ExtendedAttributes.h"

#include <algorithm>

namespace fw {
namespace {

constexpr const char* kName = "com.apple.FinderInfo";

} // namespace

FinderInfo FinderInfo::of(const std::string& path) {
    FinderInfo info;
    const Result<std::string> bytes = extendedAttribute(path, kName);
    if (bytes && bytes.value().size() == info.bytes_.size()) {
        std::copy(bytes.value().begin(), bytes.value().end(), info.bytes_.begin());
    }
    return info;
}

std::uint32_t FinderInfo::number(std::size_t offset, std::size_t length) const {
    std::uint32_t number = 0;
    for (std::size_t i = offset; i < offset + length; ++i) {
        number = number << 8 | bytes_[i];
    }
    return number;
}

void FinderInfo::setNumber(std::size_t offset, std::size_t length, std::uint32_t number) {
    for (std::size_t i = offset + length; i-- > offset; number >>= 8) {
        bytes_[i] = static_cast<unsigned char>(number & 0xFF);
    }
}

bool FinderInfo::take(std::optional<bool> isExtensionHidden,
                      std::optional<std::uint32_t> creatorCode,
                      std::optional<std::uint32_t> typeCode) {
    const auto before = bytes_;
    if (isExtensionHidden) {
        const std::uint32_t others = number(kFlags, 2) & ~kExtensionHidden;
        setNumber(kFlags, 2, *isExtensionHidden ? others | kExtensionHidden : others);
    }
    if (creatorCode) {
        setNumber(kCreator, 4, *creatorCode);
    }
    if (typeCode) {
        setNumber(kType, 4, *typeCode);
    }
    return bytes_ != before;
}

bool FinderInfo::takeLabel(unsigned label) {
    const auto before = bytes_;
    const std::uint32_t others = number(kFlags, 2) & ~kLabel;
    setNumber(kFlags, 2, others | (label << kLabelShift & kLabel));
    return bytes_ != before;
}

std::optional<Error> FinderInfo::writeTo(const std::string& path) const {
    const bool isEmpty = std::all_of(bytes_.begin(), bytes_.end(), [](auto b) { return b == 0; });
    return isEmpty
               ? removeExtendedAttribute(path, kName)
               : setExtendedAttribute(
                     path, kName, {reinterpret_cast<const char*>(bytes_.data()), bytes_.size()});
}

} // namespace fw
