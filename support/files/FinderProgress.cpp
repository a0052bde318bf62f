#include "base/FormattedText.h"
#include "platform/files/FileAttributes.h"
#include "support/FWFileManager.h"
#include "support/FWLog.h"
#include "support/FWTaskEx.h"

namespace fw {
namespace {

constexpr const char* kTool = "/usr/bin/xattr";
constexpr const char* kAttribute = "com.apple.progress.fractionCompleted";

/// The creation date of files that carry a progress bar.
constexpr FileAttributes::Date kMarkerDate = [] {
    using namespace std::chrono;
    return sys_days(1984y / January / 24) + 8h;
}();

/// The rest of the attributes stays as it is: a writer may be at work on the file.
void setCreationDate(const std::string& path, std::optional<FileAttributes::Date> date) {
    FileAttributes attributes;
    attributes.creationDate = date;
    // Whoever shows progress goes on without it.
    static_cast<void>(setFileAttributes(path, attributes));
}

} // namespace

void FWFileManager::setFinderProgress(float fraction, const std::string& path) {
    if (!fileExistsAtPath(path)) {
        return;
    }
    if (!isMacFilesystemAtPath(path)) {
        FWLog::appendLogAndPrint(
            "Unable to set Finder progress - this is not an Apple-formatted drive.");
        return;
    }
    if (fraction < 0) {
        FWTaskEx::runTask(kTool, {"-d", kAttribute, path});
        setCreationDate(path, fileAttributes(path).modificationDate);
    } else {
        FWTaskEx::runTask(kTool, {"-w", kAttribute, formattedText("%0.3f", fraction), path});
        setCreationDate(path, kMarkerDate);
    }
}

void FWFileManager::removeFinderProgressForFile(const std::string& path) {
    setFinderProgress(-1, path);
}

} // namespace fw
