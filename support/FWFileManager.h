#pragma once

#include "platform/digest/Digest.h"
#include "support/FileCopySettings.h"

#include <any>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace fw {

/// Is told of a file that is being hashed; an empty member is not asked. It is called on background
/// threads, also after the hashing has ended; what it throws is told to the system log.
struct ChecksumDelegate {
    /// After each 52,428,800 bytes (50 MiB). An answer that is false or empty ends the hashing at
    /// the next chunk of 65,536 bytes; so does an exception.
    std::function<std::optional<bool>(const std::string& path)> checksumShouldContinue;
};

/// File operations of the suite. Stateless; safe from any thread. Failures are told by the result,
/// and to the system log or the suite's log (FWLog).
class FWFileManager {
public:
    FWFileManager() = delete;

    /// Whether something stands at the path; links are followed.
    static bool fileExistsAtPath(const std::string& path);

    /// Whether the drive that the path lies on is there: false only for a path in a folder of
    /// /Volumes that does not exist.
    static bool isDriveMountedForPath(const std::string& path);

    /// Copies one regular file to others, reading it once, and hands on its dates and Finder
    /// attributes; whether it succeeded. Missing folders are created, files that exist are
    /// overwritten. With a verification each chunk is read back at once, and checksums are
    /// compared; one that differs is told to the delegate and does not make the copy fail, nor
    /// does a destination that cannot be written to its end, which is told to the system log.
    ///
    /// A destination that is the source itself, under whatever name, is refused before anything is
    /// touched. Waits until it is done; the objects and the delegate are handed to the delegate's
    /// operations within the settings.
    static bool copyFileWithProgress(const std::string& source,
                                     const std::vector<std::string>& destinations,
                                     FileVerification verificationType,
                                     const std::optional<FileCopyDelegate>& delegate,
                                     const std::any& object, const std::any& object2);
    /// To one destination, without verification.
    static bool copyFileWithProgress(const std::string& source, const std::string& destination,
                                     const std::optional<FileCopyDelegate>& delegate,
                                     const std::any& object, const std::any& object2);
    static bool copyFileWithProgress(const std::string& source, const std::string& destination,
                                     const std::optional<FileCopyDelegate>& delegate,
                                     const std::any& object);

    // Checksums are texts of two small hexadecimal digits for each byte.

    /// The checksum of what came in up to now; empty when it cannot be made. The caller's state is
    /// not changed.
    static std::string md5HashWithContext(const Md5Digest& context);
    static std::string sha1HashWithContext(const Sha1Digest& context);
    static std::string sha256HashWithContext(const Sha256Digest& context);
    static std::string sha512HashWithContext(const Sha512Digest& context);

    /// The checksum of a whole file, links followed; empty when it cannot be read, is no regular
    /// file, or the delegate ended it. Waits until it is done. Deliberate: there is none for
    /// SHA-256.
    static std::string md5HashForFile(const std::string& path);
    static std::string md5HashForFile(const std::string& path,
                                      const std::optional<ChecksumDelegate>& delegate);
    static std::string sha1HashForFile(const std::string& path);
    static std::string sha1HashForFile(const std::string& path,
                                       const std::optional<ChecksumDelegate>& delegate);
    static std::string sha512HashForFile(const std::string& path);
    static std::string sha512HashForFile(const std::string& path,
                                         const std::optional<ChecksumDelegate>& delegate);
};

} // namespace fw
