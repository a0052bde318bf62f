#pragma once

#include "platform/digest/Digest.h"
#include "platform/plist/PropertyList.h"
#include "support/FileCopySettings.h"
#include "support/FinderColor.h"
#include "support/Timeout.h"

#include <any>
#include <chrono>
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

/// Whether an operation that fails for want of rights is tried again with an administrator's, which
/// may ask the user for them.
enum class ShouldAuth : bool { kNo, kYes };

/// Whether a file is locked once nobody writes it any more.
enum class LockFile : bool { kNo, kYes };
/// Whether a file that is touched is also made now, as far as its creation date tells.
enum class SetCreationDate : bool { kNo, kYes };
/// Whether files are removed one by one when they have been combined.
enum class DeleteSourceFiles : bool { kNo, kYes };

/// Whether the names in an archive begin with the folder that was packed.
enum class IncludeParent : bool { kNo, kYes };
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
/// and to the system log or the suite's log (FWLog). Paths are bytes and need not be text; one with
/// a zero byte names nothing.
class FWFileManager {
public:
    using Date = std::chrono::system_clock::time_point;

    FWFileManager() = delete;

    // Removing, trashing, creating, copying, moving. What these do they do to a link itself, never
    // to what it points to. Each has three forms: the short one falls back to an administrator's
    // rights, one says whether it may, and one falls back too and then waits until the file system
    // shows the result, or the time is over: it is true when the result shows. A time-out that is
    // negative or not a number waits for nothing, and a huge one waits as long as it takes. The
    // main thread is serviced while it waits (serviceMainThread).
    //
    // A plain step that fails is logged before the rights are tried; the messages end in
    // "Authorizing...", whether they may be tried or not. The rights are those of FWAuthorization,
    // whose copies and moves replace what is in the way of the plain ones; a file that is its own
    // destination, under whatever name, is never handed to them.

    /// Unlocks and removes a file, or a folder with all that is in it; a missing one counts as
    /// removed, but not one in a folder that this process may not search. File systems mounted
    /// there are left alone.
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
    /// On the way to another file system a file that changes stays where it is, and so does what
    /// comes into a folder; the move then fails, and no rights are tried: these are for a source of
    /// which all that is left is as it was copied.
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

    // What stands at a path; links are followed but by isSymbolicLinkAtPath(). A missing file has
    // no size and no dates and is nothing of a kind.

    static bool fileExistsAtPath(const std::string& path);
    static bool isDirectoryAtPath(const std::string& path);
    /// Whether it is a folder that is shown as one file: an application or another bundle.
    static bool isPackageAtPath(const std::string& path);
    static bool isSymbolicLinkAtPath(const std::string& path);
    /// In bytes.
    static std::uint64_t fileSize(const std::string& path);
    static std::optional<Date> modificationDateForFile(const std::string& path);
    /// A creation date that has been set is kept in the extended attribute
    /// "user.com.fernwick.creationdate" and goes before the date of the file's birth.
    static std::optional<Date> creationDateForFile(const std::string& path);

    /// "%0.0f B" below 1024 bytes, else with two decimals in KB, MB, GB or TB of 1024 each. What is
    /// not a number is given in TB.
    static std::string formatFileSize(double size);

    /// Sets the mode, its lowest twelve bits, links followed; a failure is told to the system log.
    static bool setPosixPermissions(unsigned permissions, const std::string& path);

    /// Sets the modification date to now, and the creation date when asked, falling back to an
    /// administrator's rights. False for a missing file: none is made.
    static bool touchFile(const std::string& path, SetCreationDate setCreationDate);

    // Folders

    /// Whether there is nothing in a folder, or nothing but files named ".DS_Store" and "Icon\r"
    /// (with a carriage return) and folders that are empty in this way. A link in it is something.
    /// Deliberate: a folder that is missing or may not be read counts as empty; a file does not.
    static bool isFolderEmpty(const std::string& path);
    /// removeFile() when it is empty in this way; false otherwise.
    static bool removeFolderIfEmpty(const std::string& path);

    /// trashFile() for each entry of a folder; each is tried, and true when all succeeded or there
    /// are none.
    static bool trashDirectoryContents(const std::string& folder);
    static bool trashDirectoryContents(const std::string& folder, ShouldAuth shouldAuth);

    /// trashFile() for each file with this extension, letter case (ASCII) aside, or with exactly
    /// this name, in a folder and the folders in it, packages too; links count as files and are not
    /// followed. The paths of those, in the order in which the folders list them, whether they
    /// could be trashed or not.
    static std::vector<std::string> trashFilesOfType(const std::string& extension,
                                                     const std::string& folder);
    static std::vector<std::string> trashFilesNamed(const std::string& name,
                                                    const std::string& folder);

    // Waiting

    /// Returns at once when there is something in the file; else logs that it is not yet created
    /// and sleeps for 500 microseconds. Deliberate: it looks once, callers repeat it.
    static void waitForFileCreation(const std::string& path, Timeout timeout);

    /// Waits until the size and the modification date of a file have stood still for a second, and
    /// says so to the system log when they moved; true then. False as soon as it is missing, and
    /// when it is to be locked and cannot be. The main thread is serviced meanwhile.
    static bool waitForFileWrites(const std::string& path);
    static bool waitForFileWrites(const std::string& path, LockFile lockFile);

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

    // Copying with progress, combining

    /// Copies one regular file to others, reading it once, and hands on its dates and Finder
    /// attributes; whether it succeeded: false also when the delegate has cancelled it. Missing
    /// folders are created, files that exist are overwritten. With a verification each chunk is
    /// read back at once, and checksums are compared; one that differs or could not be made is
    /// told to the delegate and does not make the copy fail, nor does a destination that cannot be
    /// written to its end, which is told to the system log.
    ///
    /// A destination that is the source itself, under whatever name, is refused before anything is
    /// touched. Waits until it is done; the objects and the delegate are handed to the delegate's
    /// operations within the settings. The copies of the delegate that are called in the background
    /// and on the caller's thread are not the same: what they share must be captured by reference
    /// or pointer, and outlive questions that are asked after the copy has ended.
    ///
    /// The creation date is kept in the extended attribute "user.com.fernwick.creationdate". Where
    /// the file system has no extended attributes it cannot be set; "Error setting metadata for
    /// file …" goes to the system log then, and the copy succeeds.
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

    /// Writes files one after the other into one, which is created or overwritten; whether that
    /// came to its end. A source may be deleted when it has been taken in, without asking for
    /// rights, but none any more once something could not be written, which is told to the system
    /// log and does not end the combination. A source that is written to or replaced before it
    /// would be deleted stays, as one that cannot be deleted does; that is no failure.
    ///
    /// Deliberate: a single source is moved to the destination, deleted or not, in the place of
    /// what stands there, even a folder. A destination that is one of the sources, under whatever
    /// name, or in which a single source lies is refused before anything is touched; a single
    /// source that is its own destination stays as it is.
    static bool combineFiles(const std::vector<std::string>& sources,
                             const std::string& destination, DeleteSourceFiles deleteSourceFiles);

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

    // Zip archives, by the tool ditto, which is waited for. Deliberate: its exit status is not
    // looked at, but whether its result is there. The tool of the suite makes that whole or not at
    // all; another may leave a part.

    /// Packs a file, or what is in a folder, into a new archive. What stands at its path is moved
    /// to the trash (trashFile); when that fails, or the source is it or lies in it, nothing is
    /// done. Whether something stands at the archive's path afterwards.
    static bool compressFile(const std::string& source, const std::string& archive,
                             IncludeParent includeParent);
    /// Without the folder's own name.
    static bool compressFile(const std::string& source, const std::string& archive);
    /// Unpacks an archive into a new folder. What stands at its path is moved to the trash, without
    /// an administrator's rights; when that fails, or the archive is it or lies in it, nothing is
    /// done. Whether the folder is there afterwards.
    static bool decompressFile(const std::string& archive, const std::string& folder);

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
