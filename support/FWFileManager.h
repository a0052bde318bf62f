#pragma once

#include "platform/digest/Digest.h"
#include "platform/plist/PropertyList.h"
#include "support/FileCopySettings.h"
#include "support/FinderColor.h"

#include <any>
#include <cstdint>
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

/// Whether matching also looks into folders below; deliberate: it never does.
enum class SearchSubdirs : bool { kNo, kYes };
/// Whether slashes are taken out of a name too.
enum class IncludeSlashes : bool { kNo, kYes };

/// A file of this machine, by its path.
struct FileReference {
    std::string path;
};

/// Tells the desktop's file browser that a file has changed: an event of class 'fndr' and
/// identifier 'fupd' to the application with the signature 'MACS'. 0, or why it failed (-43: there
/// is no such file). On Linux nobody has that signature, and every event is taken. Safe from any
/// thread.
std::int32_t SendFinderSyncEvent(const FileReference& file);

/// File operations of the suite. Stateless; safe from any thread. Failures are told by the result,
/// and to the system log or the suite's log (FWLog).
class FWFileManager {
public:
    FWFileManager() = delete;

    /// Whether something stands at the path; links are followed.
    static bool fileExistsAtPath(const std::string& path);

    // Volumes. Paths are compared as texts: links are not followed.

    /// Whether the drive that the path lies on is there: false only for a path in a folder of
    /// /Volumes that does not exist.
    static bool isDriveMountedForPath(const std::string& path);
    /// The same for every path that begins with "/Volumes"; deliberate: "/Volumes2/a" does.
    static bool isVolumeMountedForPath(const std::string& path);
    /// The first mounted volume but "/", in the machine's order, that is the path or holds it;
    /// deliberate: the first, not the nearest. When there is none, nothing for a path that begins
    /// with "/Volumes", and "/" for any other.
    static std::optional<std::string> volumeMountPointForPath(const std::string& path);
    /// The type of the file system there ("ext4", "hfs+"); empty when it is not known.
    static std::string filesystemForPath(const std::string& path);
    /// Whether that type is "hfs", "hfs+" or "apfs", capitals or not.
    static bool isMacFilesystemAtPath(const std::string& path);
    /// What diskutil tells of the volume; empty when it tells nothing. An answer that is no
    /// property list is told to the system log. Waits until the tool is done.
    static PropertyListDictionary infoForDiskAtMountpoint(const std::string& mountPoint);

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

    // What the desktop's file browser shows. Progress, labels and metadata apply to volumes with a
    // Mac file system only (isMacFilesystemAtPath). Links are followed.

    /// Shows how much of a file is done, from 0 to 1; a negative fraction shows it no longer. While
    /// it is shown the file's creation date is 1984-01-24 08:00 UTC, afterwards its modification
    /// date. A file that is not there is passed over; another volume is told to the log and on
    /// standard output. Waits for a tool.
    static void setFinderProgress(float fraction, const std::string& path);
    static void removeFinderProgressForFile(const std::string& path);
    /// SendFinderSyncEvent() for the path.
    static void notifyFileSystemChanged(const std::string& path);

    /// The extended attribute `key` as text; empty when there is none or it is no UTF-8. Failures
    /// are told to the system log.
    static std::string metadataValueForKey(const std::string& key, const std::string& path);
    /// Writes the attribute; failures are told to the system log.
    static void setMetadataValue(const std::string& value, const std::string& key,
                                 const std::string& path);

    /// The number of a file's colour label, 1 to 7; 0 when it has none, or cannot have one.
    static std::int64_t finderColorIndexForPath(const std::string& path);
    /// Sets the label, 0 for none; another number, or a failure, leaves the file as it is.
    static void setFinderColorIndex(std::int64_t index, const std::string& path);
    /// The colour of a file's label, or of a label; nothing when it has none.
    static std::optional<FinderColor> finderColorForPath(const std::string& path);
    static std::optional<FinderColor> finderColorForColorIndex(std::int64_t index);

    /// The MIME type for an extension without its dot, or for a path's extension;
    /// "application/octet-stream" when none is known.
    static std::string mimeTypeForFileExtension(const std::string& extension);
    static std::string mimeTypeForFileAtPath(const std::string& path);

    // Paths with wildcards: in each component "*" stands for any characters, and in one with "*"
    // also "?" for one. Everything else stands for itself, capitals told from small letters. A
    // character is a code point, or a byte that is no part of one.

    /// The existing paths that match, in the order in which the file system lists them; an absolute
    /// pattern, too, begins at the base path, when there is one. Without any "*" the path itself,
    /// joined to the base path, whether or not it exists.
    static std::vector<std::string>
    filesMatchingWildcardPath(const std::string& path, const std::optional<std::string>& basePath,
                              SearchSubdirs searchSubdirs);
    static std::vector<std::string>
    filesMatchingWildcardPath(const std::string& path, const std::optional<std::string>& basePath);
    static std::vector<std::string> filesMatchingWildcardPath(const std::string& path);
    /// The first of these; when there is none, the path itself, joined to the base path.
    static std::string decodeWildcardPath(const std::string& path,
                                          const std::optional<std::string>& basePath);

    /// A name without its first character when that is a dot, without white space at its ends, and
    /// without ":" and, unless they may stay, "/". Deliberate: only one dot goes, so that ".."
    /// becomes ".".
    static std::string validateFilename(const std::string& name, IncludeSlashes includeSlashes);
    static std::string validateFilename(const std::string& name);
};

} // namespace fw
