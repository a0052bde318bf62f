#include "platform/archive/UnpackFolder.h"

#include "platform/archive/archiveError.h"
#include "platform/archive/modeOfNew.h"
#include "platform/files/removeItem.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace fw {
namespace {

namespace fs = std::filesystem;

/// Without the slashes and dots at its end, so that it has a last component. Any ".." stays: behind
/// a link it leads elsewhere than the text.
fs::path absolutePath(const std::string& path) {
    std::error_code failure;
    fs::path whole = fs::absolute(path, failure);
    while (whole.has_relative_path() && (!whole.has_filename() || whole.filename() == ".")) {
        whole = whole.parent_path();
    }
    return whole;
}

} // namespace

UnpackFolder::UnpackFolder(const std::string& wanted) {
    std::error_code failure;
    const fs::path whole = absolutePath(wanted);
    wanted_ = whole.string();
    if (fs::is_directory(whole, failure)) {
        path_ = fs::canonical(whole, failure).string();
    } else if (fs::exists(fs::symlink_status(whole, failure))) {
        failure_ = fileError(ENOTDIR, wanted);
        return;
    } else if (whole.filename() == "..") {
        failure_ = fileError(ENOENT, wanted); // No folder can be made by this name.
        return;
    } else {
        makeBeside(wanted);
    }
    if (!failure_ && path_.empty()) {
        failure_ = fileError(failure.value(), wanted);
    }
}

void UnpackFolder::makeBeside(const std::string& wanted) {
    std::error_code failure;
    const fs::path parent = fs::path(wanted_).parent_path();
    fs::create_directories(parent, failure);
    const fs::path wholeParent = fs::canonical(parent, failure);
    if (failure) {
        failure_ = fileError(failure.value(), wanted);
        return;
    }
    path_ = (wholeParent / ".fernwick-XXXXXX").string();
    isOurs_ = ::mkdtemp(path_.data()) != nullptr;
    if (!isOurs_) {
        failure_ = fileError(errno, wanted);
    }
}

UnpackFolder::~UnpackFolder() {
    if (isOurs_) {
        static_cast<void>(removeUnfinished(path_)); // Nobody is left to be told.
    }
}

std::optional<Error> UnpackFolder::putInPlace() {
    constexpr mode_t kMode = 0777;
    if (!isOurs_) {
        return std::nullopt;
    }
    if (::chmod(path_.c_str(), modeOfNew(kMode)) != 0 ||
        std::rename(path_.c_str(), wanted_.c_str()) != 0) {
        return fileError(errno, wanted_);
    }
    isOurs_ = false;
    return std::nullopt;
}

} // namespace fw
