#pragma once

#include "platform/digest/Digest.h"
#include "support/FileCopySettings.h"
#include "support/Timeout.h"

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

/// Whether an operation that fails for want of rights is tried again with an administrator's, which
/// may ask the user for them.
enum class ShouldAuth : bool { kNo, kYes };

/// File operations of the suite. Stateless; safe from any thread. Failures are told by the result,
/// and to the system log or the suite's log (FWLog). Paths are bytes and need not be text; one with
/// a zero byte names nothing.
class FWFileManager {
public:
    FWFileManager() = delete;

    // Removing, trashing, creating, copying, moving. What these do they do to a link itself, never
    // to what it points to. Each has three forms: the short one falls back to an administrator's
    // rights, one says whether it may, and one falls back too and then waits until the file system
    // shows the result, or the time is over: it is true when the result shows. A time-out that is
    // negative or not a number waits for nothing, and a huge one waits as long as it takes. The
    // main thread is serviced while it waits (serviceMainThread).
    //
    // A plain step that fails is logged before the rights are tried; the messages end in
    // "Authorizing...", whether they may be tried or not.

    /// Unlocks and removes a file, or a folder with all that is in it; a missing one counts as
    /// removed. File systems mounted there are left alone.
    static bool removeFile(const std::string& path);
    static bool removeFile(const std::string& path, ShouldAuth shouldAuth);
    static bool removeFile(const std::string& path, Timeout timeout);

    /// Unlocks a file or folder and moves it to the user's trash (FWLocalPaths::trashDirectory),
    /// which is made when missing, under its own name or, when that is taken, its uniqueFilename().
    /// A missing one counts as trashed. Nothing is logged.
    static bool trashFile(const std::string& path);
    static bool trashFile(const std::string& path, ShouldAuth shouldAuth);
    static bool trashFile(const std::string& path, Timeout timeout);

    /// Creates a folder with its parents, as the umask has it; true also when it is there. On a
    /// drive that is not mounted it fails, and no rights are tried.
    static bool createDirectory(const std::string& path);
    static bool createDirectory(const std::string& path, ShouldAuth shouldAuth);
    static bool createDirectory(const std::string& path, Timeout timeout);

    /// Unlocks the source and copies it, a folder with all that is in it, with its links, modes and
    /// dates. What stands at the destination is in the way, and a folder is not copied into itself.
    /// A copy that fails leaves nothing behind.
    static bool copyFile(const std::string& source, const std::string& destination);
    static bool copyFile(const std::string& source, const std::string& destination,
                         ShouldAuth shouldAuth);
    static bool copyFile(const std::string& source, const std::string& destination,
                         Timeout timeout);

    /// Moves a file or folder, to another file system too; what stands at the destination is in the
    /// way of the plain step. Whatever fails, the source is as it was or the destination is whole.
    /// Paths that differ in the case of (ASCII) letters only are moved in two steps, through the
    /// uniqueFilename() of the destination.
    static bool moveFile(const std::string& source, const std::string& destination);
    static bool moveFile(const std::string& source, const std::string& destination,
                         ShouldAuth shouldAuth);
    static bool moveFile(const std::string& source, const std::string& destination,
                         Timeout timeout);

    /// Copies each entry of a folder into another with copyFile(); each is logged, and no result
    /// is collected.
    static void copyContentsOfDirectory(const std::string& folder, const std::string& destination,
                                        Timeout timeout);

    // Locks: the immutable flag of the file system, which keeps everybody from writing, removing
    // and renaming. Only processes with the capability CAP_LINUX_IMMUTABLE may change it. A link
    // has none and is not followed. Failures are told to the system log.

    static bool isFileLocked(const std::string& path);
    static bool lockFile(const std::string& path);
    /// True as well, with nothing touched, when it is not locked or not there.
    static bool unlockFile(const std::string& path);
    /// Every file and folder in the folder, however deep, but not the folder itself; each is tried,
    /// and true when all succeeded.
    static bool lockFolder(const std::string& path);
    static bool unlockFolder(const std::string& path);

    /// The path when nothing stands there, else the first free one of "NAME 2.EXTENSION",
    /// "NAME 3.EXTENSION" and so on. Nothing is made: somebody else may take the name.
    static std::string uniqueFilename(const std::string& path);

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
