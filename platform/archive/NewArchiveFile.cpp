#include "platform/archive/NewArchiveFile.h"

#include "platform/archive/archiveError.h"
#include "platform/archive/modeOfNew.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace fw {
namespace {

std::string nameBeside(const std::string& path) {
    return (std::filesystem::path(path).parent_path() / ".fernwick-XXXXXX").string();
}

} // namespace

NewArchiveFile::NewArchiveFile(const std::string& path)
    : target_(path), path_(nameBeside(path)), file_(::mkostemp(path_.data(), O_CLOEXEC)) {
    if (!file_) {
        failure_ = fileError(errno, path);
    }
}

NewArchiveFile::~NewArchiveFile() {
    if (file_) {
        ::unlink(path_.c_str());
    }
}

std::optional<Error> NewArchiveFile::putInPlace() {
    constexpr mode_t kMode = 0666;
    if (::fsync(file_.get()) != 0 || ::fchmod(file_.get(), modeOfNew(kMode)) != 0 ||
        std::rename(path_.c_str(), target_.c_str()) != 0) {
        return fileError(errno, target_);
    }
    file_.reset();
    return std::nullopt;
}

} // namespace fw
