#pragma once

#include "base/Result.h"
#include "platform/FileDescriptor.h"

#include <cstddef>
#include <string_view>

namespace fw {

/// A password in memory that is neither swapped to disk nor part of a core dump, and wiped before
/// it is given back.
class SecretText {
public:
    /// More bytes than that no password has that the system would take.
    static constexpr std::size_t kLongest = 511;

    /// Empty until something is kept.
    SecretText() = default;
    /// The error has domain "POSIX" and an errno: EINVAL for a text that is too long or cannot be a
    /// line, others where the system has no such memory left.
    static Result<SecretText> kept(std::string_view text);

    SecretText(SecretText&& other) noexcept;
    SecretText& operator=(SecretText&& other) noexcept;
    ~SecretText() { wipe(); }

    explicit operator bool() const { return memory_ != nullptr; }
    void wipe();

    /// The reading end of a pipe in which the text stands as so many lines, at most four, and then
    /// the end.
    Result<FileDescriptor> asLines(int count) const;

private:
    char* memory_ = nullptr; ///< The text and a line end; mapped for it alone.
    std::size_t length_ = 0;
};

} // namespace fw
