#pragma once

#include <cstdio>
#include <fstream>
#include <string>

namespace fw::bench {

/// A line of /proc/self/status, in KiB.
inline long kibibytesOf(const std::string& label) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(label)) {
            return std::stol(line.substr(label.size()));
        }
    }
    return 0;
}

/// Prints the most memory that this program ever held, in KiB, and the same without the pages of
/// its files (programs and libraries), which processes share: those that it holds now, at its end,
/// for the system keeps no peak of them. What the process was before it started the program does
/// not count, as it does in what the system tells its parent.
inline void printPeakMemory() {
    const long peak = kibibytesOf("VmHWM:");
    std::printf("%ld %ld\n", peak, peak - kibibytesOf("RssFile:"));
}

} // namespace fw::bench
