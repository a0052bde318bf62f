#include "platform/files/FileAttributes.h"

#include "base/text.h"
#include "platform/PosixError.h"
#include "platform/files/ExtendedAttributes.h"
#include "platform/files/FinderInfo.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <charconv>
#include <utility>

namespace fw {
namespace {

using Date = FileAttributes::Date;
using std::chrono::nanoseconds;
using std::chrono::seconds;

/// Nothing for a date out of range.
std::optional<Date> dateOf(const statx_timestamp& time) {
    std::int64_t count = 0;
    if (__builtin_mul_overflow(time.tv_sec, std::int64_t{1'000'000'000}, &count) ||
        __builtin_add_overflow(count, std::int64_t{time.tv_nsec}, &count)) {
        return std::nullopt;
    }
    return Date(nanoseconds(count));
}

timespec timeOf(Date date) {
    const auto whole = std::chrono::floor<seconds>(date);
    return {whole.time_since_epoch().count(), nanoseconds(date - whole).count()};
}

std::optional<Date> keptCreationDate(const std::string& path) {
    const Result<std::string> text = extendedAttribute(path, kCreationDateAttribute);
    if (!text) {
        return std::nullopt;
    }
    const char* const end = text.value().data() + text.value().size();
    std::int64_t count = 0;
    const auto [last, problem] = std::from_chars(text.value().data(), end, count);
    return problem == std::errc() && last == end ? std::optional(Date(nanoseconds(count)))
                                                 : std::nullopt;
}

std::optional<Error> setCreationDate(const std::string& path, Date date) {
    return setExtendedAttribute(path, kCreationDateAttribute, creationDateText(date));
}

std::optional<Error> setModificationDate(const std::string& path, Date date) {
    const timespec times[] = {{0, UTIME_OMIT}, timeOf(date)};
    return ::utimensat(AT_FDCWD, path.c_str(), times, 0) == 0 ? std::nullopt
                                                              : std::optional(posixError(errno));
}

} // namespace

std::string creationDateText(Date date) {
    return std::to_string(nanoseconds(date.time_since_epoch()).count());
}

FileAttributes fileAttributes(const std::string& path) {
    struct statx status {};
    if (holdsZeroByte(path) ||
        ::statx(AT_FDCWD, path.c_str(), 0, STATX_MTIME | STATX_BTIME, &status) != 0) {
        return {};
    }
    const FinderInfo info = FinderInfo::of(path);
    FileAttributes attributes{.creationDate = keptCreationDate(path),
                              .modificationDate = dateOf(status.stx_mtime),
                              .isExtensionHidden = info.isExtensionHidden(),
                              .creatorCode = info.creatorCode(),
                              .typeCode = info.typeCode()};
    if (!attributes.creationDate && (status.stx_mask & STATX_BTIME) != 0) {
        attributes.creationDate = dateOf(status.stx_btime);
    }
    return attributes;
}

std::optional<Error> setFileAttributes(const std::string& path, const FileAttributes& attributes) {
    if (holdsZeroByte(path)) {
        return posixError(EINVAL);
    }
    std::optional<Error> first;
    const auto note = [&first](std::optional<Error> failure) {
        if (!first) {
            first = std::move(failure);
        }
    };
    if (attributes.creationDate) {
        note(setCreationDate(path, *attributes.creationDate));
    }
    FinderInfo info = FinderInfo::of(path);
    if (info.take(attributes.isExtensionHidden, attributes.creatorCode, attributes.typeCode)) {
        note(info.writeTo(path));
    }
    if (attributes.modificationDate) {
        note(setModificationDate(path, *attributes.modificationDate));
    }
    return first;
}

std::optional<Error> touch(const std::string& path) {
    if (holdsZeroByte(path)) {
        return posixError(EINVAL);
    }
    return ::utimensat(AT_FDCWD, path.c_str(), nullptr, 0) == 0 ? std::nullopt
                                                                : std::optional(posixError(errno));
}

} // namespace fw
