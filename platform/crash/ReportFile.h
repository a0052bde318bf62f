#pragma once

#include <string_view>

namespace fw {

/// A file that is written piece by piece, each on its way to the disk at once, so that what was
/// written stays whatever happens next. Everything is signal-safe; what fails is left out.
class ReportFile {
public:
    ReportFile() = default;
    ~ReportFile();
    ReportFile(const ReportFile&) = delete;
    ReportFile& operator=(const ReportFile&) = delete;

    /// Makes the file, for its owner only. False when something stands there or it cannot be made.
    bool create(const char* path);
    /// Nothing when no file is open.
    void write(std::string_view text) const;
    /// -1 when no file is open.
    int descriptor() const { return descriptor_; }

private:
    int descriptor_ = -1;
};

} // namespace fw
