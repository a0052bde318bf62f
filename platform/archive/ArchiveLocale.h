#pragma once

#include <clocale>

namespace fw {

/// The library takes the bytes of names for text of the current locale. In C they are written as
/// they are; in C.UTF-8 they are marked as UTF-8, and names so marked are read as what they are.
enum class NameBytes { kAsTheyAre, kUtf8 };

/// The current thread's locale while it lives.
class ArchiveLocale {
public:
    explicit ArchiveLocale(NameBytes bytes);
    ~ArchiveLocale();
    ArchiveLocale(const ArchiveLocale&) = delete;
    ArchiveLocale& operator=(const ArchiveLocale&) = delete;

private:
    locale_t locale_;
    locale_t before_;
};

} // namespace fw
