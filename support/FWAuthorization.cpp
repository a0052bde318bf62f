#include "support/FWAuthorization.h"

#include "base/FormattedText.h"
#include "base/systemLog.h"
#include "base/text.h"
#include "platform/files/FileFacts.h"
#include "platform/files/Folders.h"
#include "platform/folders/folderServices.h"
#include "platform/tools/toolPath.h"
#include "support/FWFileManager.h"
#include "support/FWLocalPaths.h"
#include "support/FWLog.h"
#include "support/authorization/systemDirectory.h"
#include "support/authorization/trashName.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace fw {
namespace {

constexpr std::int32_t kSuccess = 0;
constexpr std::int32_t kNotAuthorized = -1;
constexpr std::int32_t kNoTool = -2;

constexpr const char* kRemove = "/bin/rm";
constexpr const char* kMove = "/bin/mv";
constexpr const char* kCopy = "/bin/cp";
constexpr const char* kMakeFolder = "/bin/mkdir";

/// Of a Trash that is made here.
constexpr mode_t kOwnersOnly = 0700;

/// A refusal is told with the path as the caller gave it.
bool isRefused(const char* message, const std::string& path, LinkAtEnd linkAtEnd) {
    if (!isRefusedDirectory(path, linkAtEnd)) {
        return false;
    }
    systemLog(formattedText(message, path));
    return true;
}

bool isDeletionRefused(const std::string& path) {
    return isRefused("Unable to delete path %@ because it is a system directory.", path,
                     LinkAtEnd::kTaken);
}

/// A path that a tool cannot take for an option.
std::string asArgument(const std::string& path) {
    return path.starts_with('-') ? std::string("./").append(path) : path;
}

/// Also a link that leads nowhere.
bool standsSomething(const std::string& path) {
    std::error_code failure;
    return std::filesystem::exists(std::filesystem::symlink_status(path, failure));
}

/// The paths of what is in a folder, in the order in which the file system gives it.
std::vector<std::string> entriesOf(const std::string& folder) {
    std::vector<std::string> paths;
    std::error_code failure;
    std::filesystem::directory_iterator entry(folder, failure);
    for (; !failure && entry != std::filesystem::directory_iterator(); entry.increment(failure)) {
        paths.push_back(appendedPathComponent(folder, entry->path().filename().string()));
    }
    return paths;
}

/// The destination in the Trash itself or, where its name is taken, under the next time that is
/// free.
std::string freePlace(const std::string& destination) {
    std::string place = destination;
    for (auto date = std::chrono::system_clock::now(); standsSomething(place);
         date += std::chrono::seconds(1)) {
        place = datedTrashPath(destination, date);
    }
    return place;
}

/// Not in the home of another user, to whom it would not belong. Where it cannot be made, nothing
/// is moved.
void makeOwnTrash(const std::string& trash) {
    if (isOwnedByThisUser(parentFolder(trash))) {
        static_cast<void>(makeFolder(trash, kOwnersOnly));
    }
}

/// Tries every one; whether none failed.
template <typename Operation>
bool succeededForAll(const std::vector<std::string>& paths, Operation operation) {
    bool succeeded = true;
    for (const std::string& path : paths) {
        succeeded = operation(path) && succeeded;
    }
    return succeeded;
}

void waitForEnd(ToolStream& stream) {
    while (!stream.read().empty()) {
    }
}

struct Shared {
    std::mutex mutex;
    FWAuthorization* instance = nullptr;
};

/// Never destroyed: threads may ask while the program ends.
Shared& shared() {
    static auto* const only = new Shared;
    return *only;
}

} // namespace

// The instance

FWAuthorization::FWAuthorization(WithGui withGui)
    : authRef_(adoptedAuthorization()), hasGUI_(withGui == WithGui::kYes) {
    if (!isSuperuser()) {
        userDirectory_ = FWLocalPaths::userDirectory();
    }
}

/// Null when there is one already. The caller holds the lock.
FWAuthorization* FWAuthorization::made(WithGui withGui) {
    if (shared().instance != nullptr) {
        return nullptr;
    }
    shared().instance = new FWAuthorization(withGui);
    std::atexit([] { sharedController().authEnd(); });
    return shared().instance;
}

FWAuthorization* FWAuthorization::create() {
    const std::lock_guard lock(shared().mutex);
    return made(WithGui::kYes);
}

FWAuthorization* FWAuthorization::createWithoutGUI() {
    const std::lock_guard lock(shared().mutex);
    return made(WithGui::kNo);
}

FWAuthorization& FWAuthorization::sharedController() {
    return sharedController(WithGui::kYes);
}

FWAuthorization& FWAuthorization::sharedController(WithGui withGui) {
    const std::lock_guard lock(shared().mutex);
    made(withGui);
    return *shared().instance;
}

// The authorization

bool FWAuthorization::authStart() {
    if (isAuthorized()) {
        return true;
    }
    if (!hasGUI_) {
        systemLog("Unable to authorize");
        return false;
    }
    auto authorization = createAuthorization();
    if (!authorization) {
        return false;
    }
    authRef_ = std::move(authorization).value();
    if (authRef_->requestAdministratorRight()) {
        return true;
    }
    authEnd();
    return false;
}

bool FWAuthorization::authStartWithUser(const std::optional<std::string>& user,
                                        const std::optional<std::string>& password) {
    if (isSuperuser()) {
        return true;
    }
    if (!user || !password) {
        return false;
    }
    authEnd();
    auto authorization = createAuthorization(*user, *password);
    if (!authorization) {
        systemLog(formattedText("Unable to create authRef - error %d", authorization.error().code));
        return false;
    }
    authRef_ = std::move(authorization).value();
    if (authRef_->requestAdministratorRight()) {
        return true;
    }
    authEnd();
    constexpr const char* kMessage = "Authorization failed. Invalid username or password";
    systemLog(kMessage);
    FWLog::appendLog(kMessage);
    return false;
}

void FWAuthorization::authEnd() {
    if (authRef_ && !isSuperuser()) {
        authRef_->free();
    }
    authRef_.reset();
}

bool FWAuthorization::isAuthorized() const {
    return isSuperuser() || authRef_ != nullptr;
}

bool FWAuthorization::canAuthorize() const {
    return hasGUI_ || isSuperuser();
}

// Tools

std::int32_t FWAuthorization::authExecTask(const std::string& path,
                                           const TaskArguments& arguments) {
    return authExecTask(path, arguments, Async::kYes);
}

std::int32_t FWAuthorization::authExecTask(const std::string& path, const TaskArguments& arguments,
                                           Async async) {
    const std::string tool = toolPath(path);
    if (!FWFileManager::fileExistsAtPath(tool)) {
        systemLog(formattedText("Unable to execute task: path %@ doesn't exist", path));
        return kNoTool;
    }
    if (isSuperuser()) {
        if (async == Async::kYes) {
            FWTaskEx::runTaskAndReturn(path, arguments);
        } else {
            FWTaskEx::runTask(path, arguments);
        }
        return kSuccess;
    }
    if (!authStart()) {
        return kNotAuthorized;
    }
    const auto stream = authRef_->run(
        tool, arguments, async == Async::kYes ? ToolOutput::kDropped : ToolOutput::kTaken);
    if (!stream) {
        return static_cast<std::int32_t>(stream.error().code);
    }
    if (async == Async::kNo) {
        waitForEnd(*stream.value());
    }
    return kSuccess;
}

bool FWAuthorization::ran(const std::string& tool, const TaskArguments& arguments) {
    return authExecTask(tool, arguments) == kSuccess;
}

/// Deliberate: for the superuser a tool that is missing counts as started, too.
bool FWAuthorization::started(const std::string& tool, const TaskArguments& arguments) {
    if (isSuperuser()) {
        FWTaskEx::runTaskAndReturn(tool, arguments);
        return true;
    }
    return ran(tool, arguments);
}

// Files

bool FWAuthorization::authRemoveFile(const std::string& path) {
    return !isDeletionRefused(path) && ran(kRemove, {"-Rdf", asArgument(path)});
}

bool FWAuthorization::authMoveFile(const std::optional<std::string>& source,
                                   const std::optional<std::string>& destination) {
    if (!source) {
        systemLog("Error in authMoveFile: old path is null");
        return false;
    }
    if (!destination) {
        systemLog("Error in authMoveFile: new path is null");
        return false;
    }
    if (isRefused("Unable to move path %@ because it is a system directory.", *source,
                  LinkAtEnd::kTaken)) {
        return false;
    }
    return FWFileManager::fileExistsAtPath(*source) &&
           started(kMove, {"-f", asArgument(*source), asArgument(*destination)});
}

bool FWAuthorization::authCopyFile(const std::optional<std::string>& source,
                                   const std::optional<std::string>& destination) {
    if (!source) {
        systemLog("Error in authCopyFile: old path is null");
        return false;
    }
    if (!destination) {
        systemLog("Error in authCopyFile: new path is null");
        return false;
    }
    return FWFileManager::fileExistsAtPath(*source) &&
           started(kCopy, {"-f", "-p", "-R", asArgument(*source), asArgument(*destination)});
}

bool FWAuthorization::authCreateDir(const std::string& path) {
    const TaskArguments arguments = {"-p", asArgument(path)};
    if (isSuperuser()) {
        return started(kMakeFolder, arguments);
    }
    if (!started(kMakeFolder, arguments)) {
        return false;
    }
    // A moment for the tool, which may not have made the folder yet.
    std::this_thread::sleep_for(std::chrono::microseconds(500));
    return true;
}

bool FWAuthorization::authMoveFolderContents(const std::string& folder,
                                             const std::string& destination) {
    if (isRefused("Unable to move contents of path %@ because it is a system directory.", folder,
                  LinkAtEnd::kFollowed)) {
        return false;
    }
    return succeededForAll(entriesOf(folder), [&](const std::string& path) {
        return authMoveFile(path, appendedPathComponent(destination, lastPathComponent(path)));
    });
}

// The Trash

bool FWAuthorization::authTrashFile(const std::string& path) {
    return authTrashFile(path, DeleteOnRootAccount::kNo);
}

bool FWAuthorization::authTrashFile(const std::string& path,
                                    DeleteOnRootAccount deleteOnRootAccount) {
    if (isRefused("Unable to trash path %@ because it is a system directory.", path,
                  LinkAtEnd::kTaken)) {
        return false;
    }
    const std::string trash = trashFolder();
    if (trash.empty()) {
        return false;
    }
    const std::string destination = appendedPathComponent(trash, lastPathComponent(path));
    if (removesOnRootAccount(deleteOnRootAccount)) {
        return authRemoveFile(freePlace(destination));
    }
    // What is refused does not leave a Trash behind either.
    if (!FWFileManager::fileExistsAtPath(path) || !authStart()) {
        return false;
    }
    makeOwnTrash(trash);
    // Not before the user has answered: the move replaces what has taken the name meanwhile.
    return authMoveFile(path, freePlace(destination));
}

bool FWAuthorization::authTrashFolderContents(const std::string& folder) {
    return authTrashFolderContents(folder, DeleteOnRootAccount::kNo);
}

bool FWAuthorization::authTrashFolderContents(const std::string& folder,
                                              DeleteOnRootAccount deleteOnRootAccount) {
    if (isRefused("Unable to trash folder contents of path %@ because it is a system directory.",
                  folder, LinkAtEnd::kFollowed)) {
        return false;
    }
    return succeededForAll(entriesOf(folder), [&](const std::string& path) {
        return removesOnRootAccount(deleteOnRootAccount) ? removeEntry(path) : authTrashFile(path);
    });
}

bool FWAuthorization::removesOnRootAccount(DeleteOnRootAccount deleteOnRootAccount) const {
    return !userDirectory_ && deleteOnRootAccount == DeleteOnRootAccount::kYes && isSuperuser();
}

bool FWAuthorization::removeEntry(const std::string& path) {
    return !isDeletionRefused(path) && ran(kRemove, {"-R", "-f", asArgument(path)});
}

/// Empty where none is known.
std::string FWAuthorization::trashFolder() const {
    // Who made the instance may have become the superuser since.
    return isSuperuser() && userDirectory_ ? *userDirectory_ + "/.Trash"
                                           : FWLocalPaths::trashDirectory();
}

} // namespace fw
