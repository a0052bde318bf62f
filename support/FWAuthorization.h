#pragma once

#include "platform/elevation/Elevation.h"
#include "support/FWTaskEx.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace fw {

/// Whether the user may be asked for credentials.
enum class WithGui : bool { kNo, kYes };
/// Whether the superuser's Trash is passed over and items are deleted.
enum class DeleteOnRootAccount : bool { kNo, kYes };
/// Whether a tool runs on by itself, or is waited for.
enum class Async : bool { kNo, kYes };

/// File operations with administrator rights, by the standard tools ("/bin/rm" and its like). It
/// holds the one authorization of the process; the superuser (real user id 0) needs none.
///
/// Paths are bytes of the file system. Operations return whether they did what they are for;
/// messages go to the system log. One that refuses touches nothing. Tools are started and not
/// waited for, unless Async::kNo says otherwise: such an operation has succeeded as soon as its
/// tool runs, whatever becomes of it.
///
/// What removes, trashes or moves refuses system directories: those of FWLocalPaths (the exact
/// ones), and "/boot", "/dev", "/etc", "/home", "/lib...", "/opt", "/proc", "/root", "/run",
/// "/srv", "/sys", by whatever way a path leads there: slashes at its end, "." and "..", links in
/// the middle, another name of the same folder. Below "/proc" everything is refused. This keeps
/// mistakes away, and not malice: links in a folder that this process may not look into are not
/// seen, and a path may lead elsewhere by the time the tool follows it.
///
/// Creation and lookup are safe from any thread; one thread at a time uses the operations.
class FWAuthorization {
public:
    /// The instance, when this call made it; null once there is one. Authorized from the beginning
    /// when a parent process on the same terminal hands its right down; without a terminal nothing
    /// is handed down.
    static FWAuthorization* create();
    static FWAuthorization* createWithoutGUI();
    /// The instance, made at first use, with a GUI unless another is wanted; afterwards the
    /// argument says nothing. It lives for the rest of the process, whose normal end (a return from
    /// main, std::exit) ends the authorization. A process that is killed leaves its right behind,
    /// which expires some time later (after 15 minutes, unless the machine says otherwise).
    static FWAuthorization& sharedController();
    static FWAuthorization& sharedController(WithGui withGui);

    // There is one instance, and nobody owns it: these count nothing.
    FWAuthorization& copy() { return *this; }
    FWAuthorization& retain() { return *this; }
    FWAuthorization& autorelease() { return *this; }
    void release() {}
    std::uint32_t retainCount() const { return UINT32_MAX; }
    FWAuthorization(const FWAuthorization&) = delete;
    FWAuthorization& operator=(const FWAuthorization&) = delete;

    // The authorization

    /// Asks the user for administrator rights, unless they are there; whether they are. Waits for
    /// the answer.
    bool authStart();
    /// Asks nobody. For the superuser always true; without a user name or a password false. A
    /// right that was there before ends. The machine decides whether the password counts: that of
    /// this process's user is not looked at where they may run everything without one.
    bool authStartWithUser(const std::optional<std::string>& user,
                           const std::optional<std::string>& password);
    /// Ends the authorization; one that a parent handed down is only forgotten. The superuser
    /// only lets go of it.
    void authEnd();
    bool isAuthorized() const;
    /// Whether rights are there or can be had by asking.
    bool canAuthorize() const;

    /// Null when not authorized. Only to be handed back: its own operations are for the platform.
    AuthorizationRef authRef() const { return authRef_; }
    void setAuthRef(AuthorizationRef authRef) { authRef_ = std::move(authRef); }
    bool hasGUI() const { return hasGUI_; }
    void setHasGUI(bool hasGUI) { hasGUI_ = hasGUI; }

    // Files. No name at all is told apart from an empty one where it matters.

    /// Removes a file, or a folder with all that is in it.
    bool authRemoveFile(const std::string& path);

    /// Moves an item into the user's Trash, which is made when it is missing, but not in a home
    /// that belongs to another user. Where its name is taken there, the local time is added:
    /// "clip.mov" becomes "clip_20240131235959.mov", and "clip" becomes "clip_20240131235959."
    /// (deliberate). Two items of one name that are trashed before the first has arrived are not
    /// kept apart.
    ///
    /// Deliberate: for the superuser DeleteOnRootAccount::kYes removes what stands at the
    /// destination in the Trash, not the item itself.
    bool authTrashFile(const std::string& path);
    bool authTrashFile(const std::string& path, DeleteOnRootAccount deleteOnRootAccount);
    /// Trashes all that is in a folder; the superuser's with DeleteOnRootAccount::kYes is removed.
    /// Every item is tried; true when none failed, also for a folder that is empty or cannot be
    /// read.
    bool authTrashFolderContents(const std::string& folder);
    bool authTrashFolderContents(const std::string& folder,
                                 DeleteOnRootAccount deleteOnRootAccount);

    /// Moves all that is in a folder into another. Every item is tried; true when none failed.
    bool authMoveFolderContents(const std::string& folder, const std::string& destination);
    /// Moves to a new path, or into a folder that stands there; what stands in the way is replaced.
    /// A source that does not exist is no success, and no message.
    bool authMoveFile(const std::optional<std::string>& source,
                      const std::optional<std::string>& destination);
    /// Copies likewise, folders with all that is in them, with modes and dates. From a system
    /// directory, too.
    bool authCopyFile(const std::optional<std::string>& source,
                      const std::optional<std::string>& destination);
    /// Creates a folder with its missing parents.
    bool authCreateDir(const std::string& path);

    // Any tool

    /// authExecTask(path, arguments, Async::kYes).
    std::int32_t authExecTask(const std::string& path, const TaskArguments& arguments);
    /// Runs a tool with rights, which are asked for when they are not there. 0: it was started (and
    /// has ended, with Async::kNo); -1: not authorized; -2: there is no such tool; else the errno
    /// of why it was not started. The superuser's tools run through FWTaskEx and give 0 always.
    std::int32_t authExecTask(const std::string& path, const TaskArguments& arguments, Async async);

private:
    explicit FWAuthorization(WithGui withGui);
    static FWAuthorization* made(WithGui withGui);

    bool ran(const std::string& tool, const TaskArguments& arguments);
    bool started(const std::string& tool, const TaskArguments& arguments);
    bool removesOnRootAccount(DeleteOnRootAccount deleteOnRootAccount) const;
    bool removeEntry(const std::string& path);
    std::string trashFolder() const;

    AuthorizationRef authRef_;
    bool hasGUI_;
    std::optional<std::string> userDirectory_; ///< The home of who made it; none of a superuser.
};

} // namespace fw
