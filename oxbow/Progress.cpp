#include "oxbow/Progress.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

namespace fw {
namespace {

constexpr std::size_t kUsualWidth = 80;

std::string timeText(double seconds) {
    // A scan that stands still has no end in sight; the line must not grow for it.
    const auto whole = static_cast<std::int64_t>(std::clamp(seconds, 0.0, 359999.0));
    const std::int64_t hours = whole / 3600;
    return hours > 0 ? fmt::format("{}:{:02}:{:02}", hours, whole / 60 % 60, whole % 60)
                     : fmt::format("{}:{:02}", whole / 60, whole % 60);
}

} // namespace

std::string progressText(const ProgressFacts& facts) {
    std::string text = fmt::format("frame {}", facts.newestFrame);
    const bool hasEstimate = facts.estimatedFrames > 0;
    if (hasEstimate) {
        const std::int64_t share = facts.reportedFrames * 100 / facts.estimatedFrames;
        text += fmt::format("  {} %", std::min<std::int64_t>(share, 100));
    }
    if (facts.elapsed.count() > 0 && facts.reportedFrames > 0) {
        const double rate = static_cast<double>(facts.reportedFrames) / facts.elapsed.count();
        text += fmt::format("  {:.1f} fps", rate);
        if (hasEstimate) {
            const std::int64_t left = facts.estimatedFrames - facts.reportedFrames;
            text += fmt::format("  {} left", timeText(static_cast<double>(left) / rate));
        }
    }
    return text + fmt::format("  {} fault{}", facts.faults, facts.faults == 1 ? "" : "s");
}

ProgressLine::ProgressLine(int descriptor)
    : descriptor_(descriptor), isOnTerminal_(::isatty(descriptor) == 1) {}

void ProgressLine::show(const std::string& text) {
    if (!isOnTerminal_) {
        return;
    }
    // The last column stays free: writing there can move the cursor to the next line.
    const std::string shown = text.substr(0, width() - 1);
    const std::size_t rest = shownLength_ > shown.size() ? shownLength_ - shown.size() : 0;
    write(fmt::format("\r{}{:{}}{}", shown, "", rest, std::string(rest, '\b')));
    shownLength_ = shown.size();
}

void ProgressLine::clear() {
    if (shownLength_ > 0) {
        write(fmt::format("\r{:{}}\r", "", shownLength_));
        shownLength_ = 0;
    }
}

std::size_t ProgressLine::width() const {
    winsize size = {};
    const bool isKnown = ::ioctl(descriptor_, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
    return isKnown ? size.ws_col : kUsualWidth;
}

void ProgressLine::write(std::string_view text) const {
    // Nothing depends on progress: a terminal that has gone away is not an error of the scan.
    [[maybe_unused]] const ssize_t written = ::write(descriptor_, text.data(), text.size());
}

} // namespace fw
