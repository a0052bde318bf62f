#pragma once

#include <string>

namespace fw {

/// The property list in the user's preferences folder that all tools of the suite read. Nothing is
/// kept: each call reads the file. Safe from any thread.
class SharedPreferences {
public:
    SharedPreferences() = delete;

    static constexpr const char* kDisableLogging = "disable-logging";
    static constexpr const char* kDisableCrashReporter = "disable-crash-reporter";

    /// Empty when the preferences folder is unknown.
    static std::string path();

    /// Whether the value of `key` is the text "1" or equal to boolean true: true itself or a
    /// number that is 1. Other values, no value and a file that cannot be read are false.
    static bool isSwitchedOn(const std::string& key);
};

} // namespace fw
