#pragma once

#include <optional>
#include <string>
#include <vector>

namespace fw {

constexpr int kOldestGeneration = 5;

/// Where a program's logs stand.
struct LogPlace {
    std::string folder;  ///< The user's; what is made and rotated. Empty when it is unknown.
    std::string appName; ///< The base name of the files.
    /// The log that is written: generation 1, but for the superuser the one in the machine's
    /// folder. Deliberate: the folder that is made and rotated stays the user's.
    std::string current;
    std::string folderOfCurrent;

    /// "NAME.N.log" in the folder; 1 is the newest, kOldestGeneration the oldest.
    std::string generation(int number) const;
};
LogPlace logPlace(const std::string& appName);

/// The generations that exist, the newest first.
std::vector<std::string> existingGenerations(const LogPlace& place);

/// Makes the folder when it is missing. Nothing, or the line that says that it failed.
std::optional<std::string> makeLogFolder(const LogPlace& place);

/// Moves every generation one further when there is a current log (dropping the oldest), and puts
/// an empty current log in place; a superuser's, which does not move, is emptied where it is, for
/// others may be writing to it. Nothing, or the line that says what failed; the steps after it are
/// not taken then.
std::optional<std::string> makeNewGeneration(const LogPlace& place);

} // namespace fw
