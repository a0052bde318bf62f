#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace fw {

struct ProgressFacts {
    std::int64_t newestFrame = 0;
    std::int64_t reportedFrames = 0;
    std::int64_t estimatedFrames = 0; ///< 0: unknown.
    std::int64_t faults = 0;
    std::chrono::duration<double> elapsed{0};
};

/// "frame 1234  41 %  85.3 fps  0:21 left  3 faults"; what is not known is left out.
std::string progressText(const ProgressFacts& facts);

/// One line that is written over and over, on a terminal only.
class ProgressLine {
public:
    explicit ProgressLine(int descriptor);
    ~ProgressLine() { clear(); }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    bool isOnTerminal() const { return isOnTerminal_; }
    /// Cut to the width of the terminal; control characters must not be in the text.
    void show(const std::string& text);
    /// Leaves the line empty, ready for other text.
    void clear();

private:
    std::size_t width() const;
    void write(std::string_view text) const;

    int descriptor_;
    bool isOnTerminal_;
    std::size_t shownLength_ = 0;
};

} // namespace fw
