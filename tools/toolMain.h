#pragma once

#include "base/systemLog.h"

#include <string>
#include <string_view>
#include <vector>

// What the tools have in common: one line on standard error when something is wrong, and the exit
// status.
namespace fw {

using Arguments = std::vector<std::string>;

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongArguments = 64; // As sysexits(3) has it.

/// Without the program itself.
inline Arguments argumentsOf(int count, char** texts) {
    return count > 0 ? Arguments(texts + 1, texts + count) : Arguments();
}

inline int failed(std::string_view reason) {
    systemLog(reason);
    return kFailed;
}

inline int wrongArguments(std::string_view usage) {
    systemLog(usage);
    return kWrongArguments;
}

} // namespace fw
