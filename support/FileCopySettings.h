#pragma once

#include <any>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace fw {

struct FileCopySettings;

/// How the destinations of a copy are verified; every other value does as kNone does.
enum class FileVerification : unsigned { kNone, kMd5, kSha1, kSha256, kSha512 };

/// Is told of a copy; an empty member is not called. What it throws is told to the system log and
/// changes nothing else, but that fileCopyShouldContinue has then not answered.
struct FileCopyDelegate {
    /// How many bytes have been copied. On a background thread, at most once for 20 MiB and 500
    /// times for a file, perhaps after the copy has ended; and at the end of a copy that was not
    /// cancelled once more, on the caller's thread.
    std::function<void(std::uint64_t bytes, const FileCopySettings& settings)> fileCopyBytesWritten;
    /// After each progress report, on the same background thread. An answer that is false or empty
    /// cancels. Deliberate: the files are copied to their end all the same; what a cancelled copy
    /// lacks is verification, dates and the two calls below, and its result is false. One that is
    /// slow to answer is asked about further progress meanwhile, on up to four threads at once.
    std::function<std::optional<bool>(const FileCopySettings& settings)> fileCopyShouldContinue;
    /// For each destination whose checksum is not that of the source or could not be made (some
    /// machines allow no MD5), on the caller's thread.
    std::function<void(const FileCopySettings& settings, const std::string& file)>
        fileCopyVerificationFailed;
    /// At the very end of a copy that succeeded, on the caller's thread.
    std::function<void(const FileCopySettings& settings)> fileCopyFinished;
};

/// What a delegate is told about the copy.
struct FileCopySettings {
    std::string operationType = "copy";
    std::string source;
    std::vector<std::string> destinations;
    std::optional<FileCopyDelegate> delegate;
    std::any object;  ///< What the caller gave, or empty.
    std::any object2; ///< The same.

    // Known after a copy that is verified.
    std::optional<std::string> sourceChecksum;
    std::optional<std::string> destChecksum;               ///< Of the last destination that failed.
    std::optional<std::vector<std::string>> destChecksums; ///< In the order of the destinations.

    /// Those that are present, under the keys "operationtype", "source", "destinations",
    /// "delegate", "object", "object2", "sourceChecksum", "destChecksum" and "destChecksums".
    std::map<std::string, std::any> keyValueView() const;
};

} // namespace fw
